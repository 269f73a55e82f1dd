// The secrets that the egress hosts plant and their tests look for: of each kind one for each
// place, so that what leaks tells where it came from.
#pragma once

#include <algorithm>
#include <array>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

namespace zarn::testing {

/// Where text is planted: every input that the API takes and the filter stands before.
inline constexpr std::array<std::string_view, 30> kPlaces = {
    "trait",
    "trait, three deep",
    "user property",
    "user property, three deep",
    "super property",
    "super property, three deep",
    "super property, set alone",
    "experiment variant",
    "event property",
    "event property, three deep",
    "array in an event property",
    "array of arrays",
    "URL",
    "group trait",
    "group id",
    "goal property",
    "goal currency",
    "purchase currency",
    "purchase product",
    "subscription plan",
    "trial plan",
    "cancellation reason",
    "upgrade plan",
    "signup method",
    "activation event",
    "share channel",
    "invite channel",
    "typed call's property",
    "attribution key",
    "broken UTF-8",
};

/// What comes in from outside: by links, push messages and requests.
inline constexpr std::array<std::string_view, 53> kOutsidePlaces = {
    "link: user",
    "link: path",
    "link: value",
    "link: name",
    "link: fragment",
    "link: click id",
    "link: short id",
    "link: repeated short id",
    "link: campaign",
    "link: other campaign",
    "link: campaign's name",
    "link: host of a scheme",
    "link: path of a scheme",
    "link: none",
    "link: known",
    "activity: type",
    "activity: path",
    "window: activity",
    "window: link",
    "question: path",
    "push: title",
    "push: body",
    "push: subtitle",
    "push: key of a title",
    "push: key of a body",
    "push: arguments",
    "push: alert",
    "push: torn title",
    "push: value",
    "push: value inside",
    "push: name",
    "push: name inside",
    "push: link",
    "push: other link",
    "push: delivery",
    "push: campaign",
    "push: job",
    "push: send",
    "push: repeated id",
    "push: collapse id",
    "push: category",
    "push: thread",
    "push: action",
    "push: state",
    "token",
    "withdrawn token",
    "request: user",
    "request: segment",
    "request: query",
    "request: host",
    "breadcrumb",
    "conversion",
    "consent",
};

/// What the filter promises to find.
inline constexpr std::array<std::string_view, 9> kKinds = {
    "e-mail",    "phone",  "card",       "national id", "bank account",
    "web token", "handle", "long token", "name"};

struct Secret {
  std::string text;
  std::string core;  // what must not be found, also where something around it was taken out
};

/// Ends the program where there is no such place, so that none is forgotten or misspelt.
inline int placeNumber(std::string_view place) {
  using Places = std::span<const std::string_view>;
  int number = 10;
  for (const Places places : {Places(kPlaces), Places(kOutsidePlaces)}) {
    for (const std::string_view known : places) {
      if (known == place) return number;
      ++number;
    }
  }
  std::abort();
}

inline std::string cardNumber(const std::string& place) {
  std::string digits = "40001234" + place + "56789";
  int sum = 0;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    const int digit = digits[digits.size() - 1 - i] - '0';
    const int doubled = i % 2 == 0 ? digit * 2 : digit;
    sum += doubled > 9 ? doubled - 9 : doubled;
  }
  digits += static_cast<char>('0' + (10 - sum % 10) % 10);
  for (const std::size_t at : {12u, 8u, 4u}) digits.insert(at, " ");
  return digits;
}

inline Secret secret(std::string_view kind, std::string_view place) {
  const int number = placeNumber(place);
  const std::string n = std::to_string(number);
  if (kind == "e-mail") return {"leak" + n + "q@hidden.example", "leak" + n + "q"};
  if (kind == "phone") return {"+47 9" + n + " 51 234", "9" + n + " 51 2"};
  if (kind == "card") return {cardNumber(n), "1234 " + n + "56"};
  if (kind == "national id") return {"5" + n + "-41-67" + n, "5" + n + "-41-6"};
  if (kind == "bank account") return {"NO93LEAK" + n + "8601117", "LEAK" + n + "86"};
  if (kind == "web token") return {"eyJhb" + n + "leak.eyJzd.c2ln", "eyJhb" + n + "leak"};
  if (kind == "handle") return {"@leak_handle_" + n, "leak_handle_" + n};
  if (kind == "long token") {
    return {"tok" + n + "deadbeef-feedface-deadbeef-feedf", "tok" + n + "dead"};
  }
  const std::string surname = std::string("Hiddenvale") + static_cast<char>('a' + number / 10) +
                              static_cast<char>('a' + number % 10);
  return {"Ingrid " + surname, surname};
}

/// Harmless, and so proof that what was planted beside it has come as far.
inline std::string mark(std::string_view place) {
  return "<mark " + std::to_string(placeNumber(place)) + ">";
}

/// The same for what is planted in a link.
inline std::string followed(std::string_view place) {
  return "followed-" + std::to_string(placeNumber(place));
}

/// All of them in one text that the filter looks at as a whole.
inline std::string sentence(std::string_view place) {
  std::string text = mark(place) + " ";
  for (const std::string_view kind : kKinds) text += secret(kind, place).text + " , ";
  if (text.size() > 256) std::abort();
  return text;
}

/// As it may stand anywhere in an address.
inline std::string percentEncoded(std::string_view text) {
  std::string encoded;
  for (const char c : text) {
    const bool isPlain =
        (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-';
    if (isPlain) {
      encoded += c;
    } else {
      constexpr std::string_view kDigits = "0123456789ABCDEF";
      const auto byte = static_cast<unsigned char>(c);
      encoded += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return encoded;
}

/// The keys that the server's identity flags govern, and what is planted under each: words that no
/// filter knows.
struct GovernedKey {
  std::string_view key, flag;
};
inline constexpr std::array<GovernedKey, 13> kGovernedKeys = {{
    {"email", "collectEmail"},
    {"phone", "collectPhone"},
    {"name", "collectName"},
    {"first_name", "collectName"},
    {"last_name", "collectName"},
    {"country", "collectLocation"},
    {"city", "collectLocation"},
    {"region", "collectLocation"},
    {"location", "collectLocation"},
    {"latitude", "collectLocation"},
    {"longitude", "collectLocation"},
    {"timezone", "collectLocation"},
    {"timezone_offset", "collectLocation"},
}};

/// `call`: "trait" or "property". The key may have the leading "$".
inline std::string governedWord(std::string_view call, std::string_view key) {
  return "hushed-" + std::string(call) + "-" + std::string(key) + ".";
}

// What passes on purpose, each in one form that tells it apart.
inline constexpr std::string_view kUserId = "user-with-id-7";
inline constexpr std::string_view kEventName = "write to name@passes.example";
inline constexpr std::string_view kPropertyKey = "key@passes.example";
inline constexpr std::string_view kExperiment = "experiment@passes.example";
inline constexpr std::string_view kGoal = "goal-0123456789-0123456789-0123456789-0123";
inline constexpr std::string_view kLateText = "late@passes.example";
/// Ten digits in a long token, which are taken for a phone number before the token is seen.
inline constexpr std::string_view kTornToken = "torndeadbeef0123456789abcdefdeadbeef";
inline constexpr std::string_view kRestOfTornToken = "torndeadbeef[";
inline constexpr std::string_view kOwnEmail = "own@passes.example";
inline constexpr std::string_view kAvatar = "https://avatar@passes.example/me.png";
inline constexpr std::string_view kNestedGoverned = "nested-first-name.";
inline constexpr std::int64_t kCardAsNumber = 4000123499567897;
inline constexpr std::string_view kBundleId = "com.example.egress";
inline constexpr std::string_view kAppName = "Egress of Harbour";

// What comes in from outside and passes.
inline constexpr std::string_view kLinkHost = "links.harbour.example";
inline constexpr std::string_view kLinkParameter = "utm_content";
inline constexpr std::string_view kClickId = "3f2504e0-4f89-41d3-9a0c-0305e82c3301";
inline constexpr std::string_view kPushId = "7c9e6679-7425-40de-944b-e07fc1f90ae7";
inline constexpr std::string_view kPushName = "name-in-a-push";
inline constexpr std::string_view kRequestHost = "requests.harbour.example";
inline constexpr std::string_view kServerName = "cdn-0123456789-0123456789.example";
inline constexpr std::string_view kRequestSegment = "steamboats";
/// Where a message's title is cut in a preview, and its text.
inline constexpr std::size_t kTitleLimit = 40;
inline constexpr std::string_view kPastThePreview = "words at the end of a message";

// What must stay here, whatever the server allows.
inline constexpr std::string_view kWriteKeySecret = "writekeysecret";
inline constexpr std::string_view kApiKey = "sent-in-its-place";

}  // namespace zarn::testing
