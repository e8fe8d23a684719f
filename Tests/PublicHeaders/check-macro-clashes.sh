#!/bin/sh
# Fails when an identifier of a public header is the name of a macro that
# <windows.h> (or a header hosts commonly add to it) defines, with or without
# UNICODE: a host including those first would have the name rewritten, as
# GetMessage becomes GetMessageW, and fail to compile or link. A function-like
# macro only counts where the name is followed by "(", so the guarded
# (std::numeric_limits<T>::max)() is fine.
# Usage: check-macro-clashes.sh <cross g++> <public include folder>...
set -eu
cxx=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# winsock2.h must come before windows.h; no WIN32_LEAN_AND_MEAN, so every
# header windows.h can pull in is seen.
cat >"$work/all.cpp" <<'SRC'
#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>
#include <commctrl.h>
#include <commdlg.h>
#include <ole2.h>
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>
SRC
# Read as C as well: there min and max are macros too, as they are in C++
# with other vendors' <windows.h>.
for language in c++ c; do
  for unicode in "" "-DUNICODE -D_UNICODE"; do
    # shellcheck disable=SC2086
    "$cxx" -x $language -D_WIN32_WINNT=0x0A00 $unicode -dM -E "$work/all.cpp"
  done
done | awk '$1 == "#define" {
  name = $2; kind = (sub(/\(.*/, "", name) ? "call" : "name"); print name, kind
}' | sort -u >"$work/macros"

# "identifier header call|name" for every identifier outside comments and
# literals ("call" when "(" follows); of preprocessor lines only the names the
# headers #define count.
for dir in "$@"; do
  find "$dir" -name '*.h' | sort
done | while read -r header; do
  awk -v file="$header" '
    function emit(text,   word, before) {
      while (match(text, /[A-Za-z_][A-Za-z0-9_]*/)) {
        word = substr(text, RSTART, RLENGTH)
        before = substr(text, RSTART - 1, 1)
        text = substr(text, RSTART + RLENGTH)
        if (before !~ /[0-9.]/) print word, file, (text ~ /^[ \t]*\(/ ? "call" : "name")
      }
    }
    {
      line = $0
      if (continued) { continued = (line ~ /\\$/); next }
      if (!incomment && line ~ /^[ \t]*#/) {
        continued = (line ~ /\\$/)
        if (match(line, /^[ \t]*#[ \t]*define[ \t]+[A-Za-z_][A-Za-z0-9_]*/)) {
          word = substr(line, RSTART, RLENGTH); sub(/.*[ \t]/, "", word); print word, file, "call"
        }
        next
      }
      code = ""
      while (line != "") {
        if (incomment) {
          end = index(line, "*/")
          if (end == 0) { line = ""; break }
          line = substr(line, end + 2); incomment = 0; continue
        }
        c = substr(line, 1, 1); two = substr(line, 1, 2)
        if (two == "//") break
        if (two == "/*") { incomment = 1; line = substr(line, 3); code = code " "; continue }
        if (c == "\"" || (c == "\047" && code !~ /[A-Za-z0-9_]$/)) {
          # Skip the literal up to its closing quote, escapes included.
          i = 2
          while (i <= length(line)) {
            ch = substr(line, i, 1)
            if (ch == "\\") { i += 2; continue }
            if (ch == c) break
            i++
          }
          line = substr(line, i + 1); code = code " "; continue
        }
        code = code c; line = substr(line, 2)
      }
      emit(code)
    }' "$header"
done | sort -u >"$work/identifiers"

# Guard against a scan that sees nothing: both lists must hold known names.
grep -qx 'GetMessage name' "$work/macros" || { echo "no <windows.h> macros found"; exit 1; }
grep -q '^strata_exception ' "$work/identifiers" || { echo "no header identifiers found"; exit 1; }

awk 'NR == FNR { macro[$1, $2] = 1; next }
     (($1, "name") in macro) || ($3 == "call" && ($1, "call") in macro) { print "  " $1 " in " $2 }' \
  "$work/macros" "$work/identifiers" >"$work/clashes"
if [ -s "$work/clashes" ]; then
  echo "public identifiers that <windows.h> defines as macros:"
  cat "$work/clashes"
  exit 1
fi
echo "$(cut -d' ' -f1 "$work/identifiers" | sort -u | wc -l) identifiers," \
  "$(cut -d' ' -f1 "$work/macros" | sort -u | wc -l) macros: no clash"
