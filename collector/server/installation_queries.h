// Questions about installations: a device with an app and a project, who used it over time, its
// sessions, what it told of itself, and what it was told. Answered as JSON. Thread-safe.
#pragma once

#include <string>

#include "server/connections.h"
#include "server/queries.h"

namespace zarn::collector {

class InstallationQueries {
 public:
  explicit InstallationQueries(std::string file) : connections_(std::move(file)) {}

  using Result = Queries::Result;

  /// {"installations": [...]}, the 500 that were seen last. Empty project: all.
  Result list(const std::string& project, std::string& error);
  /// One of them with "identities", "sessions", "contexts" and "recent_batches"; of each the newest
  /// 500. Empty text when there is none.
  Result details(std::int64_t id, std::string& error);

 private:
  Connections connections_;
};

}  // namespace zarn::collector
