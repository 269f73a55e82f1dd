#include "base/sqlite.h"

#include <sqlite3.h>

#include <algorithm>

namespace zarn::base {
namespace {

std::string_view bytesOf(const void* data, int size) {
  return data ? std::string_view(static_cast<const char*>(data), static_cast<std::size_t>(size))
              : std::string_view();
}

/// SQLite takes a null pointer for NULL, whatever the length.
const char* dataOf(std::string_view bytes) {
  return bytes.data() ? bytes.data() : "";
}

}  // namespace

SqliteStatement::~SqliteStatement() {
  sqlite3_finalize(statement_);
}

SqliteStatement& SqliteStatement::bindText(int parameter, std::string_view text) {
  if (statement_) {
    sqlite3_bind_text64(statement_, parameter, dataOf(text), text.size(), SQLITE_STATIC,
                        SQLITE_UTF8);
  }
  return *this;
}

SqliteStatement& SqliteStatement::bindBlob(int parameter, std::string_view bytes) {
  if (statement_) {
    sqlite3_bind_blob64(statement_, parameter, dataOf(bytes), bytes.size(), SQLITE_STATIC);
  }
  return *this;
}

SqliteStatement& SqliteStatement::bindReal(int parameter, double value) {
  if (statement_) sqlite3_bind_double(statement_, parameter, value);
  return *this;
}

SqliteStatement& SqliteStatement::bindInteger(int parameter, std::int64_t value) {
  if (statement_) sqlite3_bind_int64(statement_, parameter, value);
  return *this;
}

bool SqliteStatement::step() {
  return statement_ && sqlite3_step(statement_) == SQLITE_ROW;
}

bool SqliteStatement::finish() {
  if (!statement_) return false;
  const bool succeeded = sqlite3_reset(statement_) == SQLITE_OK;
  sqlite3_clear_bindings(statement_);
  return succeeded;
}

bool SqliteStatement::isNull(int column) const {
  return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

std::string_view SqliteStatement::text(int column) const {
  const void* data = sqlite3_column_text(statement_, column);
  return bytesOf(data, sqlite3_column_bytes(statement_, column));
}

std::string_view SqliteStatement::blob(int column) const {
  const void* data = sqlite3_column_blob(statement_, column);
  return bytesOf(data, sqlite3_column_bytes(statement_, column));
}

double SqliteStatement::real(int column) const {
  return sqlite3_column_double(statement_, column);
}

std::int64_t SqliteStatement::integer(int column) const {
  return sqlite3_column_int64(statement_, column);
}

struct Sqlite::State {
  sqlite3* handle = nullptr;
  int logFrames = 0;

  ~State() { sqlite3_close(handle); }
};

Sqlite::Sqlite(std::unique_ptr<State> state) : state_(std::move(state)) {}
Sqlite::Sqlite(Sqlite&&) noexcept = default;
Sqlite& Sqlite::operator=(Sqlite&&) noexcept = default;
Sqlite::~Sqlite() = default;

std::optional<Sqlite> Sqlite::open(const std::string& path, const Options& options) {
  auto state = std::make_unique<State>();
  const int flags =
      SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (options.create ? SQLITE_OPEN_CREATE : 0);
  const char* vfs = options.vfs.empty() ? nullptr : options.vfs.c_str();
  if (sqlite3_open_v2(path.c_str(), &state->handle, flags, vfs) != SQLITE_OK) return std::nullopt;
  sqlite3_busy_timeout(state->handle, static_cast<int>(options.busyTimeout.count()));
  return Sqlite(std::move(state));
}

bool Sqlite::execute(const char* sql) {
  return sqlite3_exec(state_->handle, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

SqliteStatement Sqlite::prepare(std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v3(state_->handle, sql.data(), static_cast<int>(sql.size()),
                     SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  return SqliteStatement(statement);
}

std::optional<std::int64_t> Sqlite::queryInteger(std::string_view sql) {
  std::optional<std::int64_t> first;
  prepare(sql).forEachRow([&](const SqliteStatement& row) {
    if (!first) first = row.integer(0);
  });
  return first;
}

std::string Sqlite::lastError() const {
  return sqlite3_errmsg(state_->handle);
}

void Sqlite::stopAutomaticCheckpoints() {
  // The hook takes the place of the automatic checkpoint.
  sqlite3_wal_hook(
      state_->handle,
      [](void* state, sqlite3*, const char*, int frames) {
        static_cast<State*>(state)->logFrames = frames;
        return SQLITE_OK;
      },
      state_.get());
}

int Sqlite::logFrames() const {
  return state_->logFrames;
}

std::optional<Sqlite::LogState> Sqlite::checkpoint(Checkpoint mode) {
  const int sqliteMode = mode == Checkpoint::passive   ? SQLITE_CHECKPOINT_PASSIVE
                         : mode == Checkpoint::restart ? SQLITE_CHECKPOINT_RESTART
                                                       : SQLITE_CHECKPOINT_FULL;
  LogState log;
  if (sqlite3_wal_checkpoint_v2(state_->handle, nullptr, sqliteMode, &log.frames, &log.copied) !=
      SQLITE_OK) {
    return std::nullopt;
  }
  // -1 where there is no log.
  return LogState{std::max(log.frames, 0), std::max(log.copied, 0)};
}

SqliteTransaction::SqliteTransaction(Sqlite& database)
    : database_(database), isOpen_(database.execute("BEGIN IMMEDIATE;")) {}

SqliteTransaction::~SqliteTransaction() {
  if (isOpen_) database_.execute("ROLLBACK;");
}

bool SqliteTransaction::commit() {
  if (!isOpen_ || !database_.execute("COMMIT;")) return false;
  isOpen_ = false;
  return true;
}

}  // namespace zarn::base
