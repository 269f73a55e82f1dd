// Opens web addresses with the desktop's own opener, xdg-open.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/url_opener.h"

namespace zarn::base {
class Executor;
}

namespace zarn::desktop {

/// `url` as it may be handed to another program: http and https only, at most 8 KiB, with
/// everything percent-encoded that no address may hold. Nothing for any other text.
std::optional<std::string> openableUrl(std::string_view url);

/// The opener is no child of the host's: it takes no signal and no descriptor from it, leaves no
/// zombie, and the host hears nothing of its end.
class DesktopUrlOpener final : public platform::UrlOpener {
 public:
  explicit DesktopUrlOpener(base::Executor& background) : background_(background) {}

  void open(const std::string& url) override;

 private:
  base::Executor& background_;
};

}  // namespace zarn::desktop
