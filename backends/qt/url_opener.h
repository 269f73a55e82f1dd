// QtUrlOpener: opens web addresses as the app itself would, by Qt's desktop services.
#pragma once

#include "platform/url_opener.h"

namespace zarn::base {
class Executor;
}

namespace zarn::qt {

/// What Qt can't open, or no longer can, goes to `plain`.
class QtUrlOpener final : public platform::UrlOpener {
 public:
  QtUrlOpener(base::Executor& main, platform::UrlOpener& plain) : main_(main), plain_(plain) {}

  void open(const std::string& url) override;

 private:
  base::Executor& main_;
  platform::UrlOpener& plain_;
};

}  // namespace zarn::qt
