// The replay policy's file: whatever is in it, what is trusted is what was once written for this
// scope, and what can be read can be written and read again.
#include <cstdlib>
#include <string>

#include "control/replay_policy_envelope.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  using namespace zarn;
  const auto envelope =
      control::decodeReplayPolicyEnvelope({reinterpret_cast<const char*>(data), size});
  if (!envelope) return 0;
  const std::string text = control::encodeReplayPolicyEnvelope(*envelope);
  const auto again = control::decodeReplayPolicyEnvelope(text);
  if (!again || control::encodeReplayPolicyEnvelope(*again) != text) std::abort();
  const model::ReplayPolicyPersistenceScope scope{"shop", "production", "app"};
  const auto load = envelope->trusted(scope);
  if (load != again->trusted(scope)) std::abort();
  if (!load) return 0;
  if (envelope->globalPurgePending || load->scope != scope ||
      load->fingerprint != model::replayPolicyFingerprint(load->policy)) {
    std::abort();
  }
  return 0;
}
