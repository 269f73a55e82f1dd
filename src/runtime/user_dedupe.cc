#include "runtime/user_dedupe.h"

#include <utility>

#include "base/canonical_json.h"

namespace zarn::runtime {
namespace {

constexpr std::size_t kMostKeys = 2000;  // a host that makes keys up must not fill the memory

/// Equal content gives equal hashes, whatever the order of the keys.
std::size_t contentHash(const Properties& properties) {
  return std::hash<std::string>()(base::canonicalJson(properties));
}

}  // namespace

bool UserDedupe::isNewIdentify(const Properties& properties) {
  const auto hash = contentHash(properties);
  base::MutexLock lock(lock_);
  return std::exchange(lastIdentifyHash_, hash) != hash;
}

Properties UserDedupe::newUserProperties(const Properties& properties) {
  Properties changed;
  for (const auto& [key, value] : properties) {
    Properties single;
    single.set(key, value);
    const auto hash = contentHash(single);
    base::MutexLock lock(lock_);
    if (lastUserPropertyHash_.size() >= kMostKeys) lastUserPropertyHash_.clear();
    const auto [last, isFirst] = lastUserPropertyHash_.try_emplace(std::string(key), hash);
    if (isFirst || std::exchange(last->second, hash) != hash) changed.set(key, value);
  }
  return changed;
}

void UserDedupe::forgetIdentify() {
  base::MutexLock lock(lock_);
  lastIdentifyHash_.reset();
}

void UserDedupe::forgetUserProperties(const Properties& properties) {
  base::MutexLock lock(lock_);
  for (const auto& [key, value] : properties) lastUserPropertyHash_.erase(std::string(key));
}

void UserDedupe::clear() {
  base::MutexLock lock(lock_);
  lastIdentifyHash_.reset();
  lastUserPropertyHash_.clear();
}

}  // namespace zarn::runtime
