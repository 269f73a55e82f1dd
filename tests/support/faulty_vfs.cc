#include "support/faulty_vfs.h"

#include <sqlite3.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <new>
#include <system_error>

namespace zarn::testing {
namespace {

std::optional<std::string> contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) return std::nullopt;
  std::string content(static_cast<std::size_t>(file.tellg()), '\0');
  file.seekg(0).read(content.data(), static_cast<std::streamsize>(content.size()));
  return content;
}

}  // namespace

class FaultyVfs::State {
 public:
  explicit State(sqlite3_vfs* real) : real_(real) {}

  sqlite3_vfs* real() const { return real_; }

  void set(Operation operation, Fault fault) {
    std::lock_guard lock(mutex_);
    faults_[operation] = fault;
  }
  void clear() {
    std::lock_guard lock(mutex_);
    faults_.clear();
  }
  /// SQLITE_OK, or what the operation fails with.
  int check(Operation operation) {
    std::lock_guard lock(mutex_);
    if (operation == Operation::sync) ++syncs_;
    if (isPowerCut_ && operation != Operation::open) return SQLITE_IOERR;
    const auto found = faults_.find(operation);
    if (found == faults_.end()) return SQLITE_OK;
    Fault& fault = found->second;
    if (fault.countdown > 1) {
      --fault.countdown;
      return SQLITE_OK;
    }
    const int code = fault.code;
    if (!fault.forever) faults_.erase(found);
    return code;
  }
  int syncs() {
    std::lock_guard lock(mutex_);
    return syncs_;
  }

  void opened(const std::string& path) {
    std::lock_guard lock(mutex_);
    if (!synced_.contains(path)) synced_[path] = contentOf(path);
  }
  void synced(const std::string& path) {
    std::lock_guard lock(mutex_);
    if (!isPowerCut_) synced_[path] = contentOf(path);
  }
  bool mayDelete(const std::string& path) {
    std::lock_guard lock(mutex_);
    if (isPowerCut_) return false;
    synced_[path] = std::nullopt;
    return true;
  }
  void cutPower() {
    std::lock_guard lock(mutex_);
    isPowerCut_ = true;
  }
  void restart() {
    std::lock_guard lock(mutex_);
    for (const auto& [path, content] : synced_) {
      std::error_code ignored;
      std::filesystem::remove(path, ignored);
      std::filesystem::remove(path + "-shm", ignored);
      if (content) std::ofstream(path, std::ios::binary) << *content;
    }
    synced_.clear();
    isPowerCut_ = false;
  }

 private:
  sqlite3_vfs* const real_;
  std::mutex mutex_;
  std::map<Operation, Fault> faults_;
  std::map<std::string, std::optional<std::string>> synced_;  // by path; nothing: no such file
  bool isPowerCut_ = false;
  int syncs_ = 0;
};

namespace {

using State = FaultyVfs::State;
using Operation = FaultyVfs::Operation;

/// What SQLite sees as its file. The real one's memory follows it.
struct File {
  sqlite3_file base;
  State* state;
  std::string* path;
  sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
  const sqlite3_io_methods* methods() { return real()->pMethods; }
};

File* fileOf(sqlite3_file* file) {
  return reinterpret_cast<File*>(file);
}

const sqlite3_io_methods kMethods = {
    2,                     // the version without mapped files
    [](sqlite3_file* f) {  // xClose
      const int result = fileOf(f)->methods()->xClose(fileOf(f)->real());
      delete fileOf(f)->path;
      return result;
    },
    [](sqlite3_file* f, void* data, int size, sqlite3_int64 at) {  // xRead
      return fileOf(f)->methods()->xRead(fileOf(f)->real(), data, size, at);
    },
    [](sqlite3_file* f, const void* data, int size, sqlite3_int64 at) {  // xWrite
      if (const int code = fileOf(f)->state->check(Operation::write)) return code;
      return fileOf(f)->methods()->xWrite(fileOf(f)->real(), data, size, at);
    },
    [](sqlite3_file* f, sqlite3_int64 size) {  // xTruncate
      if (const int code = fileOf(f)->state->check(Operation::write)) return code;
      return fileOf(f)->methods()->xTruncate(fileOf(f)->real(), size);
    },
    [](sqlite3_file* f, int) {  // xSync: the machine that runs the test has its power
      if (const int code = fileOf(f)->state->check(Operation::sync)) return code;
      fileOf(f)->state->synced(*fileOf(f)->path);
      return SQLITE_OK;
    },
    [](sqlite3_file* f, sqlite3_int64* size) {  // xFileSize
      return fileOf(f)->methods()->xFileSize(fileOf(f)->real(), size);
    },
    [](sqlite3_file* f, int level) {  // xLock
      return fileOf(f)->methods()->xLock(fileOf(f)->real(), level);
    },
    [](sqlite3_file* f, int level) {  // xUnlock
      return fileOf(f)->methods()->xUnlock(fileOf(f)->real(), level);
    },
    [](sqlite3_file* f, int* result) {  // xCheckReservedLock
      return fileOf(f)->methods()->xCheckReservedLock(fileOf(f)->real(), result);
    },
    [](sqlite3_file* f, int operation, void* argument) {  // xFileControl
      return fileOf(f)->methods()->xFileControl(fileOf(f)->real(), operation, argument);
    },
    [](sqlite3_file* f) { return fileOf(f)->methods()->xSectorSize(fileOf(f)->real()); },
    [](sqlite3_file* f) { return fileOf(f)->methods()->xDeviceCharacteristics(fileOf(f)->real()); },
    [](sqlite3_file* f, int page, int size, int extend, void volatile** mapped) {  // xShmMap
      return fileOf(f)->methods()->xShmMap(fileOf(f)->real(), page, size, extend, mapped);
    },
    [](sqlite3_file* f, int offset, int count, int flags) {  // xShmLock
      return fileOf(f)->methods()->xShmLock(fileOf(f)->real(), offset, count, flags);
    },
    [](sqlite3_file* f) { fileOf(f)->methods()->xShmBarrier(fileOf(f)->real()); },
    [](sqlite3_file* f, int deleteIt) {  // xShmUnmap
      return fileOf(f)->methods()->xShmUnmap(fileOf(f)->real(), deleteIt);
    },
    nullptr,  // xFetch
    nullptr,  // xUnfetch
};

State& stateOf(sqlite3_vfs* vfs) {
  return *static_cast<State*>(vfs->pAppData);
}

int openFile(sqlite3_vfs* vfs, const char* path, sqlite3_file* file, int flags, int* outFlags) {
  State& state = stateOf(vfs);
  file->pMethods = nullptr;
  if (const int code = state.check(Operation::open)) return code;
  File* const ours = fileOf(file);
  ours->state = &state;
  const std::string name = path ? path : "";
  if (!name.empty()) state.opened(name);
  const int result = state.real()->xOpen(state.real(), path, ours->real(), flags, outFlags);
  if (result != SQLITE_OK) return result;
  ours->path = new std::string(name);
  file->pMethods = &kMethods;
  return SQLITE_OK;
}

int deleteFile(sqlite3_vfs* vfs, const char* path, int syncDirectory) {
  State& state = stateOf(vfs);
  if (!state.mayDelete(path)) return SQLITE_IOERR_DELETE;
  return state.real()->xDelete(state.real(), path, syncDirectory);
}

}  // namespace

FaultyVfs::FaultyVfs() {
  static std::atomic<int> count = 0;
  name_ = "faulty-" + std::to_string(++count);
  sqlite3_vfs* const real = sqlite3_vfs_find(nullptr);
  state_ = std::make_unique<State>(real);
  vfs_ = std::make_unique<sqlite3_vfs>(*real);  // what is not replaced needs no file of ours
  vfs_->pNext = nullptr;
  vfs_->zName = name_.c_str();
  vfs_->szOsFile = static_cast<int>(sizeof(File)) + real->szOsFile;
  vfs_->pAppData = state_.get();
  vfs_->xOpen = openFile;
  vfs_->xDelete = deleteFile;
  sqlite3_vfs_register(vfs_.get(), 0);
}

FaultyVfs::~FaultyVfs() {
  sqlite3_vfs_unregister(vfs_.get());
}

void FaultyVfs::fail(Operation operation, Fault fault) {
  state_->set(operation, fault);
}

void FaultyVfs::makeReadOnly() {
  state_->set(Operation::open, {.forever = true, .code = SQLITE_CANTOPEN});
  state_->set(Operation::write, {.forever = true, .code = SQLITE_READONLY});
}

void FaultyVfs::heal() {
  state_->clear();
}

int FaultyVfs::syncs() const {
  return state_->syncs();
}

void FaultyVfs::cutPower() {
  state_->cutPower();
}

void FaultyVfs::restart() {
  state_->restart();
}

}  // namespace zarn::testing
