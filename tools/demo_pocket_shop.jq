# Holds what a visitor of the pocket shop wrote down against what the collector has of the visit. Gives
# the screens and the ways between them in their order, and facts; `holds` says whether each is as it
# must be.

def fact($what; $found; $holds): {what: $what, found: $found, holds: $holds};
def none($what; $found): fact($what; $found | length; $found == []);
# Milliseconds that two watches, and eyes slower than a signal, may differ by.
def near($a; $b): $a != null and $b != null and (($a - $b) | fabs) <= 800;
# A screen of another shape may be in the same state.
def changes: reduce .[] as $each ([]; if .[-1] == $each then . else . + [$each] end);

[$record[] | select(.kind == "screen")] as $seen
| [$record[] | select(.kind == "transition")] as $ways
| [$ways[] | select(.by == "tap")] as $timed
| [$record[] | select(.kind == "secret")] as $secrets
| [$flow[0].sessions | sort_by(.started_at)[] | .visits[]] as $visits
| [$events[0].events[].event] as $arrived
| def of_type($type): [$arrived[] | select(.event_type == $type)];
  of_type("screen_view") as $views
# Each screen that came into sight, with the states in which it was seen then. One that a tab has
# brought is told of without a state, until that changes.
| (reduce $views[] as $view ([];
    if $view.properties.trigger == "state_change" then
      if . == [] then . else .[-1].states += [$view.properties.screen_state] end
    else . + [{name: $view.event_name, states: [$view.properties.screen_state],
               trigger: $view.properties.trigger}] end)
   | map(.states |= (map(select(.)) | changes))) as $told
| of_type("screen_transition") as $transitions
# A key is the name in one word, and the state.
| ([$pictures[0].screenshots[].screen_name | sub("_[a-z]+$"; "") | gsub("_"; " ")] | unique)
  as $pictured
| [$seen | keys[] as $i | $seen[$i] | {
    name, states: [.states[].state], dwell: (.left - .entered), taps, scrolls,
    told: {name: $told[$i].name, visit: $visits[$i].name, states: ($told[$i].states // []),
           dwell: $visits[$i].dwell_ms, taps: $visits[$i].tap_count,
           scrolls: $visits[$i].scroll_count}}
   | .holds = (.told.name == .name and .told.visit == .name and .told.taps == .taps
       and .told.scrolls == .scrolls and near(.told.dwell; .dwell)
       and (.told.states == .states or ($told[$i].trigger == "tab_switch" and .told.states == [])))]
  as $screens
| {
    screens: $screens,
    ways: [$timed | keys[] as $i | $timed[$i] | {
      what: "\(.from) to \(.to)", elapsed, told: $transitions[$i].properties.duration_ms}
      | .holds = near(.told; .elapsed)],
    facts: [
      fact("Screens told of, and visits, of those that were seen";
        "\($told | length), \($visits | length) of \($seen | length)";
        ($told | length) == ($seen | length) and ($visits | length) == ($seen | length)),
      fact("Of the ways from screen to screen timed: those not by a tab";
        "\($transitions | length) of \($ways | length)";
        ($transitions | length) == ($timed | length)
          and [range(1; $visits | length) as $i | [$visits[$i - 1].name, $visits[$i].name]]
            == [$ways[] | [.from, .to]]),
      fact("Taps on controls, of all taps"; "\(of_type("tap") | length) of \([$seen[].taps] | add)";
        [of_type("tap")[].event_name] | index("Checkout") and index("Sign in")),
      fact("Screens with a reference picture";
        $pictured | length; $pictured == ([$seen[].name] | unique)),
      none("Names of classes among the names of screens";
        [$views[] | select(.event_name == .properties.screen_class)]),
      none("Secrets in any byte that came, of \($secrets | length) typed or shown"; $leaked),
      none("Invalid"; [$events[0].events[] | select(.valid | not)])
    ]
  }
