// StoreFolder: the folder of one client's store, owned by a lock. Two clients, in one process or in
// two, never share a store: the first owns "Zarn", the next one "Zarn-2", and so on. Whoever starts
// takes over what it finds in folders whose owner is gone.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/files.h"

namespace zarn::events {

class StoreFolder {
 public:
  /// The first folder in `dataDirectory` that nobody owns, created if need be. Nothing when no
  /// folder can be made or locked, or all are taken.
  static std::optional<StoreFolder> acquire(platform::Files& files,
                                            const std::string& dataDirectory);

  /// All folders there are that nobody owns, which the caller owns from now on.
  static std::vector<StoreFolder> acquireAbandoned(platform::Files& files,
                                                   const std::string& dataDirectory);

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  StoreFolder(std::string path, std::unique_ptr<platform::FileLock> lock)
      : path_(std::move(path)), lock_(std::move(lock)) {}
  static std::optional<StoreFolder> tryOwn(platform::Files& files, const std::string& path);

  std::string path_;
  std::unique_ptr<platform::FileLock> lock_;
};

}  // namespace zarn::events
