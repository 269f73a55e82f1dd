// The lock order of the whole library. A thread may take a lock or enter a serial queue only if its
// rank is higher than that of everything the thread holds already; builds with ZARN_LOCK_CHECKS
// abort on the first violation. Locks of one rank are never held together.
#pragma once

#include <cstdint>

namespace zarn::base {

enum class LockRank : std::uint8_t {
  configure,          // one start-up at a time
  privacyTransition,  // opt-out, opt-in and reset, one at a time
  controlQueue,       // control-plane answers
  workQueue,          // flushes and their answers
  replayPolicyQueue,  // admitting replay policies and purging what was kept under older ones
  networkAggregator,  // network records are counted, and told as events
  pushQueue,          // push tokens are handed to the server
  linksQueue,         // the first launch looks at the clipboard
  controlEpoch,       // one control-plane answer is applied at a time
  identityPersist,    // writing identity down
  identityBoundary,   // identity, session and discard generation read or changed as one step
  runState,           // run state and queue suspension change together
  identity,           // identity manager
  session,            // session tracker
  eventQueue,         // buffer and retry state
  storeUpkeep,        // copying a database's log, one pass at a time
  storeQueue,         // one per database
  networkGuard,       // control-plane requests under way
  transport,          // batch requests under way
  configRefresh,      // the refresh timer
  replayAdmission,    // one replay policy is admitted at a time
  replayPolicyFile,   // reading and writing the replay policy's file
  sampler,            // one roll for replay sampling at a time
  producer,           // a producer's state; settings may be read and written below it
  leaf,               // short, calls nothing out
  dispatch,           // inside executors and serial queues
};

}  // namespace zarn::base
