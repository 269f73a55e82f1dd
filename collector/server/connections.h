// Read-only connections to what is kept, so that a slow search never holds up what arrives.
// Thread-safe; a lease is for one thread.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "server/database.h"

namespace zarn::collector {

class Connections {
 public:
  explicit Connections(std::string file) : file_(std::move(file)) {}

  /// A connection for one question, which may take 10 s.
  class Lease {
   public:
    Lease(Connections& owner, std::string& error);
    ~Lease();
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    /// False, with the message noted, when there is no connection to be had.
    explicit operator bool() const { return database_ != nullptr; }
    Database& operator*() const { return *database_; }

    /// Calls `row` for each row. False, with the message noted, when the statement failed.
    template <class Row>
    bool each(Statement& statement, Row row) {
      while (statement.step()) row(statement);
      if (statement.failed()) error_ = database_->message();
      return !statement.failed();
    }

   private:
    Connections& owner_;
    std::string& error_;
    std::unique_ptr<Database> database_;
  };

 private:
  const std::string file_;
  std::mutex mutex_;
  std::vector<std::unique_ptr<Database>> idle_;  // guarded by mutex_
};

}  // namespace zarn::collector
