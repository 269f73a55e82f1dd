// Sqlite and SqliteStatement: thin owners of a database handle and of its prepared statements.
//
//   auto database = base::Sqlite::open(path);
//   auto insert = database->prepare("INSERT INTO notes (id, text) VALUES (?, ?);");
//   insert.bindInteger(1, 7).bindText(2, "seven").run();
//   auto all = database->prepare("SELECT text FROM notes;");
//   all.forEachRow([&](const base::SqliteStatement& row) { use(row.text(0)); });
//
// Opened without SQLite's own mutex: one thread at a time, which the owner's serial queue sees to.
// Failures come back as false or nothing; lastError() has the words.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

struct sqlite3;
struct sqlite3_stmt;

namespace zarn::base {

/// An empty one, such as a failed prepare gives, can be used: it always fails. Dies before its
/// database.
class SqliteStatement {
 public:
  SqliteStatement() = default;
  SqliteStatement(SqliteStatement&& other) noexcept
      : statement_(std::exchange(other.statement_, nullptr)) {}
  SqliteStatement& operator=(SqliteStatement&& other) noexcept {
    std::swap(statement_, other.statement_);
    return *this;
  }
  ~SqliteStatement();

  explicit operator bool() const { return statement_ != nullptr; }

  /// Parameters count from 1. Text and blobs are not copied: they live until the statement has run.
  SqliteStatement& bindText(int parameter, std::string_view text);
  SqliteStatement& bindBlob(int parameter, std::string_view bytes);
  SqliteStatement& bindReal(int parameter, double value);
  SqliteStatement& bindInteger(int parameter, std::int64_t value);

  /// Runs to the end; rows are ignored. Afterwards nothing is bound and it can run again.
  bool run() {
    return forEachRow([](const SqliteStatement&) {});
  }

  /// Calls `onRow` for each row, which reads the columns below. False when it ended by an error:
  /// the rows before it were seen.
  template <typename F>
  bool forEachRow(F&& onRow) {
    while (step()) onRow(static_cast<const SqliteStatement&>(*this));
    return finish();
  }

  /// Columns count from 0. Views are valid inside the call for the row.
  bool isNull(int column) const;
  std::string_view text(int column) const;
  std::string_view blob(int column) const;
  double real(int column) const;
  std::int64_t integer(int column) const;

 private:
  friend class Sqlite;
  explicit SqliteStatement(sqlite3_stmt* statement) : statement_(statement) {}
  bool step();
  bool finish();

  sqlite3_stmt* statement_ = nullptr;
};

class Sqlite {
 public:
  struct Options {
    bool create = true;
    std::chrono::milliseconds busyTimeout{50};
    std::string vfs = {};  // SQLite's name of a file system; empty for its own choice
  };
  enum class Checkpoint {
    passive,  // waits for nobody, and nobody waits for it
    restart,  // all of the log, and the next write begins it anew
    full,     // all of the log
  };
  struct LogState {
    int frames = 0;  // pages in the write-ahead log; 0 where there is none
    int copied = 0;  // of these, in the database
  };

  /// Nothing when there is no such file or it can't be opened. A file that is no database shows
  /// only at the first statement.
  static std::optional<Sqlite> open(const std::string& path, const Options& options);
  static std::optional<Sqlite> open(const std::string& path) { return open(path, Options{}); }

  Sqlite(Sqlite&&) noexcept;
  Sqlite& operator=(Sqlite&&) noexcept;
  ~Sqlite();

  /// One or more statements without parameters.
  bool execute(const char* sql);
  SqliteStatement prepare(std::string_view sql);
  /// First column of the first row.
  std::optional<std::int64_t> queryInteger(std::string_view sql);
  std::string lastError() const;

  /// Leaves the write-ahead log to explicit checkpoints; SQLite would make them inside a commit.
  void stopAutomaticCheckpoints();
  /// Pages in the write-ahead log after this handle's last commit. Known once automatic checkpoints
  /// have been stopped.
  int logFrames() const;
  /// Nothing when it could not be made (completely, where that was asked).
  std::optional<LogState> checkpoint(Checkpoint mode);

 private:
  struct State;
  explicit Sqlite(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

/// BEGIN IMMEDIATE for the block; rolled back unless committed.
class SqliteTransaction {
 public:
  explicit SqliteTransaction(Sqlite& database);
  ~SqliteTransaction();
  SqliteTransaction(const SqliteTransaction&) = delete;
  SqliteTransaction& operator=(const SqliteTransaction&) = delete;

  bool isOpen() const { return isOpen_; }
  bool commit();

 private:
  Sqlite& database_;
  bool isOpen_;
};

}  // namespace zarn::base
