// The last steps of the user, newest last, in memory only. Nothing reads them yet: they are there
// for a report that shows how a crash came about.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/mutex.h"
#include "zarn/breadcrumb.h"

namespace zarn::crash {

/// A breadcrumb and when it was left: ISO 8601 with milliseconds, in UTC.
struct TimedBreadcrumb {
  std::string timestamp;
  Breadcrumb crumb;
};

/// An object with "timestamp", "category", "message", "level" and, where there is any, "data".
std::string encodeBreadcrumb(const TimedBreadcrumb& breadcrumb);
/// Nothing when a member is missing or of another type; "data" may be missing.
std::optional<TimedBreadcrumb> decodeBreadcrumb(std::string_view json);

/// Any thread. Needs nothing of the host, so that it works before configure.
class BreadcrumbTrail {
 public:
  static constexpr std::size_t kMaxSize = 100;

  BreadcrumbTrail();

  /// The oldest makes room when there are 100.
  void add(Breadcrumb crumb, Date now);
  std::vector<TimedBreadcrumb> trail() const;

 private:
  mutable base::Mutex lock_{base::LockRank::leaf};
  std::vector<TimedBreadcrumb> trail_ ZARN_GUARDED_BY(lock_);
};

}  // namespace zarn::crash
