// Takes a batch's body apart without changing a byte of the events in it, so that what is kept and
// compared is what the client sent.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zarn::collector {

struct BatchBody {
  std::vector<std::string_view> events;  // the elements of "batch" as they came; views of the body
  std::string envelope;                  // the body with an empty "batch"
};

/// False, with a message for the client, when the body is no batch: broken JSON or UTF-8, deeper
/// than 200 levels, not an object, or without exactly one "batch" array.
bool readBatch(std::string_view body, BatchBody& batch, std::string& error);

}  // namespace zarn::collector
