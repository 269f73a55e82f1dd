// HostCall: marks the time a thread spends inside a call of the host's. Builds with
// ZARN_LOCK_CHECKS abort when something waits long there, for the disk or for another thread;
// elsewhere all of it is empty.
//
//   void Zarn::track(...) { const base::HostCall call; ... }
//   bool Files::writeAtomically(...) { base::assertMayBlock("fsync"); ... }
#pragma once

namespace zarn::base {

enum class HostCallKind {
  prompt,    // must return at once
  mayBlock,  // configure and flush with a time-out
};

/// On the stack of a public entry. The innermost one counts: a host that calls flush from one of
/// our callbacks has asked for the wait.
class HostCall {
#if defined(ZARN_LOCK_CHECKS)
 public:
  explicit HostCall(HostCallKind kind = HostCallKind::prompt);
  ~HostCall();

 private:
  friend void assertMayBlock(const char* what);
  const HostCallKind kind_;
  const HostCall* const outer_;
#else
 public:
  explicit HostCall(HostCallKind = HostCallKind::prompt) {}
  ~HostCall() {}
#endif

 public:
  HostCall(const HostCall&) = delete;
  HostCall& operator=(const HostCall&) = delete;
};

/// To be called before a file sync or a long wait; `what` names it in the message.
#if defined(ZARN_LOCK_CHECKS)
void assertMayBlock(const char* what);
#else
inline void assertMayBlock(const char*) {}
#endif

}  // namespace zarn::base
