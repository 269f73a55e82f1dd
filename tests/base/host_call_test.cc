#include "base/host_call.h"

#include <gtest/gtest.h>

#include <thread>

namespace zarn::base {
namespace {

#if defined(ZARN_LOCK_CHECKS)
TEST(HostCallDeathTest, OnlyCallsThatMayBlockWaitOnTheHostsThread) {
  assertMayBlock("sync");
  const HostCall waiting(HostCallKind::mayBlock);
  assertMayBlock("sync");
  const HostCall prompt;
  EXPECT_DEATH(assertMayBlock("sync"), "sync on the host's thread");
  std::thread([] { assertMayBlock("sync"); }).join();
  const HostCall inner(HostCallKind::mayBlock);  // asked for by the host, from a callback
  assertMayBlock("sync");
}
#endif

}  // namespace
}  // namespace zarn::base
