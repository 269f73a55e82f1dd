# The shop of the demo: visits while the server misbehaves, one of them killed, then launches until
# all is delivered. What was tracked must arrive, and arrive once. Sourced by demo.sh.

tracked=$data/tracked
launches=6

# shop LAUNCH [ARGUMENT...]: becomes one launch of the shop, which notes each event in the journal once
# its track has returned.
shop() {
  exec "$programs/examples/shop/zarn-shop-visit" --api-host "$url" --data "$data/shop" \
    --journal "$tracked" --launch "$@"
}

of_launch() { grep -c "^$1-" "$2" || true; }

# start_visit LAUNCH WHAT [FAULT]: a visit while the server has the fault, for this shop alone.
start_visit() {
  echo "Launch $1: $2"
  api faults -X DELETE >/dev/null
  [[ -z ${3:-} ]] || api faults --json "{\"project\": \"harbour\", $3}" >/dev/null
  shop "$1" &
  child=$!
}

visit() {
  start_visit "$@"
  wait $child
}

killed_visit() {
  start_visit "$@"
  until (($(of_launch "$1" "$tracked") >= 10)) || ! kill -0 $child; do sleep 0.005; done
  kill -KILL $child
  wait $child 2>/dev/null || true
}

shop_visits() {
  visit 1 "the server is well"
  visit 2 "the server answers 503 twice" \
    '"endpoint": "batch", "kind": "status", "status": 503, "count": 2'
  visit 3 "an answer breaks off after the events were kept" \
    '"endpoint": "batch", "kind": "cut", "keep": true, "count": 1'
  killed_visit 4 "the server is slow, and the shop is killed in mid-visit" \
    '"endpoint": "batch", "kind": "delay", "delay_ms": 300'
  visit 5 "the server wants every fifth event again later" \
    '"endpoint": "batch", "kind": "outcomes", "outcome": "transient", "every": 5, "count": 2'
  visit 6 "the server closes every connection" '"kind": "drop"'
  api faults -X DELETE >/dev/null
}

# The "seq" property of every event that arrived, as often as there are events with it.
arrived() {
  api 'counts/by?field=property:seq' |
    jq -r '.values[] | select(.value) | .value as $seq | range(.count) | $seq' | sort
}

lost() { comm -23 <(sort "$tracked") <(arrived); }

# What a launch leaves behind, the next one delivers.
drain() {
  local more=0
  while [[ -n $(lost) ]] && ((more < 20)); do
    more=$((more + 1))
    (shop $((launches + more)) --only-deliver)
  done
  echo "The server is well again: $more launches that only deliver"
}

# Prints the table; fails unless every event that was tracked arrived, and arrived once.
shop_report() {
  local launch dropped twice resent invalid
  arrived >"$data/arrived"
  dropped=$(lost | wc -l)
  twice=$(uniq -d "$data/arrived" | wc -l)

  printf '\n%-10s %8s %10s\n' launch tracked delivered
  for ((launch = 1; launch <= launches; launch++)); do
    printf '%-10s %8d %10d\n' "$launch" "$(of_launch "$launch" "$tracked")" \
      "$(of_launch "$launch" "$data/arrived")"
  done
  printf '%-10s %8d %10d\n\n' all "$(wc -l <"$tracked")" "$(wc -l <"$data/arrived")"
  # The one event that the killed launch may have stored without living to write it down.
  comm -13 <(sort "$tracked") <(uniq "$data/arrived") |
    sed 's/.*/Event & was stored when the shop was killed, before it could note it./'
  read -r resent invalid < <(api counts |
    jq -r '"\(.withheld + .duplicates) \(.invalid + .conflicts)"')
  echo "Retried after a fault:     $resent"
  echo "Dropped:                   $dropped"
  echo "There more than once:      $twice"
  echo "Invalid or changed by id:  $invalid"
  ((dropped == 0 && twice == 0 && invalid == 0))
}
