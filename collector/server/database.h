// SQLite with owners for handle and statements. One thread at a time per database.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace zarn::collector {

class Database {
 public:
  enum class Mode { write, read };

  /// Null, with a message, when it cannot be opened.
  static std::unique_ptr<Database> open(const std::string& file, Mode mode, std::string& error);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  bool run(const char* sql);
  /// Statements that still run at that time fail.
  void setDeadline(std::chrono::steady_clock::time_point deadline) { deadline_ = deadline; }
  std::string message() const;
  sqlite3* handle() const { return handle_; }
  int changes() const;

 private:
  Database() = default;
  static int isLate(void* self);

  sqlite3* handle_ = nullptr;
  std::chrono::steady_clock::time_point deadline_ = std::chrono::steady_clock::time_point::max();
};

/// Bound texts and bytes must outlive the step.
class Statement {
 public:
  Statement(Database& database, std::string_view sql);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  Statement& bind(int index, std::int64_t value);
  Statement& bind(int index, std::string_view text);
  Statement& bindBytes(int index, std::string_view bytes);
  Statement& bindNull(int index);
  /// True while there is a row to read; see failed() when there is none.
  bool step();
  /// Runs to the end and makes the statement ready for the next bindings.
  bool run();
  void reset();
  bool failed() const { return failed_; }

  std::int64_t number(int column) const;
  std::string_view text(int column) const;   // until the next step
  std::string_view bytes(int column) const;  // likewise
  bool isNull(int column) const;

 private:
  sqlite3_stmt* statement_ = nullptr;
  bool failed_ = false;
};

}  // namespace zarn::collector
