#include "events/store_upkeep.h"

#include <utility>

namespace zarn::events {
namespace {

constexpr base::Duration kTidyDelay = base::seconds(5);
/// Each repeat copies what was appended meanwhile, which is less each time unless inserts are
/// faster than the disk.
constexpr int kCopiesPerPass = 3;
/// Rewriting costs what the used pages cost, in one turn on the queue: about a millisecond.
constexpr int kMostUsedPagesToRewrite = 64;
constexpr int kFreePagesWorthRewriting = 256;

}  // namespace

StoreUpkeep::StoreUpkeep(std::string path, std::string vfs, base::Executor& background,
                         base::SerialQueue& queue, base::Sqlite& database)
    : path_(std::move(path)),
      vfs_(std::move(vfs)),
      background_(background),
      queue_(queue),
      database_(database) {}

void StoreUpkeep::wrote() {
  queue_.assertCurrent();
  const int frames = database_.logFrames();
  if (frames < framesAtLastPass_) framesAtLastPass_ = 0;  // the log was begun anew
  if (frames - framesAtLastPass_ >= kLogFramesPerPass) request();
}

void StoreUpkeep::request() {
  queue_.assertCurrent();
  if (std::exchange(isUnderWay_, true)) return;
  background_.post(weakly(scope_, [this] { pass(); }));
}

void StoreUpkeep::removedRows() {
  queue_.assertCurrent();
  if (std::exchange(isTidyPosted_, true)) return;
  background_.postAfter(kTidyDelay, weakly(scope_, [this] {
                          bool mine = false;
                          queue_.sync([&] {
                            queue_.assertCurrent();
                            isTidyPosted_ = false;
                            mine = !std::exchange(isUnderWay_, true);
                          });
                          if (mine) pass();
                        }));
}

void StoreUpkeep::pass() {
  for (bool again = true; again;) {
    const bool copied = copyLog();
    again = false;
    queue_.sync([&] {
      queue_.assertCurrent();
      if (copied) again = settle() && shrink();
      framesAtLastPass_ = database_.logFrames();
      isUnderWay_ = again;
    });
  }
}

bool StoreUpkeep::copyLog() {
  if (!copier_) {
    copier_ = base::Sqlite::open(path_, {.create = false, .vfs = vfs_});
    // A handle learns from its first read that there is a log.
    if (!copier_ || !copier_->queryInteger("PRAGMA schema_version;")) {
      copier_.reset();
      return false;
    }
  }
  for (int i = 0; i < kCopiesPerPass; ++i) {
    const auto log = copier_->checkpoint(base::Sqlite::Checkpoint::passive);
    if (!log) return false;
    copiedFrames_ = log->copied;
  }
  return true;
}

/// Begins the log anew; false when the writer is ahead and that can wait.
bool StoreUpkeep::settle() {
  const int frames = database_.logFrames();
  if (frames != copiedFrames_ && frames < kMostLogFrames) return false;
  if (!database_.checkpoint(base::Sqlite::Checkpoint::restart)) return false;
  // The first write to a new log waits for the disk.
  return database_.execute("PRAGMA user_version=1;");
}

bool StoreUpkeep::shrink() {
  const auto all = database_.queryInteger("PRAGMA page_count;");
  const auto unused = database_.queryInteger("PRAGMA freelist_count;");
  if (!all || !unused || *unused < kFreePagesWorthRewriting) return false;
  return *all - *unused <= kMostUsedPagesToRewrite && database_.execute("VACUUM;");
}

}  // namespace zarn::events
