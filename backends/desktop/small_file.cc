#include "desktop/small_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <memory>

#include "base/text.h"
#include "desktop/descriptor.h"

namespace zarn::desktop {
namespace {

constexpr std::size_t kLongestLine = 256;
constexpr std::size_t kMostNames = 64;

}  // namespace

std::string readSmallFile(const std::string& path, std::size_t limit) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file) return {};
  std::string content(limit, '\0');
  std::size_t size = 0;
  while (size < limit) {
    const ssize_t count = ::read(file.get(), content.data() + size, limit - size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    size += static_cast<std::size_t>(count);
  }
  content.resize(size);
  return content;
}

std::string firstLine(const std::string& path) {
  const std::string content = readSmallFile(path, kLongestLine);
  // Texts of the firmware may end with a zero byte.
  return std::string(base::trimmed(content.substr(0, content.find_first_of({"\n\0", 2}))));
}

long firstNumber(const std::string& path, long otherwise) {
  const std::string line = firstLine(path);
  long number = otherwise;
  std::from_chars(line.data(), line.data() + line.size(), number);
  return number;
}

std::vector<std::string> namesIn(const std::string& folder, const std::string& prefix) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(::opendir(folder.c_str()), ::closedir);
  if (!entries) return names;
  while (const dirent* entry = ::readdir(entries.get())) {
    std::string name(entry->d_name);
    if (name.front() == '.' || !name.starts_with(prefix)) continue;
    names.push_back(std::move(name));
    if (names.size() == kMostNames) break;
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace zarn::desktop
