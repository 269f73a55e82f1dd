// A request and its reply, apart from any HTTP library.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "server/fault_rule.h"

namespace zarn::collector {

/// Why a request's body was not taken.
struct Refusal {
  int status = 400;
  std::string message;
};

struct Request {
  std::string method;
  std::string path;
  std::string target;  // path and query as they came
  std::string query;   // as it came, after the question mark
  std::multimap<std::string, std::string> parameters;
  std::string contentType;  // without parameters, lower case
  std::string authorization;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  std::optional<Refusal> refusal;

  std::string parameter(const std::string& name) const {
    const auto found = parameters.find(name);
    return found == parameters.end() ? std::string() : found->second;
  }
  /// The header's first value, ASCII case of its name ignored.
  std::string header(std::string_view name) const;
};

struct Reply {
  int status = 200;
  std::string body;
  std::string contentType = "application/json";
  std::vector<std::pair<std::string, std::string>> headers;
  std::optional<FaultRule> fault;  // how the reply is to be spoilt on its way out
  std::function<void()> onAnswer;  // called when a delayed reply goes out at last
  bool isLive = false;             // not a body but the stream of server-sent events
};

/// {"status": 404, "message": "..."}
Reply errorReply(int status, std::string_view message);

}  // namespace zarn::collector
