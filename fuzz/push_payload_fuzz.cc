// Payloads of push messages: whatever they hold, the record of one is bounded and valid, and with
// hashes alone nothing in it but the hash depends on the message's text.
#include <cstdlib>
#include <string>

#include "base/json.h"
#include "base/text.h"
#include "desktop/crypto.h"
#include "push/push_payload_sanitizer.h"
#include "redaction/pii_filter.h"
#include "support/fake_name_tagger.h"
#include "support/fake_services.h"

namespace {

using namespace zarn;
using push::ContentMode;

constexpr std::size_t kLargest = 400000;  // bytes; escapes take up to six for one

void require(bool condition) {
  if (!condition) std::abort();
}

push::SanitizedPush sanitized(const Properties& payload, const push::ContentRules& rules) {
  desktop::OpensslCrypto crypto;
  testing::FakeRandom random;  // the same ids each time
  testing::FakeNameTagger names;
  return push::sanitize(payload, rules, redaction::PiiFilter(names), crypto, random);
}

std::string encoded(const Properties& properties) {
  std::string out;
  base::JsonWriter(out).object(properties);
  return out;
}

/// The payload with another text in the alert's place.
Properties withOtherAlert(const Properties& payload) {
  const Value* aps = payload.find("aps");
  if (aps == nullptr || aps->asProperties() == nullptr) return payload;
  Properties changed = *aps->asProperties();
  if (changed.find("alert") != nullptr) changed.set("alert", "another text");
  Properties other = payload;
  other.set("aps", changed);
  return other;
}

std::string encodedButForItsHash(const Properties& payload) {
  Properties told = push::properties(sanitized(payload, {}));
  told.erase("content_hash");
  return encoded(told);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t limit = data[0];
  const auto json = base::parseJson({reinterpret_cast<const char*>(data + 1), size - 1});
  const Properties* payload = json ? json->asProperties() : nullptr;
  if (payload == nullptr) return 0;
  for (const auto mode : {ContentMode::hashOnly, ContentMode::preview, ContentMode::full}) {
    const auto push = sanitized(*payload, {.mode = mode, .titleLimit = limit, .bodyLimit = limit});
    require(!push.pushId.empty());
    require(mode == ContentMode::full || !push.title ||
            base::countCharacters(*push.title, limit + 2) <= limit + 1);
    const std::string told = encoded(push::properties(push));
    require(told.size() < kLargest && base::isValidUtf8(told));
  }
  require(encodedButForItsHash(*payload) == encodedButForItsHash(withOtherAlert(*payload)));
  return 0;
}
