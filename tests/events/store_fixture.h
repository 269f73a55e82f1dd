// What store tests share: real files in a temporary folder, virtual time, and events whose JSON is
// small.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "desktop/files.h"
#include "events/sqlite_event_store.h"
#include "platform/environment.h"
#include "platform/log.h"
#include "support/manual_dispatch.h"
#include "support/temp_directory.h"

namespace zarn::events {

struct EmptyEnvironment final : platform::Environment {
  std::optional<std::string> variable(const char*) override { return std::nullopt; }
};
struct QuietLog final : platform::LogSink {
  void write(std::string_view) override {}
};

inline model::EncodedEvent makeEvent(const std::string& id, Date time,
                                     const std::string& more = "") {
  return {id, "name", time, std::make_shared<const std::string>("{\"id\":\"" + id + "\"}" + more)};
}

inline std::optional<model::EncodedEvent> decodeEvent(std::string json) {
  constexpr std::string_view kStart = "{\"id\":\"";
  const std::size_t end = json.find("\"}");
  if (!json.starts_with(kStart) || end == std::string::npos) return std::nullopt;
  return model::EncodedEvent{json.substr(kStart.size(), end - kStart.size()), "name", Date(),
                             std::make_shared<const std::string>(std::move(json))};
}

inline std::vector<std::string> idsOf(const std::vector<model::EncodedEvent>& events) {
  std::vector<std::string> ids;
  for (const auto& event : events) ids.push_back(event.id);
  return ids;
}

/// "<prefix>0", "<prefix>1", ...
inline std::vector<std::string> numbered(const std::string& prefix, int count) {
  std::vector<std::string> ids;
  for (int i = 0; i < count; ++i) ids.push_back(prefix + std::to_string(i));
  return ids;
}

class StoreFixture : public ::testing::Test {
 protected:
  SqliteEventStore::Services services() {
    return {files_, dispatch_.pool(), decodeEvent,
            [this](std::string_view line) { reports_.emplace_back(line); },
            [this] { return discards_; }};
  }
  std::unique_ptr<SqliteEventStore> open(const std::string& vfs = {}) {
    return std::make_unique<SqliteEventStore>(path_, services(), vfs);
  }
  void reopen(std::unique_ptr<SqliteEventStore>& store) {
    store.reset();
    store = open();
  }
  model::EncodedEvent event(const std::string& id, const std::string& more = "") {
    clock_.advance(base::seconds(0.001));
    return makeEvent(id, clock_.now(), more);
  }
  void insert(SqliteEventStore& store, const std::vector<std::string>& ids) {
    for (const std::string& id : ids) store.insert(event(id));
  }

  testing::TempDirectory directory_;
  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  EmptyEnvironment environment_;
  QuietLog log_;
  desktop::PosixFiles files_{{directory_.path(), "test"}, environment_, log_};
  const std::string path_ = directory_.file("events-x.sqlite");
  std::vector<std::string> reports_;
  std::int64_t discards_ = 0;
};

}  // namespace zarn::events
