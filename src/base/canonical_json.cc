#include "base/canonical_json.h"

#include <algorithm>
#include <vector>

#include "base/json.h"

namespace zarn::base {
namespace {

void writeSorted(JsonWriter& json, const Value& value);

void writeSorted(JsonWriter& json, const Properties& properties) {
  std::vector<const Properties::Entry*> entries;
  entries.reserve(properties.size());
  for (const auto& entry : properties) entries.push_back(&entry);
  std::sort(entries.begin(), entries.end(),
            [](const auto* a, const auto* b) { return a->key < b->key; });
  json.beginObject();
  for (const auto* entry : entries) {
    json.key(entry->key);
    writeSorted(json, entry->value);
  }
  json.endObject();
}

void writeSorted(JsonWriter& json, const Value& value) {
  if (const Properties* properties = value.asProperties()) {
    writeSorted(json, *properties);
  } else if (const Array* array = value.asArray()) {
    json.beginArray();
    for (const Value& element : *array) writeSorted(json, element);
    json.endArray();
  } else {
    json.value(value);
  }
}

}  // namespace

std::string canonicalJson(const Properties& properties) {
  std::string out;
  JsonWriter json(out);
  writeSorted(json, properties);
  return out;
}

}  // namespace zarn::base
