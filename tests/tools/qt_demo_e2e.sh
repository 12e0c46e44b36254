#!/usr/bin/env bash
# The demo app against the dev server process: the reviewer signs in and pulls (as the kolvane
# tool does), the walk-through long-presses the subtitle, types a new text and saves; the
# edited file on the device holds it, and the app started again shows it.
# Usage: qt_demo_e2e.sh KOLVANE_CLI DEVSERVER DEMO BUNDLE
set -euo pipefail
cli=$1 devserver=$2 demo=$3 bundle=$4
work=$(mktemp -d)
server_pid=
cleanup() {
  if [ -n "$server_pid" ]; then kill "$server_pid" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap cleanup EXIT
mkfifo "$work/started"
"$devserver" >"$work/started" &
server_pid=$!
read -r line <"$work/started"
url=${line#listening on }
cp -r "$bundle" "$work/DemoApp"
printf '{"stagingApiUrl":"%s","productionApiUrl":"%s","stagingSignOnUrl":"%s","productionSignOnUrl":"%s"}\n' \
  "$url" "$url" "$url" "$url" >"$work/DemoApp/Kolvane.json"
export XDG_CONFIG_HOME=$work/home/config XDG_DATA_HOME=$work/home/data QT_QPA_PLATFORM=offscreen
"$cli" pull --bundle "$work/DemoApp" --locale fr_FR --step review --user reviewer \
  --password reviewer >/dev/null
"$demo" --bundle "$work/DemoApp" --walkthrough "$work/shots" >"$work/walkthrough.log" 2>&1 ||
  { echo "the walk-through failed:"; tail -n 40 "$work/walkthrough.log"; exit 1; }
expected="Chaque texte se relit et se corrige sur place."
edited=$(ls "$work"/home/data/*/Kolvane/fr_FR_edited.xlf)
grep -q "<target>$expected</target>" "$edited" || { echo "not in $edited:"; cat "$edited"; exit 1; }
shown=$("$demo" --bundle "$work/DemoApp" --print-subtitle 2>/dev/null)
[ "$shown" = "$expected" ] || { echo "after a restart the subtitle reads: $shown"; exit 1; }
for shot in 1-inbox 2-edition-screen 4-saved-in-place 6-placeholder-alert; do
  [ -s "$work/shots/$shot.png" ] || { echo "no screenshot $shot"; exit 1; }
done
echo "edited, saved on the device, shown again after a restart"
