// The context that goes with a batch, as the collector reads it: what is wrong with one.
#pragma once

#include <rapidjson/document.h>

#include <string>
#include <vector>

namespace zarn::collector {

/// `context` is an object. Adds a sentence for each problem, which names the key from "context."
/// on.
void checkEnrichedContext(const rapidjson::Value& context, std::vector<std::string>& problems);

}  // namespace zarn::collector
