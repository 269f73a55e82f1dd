#include "server/answer_book.h"

#include <algorithm>
#include <array>

#include "server/json.h"
#include "server/object_check.h"

namespace zarn::collector {
namespace {

using Lock = std::unique_lock<std::mutex>;
using Problems = std::vector<std::string>;

constexpr KeyRule kRuleKeys[] = {
    {"zarn_click_id", Kind::filledText, Need::optional},
    {"clipboard_token", Kind::filledText, Need::optional},
    {"answer", Kind::object},
};
constexpr KeyRule kAnswerKeys[] = {
    {"match_method", Kind::text, Need::optional},
    {"match_confidence", Kind::number, Need::optional},
    {"campaign", Kind::text, Need::optional},
    {"media_source", Kind::text, Need::optional},
    {"link", Kind::object, Need::optional},
};
constexpr KeyRule kLinkKeys[] = {{"id", Kind::text, Need::optional},
                                 {"target_path", Kind::text, Need::optional}};

constexpr std::array<std::string_view, 10> kValidations = {
    "not_run",  "unavailable", "opted_out",    "disabled", "validated",
    "replayed", "invalid_sig", "wrong_bundle", "absent",   "error"};

constexpr std::string_view kForm =
    "the body must be an object like {\"links\": [], \"defaultLink\": null, \"validation_status\": "
    "\"validated\", \"register_status\": 200}";

LinkAnswer readAnswer(const rapidjson::Value& value, const std::string& path, Problems& problems) {
  if (value.IsNull()) return std::nullopt;
  if (!value.IsObject()) {
    problems.push_back(path + " must be an object, or null for an unresolved link");
    return std::nullopt;
  }
  const std::size_t before = problems.size();
  const ObjectCheck check(value, path + ".", kAnswerKeys, problems);
  if (const rapidjson::Value* link = check.find("link")) {
    const ObjectCheck ignored(*link, path + ".link.", kLinkKeys, problems);
  }
  // Only what has been checked is written: its depth is bounded.
  return problems.size() == before ? LinkAnswer(jsonOf(value)) : std::nullopt;
}

LinkRule readRule(const rapidjson::Value& value, const std::string& path, Problems& problems) {
  if (!value.IsObject()) {
    problems.push_back(path +
                       " must be an object like {\"zarn_click_id\": \"...\", \"answer\": {}}");
    return {};
  }
  LinkRule rule;
  const auto answer = value.FindMember("answer");
  const bool isNull = answer != value.MemberEnd() && answer->value.IsNull();
  Problems found;
  const ObjectCheck check(value, path + ".", kRuleKeys, found);
  if (isNull) std::erase(found, path + ".answer must be an object");
  problems.insert(problems.end(), found.begin(), found.end());
  rule.clickId = check.text("zarn_click_id");
  rule.clipboardToken = check.text("clipboard_token");
  if (rule.clickId.empty() == rule.clipboardToken.empty()) {
    problems.push_back(path + " must have one of zarn_click_id and clipboard_token");
  }
  if (check.find("answer") != nullptr) {
    rule.answer = readAnswer(answer->value, path + ".answer", problems);
  }
  return rule;
}

std::vector<LinkRule> readRules(const rapidjson::Value& value, Problems& problems) {
  std::vector<LinkRule> rules;
  if (value.IsNull()) return rules;
  if (!value.IsArray()) {
    problems.push_back("links must be a list");
    return rules;
  }
  if (value.Size() > AnswerBook::kMostLinks) {
    problems.push_back("links has more than " + std::to_string(AnswerBook::kMostLinks));
    return rules;
  }
  for (const rapidjson::Value& each : value.GetArray()) {
    const std::string path = "links[" + std::to_string(rules.size()) + "]";
    LinkRule rule = readRule(each, path, problems);
    const bool isTwice = std::any_of(rules.begin(), rules.end(), [&](const LinkRule& other) {
      return other.clickId == rule.clickId && other.clipboardToken == rule.clipboardToken;
    });
    if (isTwice) problems.push_back(path + " is about the same link as an earlier one");
    rules.push_back(std::move(rule));
  }
  return rules;
}

void readValidation(Answers& answers, const rapidjson::Value& value, Problems& problems) {
  const std::string_view word = value.IsString() ? textOf(value) : std::string_view();
  if (value.IsNull()) {
    answers.validationStatus = Answers().validationStatus;
  } else if (std::find(kValidations.begin(), kValidations.end(), word) != kValidations.end()) {
    answers.validationStatus = word;
  } else {
    std::string known;
    for (const std::string_view each : kValidations) {
      known += (known.empty() ? "" : ", ") + std::string(each);
    }
    problems.push_back("validation_status must be one of " + known);
  }
}

void readStatus(int& status, std::string_view key, const rapidjson::Value& value,
                Problems& problems) {
  if (value.IsNull()) {
    status = 200;
  } else if (value.IsInt() && value.GetInt() >= 200 && value.GetInt() <= 599) {
    status = value.GetInt();
  } else {
    problems.push_back(std::string(key) + " must be a whole number from 200 to 599");
  }
}

void readExistence(Answers& answers, const rapidjson::Value& value, Problems& problems) {
  answers.screenshotExists.reset();
  if (value.IsBool()) answers.screenshotExists = value.GetBool();
  if (!value.IsBool() && !value.IsNull()) {
    problems.push_back("screenshot_exists must be true, false, or null for what is kept");
  }
}

void readMember(Answers& answers, std::string_view key, const rapidjson::Value& value,
                Problems& problems) {
  if (key == "links") {
    answers.links = readRules(value, problems);
  } else if (key == "defaultLink") {
    answers.defaultLink = readAnswer(value, "defaultLink", problems);
  } else if (key == "validation_status") {
    readValidation(answers, value, problems);
  } else if (key == "register_status") {
    readStatus(answers.registerStatus, key, value, problems);
  } else if (key == "screenshot_exists") {
    readExistence(answers, value, problems);
  } else if (key == "screenshot_status") {
    readStatus(answers.screenshotStatus, key, value, problems);
  } else {
    problems.push_back(quoted(key) + " is no part of a project's answers");
  }
}

// Sets what the JSON says; the answer is what is wrong, or nothing.
std::string readAnswers(Answers& answers, std::string_view json) {
  if (json.size() > AnswerBook::kLongest) return "the answers are longer than 64 KiB";
  rapidjson::Document body;
  std::string error;
  if (!parseJson(json, body, error)) return error;
  if (!body.IsObject()) return std::string(kForm);
  Problems problems;
  for (const auto& member : std::as_const(body).GetObject()) {
    readMember(answers, textOf(member.name), member.value, problems);
  }
  constexpr std::size_t mostTold = 5;
  std::string told;
  for (std::size_t i = 0; i < problems.size() && i < mostTold; ++i) {
    told += (told.empty() ? "" : "; ") + problems[i];
  }
  if (problems.size() > mostTold) told += "; and more";
  return told;
}

}  // namespace

const LinkAnswer& Answers::linkFor(std::string_view clickId, std::string_view token) const {
  const auto rule = [&](auto member, std::string_view text) {
    return text.empty() ? links.end()
                        : std::find_if(links.begin(), links.end(),
                                       [&](const LinkRule& each) { return each.*member == text; });
  };
  auto found = rule(&LinkRule::clickId, clickId);
  if (found == links.end()) found = rule(&LinkRule::clipboardToken, token);
  return found == links.end() ? defaultLink : found->answer;
}

std::string answersJson(const Answers& answers) {
  JsonOut out;
  out.object().key("links").array();
  for (const LinkRule& rule : answers.links) {
    out.object()
        .optional("zarn_click_id", rule.clickId)
        .optional("clipboard_token", rule.clipboardToken)
        .key("answer")
        .raw(rule.answer.value_or(""))
        .end();
  }
  out.end()
      .key("defaultLink")
      .raw(answers.defaultLink.value_or(""))
      .field("validation_status", answers.validationStatus)
      .field("register_status", answers.registerStatus)
      .key("screenshot_exists");
  answers.screenshotExists ? out.value(*answers.screenshotExists) : out.null();
  return out.field("screenshot_status", answers.screenshotStatus).end().take();
}

AnswerBook::AnswerBook(Store& store) : store_(store) {
  for (const auto& [project, json] : store.answers()) readAnswers(projects_[project], json);
}

Answers AnswerBook::answers(const std::string& project) const {
  const Lock lock(mutex_);
  const auto found = projects_.find(project);
  return found == projects_.end() ? Answers() : found->second;
}

bool AnswerBook::edit(const std::string& project, std::string_view json, std::string& error) {
  const Lock lock(mutex_);
  const auto known = projects_.find(project);
  Answers next = known == projects_.end() ? Answers() : known->second;
  error = readAnswers(next, json);
  if (!error.empty()) return false;
  if (known == projects_.end() && projects_.size() >= kMostProjects) {
    error = "there are too many projects";
    return false;
  }
  if (!store_.setAnswers(project, answersJson(next))) {
    error = "the answers could not be kept";
    return false;
  }
  projects_[project] = std::move(next);
  return true;
}

bool AnswerBook::remove(const std::string& project, std::string& error) {
  const Lock lock(mutex_);
  if (projects_.count(project) == 0) return true;
  if (!store_.setAnswers(project, {})) {
    error = "the answers could not be kept";
    return false;
  }
  projects_.erase(project);
  return true;
}

}  // namespace zarn::collector
