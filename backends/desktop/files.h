// Files of one user on a POSIX system: folders 0700 and files 0600 whatever the umask says.
#pragma once

#include <mutex>
#include <string>

#include "platform/files.h"

namespace zarn::platform {
class Environment;
class LogSink;
}  // namespace zarn::platform

namespace zarn::desktop {

/// `path`, from the current folder on when it is relative; unchanged when it is empty, or when
/// there is no current folder any more.
std::string absolutePath(std::string path);

/// Where the app wants its data to be: `dataDirectory`, which is absolute, when it is given,
/// otherwise a folder of this name among the user's data.
struct DataPlace {
  std::string dataDirectory;
  std::string bundleId;
};

/// The folder that `place` stands for; empty when it is relative or there is no home to put it in.
std::string wantedDataDirectory(const DataPlace& place, platform::Environment& environment);

class PosixFiles : public platform::Files {
 public:
  PosixFiles(DataPlace place, platform::Environment& environment, platform::LogSink& log);

  /// Where the wanted folder can't be used: a private one among the temporary files, the same at
  /// every launch while it is there and nobody else's; otherwise a new one.
  std::string dataDirectory() override;
  bool createDirectories(const std::string& path) override;
  std::vector<std::string> list(const std::string& directory) override;
  bool exists(const std::string& path) override;
  std::optional<std::string> read(const std::string& path) override;
  bool writeAtomically(const std::string& path, std::string_view content) override;
  bool writeUnsynced(const std::string& path, std::string_view content) override;
  bool sync(const std::string& path) override;
  bool rename(const std::string& from, const std::string& to) override;
  bool remove(const std::string& path) override;
  void makePrivate(const std::string& path) override;
  std::unique_ptr<platform::FileLock> tryLock(const std::string& path) override;

 private:
  void chooseDataDirectory();

  const DataPlace place_;
  platform::Environment& environment_;
  platform::LogSink& log_;
  std::once_flag chosen_;
  std::string dataDirectory_;  // constant once chosen
};

}  // namespace zarn::desktop
