// The wire form as the collector reads it: what a well-formed event, batch and init request look
// like, and what is wrong with one that is not. Pure functions; every problem is a sentence that
// names the key.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zarn::collector {

struct EventFacts {
  std::string id;  // empty when there is none that could be acknowledged
  std::string type, name, user, session, device, anonymous;
  std::optional<std::int64_t> timestamp;  // seconds since 1970
  std::vector<std::string> problems;      // empty: valid
};

struct EnvelopeFacts {
  std::string project, environment, platform, sdkVersion, appVersion, bundleId, releaseId, sentAt;
  std::string context;  // JSON; empty: it has none
  std::string launch;   // when the sending process started, from context.app.start_time
  std::vector<std::string> problems;
};

/// Who sent an init or config request, as far as it says so.
struct CallerFacts {
  std::string project, environment, platform, sdkVersion, appVersion, bundleId;
  bool isRecovery = false;  // an init without "build"
  std::vector<std::string> problems;
};

EventFacts checkEvent(std::string_view raw);
EnvelopeFacts checkEnvelope(std::string_view json);
/// False, with a message, when the body is no JSON object.
bool checkInit(std::string_view json, CallerFacts& facts, std::string& error);
CallerFacts checkConfig(const std::multimap<std::string, std::string>& query);
/// What is wrong with an Authorization header, which is to be the bare key; empty: nothing.
std::string authorizationProblem(std::string_view header);

/// The name by which apps are told apart: one that says no bundle is "unknown".
std::string appName(std::string_view bundleId);

/// An upper-case UUID, the shape of every event id.
bool isEventId(std::string_view text);
bool isEventType(std::string_view text);

}  // namespace zarn::collector
