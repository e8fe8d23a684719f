#!/bin/sh
# Installs the build into its staging prefix, builds the consumer host
# against that package alone, and runs it under Wine.
# Usage: run-consumer.sh <build dir> <consumer source dir> <toolchain file>
set -eu
build=$1; source=$2; toolchain=$3
stage=$build/stage
consumer=$build/consumer

cmake --install "$build" --prefix "$stage" >/dev/null
cmake -S "$source" -B "$consumer" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
  -DCMAKE_PREFIX_PATH="$stage" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$consumer" >/dev/null
# A host ships the package's DLLs beside its executable.
cp "$stage"/bin/*.dll "$consumer"/
exec "$build/wine-run" "$consumer/ConsumerHost.exe"
