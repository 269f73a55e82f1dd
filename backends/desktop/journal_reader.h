// Core dump records of the system's journal, read with the system's own library where it is there.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zarn::desktop {

struct CrashQuery {
  std::string executable;  // path of the program that crashed
  uid_t user = 0;          // who ran it
  // Recorded after the one and up to the other; microseconds since 1970.
  std::int64_t since = 0;
  std::int64_t until = 0;
  /// A folder of journal files in place of the system's journal.
  std::string directory;
};

struct CrashRecord {
  std::int64_t recordedAt = 0;  // microseconds since 1970
  std::int64_t crashedAt = 0;   // likewise
  std::optional<int> signal;    // as Linux numbers them
  std::string message;          // at most 64 KiB of any bytes
};

/// The newest ten at most, oldest first, and no more than can be read in a second; nothing without
/// a journal, or without its library. For a thread that may block.
std::vector<CrashRecord> readCrashRecords(const CrashQuery& query);

}  // namespace zarn::desktop
