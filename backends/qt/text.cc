#include "qt/text.h"

#include <QChar>
#include <QString>

#include "platform/view.h"

namespace zarn::qt {
namespace {

/// UTF-8 of as much as a view's text may hold.
class Utf8Writer {
 public:
  /// False when nothing more fits.
  bool put(char32_t c) {
    const std::size_t size = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    if (isFull_ || size_ + size > sizeof(bytes_)) {
      isFull_ = true;
      return false;
    }
    if (size == 1) {
      bytes_[size_++] = static_cast<char>(c);
      return true;
    }
    constexpr unsigned char kLead[] = {0, 0, 0xc0, 0xe0, 0xf0};
    for (std::size_t left = size; left > 0; --left) {
      const auto bits = static_cast<unsigned char>(c >> (6 * (left - 1)));
      const unsigned char byte = left == size ? (kLead[size] | bits) : (0x80 | (bits & 0x3f));
      bytes_[size_++] = static_cast<char>(byte);
    }
    return true;
  }
  std::string_view text() const { return {bytes_, size_}; }

 private:
  char bytes_[platform::ViewToolkit::kMaxText];
  std::size_t size_ = 0;
  bool isFull_ = false;
};

/// The code point at `at`, which moves behind it.
char32_t next(QStringView text, qsizetype& at) {
  const QChar unit = text[at++];
  if (!unit.isSurrogate()) return unit.unicode();
  if (unit.isHighSurrogate() && at < text.size() && text[at].isLowSurrogate()) {
    return QChar::surrogateToUcs4(unit, text[at++]);
  }
  return QChar::ReplacementCharacter;
}

constexpr qsizetype kLongestEntity = 10;

/// What `&name;` at `at` means; 0 where that is none. Moves behind it.
char32_t entity(QStringView markup, qsizetype& at) {
  const qsizetype end = markup.mid(at, kLongestEntity).indexOf(u';');
  if (end < 2) return 0;
  const QStringView name = markup.mid(at + 1, end - 1);
  struct Named {
    QStringView name;
    char32_t value;
  };
  static constexpr Named kNamed[] = {{u"amp", U'&'},  {u"lt", U'<'},    {u"gt", U'>'},
                                     {u"quot", U'"'}, {u"apos", U'\''}, {u"nbsp", U' '}};
  char32_t value = 0;
  for (const Named& known : kNamed) {
    if (name == known.name) value = known.value;
  }
  if (value == 0 && name.startsWith(u'#')) {
    const bool isHex = name.size() > 1 && (name[1] == u'x' || name[1] == u'X');
    value = name.mid(isHex ? 2 : 1).toUInt(nullptr, isHex ? 16 : 10);
    if (value > QChar::LastValidCodePoint || QChar::isSurrogate(value)) value = 0;
  }
  if (value != 0) at += end + 1;
  return value;
}

/// Moves behind the tag, comment or element that is not read at `at`. Whether words end there.
bool skipTag(QStringView markup, qsizetype& at) {
  const QStringView rest = markup.mid(at);
  const auto skipTo = [&](QStringView end) {
    const qsizetype found = rest.indexOf(end, 0, Qt::CaseInsensitive);
    at = found < 0 ? markup.size() : at + found + end.size();
  };
  if (rest.startsWith(u"<!--")) {
    skipTo(u"-->");
    return false;
  }
  struct Element {
    QStringView name;
    QStringView end;
  };
  static constexpr Element kUnread[] = {{u"head", u"</head>"},
                                        {u"style", u"</style>"},
                                        {u"script", u"</script>"},
                                        {u"title", u"</title>"}};
  for (const Element& unread : kUnread) {
    const QStringView name = unread.name;
    if (!rest.mid(1).startsWith(name, Qt::CaseInsensitive)) continue;
    if (rest.size() > name.size() + 1 && rest[name.size() + 1].isLetterOrNumber()) continue;
    skipTo(unread.end);
    return true;
  }
  static constexpr QStringView kInWord[] = {u"a",    u"b",   u"i",      u"u",  u"s",   u"em",
                                            u"font", u"sub", u"strong", u"tt", u"sup", u"span"};
  qsizetype begin = rest.size() > 1 && rest[1] == u'/' ? 2 : 1;
  qsizetype end = begin;
  while (end < rest.size() && rest[end].isLetterOrNumber()) ++end;
  const QStringView name = rest.mid(begin, end - begin);
  skipTo(u">");
  for (const QStringView inWord : kInWord) {
    if (name.compare(inWord, Qt::CaseInsensitive) == 0) return false;
  }
  return true;
}

}  // namespace

std::string_view toArena(QStringView text, base::TextArena& arena) {
  Utf8Writer writer;
  for (qsizetype at = 0; at < text.size();) {
    if (!writer.put(next(text, at))) break;
  }
  return arena.copy(writer.text());
}

std::string_view labelToArena(QStringView text, base::TextArena& arena) {
  Utf8Writer writer;
  for (qsizetype at = 0; at < text.size();) {
    if (text[at] == u'&' && ++at == text.size()) break;
    if (!writer.put(next(text, at))) break;
  }
  return arena.copy(writer.text());
}

std::string_view plainToArena(QStringView markup, base::TextArena& arena) {
  Utf8Writer writer;
  bool isSpaceDue = false;
  bool isEmpty = true;
  for (qsizetype at = 0; at < markup.size();) {
    if (markup[at] == u'<') {
      isSpaceDue = skipTag(markup, at) || isSpaceDue;
      continue;
    }
    char32_t c = markup[at] == u'&' ? entity(markup, at) : 0;
    if (c == 0) c = next(markup, at);
    if (QChar::isSpace(c)) {
      isSpaceDue = true;
      continue;
    }
    if (isSpaceDue && !isEmpty && !writer.put(U' ')) break;
    isSpaceDue = false;
    isEmpty = false;
    if (!writer.put(c)) break;
  }
  return arena.copy(writer.text());
}

}  // namespace zarn::qt
