#!/bin/sh
# Tests of the installed package as a host on another machine meets it.
# Usage: package-test.sh <step> [<argument>]
#   install        installs twice, moves the tree and checks its layout
#   route <name>   builds and runs ConsumerHost from a copy of the moved tree
#                  with its Boost from target, root, find_package or bundled
#   readme         the same with the host example of README.md, as printed
#   c_host         the C example of README.md built by a C-only project that
#                  asks for the C interface alone, and run; the same project
#                  as a host of the MSVC kind gets the MSVC import library
#   pkgconfig      ConsumerHost built by the compiler with pkg-config's flags
#   refuse         compilers and versions the package must refuse (configure only)
# The environment gives OSTRA_BUILD (the build tree), OSTRA_TOOLCHAIN,
# CXX, OBJDUMP and OBJCOPY.
set -eu
step=$1
here=$(cd "$(dirname "$0")" && pwd)
work=$OSTRA_BUILD/package-test
package=$work/package

fail() { echo "package test: $*" >&2; exit 1; }

# configure <build dir> <cmake arguments...>: the consumer ($consumer_source,
# the C++ one unless set) against a prefix.
consumer_source=$here
configure() {
  consumer=$1; shift
  cmake -S "$consumer_source" -B "$consumer" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$OSTRA_TOOLCHAIN" \
    -DCMAKE_BUILD_TYPE=Release "$@"
}

# readme_block <language> <file>: the first block of that language under
# "Using it from a host" in README.md, exactly as a reader copies it.
readme_block() {
  awk -v fence="\`\`\`$1" '/^## Using it from a host/ { under = 1; next }
       /^## / { under = 0 }
       under && !inside && $0 == fence { inside = 1; next }
       inside && /^```/ { exit }
       inside { print }' "$here/../../README.md" >"$2"
  [ -s "$2" ] || fail "README.md has no $1 block under \"Using it from a host\""
}

# run_host <prefix> <exe>: a host ships the package's DLLs beside itself.
run_host() {
  cp "$1"/bin/*.dll "$(dirname "$2")"/
  "$OSTRA_BUILD/wine-run" "$2"
}

# build_and_run <prefix> <cmake arguments...>: the consumer in $dir/build.
build_and_run() {
  prefix=$1; shift
  configure "$dir/build" -DCMAKE_PREFIX_PATH="$prefix" "$@" >"$dir/configure.log" ||
    { cat "$dir/configure.log"; exit 1; }
  cmake --build "$dir/build" >/dev/null
  run_host "$prefix" "$dir/build/$(cd "$dir/build" && ls ./*.exe)"
}

# Every step but the install works in a fresh folder of its own.
dir=$work/${2:-$step}
if [ "$step" != install ]; then
  rm -rf "$dir"
  mkdir -p "$dir"
fi

case $step in
install)
  rm -rf "$work"
  mkdir -p "$work"
  # Installing needs nothing built but the libraries (scripts/demo builds
  # no more): it makes the Boost bundle itself.
  rm -rf "$OSTRA_BUILD/boost-bundle"
  # A second install over the first must not strip an already stripped DLL.
  cmake --install "$OSTRA_BUILD" --prefix "$work/installed" >/dev/null
  cmake --install "$OSTRA_BUILD" --prefix "$work/installed" >/dev/null
  mv "$work/installed" "$package"
  links=$(find "$package" -type l)
  [ -z "$links" ] || fail "links in the package: $links"
  source_dir=$(cd "$here/../.." && pwd)
  for path in "$OSTRA_BUILD" "$source_dir"; do
    ! grep -rIl "$path" "$package" || fail "the files above name $path"
  done
  for file in share/doc/OstraFoundation/LICENSE share/doc/OstraFoundation/CHANGELOG.md \
              include/ostra-boost/LICENSE_1_0.txt include/ostra-boost/boost/function.hpp \
              include/ostra/ostra.h lib/msvc/OstraFoundationC.lib lib/OstraFoundationC.lib; do
    [ -f "$package/$file" ] || fail "$file is not installed"
  done
  for dll in "$package"/bin/*.dll; do
    sections=$("$OBJDUMP" -h "$dll")
    ! echo "$sections" | grep -q '\.debug_' || fail "$dll carries debug sections"
    echo "$sections" | grep -q '\.gnu_debuglink' || fail "$dll has no debug link"
    "$OBJCOPY" --dump-section .gnu_debuglink="$work/link" "$dll" "$work/link.dll"
    symbols=$(dirname "$dll")/$(head -z -n 1 "$work/link" | tr -d '\0')
    "$OBJDUMP" -h "$symbols" | grep -q '\.debug_info' || fail "$dll links to $symbols without debug information"
  done
  rm -f "$work/link" "$work/link.dll"
  ;;
route)
  route=$2
  # Another machine: the moved tree copied again, and a Boost of the host's
  # own outside it (the package's copy moved out), so only the route under
  # test can supply the headers.
  cp -al "$package" "$dir/prefix"
  set -- -DEXPECT_BOOST_ROUTE="$route"
  if [ "$route" != bundled ]; then
    mv "$dir/prefix/include/ostra-boost" "$dir/boost"
  fi
  case $route in
  target) set -- "$@" -DHOST_BOOST_INCLUDE="$dir/boost" ;;
  root) set -- "$@" -DOstraFoundation_BOOST_ROOT="$dir/boost/boost" ;;
  find_package)
    cp "$here/BoostConfig.cmake" "$dir/boost/"
    set -- "$@" -DBoost_ROOT="$dir/boost" ;;
  bundled) ;;
  *) fail "no route $route" ;;
  esac
  build_and_run "$dir/prefix" "$@"
  ;;
readme)
  readme_block cpp "$dir/host.cpp"
  build_and_run "$package" -DHOST_SOURCE="$dir/host.cpp"
  ;;
c_host)
  readme_block c "$dir/host.c"
  consumer_source=$here/CHost
  build_and_run "$package" -DHOST_SOURCE="$dir/host.c" -DEXPECT_IMPLIB=lib/OstraFoundationC.lib
  configure "$dir/msvc" -DCMAKE_PREFIX_PATH="$package" -DHOST_SOURCE="$dir/host.c" \
    -DFAKE_C_SIMULATE_ID=MSVC -DEXPECT_IMPLIB=lib/msvc/OstraFoundationC.lib >"$dir/msvc.log" ||
    { cat "$dir/msvc.log"; fail "a host of the MSVC kind is not given lib/msvc"; }
  ;;
pkgconfig)
  cp -al "$package" "$dir/prefix"
  flags=$(PKG_CONFIG_LIBDIR="$dir/prefix/lib/pkgconfig" PKG_CONFIG_PATH= pkg-config --cflags --libs OstraFoundation)
  # shellcheck disable=SC2086
  "$CXX" -std=c++17 -o "$dir/ConsumerHost.exe" "$here/ConsumerHost.cpp" $flags
  run_host "$dir/prefix" "$dir/ConsumerHost.exe"
  ;;
refuse)
  printf '#!/bin/sh\necho "Thread model: win32" >&2\n' >"$dir/g++-win32"
  chmod +x "$dir/g++-win32"
  # Rows: what the host pretends (compiler id, version, compiler), the
  # package version it asks for, a folder holding boost/ it names, and what
  # the refusal must say ("" = accepted).
  while IFS='|' read -r id version compiler required root expected; do
    log=$dir/configure.log
    status=0
    configure "$dir/build" -DCMAKE_PREFIX_PATH="$package" -DFAKE_CXX_COMPILER_ID="$id" \
      -DFAKE_CXX_COMPILER_VERSION="$version" -DFAKE_CXX_COMPILER="$compiler" \
      -DREQUIRED_VERSION="$required" -DOstraFoundation_BOOST_ROOT="$root" \
      -DEXPECT_BOOST_ROUTE="${root:+root}" >"$log" 2>&1 || status=$?
    row="row '$id|$version|$compiler|$required|$root'"
    if [ -z "$expected" ]; then
      [ $status -eq 0 ] || { cat "$log"; fail "$row was refused"; }
    else
      [ $status -ne 0 ] || fail "$row was accepted"
      tr -s ' \n' ' ' <"$log" | grep -qF "$expected" || { cat "$log"; fail "$row: no \"$expected\""; }
    fi
  done <<EOF
|||1.0|$package/include/ostra-boost|
Clang|16.0.6||1.0||only works with hosts compiled by MinGW-w64 g++
MSVC|19.38.33130||1.0||not by MSVC 19.38.33130
GNU|99.1.0||1.0||your compiler instead, or use its C interface, which any compiler can: find_package(OstraFoundation COMPONENTS C) and link Ostra::OstraFoundationC.
||$dir/g++-win32|1.0||posix threads), not by GNU
|||2.0||OstraFoundationConfig.cmake, version: 1.0.0
|||0.9||OstraFoundationConfig.cmake, version: 1.0.0
|||1.0|$dir|holds neither boost/shared_ptr.hpp nor shared_ptr.hpp
EOF
  ;;
*)
  fail "no step $step"
  ;;
esac
