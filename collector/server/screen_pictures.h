// Finds the reference pictures of a screen. They are filed under a key that a client makes of the
// screen's name and state, with other signs than letters and digits replaced.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "server/screen_facts.h"

namespace zarn::collector {

struct ScreenPicture {
  std::string key, state, sha256, app, releaseId;
  std::int64_t receivedMs = 0, width = 0, height = 0, bytes = 0;
};

class ScreenPictures {
 public:
  /// Reads those of one project, or of all for an empty text. False, with the message noted, when
  /// the search failed.
  bool read(Connections::Lease& lease, const std::string& project);

  /// Newest first. `views` may be null.
  std::vector<const ScreenPicture*> of(std::string_view name, const ScreenViews* views);
  /// Those that `of` has not told of.
  std::vector<const ScreenPicture*> others() const;

 private:
  std::vector<ScreenPicture> pictures_;
  std::multimap<std::string, std::size_t, std::less<>> byName_;  // simplified
  std::vector<bool> told_;
};

/// What is left of a name that was made a key: the letters and digits, in lower case.
std::string simplified(std::string_view name);

}  // namespace zarn::collector
