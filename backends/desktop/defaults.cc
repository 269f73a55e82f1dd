#include "desktop/defaults.h"

namespace zarn::desktop {
namespace {

/// What a host's thread may wait for another process.
constexpr base::Duration kCommitPatience = std::chrono::milliseconds(30);

}  // namespace

std::optional<bool> FileDefaults::getBool(std::string_view key) {
  return file_.read(key, [](const Value& value) { return value.asBool(); });
}

std::optional<double> FileDefaults::getDouble(std::string_view key) {
  return file_.read(key, [](const Value& value) {
    const auto integer = value.asInt();
    return integer ? static_cast<double>(*integer) : value.asDouble();
  });
}

std::optional<std::string> FileDefaults::getString(std::string_view key) {
  return file_.read(key, [](const Value& value) {
    const auto text = value.asString();
    return text ? std::optional<std::string>(*text) : std::nullopt;
  });
}

bool FileDefaults::commit() {
  return file_.commit(kCommitPatience);
}

}  // namespace zarn::desktop
