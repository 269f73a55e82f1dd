// Which thread is the user interface's. Once its loop has ended, what is posted to the main
// executor runs elsewhere: views and windows must not be touched there, and count as gone.
#pragma once

namespace zarn::qt {

namespace internal {
extern constinit thread_local bool isGuiThread;
}

/// Any thread. False everywhere before noteGuiThread.
inline bool onGuiThread() {
  return internal::isGuiThread;
}

/// On the thread of the user interface.
inline void noteGuiThread() {
  internal::isGuiThread = true;
}

/// There as well: its loop has ended.
inline void forgetGuiThread() {
  internal::isGuiThread = false;
}

}  // namespace zarn::qt
