#!/usr/bin/env bash
# A shared library exports its public classes and nothing else.
#
#   exports_test.sh LIBRARY INCLUDE_FOLDER...
set -euo pipefail
library=$1
shift

# Classes of the public headers, and functions marked KALEO_API there: the name is the word before the first parenthesis.
classes=$(grep -rhoP '^(class|struct)\s+(KALEO_API\s+)?\K\w+(?!.*;$)' "$@" | sort -u | paste -sd '|' || true)
functions=$(grep -rhoP '^\s*KALEO_API\s+(?!friend)[^(;]*?\K\w+(?=\()' "$@" | sort -u | paste -sd '|' || true)
classes=${classes:-none}
# The name of a member template begins with what it returns.
returns="(kaleo::($classes)( const)?[&*]* )?"
prefix='((typeinfo|typeinfo name|vtable|VTT|guard variable) for |(non-)?virtual thunk to )?'
allowed="^$prefix$returns(kaleo::($classes)(::.*)?|kaleo::operator==\(kaleo::($classes) .*|kaleo::(${functions:-none})\(.*)\$"

exported=$(nm -DC --defined-only "$library" | cut -d ' ' -f 3-)
grep -qE "$allowed" <<<"$exported" || { echo "FAILED: $library exports nothing" >&2; exit 1; }
if grep -vE "$allowed" <<<"$exported"; then
  echo "FAILED: $library exports what stands above" >&2
  exit 1
fi
