// QtRequestHook: sees the requests of network access managers. A manager is the parent of the
// replies that it makes, and Qt tells a parent of each child; that is all the hook needs.
#pragma once

#include <QObject>
#include <atomic>
#include <memory>

#include "platform/request_hook.h"

class QNetworkAccessManager;

namespace zarn::qt {

class QtRequestHook final : public platform::RequestHook {
 public:
  /// One for the process; any thread.
  static QtRequestHook& shared();

  bool install(std::shared_ptr<platform::RequestWatcher> watcher) override;

  /// `manager` is making `made`, which is perhaps a reply. On the manager's thread.
  void madeByManager(QNetworkAccessManager& manager, QObject& made);
  /// For a manager whose events AppEvents does not see. On the manager's thread.
  void observe(QNetworkAccessManager& manager);

 private:
  /// Constant once it is set, and never destroyed.
  std::atomic<const std::shared_ptr<platform::RequestWatcher>*> watcher_ = nullptr;
};

}  // namespace zarn::qt
