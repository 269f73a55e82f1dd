#include "desktop/url_opener.h"

namespace zarn::desktop {

void DesktopUrlOpener::open(const std::string&) {}

}  // namespace zarn::desktop
