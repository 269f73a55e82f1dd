// The viewer's files, read once at start into a table from path to reply.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "server/request.h"

namespace zarn::collector {

class Assets {
 public:
  /// Reads what the viewer's build left in the directory. Without an index.html there, "/" tells
  /// how to get the viewer.
  explicit Assets(const std::filesystem::path& directory);

  std::optional<Reply> find(const std::string& path) const;
  bool hasViewer() const { return hasViewer_; }

 private:
  std::map<std::string, Reply> replies_;  // constant after construction
  bool hasViewer_ = false;
};

/// Where the viewer is when nobody says: beside the program, or where it is installed.
std::filesystem::path defaultViewerDirectory();

}  // namespace zarn::collector
