#include "desktop/secure_store.h"

#include "platform/files.h"

namespace zarn::desktop {

FileSecureStore::FileSecureStore(std::string folder, platform::Files& files,
                                 base::SerialQueue& writer)
    : folder_(std::move(folder)), files_(files), writer_(writer) {}

std::string FileSecureStore::pathOf(std::string_view account) const {
  return folder_ + "/" + std::string(account);
}

std::optional<std::string> FileSecureStore::read(std::string_view account) {
  return files_.read(pathOf(account));
}

void FileSecureStore::write(std::string_view account, std::string_view value) {
  writer_.async([this, path = pathOf(account), content = std::string(value)] {
    files_.createDirectories(folder_);
    files_.writeAtomically(path, content);
  });
}

}  // namespace zarn::desktop
