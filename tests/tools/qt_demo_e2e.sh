#!/usr/bin/env bash
# The whole review flow in the demo app against a dev server process: the walk-through signs
# in through the sign-on page and the loopback, chooses French and the review step, gets the
# latest text, edits two strings, accepts one, rejects one with a reason, keeps three cards and
# discards one, and sends. The dev server's state then shows what landed.
# Usage: qt_demo_e2e.sh DEVSERVER DEMO BUNDLE SCENARIO
#   SCENARIO: sent | upload-refused | submission-fails | pull-fails | killed-while-sending
set -euo pipefail
devserver=$1 demo=$2 bundle=$3 scenario=$4
work=$(mktemp -d)
server_pid=
cleanup() {
  if [ -n "$server_pid" ]; then kill "$server_pid" 2>/dev/null || true; fi
  if [ -z "${KEEP_WORK:-}" ]; then rm -rf "$work"; else echo "kept $work"; fi
}
trap cleanup EXIT
. "$(dirname "$0")/serve_bundle.sh"
serve_bundle "$devserver" "$bundle" "$work/DemoApp" --test-faults
export XDG_CONFIG_HOME=$work/home/config XDG_DATA_HOME=$work/home/data QT_QPA_PLATFORM=offscreen

content=/files-api/v2/projects/demo/locales/fr-FR/content
args=()
case $scenario in
  sent) ;;
  upload-refused) args=(--fault "{\"path\":\"$content/import\",\"status\":503}") ;;
  submission-fails)
    args=(--fault '{"path":"/workflows-strings-api/v2/projects/demo/submittedStrings","status":500}') ;;
  pull-fails) args=(--scenario pull-fails --fault "{\"path\":\"$content/export\",\"close\":true}") ;;
  killed-while-sending)
    args=(--fault '{"path":"/workflows-strings-api/v2/projects/demo/submittedStrings","delayMs":30000}') ;;
  *) echo "unknown scenario $scenario"; exit 2 ;;
esac
edited="Chaque texte se relit et se corrige sur place."
if [ "$scenario" = killed-while-sending ]; then
  # The app dies while the server holds the submission: the upload was answered, the
  # decisions were not.
  "$demo" --bundle "$work/DemoApp" --walkthrough "$work/shots" --server "$url" "${args[@]}" \
    >"$work/walkthrough.log" 2>&1 &
  demo_pid=$!
  for _ in $(seq 240); do
    curl -fsS "$url/_dev/state?project=demo&locale=fr-FR" | grep -qF "\"1002@review\":{\"key\":\"welcome.subtitle\",\"target\":\"$edited\"}" && break
    sleep 0.25
  done
  sleep 1
  kill -9 "$demo_pid"
  wait "$demo_pid" 2>/dev/null || true
else
  "$demo" --bundle "$work/DemoApp" --walkthrough "${KEEP_SHOTS:-$work/shots}" --server "$url" "${args[@]}" \
    >"$work/walkthrough.log" 2>&1 ||
    { echo "the walk-through failed:"; tail -n 40 "$work/walkthrough.log"; exit 1; }
fi

state=$(curl -fsS "$url/_dev/state?project=demo&locale=fr-FR")
fail() { echo "$scenario: $1"; echo "server: $state"; tail -n 20 "$work/walkthrough.log"; exit 1; }
# unit id, key, step, text: the unit's text sits in that step.
expect_text() {
  grep -qF "\"$1@$3\":{\"key\":\"$2\",\"target\":\"$4\"}" <<<"$state" ||
    fail "$2 is not in $3 with \"$4\""
}
# unit id, step: the unit has no text in that step.
expect_none() { ! grep -qF "\"$1@$2\"" <<<"$state" || fail "unit $1 has a text in $2"; }
expect_alert() {
  grep -qF "walkthrough: alert $1" "$work/walkthrough.log" || fail "no alert \"$1\""
}
files=$(ls -d "$work"/home/data/*/Kolvane)
original_terms="Conditions générales &amp; mentions"
discount='Économisez <ph id=\"1\">%1</ph> aujourd'"'"'hui'
case $scenario in
  sent)
    expect_text 1002 welcome.subtitle review "$edited"
    expect_text 1004 terms.link published "$original_terms"  # accepted: moved on
    expect_none 1004 review
    expect_text 1005 discount.label translation "$discount"  # rejected: moved back
    expect_none 1005 review
    expect_none 1011 review  # the discarded edit was not sent
    grep -qF '"issues":[{' <<<"$state" || fail "no issue for the rejected string"
    grep -qF '"hashcode":"1005"' <<<"$state" || fail "the issue is not about discount.label"
    for shot in 02-login 03-menu-signed-in 04-languages 05-workflow-steps 07-edition-screen \
      08-reject-reason 10-review-cards 11-sent; do
      [ -s "${KEEP_SHOTS:-$work/shots}/$shot.png" ] || fail "no screenshot $shot"
    done ;;
  upload-refused)
    expect_alert "Error saving strings"
    expect_none 1002 review  # nothing was sent
    expect_text 1004 terms.link review "$original_terms"
    expect_text 1005 discount.label review "$discount"
    grep -qF '"issues":[]' <<<"$state" || fail "an issue was filed"
    grep -qF "<target>$edited</target>" "$files/fr_FR_edited.xlf" ||
      fail "the edit is no longer on the device" ;;
  submission-fails)
    expect_alert "Error: Some strings could not be submitted"
    expect_text 1002 welcome.subtitle review "$edited"
    expect_text 1004 terms.link review "$original_terms"  # still accepted, on the device only
    expect_text 1005 discount.label translation "$discount" ;;
  pull-fails)
    expect_alert "Error: Unable to get latest text. Please try again later."
    [ -s "$files/fr_FR_published.xlf" ] || fail "the files of the previous pull are gone" ;;
  killed-while-sending)
    # Each string is on the server or on the device: the edit was taken, the decisions that
    # were in flight are still saved, the rejection with its reason.
    expect_text 1002 welcome.subtitle review "$edited"
    expect_text 1004 terms.link review "$original_terms"
    defaults=$(tr -d ' \n' <"$(ls "$work"/home/config/*/defaults.json)")
    grep -qF '"terms.link":2' <<<"$defaults" || fail "the acceptance is gone: $defaults"
    grep -qF '"discount.label":3' <<<"$defaults" || fail "the rejection is gone: $defaults"
    grep -qE '"KVRejectReasons":\{"discount.label":\{"description":"[^"]*","reason":"[A-Z_]+"' \
      <<<"$defaults" || fail "the rejection's reason is gone: $defaults" ;;
esac
echo "$scenario: as expected"
