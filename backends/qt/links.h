// Links that the system opens with the app.
#pragma once

class QUrl;

namespace zarn::qt {

/// Hands `url` to the library if it is a link and no file. Thread of the user interface.
void handleOpened(const QUrl& url);

}  // namespace zarn::qt
