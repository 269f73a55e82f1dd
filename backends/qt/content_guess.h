// Guesses what a text field is for, where the app does not say so. A field taken for a secret one
// is masked without need; the reverse must not happen, so little is enough.
#pragma once

#include <QString>
#include <string_view>

#include "platform/view.h"

namespace zarn::qt {

struct FieldHints {
  Qt::InputMethodHints input;
  QString mask;              // of what may be typed, in Qt's language
  QString pattern;           // the regular expression that it must match
  int maximumLength = 0;     // characters; 0: none that tells anything
  bool wantsNumber = false;  // a whole number is asked for
};

platform::TextContentType guessContentType(const FieldHints& hints);

/// By the words of a label, placeholder, name or class, such as `Card number` and `pinField`.
platform::TextContentType guessContentType(std::string_view words);

/// The one that is masked, if either is.
platform::TextContentType stricter(platform::TextContentType a, platform::TextContentType b);

}  // namespace zarn::qt
