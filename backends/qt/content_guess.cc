#include "qt/content_guess.h"

#include <QList>
#include <algorithm>
#include <iterator>
#include <string>

#include "base/text.h"

namespace zarn::qt {
namespace {

using platform::TextContentType;

struct Word {
  std::string_view text;  // lower case
  TextContentType type;
  bool isStem = false;  // words that begin with it count as well
};

constexpr auto kPassword = TextContentType::password;
constexpr auto kCard = TextContentType::creditCardNumber;
constexpr auto kCode = TextContentType::oneTimeCode;
constexpr auto kPhone = TextContentType::telephoneNumber;
constexpr auto kEmail = TextContentType::emailAddress;

constexpr Word kWords[] = {
    {"password", kPassword, true},
    {"passcode", kPassword, true},
    {"passphrase", kPassword, true},
    {"passwd", kPassword},
    {"pwd", kPassword},
    {"pin", kPassword},
    {"secret", kPassword},
    {"passwort", kPassword, true},
    {"kennwort", kPassword, true},
    {"contraseña", kPassword},
    {"senha", kPassword},
    {"wachtwoord", kPassword},
    {"hasło", kPassword},
    {"passe", kPassword},
    {"пароль", kPassword},
    {"пароля", kPassword},
    {"пин", kPassword},
    {"parola", kPassword},
    {"card", kCard},
    {"cardnumber", kCard, true},
    {"cardno", kCard},
    {"creditcard", kCard, true},
    {"debitcard", kCard, true},
    {"pan", kCard},
    {"iban", kCard},
    {"cvc", kCard, true},
    {"cvv", kCard, true},
    {"csc", kCard},
    {"expiry", kCard, true},
    {"expiration", kCard, true},
    {"expires", kCard},
    {"karte", kCard},
    {"kartennummer", kCard, true},
    {"kreditkart", kCard, true},
    {"tarjeta", kCard},
    {"carte", kCard},
    {"cartão", kCard},
    {"carta", kCard},
    {"karta", kCard},
    {"karty", kCard},
    {"kaart", kCard},
    {"карта", kCard},
    {"карты", kCard},
    {"карте", kCard},
    {"kontonummer", kCard},
    {"code", kCode},
    {"otp", kCode},
    {"totp", kCode},
    {"token", kCode},
    {"passkey", kCode},
    {"código", kCode},
    {"codice", kCode},
    {"kod", kCode},
    {"код", kCode},
    {"phone", kPhone, true},
    {"tel", kPhone},
    {"telephone", kPhone, true},
    {"mobile", kPhone},
    {"cellphone", kPhone, true},
    {"handy", kPhone},
    {"telefon", kPhone, true},
    {"teléfono", kPhone},
    {"téléphone", kPhone},
    {"móvil", kPhone},
    {"celular", kPhone},
    {"phonenumber", kPhone, true},
    {"телефон", kPhone, true},
    {"email", kEmail, true},
    {"mail", kEmail},
    {"почта", kEmail},
    {"correo", kEmail},
};

/// The stricter of two kinds has the higher rank.
int rank(TextContentType type) {
  switch (type) {
    case TextContentType::none:
      return 0;
    case TextContentType::other:
      return 1;
    case TextContentType::emailAddress:
      return 2;
    case TextContentType::telephoneNumber:
      return 3;
    case TextContentType::oneTimeCode:
      return 4;
    case TextContentType::creditCardNumber:
      return 5;
    case TextContentType::password:
    case TextContentType::newPassword:
      return 6;
  }
  return 0;
}

TextContentType typeOfWord(std::string_view word) {
  for (const Word& known : kWords) {
    if (word == known.text || (known.isStem && word.starts_with(known.text))) return known.type;
  }
  return TextContentType::none;
}

constexpr int kCardDigits = 12;  // at least; no telephone number has more with its own mask
constexpr int kPhoneDigits = 7;  // at least
constexpr int kMostCardDigits = 23;
constexpr int kFewestCodeDigits = 3;
constexpr int kMostCodeDigits = 8;

TextContentType typeOfMask(const QString& mask) {
  const QString shape = mask.section(u';', 0, 0);
  const auto digits = std::ranges::count_if(
      shape, [](QChar c) { return c == u'9' || c == u'0' || c == u'D' || c == u'd' || c == u'#'; });
  if (digits >= kCardDigits) return kCard;
  if (digits >= kPhoneDigits) return kPhone;
  if (digits == 4 && shape.contains(u'/')) return kCard;  // month and year
  return digits >= kFewestCodeDigits ? kCode : TextContentType::none;
}

/// Repetitions such as {16} and {13,19}, of digits as a rule.
TextContentType typeOfPattern(const QString& pattern) {
  TextContentType type = TextContentType::none;
  for (qsizetype at = 0; (at = pattern.indexOf(u'{', at)) >= 0; ++at) {
    const QStringView rest = QStringView(pattern).mid(at + 1);
    const qsizetype end = rest.indexOf(u'}');
    if (end < 0) break;
    const int most = rest.left(end).split(u',').back().toInt();
    if (most >= kCardDigits && most <= kMostCardDigits) type = stricter(type, kCard);
  }
  return type;
}

constexpr bool isLowerAscii(char32_t c) {
  return c >= 'a' && c <= 'z';
}

}  // namespace

TextContentType stricter(TextContentType a, TextContentType b) {
  return rank(a) >= rank(b) ? a : b;
}

TextContentType guessContentType(const FieldHints& hints) {
  TextContentType type = stricter(typeOfMask(hints.mask), typeOfPattern(hints.pattern));
  if (hints.input & (Qt::ImhHiddenText | Qt::ImhSensitiveData)) type = stricter(type, kPassword);
  if (hints.input & Qt::ImhDialableCharactersOnly) type = stricter(type, kPhone);
  if (hints.input & Qt::ImhEmailCharactersOnly) type = stricter(type, kEmail);
  if (hints.wantsNumber || (hints.input & Qt::ImhDigitsOnly)) {
    const int length = hints.maximumLength;
    if (length >= kCardDigits && length <= kMostCardDigits) type = stricter(type, kCard);
    if (length >= kFewestCodeDigits && length <= kMostCodeDigits) type = stricter(type, kCode);
  }
  return type;
}

TextContentType guessContentType(std::string_view words) {
  TextContentType type = TextContentType::none;
  std::string word;
  bool wasUpper = false;
  const auto endWord = [&] {
    if (!word.empty()) type = stricter(type, typeOfWord(word));
    word.clear();
  };
  for (std::size_t at = 0; at < words.size();) {
    const base::CodePoint c = base::codePointAt(words, at);
    if (c.length == 0) break;
    at += c.length;
    const bool isUpper = c.value >= 'A' && c.value <= 'Z';
    const bool isLetter = c.value >= 0x80 || isUpper || isLowerAscii(c.value);
    // cardNumber and PINField are two words each.
    const bool endsAcronym =
        wasUpper && at < words.size() && isLowerAscii(static_cast<unsigned char>(words[at]));
    if (!isLetter || (isUpper && (!wasUpper || endsAcronym))) endWord();
    wasUpper = isUpper;
    if (isLetter) base::appendCodePoint(word, base::lowerCase(c.value));
  }
  endWord();
  return type;
}

}  // namespace zarn::qt
