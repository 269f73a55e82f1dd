#include "qt/links.h"

#include <QUrl>

#include "zarn/zarn.h"

namespace zarn::qt {

void handleOpened(const QUrl& url) {
  if (!url.isValid() || url.scheme().isEmpty() || url.isLocalFile()) return;
  Zarn::handleURL(url.toEncoded().toStdString());
}

}  // namespace zarn::qt
