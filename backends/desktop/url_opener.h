// Opens web addresses with the desktop's own opener.
#pragma once

#include "platform/url_opener.h"

namespace zarn::desktop {

class DesktopUrlOpener final : public platform::UrlOpener {
 public:
  void open(const std::string& url) override;
};

}  // namespace zarn::desktop
