// One fault that the collector answers with, and its text forms.
//
//   {"endpoint": "batch", "kind": "status", "status": 503, "count": 3}
//   {"kind": "outcomes", "outcome": "transient", "every": 5, "delay_ms": 200}
//   {"endpoint": "recovery", "kind": "no_policy", "project": "shop"}
//   --fault endpoint=batch,kind=cut,keep=true,share=0.25
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/acks.h"

namespace zarn::collector {

class JsonOut;

enum class Endpoint {
  batch,
  init,
  recovery,  // the init request of a client that recovers
  config,
  resolve,          // of a link
  validate,         // of an install
  registration,     // of a push token; "register" for people
  screenshotCheck,  // whether a screen's picture is wanted
  screenshot,
};

/// Whether the endpoint's answers tell the policy.
bool tellsPolicy(Endpoint endpoint);

enum class FaultKind {
  status,    // answers `status`
  delay,     // answers as ever, `delay_ms` late
  hang,      // says nothing for `hang_ms`, then closes the connection
  drop,      // closes the connection at once, without an answer
  cut,       // announces the whole answer and closes after half of it
  empty,     // answers 200 without a body
  outcomes,  // answers `outcome` for the events that `every` or `share` picks
  stale,     // init and config: answers with older settings of the project, `revision`
  noPolicy,  // init and config: answers without the policy
  garbled,   // answers 200 with half of the usual body, as if that were all
  mistyped,  // answers 200 with the usual keys and values of wrong types
  body,      // answers `body` with `status`
};

struct FaultRule {
  std::int64_t id = 0;
  std::optional<Endpoint> endpoint;  // none: every endpoint; init: those of recovery too
  std::string project;               // empty: every project
  FaultKind kind = FaultKind::status;
  int status = 503;
  int delayMs = 0;  // before any kind's answer, 0 to 600,000
  int hangMs = 60'000;
  std::optional<std::int64_t> count;  // how often it strikes; none: until switched off
  int every = 1;                      // strikes every nth request, or picks every nth event
  double share = 1;                   // strikes this share of requests, or picks of events
  std::uint64_t seed = 1;             // of the share's random numbers
  bool keep = false;                  // whether events are kept although they are not acknowledged
  Verdict outcome = Verdict::transient;
  std::string message = "fault";
  std::int64_t revision = 0;  // for stale; 0: the one before the newest
  std::string body;
};

std::string_view endpointWord(Endpoint endpoint);
std::string_view faultWord(FaultKind kind);

/// From a JSON object or from "key=value,key=value". Unknown keys and values out of range are
/// errors.
std::optional<FaultRule> faultFromJson(std::string_view json, std::string& error);
/// From a JSON array of such objects.
std::optional<std::vector<FaultRule>> faultsFromJson(std::string_view json, std::string& error);
std::optional<FaultRule> faultFromWords(std::string_view words, std::string& error);

/// Whether the rule is about requests of this kind and project.
bool concerns(const FaultRule& rule, Endpoint endpoint, std::string_view project);
/// Whether the rule, met for the nth time (from 0), strikes. Depends on nothing else.
bool strikes(const FaultRule& rule, std::uint64_t n);

/// Writes the rule's members into an open object.
void writeFault(JsonOut& out, const FaultRule& rule);

}  // namespace zarn::collector
