# The visitor of the demo: gives, withdraws and renews consent, meets a pause by the server, and signs
# out. Sourced by demo.sh.

journal=$data/visitor.journal

# scene NAME WHAT: one launch.
scene() {
  echo "Scene $1: $2"
  "$programs/examples/visitor/zarn-visitor" "$url" "$data/visitor" "$journal" "$1"
}

# The server pauses the project between two things that the visitor does.
scene_with_pause() {
  mkfifo "$data/turn"
  exec 3<>"$data/turn"
  scene "$@" <&3 &
  child=$!
  until grep -q '"delivered"' "$journal" || ! kill -0 $child 2>/dev/null; do sleep 0.02; done
  api projects/prints/pause --json '{"reason": "too many visitors"}' >/dev/null
  echo >&3
  wait $child
  child=
  exec 3>&-
}

visitor_scenes() {
  local endpoint
  scene arrive "the visitor signs in and buys"
  scene withdraw "a launch later they buy again, and opt out"
  for endpoint in config recovery; do
    api faults >/dev/null --json \
      '{"project": "prints", "kind": "delay", "delay_ms": 800, "endpoint": "'$endpoint'"}'
  done
  scene consent "after another launch they opt in; the server takes its time to answer"
  api faults -X DELETE >/dev/null
  scene_with_pause pause "the server pauses while the app runs"
  api projects/prints/resume -X POST >/dev/null
  scene resume "the server has resumed"
  scene leave "the visitor signs out, and somebody else goes on"
  scene stranger "the next launch is theirs"
}

# Everything that the collector has of the visitor, beside the journal.
visitor_records() {
  local device
  device=$(api 'installations?project=prints' | jq -r '.installations[].device_id')
  api "events?order=asc&limit=10000&device=$device" >"$data/events.json"
  api 'exchanges?project=prints&order=asc&limit=10000' >"$data/exchanges.json"
  # The shop is closed by now.
  api 'requests?order=asc&limit=10000' >"$data/requests.json"
  jq -n --slurpfile journal "$journal" --slurpfile events "$data/events.json" \
    --slurpfile exchanges "$data/exchanges.json" --slurpfile requests "$data/requests.json" \
    -f tools/demo_visitor.jq
}

visitor_report() {
  visitor_records >"$data/visitor.json" || return 1
  printf "\n%-64s %8s %10s\n" "the visitor's calls" tracked arrived
  jq -r '.calls[] | [.what, .tracked, .arrived, if .holds then "" else "  <- WRONG" end] | @tsv' \
    "$data/visitor.json" |
    while IFS=$'\t' read -r what tracked arrived wrong; do
      printf '%-64s %8d %10d%s\n' "$what" "$tracked" "$arrived" "$wrong"
    done
  echo
  jq -r '.facts[] | [.what, .found, if .holds then "" else "  <- WRONG" end] | @tsv' \
    "$data/visitor.json" |
    while IFS=$'\t' read -r what found wrong; do
      printf '%-64s %19s%s\n' "$what" "$found" "$wrong"
    done
  jq -e '[.calls[], .facts[]] | all(.holds)' "$data/visitor.json" >/dev/null
}
