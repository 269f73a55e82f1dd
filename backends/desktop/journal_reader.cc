#include "desktop/journal_reader.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <string_view>
#include <type_traits>

struct sd_journal;

namespace zarn::desktop {
namespace {

constexpr std::size_t kMostRecords = 10;
constexpr std::size_t kMostFieldBytes = 64 << 10;
constexpr std::chrono::seconds kPatience{1};
constexpr uid_t kLastSystemUser = 999;
/// What the core dump service gives its records.
constexpr std::string_view kMessageId = "MESSAGE_ID=fc2e22bc6ee647b6b90729ab34a250b1";
/// SD_JOURNAL_LOCAL_ONLY, SD_JOURNAL_SYSTEM and SD_JOURNAL_CURRENT_USER.
constexpr int kOwnJournals = 1 | 4 | 8;

/// The functions of the system's library. It is no dependency of ours: not every system has it.
struct JournalLibrary {
  int (*open)(sd_journal** journal, int flags) = nullptr;
  int (*openDirectory)(sd_journal** journal, const char* path, int flags) = nullptr;
  void (*close)(sd_journal* journal) = nullptr;
  int (*addMatch)(sd_journal* journal, const void* data, std::size_t size) = nullptr;
  int (*seekTail)(sd_journal* journal) = nullptr;
  int (*previous)(sd_journal* journal) = nullptr;
  int (*realtime)(sd_journal* journal, std::uint64_t* microseconds) = nullptr;
  int (*data)(sd_journal* journal, const char* field, const void** data,
              std::size_t* size) = nullptr;

  /// Null where it is missing, or lacks one of them. It stays loaded.
  static const JournalLibrary* shared() {
    static const JournalLibrary library;
    return library.isWhole_ ? &library : nullptr;
  }

 private:
  JournalLibrary() {
    void* const handle = ::dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) return;
    const auto find = [handle](auto& function, const char* name) {
      function =
          reinterpret_cast<std::remove_reference_t<decltype(function)>>(::dlsym(handle, name));
      return function != nullptr;
    };
    isWhole_ = find(open, "sd_journal_open") && find(openDirectory, "sd_journal_open_directory") &&
               find(close, "sd_journal_close") && find(addMatch, "sd_journal_add_match") &&
               find(seekTail, "sd_journal_seek_tail") && find(previous, "sd_journal_previous") &&
               find(realtime, "sd_journal_get_realtime_usec") && find(data, "sd_journal_get_data");
  }

  bool isWhole_ = false;
};

template <typename T>
std::optional<T> numberIn(std::string_view text) {
  T number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// An open journal, at one of its entries.
class Journal {
 public:
  Journal(const JournalLibrary& library, const std::string& directory) : library_(library) {
    const int opened = directory.empty() ? library_.open(&journal_, kOwnJournals)
                                         : library_.openDirectory(&journal_, directory.c_str(), 0);
    if (opened < 0) journal_ = nullptr;
  }
  ~Journal() {
    if (journal_ != nullptr) library_.close(journal_);
  }
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  /// All matches must hold.
  bool match(std::string_view assignment) {
    return journal_ != nullptr &&
           library_.addMatch(journal_, assignment.data(), assignment.size()) >= 0;
  }
  bool seekTail() { return journal_ != nullptr && library_.seekTail(journal_) >= 0; }
  /// False at the start, and when it can't be read.
  bool previous() { return library_.previous(journal_) > 0; }

  std::int64_t time() {
    std::uint64_t microseconds = 0;
    if (library_.realtime(journal_, &microseconds) < 0) return 0;
    return static_cast<std::int64_t>(microseconds);
  }
  /// Valid until the next call.
  std::optional<std::string_view> field(const std::string& name) {
    const void* data = nullptr;
    std::size_t size = 0;
    if (library_.data(journal_, name.c_str(), &data, &size) < 0) return std::nullopt;
    const std::string_view assignment(static_cast<const char*>(data), size);
    if (size <= name.size()) return std::nullopt;
    return assignment.substr(name.size() + 1, kMostFieldBytes);
  }

 private:
  const JournalLibrary& library_;
  sd_journal* journal_ = nullptr;
};

/// Anybody may write to the journal, but not under another's name. The service writes as the user
/// whose program crashed, or as a system user.
bool isTrusted(Journal& journal, uid_t user) {
  const auto field = journal.field("_UID");
  const auto writer = field ? numberIn<uid_t>(*field) : std::nullopt;
  return writer && (*writer == user || *writer <= kLastSystemUser);
}

CrashRecord recordAt(Journal& journal, std::int64_t time) {
  CrashRecord record{.recordedAt = time, .crashedAt = time, .signal = {}, .message = {}};
  if (const auto text = journal.field("COREDUMP_TIMESTAMP")) {
    const auto crashedAt = numberIn<std::int64_t>(*text);
    if (crashedAt && *crashedAt > 0 && *crashedAt < time) record.crashedAt = *crashedAt;
  }
  if (const auto text = journal.field("COREDUMP_SIGNAL")) record.signal = numberIn<int>(*text);
  if (const auto text = journal.field("MESSAGE")) record.message = *text;
  return record;
}

/// Spares a system without a journal the loading of the library.
bool hasJournal(const std::string& directory) {
  if (!directory.empty()) return true;
  return ::access("/var/log/journal", X_OK) == 0 || ::access("/run/log/journal", X_OK) == 0;
}

}  // namespace

std::vector<CrashRecord> readCrashRecords(const CrashQuery& query) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  std::vector<CrashRecord> records;
  const JournalLibrary* library = hasJournal(query.directory) ? JournalLibrary::shared() : nullptr;
  if (library == nullptr) return records;
  Journal journal(*library, query.directory);
  if (!journal.match(kMessageId) || !journal.match("COREDUMP_EXE=" + query.executable) ||
      !journal.match("COREDUMP_UID=" + std::to_string(query.user)) || !journal.seekTail()) {
    return records;
  }
  while (records.size() < kMostRecords && std::chrono::steady_clock::now() < deadline &&
         journal.previous()) {
    const std::int64_t time = journal.time();
    if (time <= query.since) break;
    if (time <= query.until && isTrusted(journal, query.user))
      records.push_back(recordAt(journal, time));
  }
  std::reverse(records.begin(), records.end());
  return records;
}

}  // namespace zarn::desktop
