// The server's answer to a batch: whatever it holds, each event of the batch gets an outcome.
#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "events/batch_answer.h"
#include "events/settlement.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  using namespace zarn;
  static const std::vector<model::EncodedEvent> batch = {
      {"a", "one", {}, nullptr}, {"b", "two", {}, nullptr}, {"c", "three", {}, nullptr}};
  const auto outcome = events::readBatchAnswer({reinterpret_cast<const char*>(data), size}, batch);
  if (const auto* acks = std::get_if<std::vector<events::BatchAck>>(&outcome)) {
    const auto settlement = events::settle(batch, *acks);
    if (settlement.settledIds.size() + settlement.retries.size() != batch.size()) std::abort();
  }
  return 0;
}
