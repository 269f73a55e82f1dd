// OwnStore: a client's store in the folder that the client owns. Opening it takes over what other
// clients of the same project left behind; deleting covers every folder whose owner is gone.
//
//   OwnStore own(identity, {files, dispatch.pool(), model::readStoredEvent, report});
//   EventQueue queue(..., own.store());
#pragma once

#include <optional>
#include <string>

#include "events/sqlite_event_store.h"
#include "events/store_folder.h"
#include "events/store_location.h"

namespace zarn::events {

class OwnStore {
 public:
  /// Waits for the disk. Where no folder or file can be had the store is a closed one.
  OwnStore(const StoreIdentity& identity, const SqliteEventStore::Services& services);

  SqliteEventStore& store() { return store_; }

 private:
  void adoptAbandoned(const std::string& fileName);

  platform::Files& files_;
  const std::string dataDirectory_;
  const std::optional<StoreFolder> folder_;
  SqliteEventStore store_;
};

/// Deletes the files of all stores, of any project and release, in folders without an owner. For a
/// client that has no store yet.
void deleteAbandonedStoreFiles(platform::Files& files);

}  // namespace zarn::events
