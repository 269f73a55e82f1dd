// The keys that a policy may have: what an editor is offered and what its text is checked against.
// The one table of them, for the server and for the viewer's form.
#pragma once

#include <rapidjson/document.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zarn::collector {

enum class PolicyType { flag, integer, number, text, texts };

struct PolicyKey {
  std::string_view section;
  std::string_view key;
  PolicyType type;
  std::string_view byDefault;  // JSON: what a client does where the key is absent
  std::string_view note;       // the range or the words that a client takes; may be empty
};

std::span<const PolicyKey> policyKeys();
/// [{"section": "core", "key": "sessions", "type": "boolean", "default": true, "note": ""}, ...]
std::string policyKeysJson();

/// What is wrong with a policy, key by key. Absent and null are the same. An unknown key is a
/// problem, since whoever edits has most likely misspelt it; clients ignore it.
std::vector<std::string> policyProblems(const rapidjson::Value& policy);

}  // namespace zarn::collector
