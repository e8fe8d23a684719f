# Shared by scripts/test, scripts/demo and scripts/bench: configure and build.
ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=${OSTRA_BUILD_DIR:-$ROOT/build}

# configure <build dir> [cmake options]: configures a build tree once, the
# same whichever script comes first. Every tree is built for fault
# injection (OSTRA_FAULT_INJECTION), so that scripts/test runs the
# allocation-fault suites; a tree configured before that is switched over.
configure() {
  dir=$1
  shift
  if [ ! -f "$dir/build.ninja" ]; then
    cmake -S "$ROOT" -B "$dir" -G Ninja \
      -DCMAKE_TOOLCHAIN_FILE="$ROOT/cmake/mingw-w64-x86_64.cmake" \
      -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOSTRA_FAULT_INJECTION=ON "$@"
  elif ! grep -q '^OSTRA_FAULT_INJECTION:BOOL=ON$' "$dir/CMakeCache.txt"; then
    cmake -S "$ROOT" -B "$dir" -DOSTRA_FAULT_INJECTION=ON
  fi
}

# configure_and_build [targets]: installs what is missing and builds $BUILD
# (only the targets named, when there are any).
configure_and_build() {
  "$ROOT/scripts/setup"
  configure "$BUILD"
  if [ $# -gt 0 ]; then
    cmake --build "$BUILD" -j "$(nproc)" --target "$@"
  else
    cmake --build "$BUILD" -j "$(nproc)"
  fi
}

# configure_native <build dir> [cmake options]: configures a tree of the
# native sanitizer build (clang, OSTRA_PLATFORM=Posix) once; ccache is used
# when it is installed.
configure_native() {
  dir=$1
  shift
  if [ ! -f "$dir/build.ninja" ]; then
    launcher=""
    if command -v ccache >/dev/null 2>&1; then
      launcher="-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache"
    fi
    # -O1 and line tables only: what the sanitizers' reports need, and
    # about a third less compile time than -O2 -g.
    # shellcheck disable=SC2086
    cmake -S "$ROOT" -B "$dir" -G Ninja -DOSTRA_PLATFORM=Posix \
      -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
      -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCMAKE_C_FLAGS_RELWITHDEBINFO="-O1 -gline-tables-only -DNDEBUG" \
      -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -gline-tables-only -DNDEBUG" $launcher "$@"
  fi
}
