#include "server/database.h"

#include <sqlite3.h>

namespace zarn::collector {

std::unique_ptr<Database> Database::open(const std::string& file, Mode mode, std::string& error) {
  std::unique_ptr<Database> database(new Database);
  const int flags =
      SQLITE_OPEN_NOMUTEX |
      (mode == Mode::write ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY);
  const int result = sqlite3_open_v2(file.c_str(), &database->handle_, flags, nullptr);
  if (result != SQLITE_OK) {
    error = sqlite3_errstr(result);
    return nullptr;
  }
  sqlite3_busy_timeout(database->handle_, 2000);
  constexpr int stepsBetweenLooks = 20'000;
  sqlite3_progress_handler(database->handle_, stepsBetweenLooks, isLate, database.get());
  return database;
}

Database::~Database() {
  sqlite3_close(handle_);
}

int Database::isLate(void* self) {
  const auto deadline = static_cast<Database*>(self)->deadline_;
  return std::chrono::steady_clock::now() > deadline ? 1 : 0;
}

bool Database::run(const char* sql) {
  return sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

std::string Database::message() const {
  return sqlite3_errmsg(handle_);
}
int Database::changes() const {
  return sqlite3_changes(handle_);
}

Statement::Statement(Database& database, std::string_view sql) {
  failed_ = sqlite3_prepare_v2(database.handle(), sql.data(), static_cast<int>(sql.size()),
                               &statement_, nullptr) != SQLITE_OK;
}

Statement::~Statement() {
  sqlite3_finalize(statement_);
}

Statement& Statement::bind(int index, std::int64_t value) {
  sqlite3_bind_int64(statement_, index, value);
  return *this;
}

Statement& Statement::bind(int index, std::string_view text) {
  const char* data = text.data() == nullptr ? "" : text.data();
  sqlite3_bind_text64(statement_, index, data, text.size(), SQLITE_STATIC, SQLITE_UTF8);
  return *this;
}

Statement& Statement::bindBytes(int index, std::string_view bytes) {
  sqlite3_bind_blob64(statement_, index, bytes.data(), bytes.size(), SQLITE_STATIC);
  return *this;
}

Statement& Statement::bindNull(int index) {
  sqlite3_bind_null(statement_, index);
  return *this;
}

bool Statement::step() {
  if (failed_) return false;
  const int result = sqlite3_step(statement_);
  failed_ = result != SQLITE_ROW && result != SQLITE_DONE;
  return result == SQLITE_ROW;
}

bool Statement::run() {
  while (step()) {
  }
  const bool good = !failed_;
  if (statement_ != nullptr) reset();
  return good;
}

void Statement::reset() {
  sqlite3_reset(statement_);
  failed_ = statement_ == nullptr;
}

std::int64_t Statement::number(int column) const {
  return sqlite3_column_int64(statement_, column);
}

std::string_view Statement::text(int column) const {
  const unsigned char* data = sqlite3_column_text(statement_, column);
  if (data == nullptr) return {};
  return {reinterpret_cast<const char*>(data),
          static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

std::string_view Statement::bytes(int column) const {
  const void* data = sqlite3_column_blob(statement_, column);
  if (data == nullptr) return {};
  return {static_cast<const char*>(data),
          static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

bool Statement::isNull(int column) const {
  return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

}  // namespace zarn::collector
