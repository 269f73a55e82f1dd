#include "qt/gui_thread.h"

namespace zarn::qt::internal {

constinit thread_local bool isGuiThread = false;

}  // namespace zarn::qt::internal
