#!/bin/sh
# Builds the API reference (docs/Doxyfile) into a temporary folder: any
# Doxygen warning, such as a public member without a comment, fails. Then
# the reference must be one a host engineer can start from: a main page,
# and for every class a page of its own that says what it is for, how
# threads may use it and how it fails, not a pointer elsewhere.
# Usage: check-reference.sh <source folder> <generated include folder>
set -eu
if ! command -v doxygen >/dev/null 2>&1; then
  echo "doxygen is not installed (scripts/setup installs it): reference not checked"
  exit 77
fi
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
version=$(sed -n 's/^#define OSTRA_VERSION_STRING "\([^"]*\)".*/\1/p' "$2/Ostra/OstraVersion.h")
OSTRA_SOURCE_DIR=$1 OSTRA_GENERATED_INCLUDE_DIR=$2 OSTRA_DOCS_DIR=$out OSTRA_VERSION=$version \
  doxygen "$1/docs/Doxyfile"

# description <kind> <xml file>: the compound's own brief or detailed
# description (Doxygen indents those of members deeper), as plain words.
description() {
  awk -v from="^    <$1description>" -v to="^    </$1description>" \
    '$0 ~ from { inside = 1 } inside { print } $0 ~ to { inside = 0 }' "$2" |
    sed 's/<[^>]*>/ /g' | tr -s ' \n\t' '   '
}

problems=""
words=$(description detailed "$out/xml/indexpage.xml" | wc -w)
[ "$words" -ge 300 ] || problems="$problems
  the main page holds $words words"
for file in "$out"/xml/class*.xml; do
  name=$(sed -n 's:.*<compoundname>\(.*\)</compoundname>.*:\1:p' "$file" | head -n 1)
  detailed=$(description detailed "$file")
  all="$(description brief "$file") $detailed"
  if [ "$(echo "$detailed" | wc -w)" -lt 10 ]; then
    problems="$problems
  $name: its page has no detailed description"
  elif echo "$all" | grep -qiE 'see (the|this) (file|top|header)'; then
    problems="$problems
  $name: its page points elsewhere"
  fi
  echo "$all" | grep -qi 'thread' || problems="$problems
  $name: its page states no threading rule"
  echo "$all" | grep -qiE 'fail|throw|raise|exception' || problems="$problems
  $name: its page states no failure contract"
done
if [ -n "$problems" ]; then
  echo "The reference is not one to start from:$problems"
  exit 1
fi
