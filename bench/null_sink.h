// NullSink: a server at loopback that accepts every event it is sent and keeps none.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "support/loopback_server.h"

namespace zarn::bench {

class NullSink {
 public:
  NullSink();

  std::string address() const;
  std::uint64_t acceptedCount() const { return accepted_; }
  /// Until so many have been accepted; false after a minute.
  bool waitForAccepted(std::uint64_t count) const;

 private:
  testing::LoopbackAnswer answer(const testing::LoopbackRequest& request);

  std::atomic<std::uint64_t> accepted_ = 0;
  testing::LoopbackServer server_;
};

}  // namespace zarn::bench
