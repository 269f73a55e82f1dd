// Opens web addresses in the program that the user has for them.
#pragma once

#include <string>

namespace zarn::platform {

/// Any thread; returns at once. What can't be opened is left alone.
class UrlOpener {
 public:
  virtual ~UrlOpener() = default;
  virtual void open(const std::string& url) = 0;
};

}  // namespace zarn::platform
