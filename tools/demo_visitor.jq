# Holds the visitor's journal against the collector's records. Gives the calls, by what held when they
# were made, the requests by route, and facts; `holds` says whether each is as it must be.

# Of the collector's times, which always have them; those within events are whole seconds.
def milliseconds: (.[0:19] + "Z" | fromdateiso8601) * 1000 + (.[20:23] | tonumber);
# Lines are compared by their number where calls follow each other in less than a millisecond.
($journal | to_entries | map(.value + {line: .key})) as $lines
| def mark($name): $lines[] | select(.mark == $name);

  ($events[0].events | map(.event)) as $arrived
# Those of the phone app, which runs at the same time, are none of the visitor's.
| ($requests[0].requests
   | map(select((.head + (.body // "")) | contains("wk_demo_x_pocket") or contains("\"pocket\"")
       or contains("project_id=pocket") | not) | .at = (.received_at | milliseconds)))
  as $all_requests
| [$lines[] | select(.step)] as $steps
| [$lines[] | select(.mark == "launch")] as $launches
| mark("optOut").to as $opted_out
| mark("optIn").from as $opted_in
| mark("reset") as $reset
# How often each step arrived.
| ($arrived | map(.properties.step | select(.)) | group_by(.)
   | map({key: .[0], value: length}) | from_entries) as $times
| ([$exchanges[0].exchanges[] | select(.policy and .answered_at)
    | select((.received_at | milliseconds) >= $opted_in) | .answered_at | milliseconds]
   | min) as $policy_at

| def calls($what; condition; $must_arrive):
    [$steps[] | select(condition) | .step] as $those
    | ([$those[] | select($times[.])] | length) as $found
    | {what: $what, tracked: ($those | length), arrived: $found,
       holds: ($those != [] and $found == (if $must_arrive then $those | length else 0 end))};
  def fact($what; $found; $holds): {what: $what, found: $found, holds: $holds};
  def none($what; $found): fact($what; $found | length; $found == []);
  # The events of the steps that the condition picks.
  def events_of(condition):
    ([$steps[] | select(condition) | {key: .step, value: true}] | from_entries) as $picked
    | [$arrived[] | select(.properties.step as $step | $step and $picked[$step])];

  events_of(.line < $reset.line) as $before
| events_of(.line > $reset.line) as $after
| $before[0].anonymous_id as $old_id
| $after[0].anonymous_id as $new_id
| [$before[] | select(.anonymous_id == $old_id and .user_id == "ada-17"
     and (.properties.club == "harbour club" or .event_type == "identify"))] as $known
| [$arrived[] | select(.anonymous_id == $new_id)] as $under_new_id
| ([$arrived[] | select(.anonymous_id == $old_id) | .session_id] | unique) as $old_sessions
| [$under_new_id[] | select(
     (tojson | test("ada-17|ada@visitor|harbour club|one page|gold"))
     or (.session_id as $id | $old_sessions | any(. == $id)))] as $ties
# For each session, in how many launches it was.
| ($arrived | map(select(.properties.step)) | group_by(.session_id)
   | map(map(.properties.step | split("-")[0]) | unique | length)) as $launches_of_session

| def of_type($type): [$arrived[] | select(.event_type == $type)];
  def is_attributed: .properties.attribution_push_id == "c1d2e3f4-0516-4728-893a-4b5c6d7e8f90";
  of_type("deep_link") as $links
| of_type("push_open") as $opened
| [$lines[] | select(.link) | .link] as $handled
| mark("opened") as $opening
| events_of(.line > $opening.line and .to < $opted_out) as $later
| ($all_requests | map(select(.head | startswith("POST /api/sdk/push/register ")))) as $registrations
# Everything beside the one place where the token may be.
| [($all_requests - $registrations)[] | .head + (.body // "")] as $said
| ($lines | map(select(.request) | .request) | group_by(.) | map({what: .[0], made: length})) as $made
| [$network[0].hosts[] | .host as $host | .routes[] | .route as $route | .statuses | to_entries[]
   | {what: "\($host) \($route) \(.key)", counted: .value}] as $counted
| {
    calls: [
      calls("while tracking was allowed"; .phase == "allowed"; true),
      calls("after the opt-out, and after a restart"; .phase == "opted out"; false),
      calls("after the opt-in, before the policy came";
        .phase == "consenting" and .to < $policy_at; false),
      calls("while the server paused"; .phase == "paused"; false)
    ],
    routes: [
      (($made + $counted) | group_by(.what)[] | add | .made //= 0 | .counted //= 0
       | .holds = (.made == .counted))
    ],
    facts: [
      fact("The link's handler was called twice, then with the campaign"; $handled[0:2] | length;
        $handled[0:2] == ["universalLink, campaign unknown, to unknown",
                          "universalLink, campaign spring, to /offers"]),
      fact("Links told of: the e-mail's and the message's"; $links | length;
        ([$links[] | [.properties.source, .properties.utm_campaign]] | sort)
          == [["push", null], ["universalLink", "spring"]]),
      fact("Push messages received and opened"; "\(of_type("push_received") | length), \($opened | length)";
        (of_type("push_received") | length) == 1 and ($opened | length) == 1
          and ($handled[2:] == ["push, campaign unknown, to unknown"])),
      fact("Events attributed to it, of those after the opening";
        "\([$later[] | select(is_attributed)] | length) of \($later | length)";
        $later != [] and all($later[]; is_attributed)),
      none("... of those before it and after the sign-out, and of the opening";
        [($opened + $after + events_of(.line < $opening.line))[]
         | select(.properties.attribution_push_id)]),
      fact("Registrations of the token"; $registrations | length; ($registrations | length) == 1),
      none("Raw paths, names, texts and tokens in all other bytes that came";
        [$private[] | select(. as $text | any($said[]; contains($text)))]),
      none("Requests of any kind between opt-out and opt-in, \($opted_in - $opted_out) ms";
        [$all_requests[] | select(.at >= $opted_out and .at < $opted_in)]),
      fact("From the opt-in to the fresh policy, ms"; $policy_at - $opted_in;
        $policy_at != null and $policy_at - $opted_in >= 500),
      fact("Events of the \(($launches | length) - 2) launches before the sign-out, with their user";
        "\($known | length) of \($before | length)"; $before != [] and $known == $before),
      fact("Sessions, none of them in two of \($launches | length) launches";
        $launches_of_session | length;
        ($launches_of_session | length) == ($launches | length) + 1
          and ($launches_of_session | all(. == 1))),
      fact("Events under the anonymous id after the sign-out"; $under_new_id | length;
        $after != [] and $new_id != $old_id and ($after | all(.anonymous_id == $new_id))
          and ($under_new_id | length) >= ($after | length)),
      none("... that tell of the user before, or of their sessions"; $ties),
      none("Requests after the sign-out that name the user before";
        [$all_requests[]
         | select(.at > $reset.to and ((.head + (.body // "")) | contains("ada-17")))]),
      none("Arrived more than once"; [$times[] | select(. > 1)]),
      none("Invalid"; [$events[0].events[] | select(.valid | not)])
    ]
  }
