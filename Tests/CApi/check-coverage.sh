#!/bin/sh
# The exports of OstraFoundationC.dll (the .def its link wrote), the
# functions ostra/ostra.h declares and those the C host calls must agree.
# Usage: check-coverage.sh <def file> <ostra.h> <CHost.c>
set -eu
exported=$(awk '$1 ~ /^ostra_/ { print $1 }' "$1" | sort)
declared=$(sed -n 's/^OSTRA_C_API [^(]*[ *]\(ostra_[a-z0-9_]*\)(.*/\1/p' "$2" | sort)
status=0
missing=$(printf '%s\n' "$declared" | comm -23 - "$(printf '%s\n' "$exported" >/tmp/ostra-exports.$$; echo /tmp/ostra-exports.$$)")
extra=$(printf '%s\n' "$exported" | comm -23 - "$(printf '%s\n' "$declared" >/tmp/ostra-declared.$$; echo /tmp/ostra-declared.$$)")
rm -f /tmp/ostra-exports.$$ /tmp/ostra-declared.$$
[ -z "$missing" ] || { echo "declared but not exported: $missing"; status=1; }
[ -z "$extra" ] || { echo "exported but not declared: $extra"; status=1; }
for name in $exported; do
  grep -q "\\b$name(" "$3" || { echo "the C host never calls $name"; status=1; }
done
echo "$(printf '%s\n' "$exported" | wc -l) functions exported, declared and called"
exit $status
