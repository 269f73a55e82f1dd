// Secrets in a file that only the user can read, shared by all processes of an app.
#pragma once

#include "desktop/settings_file.h"
#include "platform/secure_store.h"

namespace zarn::desktop {

class FileSecureStore final : public platform::SecureStore {
 public:
  /// Keeps its files in `folder`. See SettingsFile.
  FileSecureStore(std::string folder, platform::Files& files, base::SerialQueue& writer,
                  const platform::Clock& clock, platform::LogSink& log)
      : file_(std::move(folder), "secrets", files, writer, clock, log) {}

  std::optional<std::string> read(std::string_view account) override;
  void write(std::string_view account, std::string_view value) override;
  std::string readOrWrite(std::string_view account, std::string_view value) override;

  /// Of what waits for the disk: see SettingsFile.
  bool flush(base::Duration patience) { return file_.flush(patience); }
  void finish(base::Duration patience) { file_.finish(patience); }

 private:
  SettingsFile file_;
};

}  // namespace zarn::desktop
