#include <QGuiApplication>
#include <QThread>

#include "base/fork_guard.h"
#include "platform/host.h"
#include "qt/host.h"
#include "zarn/qt.h"

namespace zarn::qt {
inline namespace ZARN_VERSION_NAMESPACE {

void attach(QGuiApplication& app) noexcept {
  if (base::inForkedChild()) return;
  static_cast<void>(app);
  platform::extendProcessHost(extendHost);
}

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn::qt
