// A host with a user interface made with Qt 6, in Qt Quick or Widgets. Belongs to libzarn_qt
// (CMake: Zarn::Qt, pkg-config: zarn-qt), not to the library itself.
//
//   QGuiApplication app(argc, argv);
//   zarn::desktop::describeHost({.bundleId = "com.example.shop"});
//   zarn::qt::attach(app);
//   zarn::Zarn::configure("wk_live_x_myproject_abc", {});
//
// From then on screens, taps and the app's way to the front and to the back are recorded by
// themselves, links that the system opens with the app go the way of Zarn::handleURL, and the
// library's callbacks come on the thread of the user interface.
#pragma once

#include "zarn/export.h"

class QGuiApplication;
class QNetworkAccessManager;
class QObject;

namespace zarn::qt {
inline namespace ZARN_VERSION_NAMESPACE {

/// Call on the thread of the user interface, after the app was made and before Zarn::configure (and
/// before the few calls that may come earlier: see zarn/desktop.h). A second call has no effect;
/// nor has one that comes too late, but for a line in the log. The app may be destroyed before the
/// process ends. In a forked child nothing happens. Also makes the QML module `Zarn` known:
///
///   import Zarn 1.0
///   TextField { Zarn.redact: true }
ZARN_API void attach(QGuiApplication& app) noexcept;

/// Whether a view of the user interface, a QQuickItem or QWidget with all that it holds, is
/// private: it is covered in every picture, and its texts are never read. Fields for passwords,
/// payment cards and phone numbers are private by themselves. Thread of the user interface.
ZARN_API void setRedacted(QObject& view, bool isPrivate) noexcept;
/// What setRedacted or QML said of this very view.
ZARN_API bool isRedacted(const QObject& view) noexcept;

/// What is typed into a text field.
enum class ContentType {
  guessed,  // by its input hints, its label and its names; rather too much is taken for private
  other,    // nothing of the kind below, whatever it looks like
  emailAddress,
  creditCardNumber,
  password,
  newPassword,
  oneTimeCode,
  telephoneNumber,
};
/// Thread of the user interface. In QML: `Zarn.contentType: Zarn.CreditCardNumber`.
ZARN_API void setContentType(QObject& field, ContentType type) noexcept;

/// Counts the requests that go through `manager` among the app's (see zarn/network.h for what is
/// looked at). Managers on the thread of the user interface are seen without it; call it for one
/// that lives on another thread, there, before its requests begin. Later calls have no effect.
ZARN_API void observe(QNetworkAccessManager& manager) noexcept;

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn::qt
