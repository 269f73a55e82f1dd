// Questions about the control plane: what clients asked and were told, and how far a change has
// come. Answered as JSON. Thread-safe.
#pragma once

#include <string>

#include "server/connections.h"
#include "server/queries.h"
#include "server/records.h"

namespace zarn::collector {

struct ExchangeFilter {
  std::string project, environment, app, endpoint;  // empty: any; app "unknown": without a bundle
  bool withBatches = true;                          // the paused answers to batches too
};

class ProjectQueries {
 public:
  explicit ProjectQueries(std::string file) : connections_(std::move(file)) {}

  using Result = Queries::Result;

  /// {"KEY": [...], "next": ...}
  Result exchanges(const ExchangeFilter& filter, const Page& page, std::string_view key,
                   std::string& error);
  /// How far the settings have come: a list with one entry for each app of the project.
  Result reached(const std::string& project, const ProjectSettings& settings, std::string& error);
  /// The ids of all projects that a client has named.
  std::optional<std::vector<std::string>> seenProjects(std::string& error);

 private:
  Connections connections_;
};

}  // namespace zarn::collector
