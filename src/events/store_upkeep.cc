#include "events/store_upkeep.h"

#include <utility>

namespace zarn::events {
namespace {

constexpr base::Duration kTidyDelay = base::seconds(5);
/// A day of small batches should not write the same pages after each of them.
constexpr int kFramesWorthTidying = 500;
/// Each repeat copies what was appended meanwhile, which is less each time unless inserts are
/// faster than the disk.
constexpr int kCopiesPerPass = 3;
/// Rewriting costs what the used pages cost, in one turn on the queue: about a millisecond.
constexpr const char* kCutLogTo4MiB = "PRAGMA journal_size_limit=4194304;";
constexpr const char* kKeepLogSize = "PRAGMA journal_size_limit=-1;";
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
  if (std::exchange(isPassPosted_, true)) return;
  background_.post(weakly(scope_, [this] { pass(Occasion::busy); }));
  postTidy();
}

void StoreUpkeep::removedRows() {
  queue_.assertCurrent();
  postTidy();
}

void StoreUpkeep::postTidy() {
  queue_.assertCurrent();
  if (std::exchange(isTidyPosted_, true)) return;
  background_.postAfter(kTidyDelay, weakly(scope_, [this] { tidy(); }));
}

void StoreUpkeep::tidy() {
  bool isWorthIt = false;
  queue_.sync([&] {
    queue_.assertCurrent();
    isTidyPosted_ = false;
    isWorthIt = database_.logFrames() >= kFramesWorthTidying || isWorthShrinking();
  });
  if (isWorthIt) pass(Occasion::quiet);
}

base::Closure StoreUpkeep::relief(int threshold) {
  queue_.assertCurrent();
  const int frames = database_.logFrames();
  const bool isDue = frames - framesAtLastPass_ >= kLogFramesPerPass;
  if (frames < threshold || !isDue) return nullptr;
  return weakly(scope_, [this] { pass(Occasion::busy); });
}

void StoreUpkeep::pass(Occasion occasion) {
  base::MutexLock lock(passMutex_);
  for (bool again = true; again;) {
    const auto copiedFrames = copyLog();
    again = false;
    queue_.sync([&] {
      queue_.assertCurrent();
      again = beginLogAnew(occasion, copiedFrames) && isWorthShrinking() &&
              database_.execute("VACUUM;");
      framesAtLastPass_ = database_.logFrames();
      isPassPosted_ = false;
    });
  }
}

/// How much of the log is in the database now; nothing when it can't be copied beside the writer.
std::optional<int> StoreUpkeep::copyLog() {
  if (!copier_) {
    copier_ = base::Sqlite::open(path_, {.create = false, .vfs = vfs_});
    // A handle learns from its first read that there is a log.
    if (!copier_ || !copier_->queryInteger("PRAGMA schema_version;")) {
      copier_.reset();
      return std::nullopt;
    }
  }
  int copiedFrames = 0;
  for (int i = 0; i < kCopiesPerPass; ++i) {
    const auto log = copier_->checkpoint(base::Sqlite::Checkpoint::passive);
    if (!log) return std::nullopt;
    copiedFrames = log->copied;
  }
  return copiedFrames;
}

/// False when the writer is ahead and that can wait.
bool StoreUpkeep::beginLogAnew(Occasion occasion, std::optional<int> copiedFrames) {
  const int frames = database_.logFrames();
  if (frames != copiedFrames && frames < kMostLogFrames) return false;
  if (!database_.checkpoint(base::Sqlite::Checkpoint::restart)) return false;
  // The first write to a new log waits for the disk, and cuts the file.
  database_.execute(occasion == Occasion::quiet ? kCutLogTo4MiB : kKeepLogSize);
  return database_.execute("PRAGMA user_version=1;");
}

bool StoreUpkeep::isWorthShrinking() {
  const auto all = database_.queryInteger("PRAGMA page_count;");
  const auto unused = database_.queryInteger("PRAGMA freelist_count;");
  return all && unused && *unused >= kFreePagesWorthRewriting &&
         *all - *unused <= kMostUsedPagesToRewrite;
}

}  // namespace zarn::events
