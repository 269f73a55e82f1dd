#include "identity/identity_store.h"

#include <cmath>
#include <type_traits>
#include <utility>

#include "base/hex.h"
#include "base/json.h"
#include "base/value_access.h"
#include "identity/device_identifier.h"
#include "platform/crypto.h"
#include "platform/defaults.h"
#include "platform/secure_store.h"

namespace zarn::identity {
namespace {

constexpr const char* kUserIdKey = "zarn_user_id";
constexpr const char* kUserPropertiesKey = "zarn_user_properties";
constexpr const char* kSuperPropertiesKey = "zarn_super_properties";
constexpr const char* kOwnerKey = "zarn_identity_owner";

/// Whether JSON keeps the value; a date becomes its text.
bool isKept(const Value& value) {
  return base::ValueAccess::visit(value, base::Overloaded{
                                             [](base::ValueAccess::Null) { return false; },
                                             [](double number) { return std::isfinite(number); },
                                             [](const Url&) { return false; },
                                             [](const Uuid&) { return false; },
                                             [](const auto&) { return true; },
                                         });
}

void write(base::JsonWriter& json, const Properties& dictionary);

void write(base::JsonWriter& json, const Value& value) {
  if (const Array* array = value.asArray()) {
    json.beginArray();
    for (const Value& element : *array) {
      if (isKept(element)) write(json, element);
    }
    json.endArray();
  } else if (const Properties* dictionary = value.asProperties()) {
    write(json, *dictionary);
  } else {
    json.value(value);
  }
}

void write(base::JsonWriter& json, const Properties& dictionary) {
  json.beginObject();
  for (const auto& [key, value] : dictionary) {
    if (!isKept(value)) continue;
    json.key(key);
    write(json, value);
  }
  json.endObject();
}

}  // namespace

std::string IdentityStore::ownerMark(const std::string& anonymousId) const {
  return base::shortHash(crypto_.sha256(anonymousId));
}

IdentityStore::User IdentityStore::load(const std::string& anonymousId) {
  User user;
  const auto owner = defaults_.getString(kOwnerKey);
  user.isAnothers = owner && owner != ownerMark(anonymousId);
  if (user.isAnothers) return user;
  user.id = defaults_.getString(kUserIdKey);
  if (user.id && user.id->empty()) user.id.reset();
  user.userProperties = loadDictionary(kUserPropertiesKey);
  user.superProperties = loadDictionary(kSuperPropertiesKey);
  return user;
}

Properties IdentityStore::loadDictionary(const char* key) {
  const auto text = defaults_.getString(key);
  if (!text || text->size() > kLongestText) return {};
  const auto parsed = base::parseJson(*text);
  const Properties* dictionary = parsed ? parsed->asProperties() : nullptr;
  return dictionary != nullptr ? *dictionary : Properties();
}

bool IdentityStore::save(const std::string& anonymousId, const Changes& changes) {
  if (secrets_.read(kAnonymousIdAccount) != anonymousId) return true;
  const std::string mark = ownerMark(anonymousId);
  const auto owner = defaults_.getString(kOwnerKey);
  if (owner != mark) {
    if (!changes.areComplete()) return false;
    defaults_.set(kOwnerKey, mark);
  }
  write(changes);
  return true;
}

void IdentityStore::replace(const std::string& anonymousId, const Changes& completeChanges) {
  // The new id last: whatever comes in between leaves an id without a user.
  defaults_.set(kOwnerKey, ownerMark(anonymousId));
  write(completeChanges);
  defaults_.commit();
  secrets_.write(kAnonymousIdAccount, anonymousId);
}

void IdentityStore::write(const Changes& changes) {
  if (changes.id != nullptr && *changes.id) defaults_.set(kUserIdKey, **changes.id);
  if (changes.id != nullptr && !*changes.id) defaults_.remove(kUserIdKey);
  writeDictionary(kUserPropertiesKey, changes.userProperties);
  writeDictionary(kSuperPropertiesKey, changes.superProperties);
}

void IdentityStore::writeDictionary(const char* key, const Properties* dictionary) {
  if (dictionary == nullptr) return;
  std::string text;
  if (!dictionary->empty()) {
    base::JsonWriter json(text);
    identity::write(json, *dictionary);
  }
  if (text.empty() || text.size() > kLongestText) {
    defaults_.remove(key);
  } else {
    defaults_.set(key, text);
  }
}

}  // namespace zarn::identity
