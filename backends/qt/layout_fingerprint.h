// A short number for which views are in sight, so that a change of layout is noticed at the price
// of one cheap look. It leaves out where they are, how they are turned and how opaque they are:
// neither a spinner nor scrolling changes it. Of a list it counts the kinds of cells in sight.
#pragma once

#include <cstdint>

class QQuickItem;
class QWidget;

namespace zarn::qt {

/// Never 0. GUI thread.
std::uint64_t layoutFingerprint(const QQuickItem& root);
std::uint64_t layoutFingerprint(const QWidget& root);

}  // namespace zarn::qt
