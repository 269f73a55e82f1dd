// NullSink: a server at loopback that accepts every event it is sent and keeps none.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/loopback_server.h"

namespace zarn::bench {

class NullSink {
 public:
  /// `counted` is the type of the events that acceptedCount() tells of: the library's own come
  /// besides.
  explicit NullSink(std::string_view counted = "custom");

  std::string address() const;
  std::uint64_t acceptedCount() const { return accepted_; }

 private:
  testing::LoopbackAnswer answer(const testing::LoopbackRequest& request);

  const std::string counted_;
  std::atomic<std::uint64_t> accepted_ = 0;
  testing::LoopbackServer server_;
};

}  // namespace zarn::bench
