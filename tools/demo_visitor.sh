# The visitor of the demo: comes by a link, opens a push message, looks around, gives, withdraws and
# renews consent, meets a pause by the server, and signs out. Sourced by demo.sh.

journal=$data/visitor.journal

# scene NAME WHAT [ARGUMENT]: one launch.
scene() {
  echo "Scene $1: $2"
  "$programs/examples/visitor/zarn-visitor" "$url" "$data/visitor" "$journal" "$1" "${@:3}"
}

# What of the visitor must not arrive anywhere, with one exception: the token, where it is registered.
click=3f2504e0-4f89-41d3-9a0c-0305e82c3301
link="https://links.prints.example/offers/for-eve/77120344?zarn_click_id=$click&utm_source=mail"
link+="&utm_campaign=spring&reader=eve%40friend.example#swordfish-76"
private='["eve@friend.example", "eve%40friend", "for-eve", "of-eve", "eve:", "Dear Eve", "Eve'"'"'s poster",
  "swordfish", "7712034", "6ba7b810", "ev3s-p0rtrait", "tok_9f8e", "40001234", "raw-token-9b1c"]'

scene_by_link() {
  api projects/prints/answers -X PUT >/dev/null --json '{"links": [{"zarn_click_id": "'$click'",
    "answer": {"match_method": "universal_link_clickid", "match_confidence": 1,
               "campaign": "spring", "media_source": "mail", "link": {"target_path": "/offers"}}}]}'
  scene "$@" "$link"
}

# Other servers than the collector, whose own requests are not counted.
scene_with_requests() {
  local origin=
  "$programs/examples/visitor/zarn-prints-origin" >"$data/origin" &
  child=$!
  until [[ -s $data/origin ]] || ! kill -0 $child 2>/dev/null; do sleep 0.02; done
  read -r origin <"$data/origin"
  scene "$@" "$origin"
  kill $child
  wait $child || true
  child=
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
  scene_by_link follow "a link in an e-mail leads into the app"
  scene notify "a push message comes and is opened"
  scene_with_requests browse "the visitor looks around"
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
  api 'reports/network?project=prints' >"$data/network.json"
  # The shop is closed by now.
  api 'requests?order=asc&limit=10000' >"$data/requests.json"
  jq -n --slurpfile journal "$journal" --slurpfile events "$data/events.json" \
    --slurpfile exchanges "$data/exchanges.json" --slurpfile requests "$data/requests.json" \
    --slurpfile network "$data/network.json" --argjson private "$private" \
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
  printf "\n%-64s %8s %10s\n" "the visitor's requests, by server and shape of the path" made counted
  jq -r '.routes[] | [.what, .made, .counted, if .holds then "" else "  <- WRONG" end] | @tsv' \
    "$data/visitor.json" |
    while IFS=$'\t' read -r what made counted wrong; do
      printf '%-64s %8d %10d%s\n' "$what" "$made" "$counted" "$wrong"
    done
  echo
  jq -r '.facts[] | [.what, .found, if .holds then "" else "  <- WRONG" end] | @tsv' \
    "$data/visitor.json" |
    while IFS=$'\t' read -r what found wrong; do
      printf '%-64s %19s%s\n' "$what" "$found" "$wrong"
    done
  jq -e '[.calls[], .routes[], .facts[]] | all(.holds)' "$data/visitor.json" >/dev/null
}
