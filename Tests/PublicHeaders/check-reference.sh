#!/bin/sh
# Builds the API reference (docs/Doxyfile) into a temporary folder: any
# Doxygen warning, such as a public member without a comment, fails.
# Usage: check-reference.sh <source folder> <generated include folder>
set -eu
if ! command -v doxygen >/dev/null 2>&1; then
  echo "doxygen is not installed (scripts/setup installs it): reference not checked"
  exit 77
fi
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
OSTRA_SOURCE_DIR=$1 OSTRA_GENERATED_INCLUDE_DIR=$2 OSTRA_DOCS_DIR=$out doxygen "$1/docs/Doxyfile"
