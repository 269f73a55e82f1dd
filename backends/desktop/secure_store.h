// Secrets in files of a folder that only the user can enter.
#pragma once

#include <string>

#include "base/serial_queue.h"
#include "platform/secure_store.h"

namespace zarn::platform {
class Files;
}

namespace zarn::desktop {

class FileSecureStore final : public platform::SecureStore {
 public:
  /// `writer` runs what waits for the disk; it and the files must outlive this object.
  FileSecureStore(std::string folder, platform::Files& files, base::SerialQueue& writer);

  std::optional<std::string> read(std::string_view account) override;
  void write(std::string_view account, std::string_view value) override;

 private:
  std::string pathOf(std::string_view account) const;

  const std::string folder_;
  platform::Files& files_;
  base::SerialQueue& writer_;
};

}  // namespace zarn::desktop
