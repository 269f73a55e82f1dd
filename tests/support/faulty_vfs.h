// FaultyVfs: a file system for SQLite that fails on demand and can lose power.
//
//   FaultyVfs vfs;
//   SqliteEventStore store(path, services, vfs.name());
//   vfs.fail(FaultyVfs::Operation::write, {.countdown = 3, .code = SQLITE_FULL});
//   ...
//   vfs.cutPower();      // nothing reaches the disk any more; let the store die now
//   vfs.restart();       // files are as they were at their last sync
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct sqlite3_file;
struct sqlite3_vfs;

namespace zarn::testing {

/// Any thread. Handles opened through it close before it dies.
class FaultyVfs {
 public:
  enum class Operation : std::uint8_t { open, write, sync };
  struct Fault {
    int countdown = 1;     // 1 is the next such operation
    bool forever = false;  // and all after it
    int code = 10;         // SQLITE_IOERR
  };

  FaultyVfs();
  ~FaultyVfs();
  FaultyVfs(const FaultyVfs&) = delete;
  FaultyVfs& operator=(const FaultyVfs&) = delete;

  /// What SQLite knows it by.
  const std::string& name() const { return name_; }

  void fail(Operation operation, Fault fault);
  /// Every write and every creation of a file fails as on a file system mounted read-only.
  void makeReadOnly();
  void heal();
  int syncs() const;

  /// From now on every change fails.
  void cutPower();
  /// Brings the files back to what was synced, and changes succeed again.
  void restart();

  class State;

 private:
  std::string name_;
  std::unique_ptr<State> state_;
  std::unique_ptr<sqlite3_vfs> vfs_;
};

}  // namespace zarn::testing
