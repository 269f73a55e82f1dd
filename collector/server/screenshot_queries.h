// The kept reference pictures of screens. Thread-safe.
#pragma once

#include <string>
#include <string_view>

#include "server/connections.h"
#include "server/queries.h"

namespace zarn::collector {

class ScreenshotQueries {
 public:
  explicit ScreenshotQueries(std::string file) : connections_(std::move(file)) {}

  /// {"screenshots": [...]}, newest first, of one project or of all.
  Queries::Result list(const std::string& project, std::string& error);
  /// The picture with this digest; empty when there is none.
  Queries::Result jpeg(std::string_view sha256, std::string& error);

 private:
  Connections connections_;
};

/// What a screen's key says besides the name: the state it was in, where it says so.
struct ScreenKey {
  std::string_view name;
  std::string_view state;  // empty: it says none
};
ScreenKey screenKey(std::string_view key);

}  // namespace zarn::collector
