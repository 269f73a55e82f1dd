// What the server has decided for each project: its policy, whether it is paused, and all that it
// had decided before. Kept in the store. Thread-safe.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "server/records.h"
#include "server/store.h"

namespace zarn::collector {

class ProjectBook {
 public:
  static constexpr std::size_t kMostProjects = 1'000;
  static constexpr std::size_t kLongestSettings = 65'536;  // bytes of JSON

  explicit ProjectBook(Store& store);

  /// The newest settings; those of an unknown project have revision 0.
  ProjectSettings settings(const std::string& project) const;
  /// The settings as of a revision, and for 0 those before the newest ones.
  ProjectSettings earlier(const std::string& project, std::int64_t revision) const;
  /// Every change, oldest first.
  std::vector<ProjectSettings> history(const std::string& project) const;
  std::vector<std::string> projects() const;

  /// Takes {"data_collection", "paused", "paused_reason", "release_id", "app_id"}: a key that is
  /// left out stays as it is, null brings back its default. What changes nothing makes no revision.
  /// False, with a message, for anything else.
  bool edit(const std::string& project, std::string_view json, std::string& error);
  bool pause(const std::string& project, std::string reason, std::string& error);
  bool resume(const std::string& project, std::string& error);
  /// Back to the defaults, which is a change as well.
  bool remove(const std::string& project, std::string& error);

 private:
  /// Makes its change to the newest settings; the answer is what is wrong, or nothing.
  using Edit = std::function<std::string(ProjectSettings&)>;
  bool change(const std::string& project, const Edit& edit, std::string& error);

  Store& store_;
  mutable std::mutex mutex_;
  // Guarded by mutex_. No project's history is empty.
  std::map<std::string, std::vector<ProjectSettings>> histories_;
  std::int64_t lastRevision_ = 0;
};

}  // namespace zarn::collector
