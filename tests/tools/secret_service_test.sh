#!/usr/bin/env bash
# Runs the keychain tests against a real Secret Service: a private session bus with GNOME
# Keyring on it, unlocked with a throwaway password, gone when the tests end.
set -euo pipefail
platform_test=$1
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
# Under the address sanitizer: full stacks, so that the suppression can name libsecret's frame.
export LSAN_OPTIONS="fast_unwind_on_malloc=0:suppressions=$(dirname "$0")/secret_service.supp"
export HOME=$home XDG_DATA_HOME=$home/data XDG_RUNTIME_DIR=$home/run
mkdir -p "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
exec dbus-run-session -- bash -c '
  echo -n throwaway | gnome-keyring-daemon --unlock --components=secrets --daemonize >/dev/null
  KOLVANE_REQUIRE_SECRET_SERVICE=1 "$0" --gtest_filter="*SecretService*"
' "$platform_test"
