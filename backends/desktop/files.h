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

/// Where the app wants its data to be: `dataDirectory` when it is given, otherwise a folder of this
/// name among the user's data.
struct DataPlace {
  std::string dataDirectory;
  std::string bundleId;
};

/// The folder that `place` stands for; empty when there is no home to put it in.
std::string wantedDataDirectory(const DataPlace& place, platform::Environment& environment);

class PosixFiles : public platform::Files {
 public:
  PosixFiles(DataPlace place, platform::Environment& environment, platform::LogSink& log);

  std::string dataDirectory() override;
  bool createDirectories(const std::string& path) override;
  std::vector<std::string> list(const std::string& directory) override;
  bool exists(const std::string& path) override;
  std::optional<std::string> read(const std::string& path) override;
  bool writeAtomically(const std::string& path, std::string_view content) override;
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
