# Shared by scripts/test and scripts/demo: configure and build the tree.
ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=${OSTRA_BUILD_DIR:-$ROOT/build}

configure_and_build() {
  "$ROOT/scripts/setup"
  if [ ! -f "$BUILD/build.ninja" ]; then
    cmake -S "$ROOT" -B "$BUILD" -G Ninja \
      -DCMAKE_TOOLCHAIN_FILE="$ROOT/cmake/mingw-w64-x86_64.cmake" \
      -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
  fi
  cmake --build "$BUILD" -j "$(nproc)"
}
