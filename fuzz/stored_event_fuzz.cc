// A row of the store: it decodes as an event whose bytes are its own, or not at all.
#include <cstdlib>
#include <string>

#include "base/json.h"
#include "model/stored_event.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string json(reinterpret_cast<const char*>(data), size);
  if (const auto event = zarn::model::readStoredEvent(json)) {
    if (*event->json != json || !zarn::base::parseJson(json)) std::abort();
  }
  return 0;
}
