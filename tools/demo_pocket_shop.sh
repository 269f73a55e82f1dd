# The pocket shop of the demo: a phone app with a visitor who uses it by mouse and keys, and writes
# down what they see. The app names none of its screens. Sourced by demo.sh.

visit_record=$data/pocket.record

# In a window where there is a display and somebody to look at it, else without.
pocket_visit() {
  export XDG_RUNTIME_DIR=${XDG_RUNTIME_DIR:-$data}
  [[ -t 1 && -n ${DISPLAY:-}${WAYLAND_DISPLAY:-} ]] ||
    export QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software
  exec "$programs/examples/pocket_shop/zarn-pocket-shop" --server "$url" --data "$data/pocket" \
    --visit --record "$visit_record"
}

# Those of the visitor's secrets that are in any byte that came.
leaked_secrets() {
  local secret found=()
  api requests/raw >"$data/pocket.bytes"
  while read -r secret; do
    ! grep --quiet --text --fixed-strings -- "$secret" "$data/pocket.bytes" || found+=("$secret")
  done < <(jq -r 'select(.kind == "secret") | .text' "$visit_record")
  jq -n '$ARGS.positional' --args "${found[@]}"
}

pocket_records() {
  local device
  device=$(api 'installations?project=pocket' | jq -r '.installations[].device_id')
  api "events?order=asc&limit=10000&device=$device" >"$data/pocket.events"
  api 'reports/flow?project=pocket' >"$data/pocket.flow"
  api 'screenshots?project=pocket' >"$data/pocket.pictures"
  jq -n --slurpfile record "$visit_record" --slurpfile events "$data/pocket.events" \
    --slurpfile flow "$data/pocket.flow" --slurpfile pictures "$data/pocket.pictures" \
    --argjson leaked "$(leaked_secrets)" -f tools/demo_pocket_shop.jq
}

pocket_report() {
  pocket_records >"$data/pocket.json" || return 1
  printf '\n%-17s %-36s %13s %7s %7s\n' screen states 'dwell, s' taps scrolls
  jq -r '.screens[] | [.name, (.states | join(", ")) + (if .told.states == [] then ", not told" else "" end), .dwell, .told.dwell // "-", .taps,
      .told.taps // "-", .scrolls, .told.scrolls // "-",
      if .holds then "" else "  <- WRONG, told: \(.told.name), \(.told.states | join(", "))" end]
    | map(tostring) | join("|")' "$data/pocket.json" |
    while IFS='|' read -r name states dwell told_dwell taps told_taps scrolls told_scrolls wrong; do
      printf '%-17s %-36s %13s %7s %7s%s\n' "$name" "$states" \
        "$(seconds "$dwell") / $(seconds "$told_dwell")" "$taps / $told_taps" \
        "$scrolls / $told_scrolls" "$wrong"
    done
  printf "%17s of each two figures the first is the visitor's, the second the collector's\n" ''
  printf '\n%-36s %17s\n' 'way' 'from the tap, ms'
  jq -r '.ways[] | [.what, "\(.elapsed) / \(.told // "-")", if .holds then "" else "  <- WRONG" end]
    | join("|")' "$data/pocket.json" |
    while IFS='|' read -r what times wrong; do printf '%-36s %17s%s\n' "$what" "$times" "$wrong"; done
  echo
  jq -r '.facts[] | [.what, .found, if .holds then "" else "  <- WRONG" end] | map(tostring)
    | join("|")' "$data/pocket.json" |
    while IFS='|' read -r what found wrong; do printf '%-76s %9s%s\n' "$what" "$found" "$wrong"; done
  jq -e '[.screens[], .ways[], .facts[]] | all(.holds)' "$data/pocket.json" >/dev/null
}

# Milliseconds as seconds with a tenth.
seconds() {
  [[ $1 == - ]] && echo - && return
  printf '%d.%d' $(($1 / 1000)) $(($1 % 1000 / 100))
}
