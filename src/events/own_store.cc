#include "events/own_store.h"

#include "events/legacy_events.h"

namespace zarn::events {
namespace {

void removeStore(platform::Files& files, const std::string& path) {
  for (const char* suffix : kSideFileSuffixes) files.remove(path + suffix);
  files.remove(path);
}

void removeAllStores(platform::Files& files, const StoreFolder& folder) {
  for (const std::string& name : files.list(folder.path())) {
    if (isStoreFileName(name)) files.remove(folder.file(name));
  }
  removeLegacyEvents(files, folder.file(kLegacyEventsFolder));
}

/// The path for the store; empty without a folder.
std::string preparePath(platform::Files& files, const std::optional<StoreFolder>& folder,
                        const StoreIdentity& identity) {
  if (!folder) return {};
  removeStore(files, folder->file(kLegacyStoreFileName));
  return folder->file(storeFileName(identity));
}

}  // namespace

OwnStore::OwnStore(const StoreIdentity& identity, const SqliteEventStore::Services& services)
    : files_(services.files),
      dataDirectory_(files_.dataDirectory()),
      folder_(StoreFolder::acquire(files_, dataDirectory_)),
      store_(preparePath(files_, folder_, identity), services) {
  if (folder_) adoptAbandoned(storeFileName(identity));
}

void OwnStore::adoptAbandoned(const std::string& fileName) {
  for (const StoreFolder& abandoned : StoreFolder::acquireAbandoned(files_, dataDirectory_)) {
    const std::string path = abandoned.file(fileName);
    // A failure between the two leaves rows in both places, which delivery by id tells apart.
    if (files_.exists(path) && store_.adopt(path)) removeStore(files_, path);
  }
}

void deleteAbandonedStoreFiles(platform::Files& files) {
  for (const StoreFolder& folder : StoreFolder::acquireAbandoned(files, files.dataDirectory())) {
    removeAllStores(files, folder);
  }
}

}  // namespace zarn::events
