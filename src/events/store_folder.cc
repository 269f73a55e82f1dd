#include "events/store_folder.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace zarn::events {
namespace {

constexpr std::string_view kName = "Zarn";
constexpr const char* kLockName = "/.lock";
constexpr const char* kProbeName = "/.lock-probe-";
/// Another process may be probing at this very moment.
constexpr int kProbes = 8;
/// One app's processes at one time; beyond it they keep events in memory.
constexpr int kMostFolders = 256;

std::string folderPath(const std::string& dataDirectory, int number) {
  std::string path = dataDirectory + "/" + std::string(kName);
  return number == 1 ? path : path + "-" + std::to_string(number);
}

bool isFolderName(std::string_view name) {
  if (!name.starts_with(kName)) return false;
  name.remove_prefix(kName.size());
  if (name.empty()) return true;
  return name.size() > 1 && name.size() <= 4 && name[0] == '-' &&
         std::all_of(name.begin() + 1, name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// Some file systems have no locks and refuse every one, which must not be taken for an owner.
/// A probe can be removed, unlike the lock: to own one means nothing.
bool canLock(platform::Files& files, const std::string& path) {
  for (int number = 1; number <= kProbes; ++number) {
    const std::string probe = path + kProbeName + std::to_string(number);
    const bool locked = files.tryLock(probe) != nullptr;
    files.remove(probe);
    if (locked) return true;
  }
  return false;
}

}  // namespace

// The lock's file is never removed: whoever opened it just before would own a name that is gone.
std::optional<StoreFolder> StoreFolder::tryOwn(platform::Files& files, const std::string& path) {
  auto lock = files.tryLock(path + kLockName);
  if (!lock) return std::nullopt;
  return StoreFolder(path, std::move(lock));
}

std::optional<StoreFolder> StoreFolder::acquire(platform::Files& files,
                                                const std::string& dataDirectory) {
  for (int number = 1; number <= kMostFolders; ++number) {
    const std::string path = folderPath(dataDirectory, number);
    if (!files.createDirectories(path)) return std::nullopt;
    if (auto folder = tryOwn(files, path)) return folder;
    // Not taken but not to be locked: the next number would be no better.
    if (!canLock(files, path)) return std::nullopt;
  }
  return std::nullopt;
}

std::vector<StoreFolder> StoreFolder::acquireAbandoned(platform::Files& files,
                                                       const std::string& dataDirectory) {
  std::vector<StoreFolder> folders;
  for (const std::string& name : files.list(dataDirectory)) {
    if (!isFolderName(name)) continue;
    if (auto folder = tryOwn(files, dataDirectory + "/" + name)) {
      folders.push_back(std::move(*folder));
    }
  }
  return folders;
}

}  // namespace zarn::events
