# Sourced by the tests that run a tool against a dev server process.
# serve_bundle DEVSERVER BUNDLE COPY [SERVER_ARGUMENT...]: starts the server on a free port,
# copies BUNDLE to COPY with a Kolvane.json that points every server URL at it, and sets
# server_pid and url. The caller stops server_pid when done.
serve_bundle() {
  local devserver=$1 bundle=$2 copy=$3 line
  shift 3
  mkfifo "$copy.started"
  "$devserver" "$@" >"$copy.started" &
  server_pid=$!
  read -r line <"$copy.started"
  url=${line#listening on }
  cp -r "$bundle" "$copy"
  printf '{"stagingApiUrl":"%s","productionApiUrl":"%s","stagingSignOnUrl":"%s","productionSignOnUrl":"%s"}\n' \
    "$url" "$url" "$url" "$url" >"$copy/Kolvane.json"
}
