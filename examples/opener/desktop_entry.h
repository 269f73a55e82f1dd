// How a program tells the desktop that it opens links of a scheme.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace opener {

struct DesktopEntry {
  std::string id;      // the file's name, without ".desktop"
  std::string name;    // as users see it
  std::string scheme;  // without ":"
};

/// Writes `ID.desktop` for the running program; nothing when that fails.
std::optional<std::filesystem::path> writeDesktopEntry(const std::filesystem::path& folder,
                                                       const DesktopEntry& entry);

/// Makes that program the one for the scheme, by xdg-mime; false when that is not there or fails.
bool makeDefault(const std::string& id, const std::string& scheme);

}  // namespace opener
