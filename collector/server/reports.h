// What the events of one kind come to: traffic by host and route, links and installs, pushes and
// what they led to, crashes, screens and the ways between them. Made of the kept events and
// exchanges when asked; answered as JSON. Values of clients are told as they came: an event with a
// problem is kept and counted as well. Thread-safe.
#pragma once

#include <cstdint>
#include <string>

#include "server/connections.h"
#include "server/queries.h"

namespace zarn::collector {

/// What a report looks at: what arrived in a time, of one project or of all.
struct ReportScope {
  std::string project;       // empty: all
  std::int64_t fromMs = 0;   // since 1970
  std::int64_t untilMs = 0;  // not included; 0: no end
};

class Reports {
 public:
  explicit Reports(std::string file) : connections_(std::move(file)) {}

  // Each answers nothing, with a message, when the database fails or takes longer than 10 s.
  using Result = Queries::Result;

  /// The summaries added up. Beyond 2,000 hosts and 20,000 routes, those that were seen last, the
  /// others are only in the totals and in what their host comes to.
  Result network(const ReportScope& scope, std::string& error);
  Result links(const ReportScope& scope, std::string& error);
  Result push(const ReportScope& scope, std::string& error);
  Result crashes(const ReportScope& scope, std::string& error);
  Result screens(const ReportScope& scope, std::string& error);
  Result flow(const ReportScope& scope, std::string& error);

 private:
  Connections connections_;
};

}  // namespace zarn::collector
