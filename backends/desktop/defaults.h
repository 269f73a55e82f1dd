// The defaults of an app, in a file that all its processes share.
#pragma once

#include "desktop/settings_file.h"
#include "platform/defaults.h"

namespace zarn::desktop {

class FileDefaults final : public platform::Defaults {
 public:
  /// Keeps its files in `folder`. See SettingsFile.
  FileDefaults(std::string folder, platform::Files& files, base::SerialQueue& writer,
               const platform::Clock& clock, platform::LogSink& log)
      : file_(std::move(folder), "defaults", files, writer, clock, log) {}

  std::optional<bool> getBool(std::string_view key) override;
  std::optional<double> getDouble(std::string_view key) override;
  std::optional<std::string> getString(std::string_view key) override;
  bool mayHold(std::string_view key) override { return file_.mayHold(key); }
  using Defaults::set;
  void set(std::string_view key, bool value) override { file_.set(key, value); }
  void set(std::string_view key, double value) override { file_.set(key, value); }
  void set(std::string_view key, std::string_view value) override { file_.set(key, value); }
  void remove(std::string_view key) override { file_.set(key, nullptr); }
  bool commit() override;

  /// Of what waits for the disk: see SettingsFile.
  bool flush(base::Duration patience) { return file_.flush(patience); }
  void finish(base::Duration patience) { file_.finish(patience); }

 private:
  SettingsFile file_;
};

}  // namespace zarn::desktop
