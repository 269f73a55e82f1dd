#include "desktop_entry.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string_view>
#include <system_error>

namespace opener {
namespace {

/// An argument in the Exec key: quoted, and then with the escapes of any text in such a file.
std::string execArgument(std::string_view argument) {
  std::string text = "\"";
  for (const char c : argument) {
    if (std::string_view("\"`$").find(c) != std::string_view::npos) text += "\\\\";
    if (c == '\\') text += "\\\\\\";
    if (c == '%') text += '%';
    text += c;
  }
  return text + "\"";
}

}  // namespace

std::optional<std::filesystem::path> writeDesktopEntry(const std::filesystem::path& folder,
                                                       const DesktopEntry& entry) {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return std::nullopt;
  std::filesystem::create_directories(folder, error);
  const auto path = folder / (entry.id + ".desktop");
  std::ofstream file(path);
  file << "[Desktop Entry]\nType=Application\nName=" << entry.name
       << "\nExec=" << execArgument(program.string())
       << " %u\nTerminal=false\nMimeType=x-scheme-handler/" << entry.scheme << ";\n";
  file.close();
  return file ? std::optional(path) : std::nullopt;
}

bool makeDefault(const std::string& id, const std::string& scheme) {
  std::string words[] = {"xdg-mime", "default", id + ".desktop", "x-scheme-handler/" + scheme};
  char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(),
                             nullptr};
  pid_t child = 0;
  if (posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments, environ) != 0) return false;
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace opener
