// A folder of its own for one test, gone with everything in it at the end.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <string>
#include <system_error>

namespace zarn::testing {

class TempDirectory {
 public:
  TempDirectory() : TempDirectory(std::filesystem::temp_directory_path()) {}
  explicit TempDirectory(const std::filesystem::path& parent) {
    std::string pattern = (parent / "zarn-XXXXXX").string();
    if (const char* made = mkdtemp(pattern.data())) path_ = made;
  }
  ~TempDirectory() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace zarn::testing
