#include "qt/url_opener.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QUrl>

#include "base/executor.h"
#include "qt/gui_thread.h"

namespace zarn::qt {
namespace {

constexpr std::size_t kMostUrlBytes = 8192;

bool openByQt(const std::string& text) {
  if (!onGuiThread() || qGuiApp == nullptr) return false;
  const QUrl url(QString::fromStdString(text), QUrl::StrictMode);
  return url.isValid() && !url.host().isEmpty() && QDesktopServices::openUrl(url);
}

}  // namespace

void QtUrlOpener::open(const std::string& url) {
  if (url.size() > kMostUrlBytes) return;
  // Other schemes could start any program.
  const QUrl parsed(QString::fromStdString(url));
  if (parsed.scheme() != QLatin1String("http") && parsed.scheme() != QLatin1String("https")) return;
  main_.post([this, url] {
    if (!openByQt(url)) plain_.open(url);
  });
}

}  // namespace zarn::qt
