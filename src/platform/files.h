// The app's private folder and the few file operations that the logic needs.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zarn::platform {

/// Held while it lives; gone with the process at the latest, however it ends.
class FileLock {
 public:
  virtual ~FileLock() = default;
};

/// Any thread. Failures give false or nothing; none throws. Paths are UTF-8.
class Files {
 public:
  virtual ~Files() = default;

  /// The folder for the app's data, or a temporary one where that can't be used. Without a slash at
  /// the end; it need not exist yet.
  virtual std::string dataDirectory() = 0;
  /// Creates the folder and its parents; what it creates only the user can enter.
  virtual bool createDirectories(const std::string& path) = 0;
  /// Names in a folder, without "." and "..", in no order; empty when it can't be read.
  virtual std::vector<std::string> list(const std::string& directory) = 0;
  virtual bool exists(const std::string& path) = 0;
  virtual std::optional<std::string> read(const std::string& path) = 0;
  /// All or nothing, also across a crash: the file has either its old content or the new. May wait
  /// for the disk: never on a host's thread.
  virtual bool writeAtomically(const std::string& path, std::string_view content) = 0;
  /// As writeAtomically for every reader and for whatever ends this process, but without waiting
  /// for the disk: until a sync, a loss of power may leave a part of the content, or none.
  virtual bool writeUnsynced(const std::string& path, std::string_view content) = 0;
  /// Waits until the file as it is now outlasts a loss of power: never on a host's thread.
  virtual bool sync(const std::string& path) = 0;
  /// In one step; what was at `to` is gone.
  virtual bool rename(const std::string& from, const std::string& to) = 0;
  /// A file or an empty folder.
  virtual bool remove(const std::string& path) = 0;
  /// Only the user may read and write the file. No effect when it does not exist.
  virtual void makePrivate(const std::string& path) = 0;
  /// Creates the file and locks it for this process, without waiting. Null when another holds it,
  /// in this process or another. A forked child does not inherit the lock.
  virtual std::unique_ptr<FileLock> tryLock(const std::string& path) = 0;
};

}  // namespace zarn::platform
