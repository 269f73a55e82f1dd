#include "desktop/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "base/fork_guard.h"
#include "base/host_call.h"
#include "desktop/descriptor.h"
#include "platform/environment.h"
#include "platform/log.h"

namespace zarn::desktop {
namespace {

constexpr mode_t kPrivateFolder = S_IRWXU;
constexpr mode_t kPrivateFile = S_IRUSR | S_IWUSR;
constexpr std::size_t kLongestRead = std::size_t{256} << 20;

class PosixFileLock final : public platform::FileLock {
 public:
  explicit PosixFileLock(Descriptor file) : file_(std::move(file)), closedInChild_(file_.get()) {}
  ~PosixFileLock() override {
    // A child has closed its copy at the fork; the number may be another file's by now.
    if (base::inForkedChild()) {
      file_.release();
    } else {
      ::flock(file_.get(), LOCK_UN);  // for a child too that is about to close its copy
    }
  }

  bool lock() { return ::flock(file_.get(), LOCK_EX | LOCK_NB) == 0; }

 private:
  Descriptor file_;
  base::ClosedInChild closedInChild_;
};

/// A private file open for writing; `flags` in addition.
Descriptor createPrivate(const std::string& path, int flags) {
  Descriptor file(::open(path.c_str(), O_CREAT | O_CLOEXEC | O_NOFOLLOW | flags, kPrivateFile));
  if (file && ::fchmod(file.get(), kPrivateFile) != 0) return {};
  return file;
}

bool writeAll(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = ::write(fd, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

std::string folderOf(const std::string& path) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

bool syncFolder(const std::string& path) {
  const Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return folder && ::fsync(folder.get()) == 0;
}

/// The file has either its old content or the new, for every reader.
bool replaceFile(const std::string& path, std::string_view content, bool isSynced) {
  static std::atomic<unsigned> counter = 0;
  const std::string temporary =
      path + "." + std::to_string(::getpid()) + "-" + std::to_string(++counter) + ".tmp";
  Descriptor file = createPrivate(temporary, O_WRONLY | O_TRUNC);
  if (!file) return false;
  const bool written = writeAll(file.get(), content) && (!isSynced || ::fsync(file.get()) == 0) &&
                       ::close(file.release()) == 0 &&
                       ::rename(temporary.c_str(), path.c_str()) == 0;
  if (!written) ::unlink(temporary.c_str());
  return written;
}

std::string withoutTrailingSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

/// One name in a folder, whatever the text is.
std::string asFileName(std::string_view text) {
  std::string name(text.substr(0, 200));
  for (char& c : name) {
    if (c == '/' || static_cast<unsigned char>(c) < 0x20) c = '_';
  }
  return name.empty() || name == "." || name == ".." ? "zarn-app" : name;
}

std::string homeDirectory(platform::Environment& environment) {
  if (auto home = environment.variable("HOME"); home && home->starts_with('/')) return *home;
  std::array<char, 4096> buffer;
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found) {
    return {};
  }
  return found->pw_dir && *found->pw_dir == '/' ? found->pw_dir : "";
}

bool isUsableFolder(const std::string& path) {
  return ::access(path.c_str(), R_OK | W_OK | X_OK) == 0;
}

/// Makes the folder or takes the one that is there. Anyone may have put something there before us:
/// it must be a folder, ours, and closed to others.
bool takePrivateFolder(const std::string& path) {
  if (::mkdir(path.c_str(), kPrivateFolder) == 0) ::chmod(path.c_str(), kPrivateFolder);
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
         status.st_uid == ::geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0 &&
         isUsableFolder(path);
}

/// The same at every launch, so that what the last one has left is found again. Empty when the
/// system gives no folder.
std::string temporaryDirectory(const DataPlace& place, platform::Environment& environment) {
  const auto set = environment.variable("TMPDIR");
  const std::string parent =
      set && set->starts_with('/') ? withoutTrailingSlashes(*set) : std::string("/tmp");
  const std::string name = "zarn-" + std::to_string(::geteuid()) + "-" + asFileName(place.bundleId);
  std::string path = parent + "/" + name;
  if (takePrivateFolder(path)) return path;
  path = parent + "/zarn-XXXXXX";
  return ::mkdtemp(path.data()) != nullptr ? path : std::string();
}

}  // namespace

std::string absolutePath(std::string path) {
  if (path.empty() || path.front() == '/') return path;
  std::error_code failed;
  const auto current = std::filesystem::current_path(failed);
  return failed ? path : (current / path).string();
}

std::string wantedDataDirectory(const DataPlace& place, platform::Environment& environment) {
  if (!place.dataDirectory.empty()) {
    return place.dataDirectory.front() == '/' ? withoutTrailingSlashes(place.dataDirectory) : "";
  }
  const std::string name = "/" + asFileName(place.bundleId);
  const auto data = environment.variable("XDG_DATA_HOME");
  if (data && data->starts_with('/')) return withoutTrailingSlashes(*data) + name;
  const std::string home = homeDirectory(environment);
  return home.empty() ? home : withoutTrailingSlashes(home) + "/.local/share" + name;
}

PosixFiles::PosixFiles(DataPlace place, platform::Environment& environment, platform::LogSink& log)
    : place_(std::move(place)), environment_(environment), log_(log) {}

std::string PosixFiles::dataDirectory() {
  std::call_once(chosen_, [this] { chooseDataDirectory(); });
  return dataDirectory_;
}

void PosixFiles::chooseDataDirectory() {
  dataDirectory_ = wantedDataDirectory(place_, environment_);
  if (!dataDirectory_.empty() && createDirectories(dataDirectory_) &&
      isUsableFolder(dataDirectory_)) {
    return;
  }
  std::string temporary = temporaryDirectory(place_, environment_);
  if (!temporary.empty()) dataDirectory_ = std::move(temporary);
  log_.debug("[Zarn] the data directory can't be used; what is stored may not last");
}

bool PosixFiles::createDirectories(const std::string& path) {
  for (std::size_t end = 0; end != std::string::npos;) {
    end = path.find('/', end + 1);
    const std::string folder = path.substr(0, end);
    if (::mkdir(folder.c_str(), kPrivateFolder) == 0) {
      if (::chmod(folder.c_str(), kPrivateFolder) != 0) return false;
    }
  }
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::vector<std::string> PosixFiles::list(const std::string& directory) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(directory.c_str()), ::closedir);
  if (!folder) return names;
  while (const dirent* entry = ::readdir(folder.get())) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(std::move(name));
  }
  return names;
}

bool PosixFiles::exists(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

std::optional<std::string> PosixFiles::read(const std::string& path) {
  // Not blocking, so that a pipe in the file's place can't stop us.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  std::string content;
  std::array<char, 16384> buffer;
  while (content.size() <= kLongestRead) {
    const ssize_t got = ::read(file.get(), buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::nullopt;
    if (got == 0) return content;
    content.append(buffer.data(), static_cast<std::size_t>(got));
  }
  return std::nullopt;
}

bool PosixFiles::writeAtomically(const std::string& path, std::string_view content) {
  base::assertMayBlock("writing a file");
  return replaceFile(path, content, true) && syncFolder(folderOf(path));
}

bool PosixFiles::writeUnsynced(const std::string& path, std::string_view content) {
  return replaceFile(path, content, false);
}

bool PosixFiles::sync(const std::string& path) {
  base::assertMayBlock("syncing a file");
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  return file && ::fsync(file.get()) == 0 && syncFolder(folderOf(path));
}

bool PosixFiles::rename(const std::string& from, const std::string& to) {
  return ::rename(from.c_str(), to.c_str()) == 0;
}

bool PosixFiles::remove(const std::string& path) {
  return ::remove(path.c_str()) == 0;
}

void PosixFiles::makePrivate(const std::string& path) {
  // Through a descriptor, so that a link put in the file's place changes nothing elsewhere.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (file) ::fchmod(file.get(), kPrivateFile);
}

std::unique_ptr<platform::FileLock> PosixFiles::tryLock(const std::string& path) {
  Descriptor file = createPrivate(path, O_RDWR);
  if (!file) return nullptr;
  auto lock = std::make_unique<PosixFileLock>(std::move(file));
  if (!lock->lock()) return nullptr;
  return lock;
}

}  // namespace zarn::desktop
