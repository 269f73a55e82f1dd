// Where stored events are: one database file for each environment, project and host, named so that
// any text can stand in it.
#pragma once

#include <string>
#include <string_view>

namespace zarn::events {

/// What a store's file is named after.
struct StoreIdentity {
  std::string projectId;
  std::string environment;
  std::string apiHost;
};

/// "events-<environment>-<project>-<hash of the host>.sqlite", within what file systems take as a
/// name together with the suffixes of the database's side files.
std::string storeFileName(const StoreIdentity& identity);

/// Whether a file of this name belongs to some store, of this release or an older one.
bool isStoreFileName(std::string_view name);

/// The one file of the oldest releases.
inline constexpr const char* kLegacyStoreFileName = "events.sqlite";

/// What SQLite may keep beside a database file; the file itself is not among them.
inline constexpr const char* kSideFileSuffixes[] = {"-wal", "-shm", "-journal"};

}  // namespace zarn::events
