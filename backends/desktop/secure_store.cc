#include "desktop/secure_store.h"

namespace zarn::desktop {
namespace {

/// What a host's thread may wait for another process.
constexpr base::Duration kWritePatience = std::chrono::milliseconds(30);

}  // namespace

std::optional<std::string> FileSecureStore::read(std::string_view account) {
  return file_.read(account, [](const Value& value) {
    const auto text = value.asString();
    return text && !text->empty() ? std::optional<std::string>(*text) : std::nullopt;
  });
}

void FileSecureStore::write(std::string_view account, std::string_view value) {
  file_.set(account, value);
  file_.commit(kWritePatience);
}

std::string FileSecureStore::readOrWrite(std::string_view account, std::string_view value) {
  file_.setIfAbsent(account, value);
  file_.commit(kWritePatience);
  if (auto stored = read(account)) return *stored;
  write(account, value);
  return std::string(value);
}

}  // namespace zarn::desktop
