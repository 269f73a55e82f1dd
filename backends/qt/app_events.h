// AppEvents: one look at every event of the app's own thread, for the sources that need it. Nothing
// is taken away, changed or delayed.
#pragma once

#include <QObject>
#include <functional>

class QNetworkAccessManager;
class QUrl;

namespace zarn::qt {

/// What is set must be set before `install`, and must not throw.
struct AppEventHandlers {
  /// A window was shown, hidden, minimised or restored, or is about to be.
  std::function<void()> windowsChanging;
  /// The system opens something with the app.
  std::function<void(const QUrl&)> opened;
  /// Something that belongs to a network access manager is being made.
  std::function<void(QNetworkAccessManager& manager, QObject& made)> madeByManager;
};

/// Thread of the user interface.
class AppEvents final : public QObject {
 public:
  /// Once.
  void install(AppEventHandlers handlers);

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  AppEventHandlers handlers_;
};

}  // namespace zarn::qt
