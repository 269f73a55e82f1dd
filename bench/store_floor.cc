#include "store_floor.h"

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <system_error>

namespace zarn::bench {
namespace {

constexpr std::size_t kRowBytes = 700;
constexpr int kLogFramesPerCheckpoint = 4000;  // as the store's upkeep

constexpr const char* kPrepareDatabase =
    "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
    "PRAGMA temp_store=MEMORY;"
    "CREATE TABLE events (id TEXT PRIMARY KEY, data BLOB NOT NULL, time REAL NOT NULL,"
    " flag INTEGER NOT NULL DEFAULT 0);"
    "CREATE INDEX idx_events_time ON events(time); CREATE INDEX idx_events_flag ON events(flag);";
constexpr const char* kInsert =
    "INSERT OR REPLACE INTO events (id, data, time, flag) VALUES (?, ?, ?, 0);";

std::string uuidText(std::mt19937_64& random) {
  const std::uint64_t a = random();
  const std::uint64_t b = random();
  char text[37];
  std::snprintf(text, sizeof(text), "%08X-%04X-4%03X-%04X-%012llX", static_cast<unsigned>(a >> 32),
                static_cast<unsigned>(a >> 16 & 0xFFFF), static_cast<unsigned>(a & 0xFFF),
                static_cast<unsigned>(b >> 48),
                static_cast<unsigned long long>(b & 0xFFFFFFFFFFFF));
  return text;
}

/// Takes the place of SQLite's own checkpoints.
int noteFrames(void* frames, sqlite3*, const char*, int count) {
  *static_cast<int*>(frames) = count;
  return SQLITE_OK;
}

Latencies measure(sqlite3* database, sqlite3_stmt* insert, std::size_t count) {
  int frames = 0;
  sqlite3_wal_hook(database, noteFrames, &frames);
  std::mt19937_64 random(1);
  const std::string data(kRowBytes, 'x');
  Latencies latencies;
  latencies.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::string id = uuidText(random);
    const double time =
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    latencies.time([&] {
      sqlite3_bind_text(insert, 1, id.data(), static_cast<int>(id.size()), SQLITE_STATIC);
      sqlite3_bind_blob(insert, 2, data.data(), static_cast<int>(data.size()), SQLITE_STATIC);
      sqlite3_bind_double(insert, 3, time);
      sqlite3_step(insert);
      sqlite3_reset(insert);
    });
    if (frames < kLogFramesPerCheckpoint) continue;
    sqlite3_wal_checkpoint_v2(database, nullptr, SQLITE_CHECKPOINT_RESTART, nullptr, nullptr);
    // The first write to a new log waits for the disk.
    sqlite3_exec(database, "PRAGMA user_version=1;", nullptr, nullptr, nullptr);
  }
  return latencies;
}

}  // namespace

Latencies bareInsertLatencies(const std::string& directory, std::size_t count) {
  const std::string path = directory + "/floor.sqlite";
  sqlite3* database = nullptr;
  sqlite3_stmt* insert = nullptr;
  Latencies latencies;
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  if (sqlite3_open_v2(path.c_str(), &database, kFlags, nullptr) == SQLITE_OK &&
      sqlite3_exec(database, kPrepareDatabase, nullptr, nullptr, nullptr) == SQLITE_OK &&
      sqlite3_prepare_v2(database, kInsert, -1, &insert, nullptr) == SQLITE_OK) {
    latencies = measure(database, insert, count);
  }
  sqlite3_finalize(insert);
  sqlite3_close(database);
  std::error_code ignored;
  for (const char* suffix : {"", "-wal", "-shm"}) {
    std::filesystem::remove(path + suffix, ignored);
  }
  return latencies;
}

}  // namespace zarn::bench
