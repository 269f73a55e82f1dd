// Reads the small text files in which the system tells about itself.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zarn::desktop {

/// At most the first `limit` bytes; empty when there is no such file.
std::string readSmallFile(const std::string& path, std::size_t limit);

/// At most 256 bytes, without space around it; empty when there is no such file.
std::string firstLine(const std::string& path);

/// The number at the start of a file, or `otherwise`.
long firstNumber(const std::string& path, long otherwise);

/// The names in a folder that begin with `prefix`, in alphabetical order, at most 64.
std::vector<std::string> namesIn(const std::string& folder, const std::string& prefix = {});

}  // namespace zarn::desktop
