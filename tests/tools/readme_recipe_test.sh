#!/usr/bin/env bash
# Runs the README's dev-server recipe as it is written there, so that the README stays true:
# its lines between "<!-- recipe: devserver -->" and "<!-- end recipe -->", on a free port,
# with /tmp/ replaced by a folder of this test and the build tree by the one under test.
# Usage: readme_recipe_test.sh README BUILD_DIR
set -uo pipefail
readme=$1
build=$2
work=$(mktemp -d)
server_pid=
trap '[ -n "$server_pid" ] && kill "$server_pid" 2>/dev/null && wait "$server_pid"; rm -rf "$work"' EXIT

recipe=$(sed -n '/<!-- recipe: devserver -->/,/<!-- end recipe -->/p' "$readme" |
  sed -n 's/^    //p')
[ -n "$recipe" ] || { echo "FAIL: no recipe in $readme"; exit 1; }
port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
recipe=${recipe//8080/$port}
recipe=${recipe//\/tmp\//$work/}
recipe=${recipe//build\/default/$build}

cd "$(dirname "$readme")" || exit 1
output=$work/output
while IFS= read -r line; do
  case $line in
    cmake*) continue ;;  # the tree under test is built already
    *" &")
      # exec: the server itself is the background job, so that the trap stops it, not a shell
      # that would leave it running.
      eval "exec ${line% &}" >"$work/server.log" 2>&1 &
      server_pid=$!
      for _ in $(seq 100); do
        grep -q 'listening on' "$work/server.log" && break
        sleep 0.1
      done
      ;;
    *) eval "$line" >>"$output" 2>&1 || { echo "FAIL: $line"; cat "$output"; exit 1; } ;;
  esac
done <<<"$recipe"

if grep -q '"strings"' "$output" && [ -s "$work/kolvane-home/data/com.kolvane.demo/Kolvane/fr_FR_published.xlf" ]; then
  echo "1 passed, 0 failed"
else
  echo "FAIL: the pull did not bring the French text"
  cat "$output"
  exit 1
fi
