// What each project answers to the calls about links, installs, push tokens and screenshots, as it
// was set. Kept in the store.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/store.h"

namespace zarn::collector {

/// What is told of a link: {"match_method", "match_confidence", "campaign", "media_source", "link"}
/// as JSON; none: it is not resolved.
using LinkAnswer = std::optional<std::string>;

struct LinkRule {
  std::string clickId, clipboardToken;  // one of them is empty
  LinkAnswer answer;
};

struct Answers {
  std::vector<LinkRule> links;
  LinkAnswer defaultLink;
  std::string validationStatus = "validated";
  int registerStatus = 200;
  std::optional<bool> screenshotExists;  // none: as it is
  int screenshotStatus = 200;

  /// The rule of the click id, else that of the clipboard token, else the default.
  const LinkAnswer& linkFor(std::string_view clickId, std::string_view clipboardToken) const;
};

/// As `AnswerBook::edit` takes it.
std::string answersJson(const Answers& answers);

/// Thread-safe.
class AnswerBook {
 public:
  static constexpr std::size_t kMostProjects = 1'000;
  static constexpr std::size_t kMostLinks = 500;
  static constexpr std::size_t kLongest = 65'536;  // bytes of JSON

  explicit AnswerBook(Store& store);

  Answers answers(const std::string& project) const;
  /// Takes what answersJson() writes: a key that is left out stays as it is, null brings back its
  /// default. False, with a message and nothing changed, for anything else.
  bool edit(const std::string& project, std::string_view json, std::string& error);
  /// Back to the defaults.
  bool remove(const std::string& project, std::string& error);

 private:
  Store& store_;
  mutable std::mutex mutex_;
  std::map<std::string, Answers> projects_;  // guarded by mutex_
};

}  // namespace zarn::collector
