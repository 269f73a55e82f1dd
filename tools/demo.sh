#!/usr/bin/env bash
# Three stories against a collector of their own, each of which ends with what the collector's records
# say: a phone app whose screens are found by themselves while somebody uses it, and meanwhile a shop,
# whose server misbehaves and which is killed, and a visitor who makes use of their privacy. On a
# terminal it stays for the viewer; its exit code says whether everything held.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

programs=build/release
data=$(mktemp -d)
url=
collector=
child=  # a host that runs in the background
app=    # the phone app, which runs beside all else

cleanup() {
  kill $collector $child $app 2>/dev/null || true
  wait
  rm -rf "$data"
}
trap cleanup EXIT
trap 'exit ${outcome:-130}' INT TERM

start_collector() {
  : >"$data/collector.log"  # it is looked at before the collector has opened it
  "$programs/collector/zarn-collector" --port 0 --data "$data/collector" \
    >"$data/collector.log" 2>&1 &
  collector=$!
  for _ in {1..100}; do
    url=$(sed -n 's/.*listening on //p' "$data/collector.log")
    [[ -z $url ]] || return 0
    sleep 0.1
  done
  cat "$data/collector.log" >&2
  return 1
}

api() { curl --fail --silent --show-error "$url/api/collector/$1" "${@:2}"; }

source tools/demo_shop.sh
source tools/demo_visitor.sh
source tools/demo_pocket_shop.sh

start_collector
echo "The collector's viewer: $url"
echo "Somebody uses a phone app, the pocket shop, while the next two stories are told"
pocket_visit &
app=$!
wrong=0
printf '\nA shop, its server and bad luck\n'
shop_visits
drain
shop_report || wrong=1
printf '\nA visitor and their privacy\n'
visitor_scenes
visitor_report || wrong=1
printf '\nA phone app that names none of its screens\n'
echo "Somebody signs in, looks around, buys, and closes it"
wait $app || wrong=1
app=
pocket_report || wrong=1
outcome=$wrong
if [[ -t 0 && -t 1 ]]; then
  echo
  echo "Look at the viewer: $url (Ctrl-C ends it)"
  wait
fi
exit $outcome
