#!/usr/bin/env bash
# The Notes example answers every text as its own Linguist catalogues do, with Kolvane and
# without, in each of its languages.
#   qt_notes_test.sh NOTES_PROGRAM
set -euo pipefail
notes=$1
export QT_QPA_PLATFORM=offscreen
for language in fr de ru en; do
  with=$("$notes" --language "$language" --print-texts 2>/dev/null)
  without=$("$notes" --language "$language" --print-texts --without-kolvane 2>/dev/null)
  if [ -z "$with" ]; then
    echo "FAIL $language: no texts" >&2
    exit 1
  fi
  if [ "$with" != "$without" ]; then
    echo "FAIL $language: the texts differ with Kolvane" >&2
    diff <(echo "$without") <(echo "$with") >&2 || true
    exit 1
  fi
  echo "ok $language: $(echo "$with" | wc -l) texts the same"
done
