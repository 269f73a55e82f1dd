// Real files in a folder of their own, which fail and let others in between when a test says so.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "desktop/files.h"
#include "support/fake_services.h"
#include "support/temp_directory.h"

namespace zarn::testing {

class PolicyFiles final : public desktop::PosixFiles {
 public:
  PolicyFiles(std::string folder, FakeEnvironment& environment, FakeLog& log)
      : PosixFiles({.dataDirectory = std::move(folder), .bundleId = ""}, environment, log) {}

  enum class Fault {
    none,
    unwritten,  // the disk is full
    unsynced,   // written and seen by all readers, but not sure to last
  };
  Fault fault = Fault::none;
  bool canRead = true;
  bool canRemove = true;
  /// Called once, before the next content is written.
  std::function<void()> beforeWrite;

  bool writeAtomically(const std::string& path, std::string_view content) override {
    if (auto hook = std::exchange(beforeWrite, nullptr)) hook();
    if (fault == Fault::unwritten) return false;
    return PosixFiles::writeAtomically(path, content) && fault == Fault::none;
  }
  std::optional<std::string> read(const std::string& path) override {
    return canRead ? PosixFiles::read(path) : std::nullopt;
  }
  bool remove(const std::string& path) override { return canRemove && PosixFiles::remove(path); }
};

/// An app's private data, as one launch after the other finds it.
struct PolicyHost {
  TempDirectory directory;
  FakeEnvironment environment;
  FakeLog log;
  PolicyFiles files{directory.path(), environment, log};

  std::string path() const { return directory.file("io.zarn.sdk/replay-policy-v1.json"); }
  std::string text() { return files.PosixFiles::read(path()).value_or(""); }
  void put(std::string_view text) {
    files.createDirectories(directory.file("io.zarn.sdk"));
    files.PosixFiles::writeAtomically(path(), text);
  }
};

}  // namespace zarn::testing
