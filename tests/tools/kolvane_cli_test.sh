#!/usr/bin/env bash
# Black-box checks of the kolvane tool: its output, exit statuses and error lines.
set -u
cli=$1
bundle=$2
home=$(mktemp -d)
server_pid=
trap '[ -z "$server_pid" ] || kill "$server_pid"; rm -rf "$home"' EXIT
failures=0

expect() {  # expect NAME WANTED_OUTPUT WANTED_STATUS -- COMMAND...
  local name=$1 want=$2 status=$3
  shift 4
  local got rc
  got=$("$@" 2>&1)
  rc=$?
  if [ "$got" != "$want" ] || [ "$rc" != "$status" ]; then
    printf 'FAIL %s\n  want (%s): %s\n  got  (%s): %s\n' "$name" "$status" "$want" "$rc" "$got"
    failures=$((failures + 1))
  fi
}

B=$'\u200b' E=$'\u2062'
expect mark "${B}Hi "$'\u2063'"%@"$'\u2064'"${E}" 0 -- "$cli" cues mark 'Hi %@'
expect show '[a{b}c]' 0 -- "$cli" cues show "${B}a"$'\u2063'"b"$'\u2064'"c${E}"
expect strip 'abc' 0 -- "$cli" cues strip "${B}abc${E}"
expect find '[{"length":3,"level":1,"location":4,"string":"[d]"},{"length":4,"level":1,"location":0,"string":"[ab]"}]' 0 \
  -- "$cli" cues find "${B}ab${E}${B}d${E}"
expect find-unpaired '[]' 0 -- "$cli" cues find "${E}a${B}b${E}${B}"
expect string-quirk '{"argumentFormatSpecifiers":["%i a"],"dynamic":true,"localizedFormat":"[{%i a}pples]","localizedHash":"[{}pples]"}' 0 \
  -- "$cli" string '%i apples'
expect plural-mk 'one' 0 -- "$cli" plural mk 111
expect plural-hyphen 'other' 0 -- "$cli" plural en-US 1
expect plural-decimal 'one' 0 -- "$cli" plural fr 1.5
expect plural-negative 'other' 0 -- "$cli" plural ru -21
expect plural-bad-value '' 2 -- sh -c "'$cli' plural fr abc 2>/dev/null"
expect to-server 'jm-JM' 0 -- "$cli" locale to-server en_JM
expect from-server 'sr_Latn_ME' 0 -- "$cli" locale from-server me-ME
expect from-server-bad 'kolvane: not a locale id: a b' 1 -- "$cli" locale from-server 'a b'
expect lookup-escaping-locale 'kolvane: not a locale id: ../../x' 1 -- "$cli" lookup --bundle "$bundle" --home "$home" --locale ../../x k
expect name 'French (France)' 0 -- env LC_ALL=en_US.UTF-8 LANG=en_US.UTF-8 "$cli" locale name fr_FR
expect encode 'aGVsbG8=' 0 -- sh -c "printf hello | '$cli' base64 encode"
expect encode-wrap $'YWJj\r\nZGVm' 0 -- sh -c "printf abcdef | '$cli' base64 encode --wrap 6"
expect decode 'hello' 0 -- sh -c "printf 'aGVs\nbG8=' | '$cli' base64 decode"
expect decode-nothing 'kolvane: nothing to decode' 1 -- sh -c "printf '!!' | '$cli' base64 decode"
expect url-params '{"b":"1#c"}' 0 -- "$cli" url-params 'a?b=1#c=2'
printf '"a" = "A";\n"b" = "B"\n' > "$home/bad.strings"
expect strings-bad "kolvane: $home/bad.strings: line 3: expected ';'" 1 -- "$cli" strings read "$home/bad.strings"
expect strings "{\"greeting\":\"Hello\"}" 0 -- sh -c "printf '\"greeting\" = \"Hello\";' > '$home/ok.strings'; '$cli' strings read '$home/ok.strings'"
expect lookup-show $'[Welcome to {%1}!]\n[missing.key]' 0 \
  -- env LANGUAGE= LC_ALL=C "$cli" lookup --bundle "$bundle" --home "$home" --show welcome.title missing.key
expect lookup-demo-base-texts $'[Save {%1} today]\n[Terms & Conditions]' 0 \
  -- env LANGUAGE= LC_ALL=C "$cli" lookup --bundle "$bundle" --home "$home" --show discount.label terms.link
expect lookup-base-before-bundle '[Welcome to {%1}!]' 0 \
  -- env LANGUAGE=fr "$cli" lookup --bundle "$bundle" --home "$home" --show welcome.title
expect lookup-shown-locale $'[Bienvenue sur {%1} !]\n[Save {%1} today]' 0 \
  -- "$cli" lookup --bundle "$bundle" --home "$home" --locale fr_FR --show welcome.title discount.label
expect lookup-plural '[Vous avez {%n} nouveau message]' 0 \
  -- "$cli" lookup --bundle "$bundle" --home "$home" --locale fr_FR --plural 1.5 --show inbox.count
expect paths "{\"filesFolder\":\"$home/data/com.kolvane.demo/Kolvane\",\"userDefaults\":\"$home/config/com.kolvane.demo/defaults.json\"}" 0 \
  -- "$cli" paths --bundle "$bundle" --home "$home"
expect xliff-read '{"strings":{"k":{"forms":{"few":{"argumentFormatSpecifiers":["%d"],"dynamic":true,"localizedFormat":"[{%d} x]","note":"n\n","pluralForm":"few","uid":"k[few]"}},"hasPlurals":true,"status":0}}}' 0 \
  -- sh -c "printf '<x><trans-unit id=\"k[few]\" resname=\"k\"><target><ph>%%d</ph> x</target><note>n</note>\n</trans-unit></x>' > '$home/a.xlf'; '$cli' xliff read '$home/a.xlf' --status 1"
expect ts-read '{"language":"de","messages":[{"context":"C","disambiguation":"verb","forms":{"one":{"placeholders":["%n"],"text":"%n Datei"},"other":{"placeholders":["%n"],"text":"%n Dateien"}},"key":"Open %n␞verb","numerus":true,"source":"Open %n","state":"unfinished"}],"numerusCategories":["one","other"],"sourceLanguage":"en"}' 0 \
  -- sh -c "printf '<TS language=\"de\"><context><name>C</name><message numerus=\"yes\"><source>Open %%n</source><comment>verb</comment><translation type=\"unfinished\"><numerusform>%%n Datei</numerusform><numerusform>%%n Dateien</numerusform></translation></message></context></TS>' > '$home/a.ts'; '$cli' ts read '$home/a.ts'"
expect ts-not-a-catalogue "kolvane: $home/c.ts is not a Linguist catalogue" 1 \
  -- sh -c "printf '<x>' > '$home/c.ts'; '$cli' ts read '$home/c.ts'"
expect xliff-error '{"error":"line 1: Premature end of data in tag x line 1","strings":{}}' 1 \
  -- sh -c "printf '<x>' > '$home/b.xlf'; '$cli' xliff read '$home/b.xlf'"
expect unknown-command-status '' 2 -- sh -c "'$cli' frobnicate 2>/dev/null"
expect missing-bundle-status '' 2 -- sh -c "'$cli' lookup key 2>/dev/null"

# pull signs in on a dev server with the password from standard input, never from the command
# line, where anyone listing processes reads it; on a terminal it prompts with echo off.
devserver=${3:-$(dirname "$cli")/../../devserver/kolvane-devserver}
pull() {  # pull HOME_NAME ARGUMENTS...
  local name=$1
  shift
  "$cli" pull --bundle "$home/app" --home "$home/$name" --locale fr_FR "$@"
}
typed() {  # typed INPUT COMMAND...: runs the command with INPUT on its standard input
  local input=$1
  shift
  printf '%s' "$input" | "$@"
}
pulled() {
  printf '{"pending":null,"published":"%s/data/com.kolvane.demo/Kolvane/fr_FR_published.xlf","step":null,"strings":21,"user":"Demo Reviewer"}' "$home/$1"
}
# Runs pull on a terminal and types the password once the prompt shows; prints what the
# terminal showed.
pull_on_terminal() {
  mkfifo "$home/typed"
  exec 3<>"$home/typed"
  script -qefc "'$cli' pull --bundle '$home/app' --home '$home/$1' --locale fr_FR --user reviewer" \
    /dev/null <&3 >"$home/terminal" 2>&1 &
  local shown=$! tries=0
  # -s: the file may not be there yet when the first look comes.
  until grep -qs 'Password for reviewer: ' "$home/terminal" || [ $tries -ge 100 ]; do
    sleep 0.1
    tries=$((tries + 1))
  done
  printf 'reviewer\n' >&3
  wait $shown
  local rc=$?
  exec 3>&-
  tr -d '\r' <"$home/terminal"
  return $rc
}
if [ -x "$devserver" ]; then
  . "$(dirname "$0")/serve_bundle.sh"
  serve_bundle "$devserver" "$bundle" "$home/app"
  expect pull-password-from-stdin "$(pulled a)" 0 \
    -- typed $'reviewer\n' pull a --user reviewer
  expect pull-saved-session-asks-nothing "$(pulled a)" 0 -- pull a </dev/null
  warning='kolvane: warning: --password can be read by every user who lists processes; give the password on standard input instead'
  expect pull-password-flag-warns "$warning"$'\n'"$(pulled b)" 0 \
    -- pull b --user reviewer --password reviewer
  expect pull-no-password 'kolvane: no password on standard input' 1 -- pull c --user reviewer </dev/null
  expect pull-wrong-password 'kolvane: sign-in refused (status 401)' 1 \
    -- typed wrong pull d --user reviewer
  expect pull-terminal-prompt-without-echo $'Password for reviewer: \n'"$(pulled e)" 0 \
    -- pull_on_terminal e
else
  echo "FAIL pull: no dev server at $devserver"
  failures=$((failures + 1))
fi

if [ "$failures" -ne 0 ]; then
  echo "$failures CLI checks failed"
  exit 1
fi
echo "all CLI checks passed"
