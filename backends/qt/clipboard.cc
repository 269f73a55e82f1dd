#include "qt/clipboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <algorithm>
#include <utility>

#include "base/executor.h"
#include "qt/gui_thread.h"

namespace zarn::qt {
namespace {

/// Characters; a longer text is no address.
constexpr qsizetype kLongestAddress = 8192;

QString clipboardText() {
  if (!onGuiThread() || qGuiApp == nullptr) return {};
  const QMimeData* const data = QGuiApplication::clipboard()->mimeData();
  return data != nullptr && data->hasText() ? data->text() : QString();
}

/// One word that begins with a scheme.
bool looksLikeAddress(const QString& text) {
  if (text.size() > kLongestAddress) return false;
  const QString word = text.trimmed();
  const qsizetype colon = word.indexOf(u':');
  const auto isWordCharacter = [](QChar c) { return c > u' ' && c < QChar(0x7f); };
  const auto isSchemeCharacter = [](QChar c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
  };
  return colon > 1 && colon + 1 < word.size() &&
         std::all_of(word.begin(), word.begin() + colon, isSchemeCharacter) &&
         std::all_of(word.begin(), word.end(), isWordCharacter);
}

}  // namespace

void QtClipboard::detectProbableWebUrl(base::SerialQueue& queue, std::function<void(bool)> answer) {
  main_.post([poster = queue.poster(), answer = std::move(answer)]() mutable {
    const bool isProbable = looksLikeAddress(clipboardText());
    poster.async([answer = std::move(answer), isProbable] { answer(isProbable); });
  });
}

void QtClipboard::readText(base::SerialQueue& queue, std::function<void(std::string)> answer) {
  main_.post([poster = queue.poster(), answer = std::move(answer)]() mutable {
    poster.async([answer = std::move(answer), text = clipboardText().toStdString()]() mutable {
      answer(std::move(text));
    });
  });
}

}  // namespace zarn::qt
