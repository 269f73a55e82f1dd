#include "base/host_call.h"

#if defined(ZARN_LOCK_CHECKS)

#include <cstdio>
#include <cstdlib>

namespace zarn::base {
namespace {

constinit thread_local const HostCall* innermostHostCall = nullptr;

}  // namespace

HostCall::HostCall(HostCallKind kind) : kind_(kind), outer_(innermostHostCall) {
  innermostHostCall = this;
}

HostCall::~HostCall() {
  innermostHostCall = outer_;
}

void assertMayBlock(const char* what) {
  if (!innermostHostCall || innermostHostCall->kind_ == HostCallKind::mayBlock) return;
  std::fprintf(stderr, "[Zarn] %s on the host's thread\n", what);
  std::abort();
}

}  // namespace zarn::base

#endif
