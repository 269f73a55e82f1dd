// Every request to the library's endpoints, and to any path that has nothing, as it came: for
// searches through all that a host has sent. Thread-safe.
#pragma once

#include <string>

#include "server/connections.h"
#include "server/queries.h"
#include "server/request.h"
#include "server/store.h"

namespace zarn::collector {

class RequestLog {
 public:
  static constexpr std::int64_t kMostRawBytes = 512LL << 20;  // in one answer

  explicit RequestLog(const Store& store) : connections_(store.file()), bodies_(store.bodies()) {}

  /// {"requests": [...], "next": ...}; a body that is no UTF-8 is null here.
  Queries::Result list(const Page& page, std::string& error);
  /// The requests one after the other: head, an empty line, body, a line's end. Nothing, with a
  /// message, when they are more than kMostRawBytes.
  Queries::Result raw(const Page& page, std::string& error);

 private:
  Connections connections_;
  const BodyFile& bodies_;
};

/// The head as text: "POST /api/sdk/batch HTTP/1.1\r\nHost: ...\r\n".
std::string headOf(const Request& request);

}  // namespace zarn::collector
