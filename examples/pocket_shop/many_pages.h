// Opens and closes pages without end, for a look at what stays behind.
#pragma once

class QQuickWindow;

/// Within the app's event loop; each page is shown before it is closed. Prints the resident memory
/// in KB after 1,000 pages and after all. False when it can't be done.
bool openManyPages(QQuickWindow& window, int count);
