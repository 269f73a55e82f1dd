#include "server/project_book.h"

#include <algorithm>

#include "server/json.h"
#include "server/object_check.h"
#include "server/policy_keys.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

using Lock = std::unique_lock<std::mutex>;

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) all += (all.empty() ? "" : "; ") + text;
  return all;
}

// Sets what one member of the editor's JSON says; the answer is what is wrong, or nothing.
std::string setMember(ProjectSettings& settings, std::string& reason, std::string_view key,
                      const rapidjson::Value& value) {
  if (key == "data_collection") {
    if (value.IsNull()) {
      settings.policy = "{}";
      return {};
    }
    std::string wrong = joined(policyProblems(value));
    // Only what has been checked is written: its depth is bounded.
    if (wrong.empty()) settings.policy = jsonOf(value);
    return wrong;
  }
  if (key == "paused") {
    if (!value.IsBool() && !value.IsNull()) return "paused must be true or false";
    settings.paused.reset();
    if (value.IsTrue()) settings.paused = std::string();
    return {};
  }
  std::string* text = key == "paused_reason" ? &reason
                      : key == "release_id"  ? &settings.releaseId
                      : key == "app_id"      ? &settings.appId
                                             : nullptr;
  if (text == nullptr) return quoted(key) + " is no part of a project's settings";
  if (!value.IsString() && !value.IsNull()) return std::string(key) + " must be a string";
  *text = value.IsString() ? textOf(value) : std::string_view();
  return {};
}

bool samePolicy(const ProjectSettings& a, const ProjectSettings& b) {
  return a.policy == b.policy && a.releaseId == b.releaseId && a.appId == b.appId;
}

std::string wordFor(const ProjectSettings& before, const ProjectSettings& after) {
  const bool policy = !samePolicy(before, after);
  if (before.paused == after.paused) return "policy";
  return std::string(policy ? "policy, " : "") + (after.paused ? "paused" : "resumed");
}

}  // namespace

ProjectBook::ProjectBook(Store& store) : store_(store) {
  for (auto& [project, settings] : store.changes()) {
    lastRevision_ = settings.revision;
    histories_[project].push_back(std::move(settings));
  }
}

ProjectSettings ProjectBook::settings(const std::string& project) const {
  const Lock lock(mutex_);
  const auto found = histories_.find(project);
  return found == histories_.end() ? ProjectSettings() : found->second.back();
}

ProjectSettings ProjectBook::earlier(const std::string& project, std::int64_t revision) const {
  const std::vector<ProjectSettings> all = history(project);
  if (revision == 0) return all.size() < 2 ? ProjectSettings() : all[all.size() - 2];
  const auto later = std::find_if(all.begin(), all.end(),
                                  [&](const auto& each) { return each.revision > revision; });
  return later == all.begin() ? ProjectSettings() : *(later - 1);
}

std::vector<ProjectSettings> ProjectBook::history(const std::string& project) const {
  const Lock lock(mutex_);
  const auto found = histories_.find(project);
  return found == histories_.end() ? std::vector<ProjectSettings>() : found->second;
}

std::vector<std::string> ProjectBook::projects() const {
  const Lock lock(mutex_);
  std::vector<std::string> names;
  for (const auto& [name, history] : histories_) names.push_back(name);
  return names;
}

bool ProjectBook::edit(const std::string& project, std::string_view json, std::string& error) {
  rapidjson::Document body;
  if (json.size() > kLongestSettings) {
    error = "the settings are longer than 64 KiB";
    return false;
  }
  if (!parseJson(json, body, error)) return false;
  if (!body.IsObject()) {
    error = "the body must be an object like {\"data_collection\": {}, \"paused\": false}";
    return false;
  }
  return change(
      project,
      [&](ProjectSettings& wanted) -> std::string {
        std::string reason = wanted.paused.value_or("");
        for (const auto& member : std::as_const(body).GetObject()) {
          std::string wrong = setMember(wanted, reason, textOf(member.name), member.value);
          if (!wrong.empty()) return wrong;
        }
        if (wanted.paused) wanted.paused = reason;
        return {};
      },
      error);
}

bool ProjectBook::pause(const std::string& project, std::string reason, std::string& error) {
  return change(
      project,
      [&](ProjectSettings& wanted) {
        wanted.paused = std::move(reason);
        return std::string();
      },
      error);
}

bool ProjectBook::resume(const std::string& project, std::string& error) {
  return change(
      project,
      [](ProjectSettings& wanted) {
        wanted.paused.reset();
        return std::string();
      },
      error);
}

bool ProjectBook::remove(const std::string& project, std::string& error) {
  return change(
      project,
      [](ProjectSettings& wanted) {
        wanted = {};
        wanted.what = "removed";
        return std::string();
      },
      error);
}

bool ProjectBook::change(const std::string& project, const Edit& edit, std::string& error) {
  const Lock lock(mutex_);
  const auto known = histories_.find(project);
  const ProjectSettings before =
      known == histories_.end() ? ProjectSettings() : known->second.back();
  ProjectSettings next = before;
  next.what.clear();
  error = edit(next);
  if (!error.empty()) return false;
  const bool policyChanged = !samePolicy(before, next);
  const bool pauseChanged = before.paused != next.paused;
  if (!policyChanged && !pauseChanged) return true;
  if (known == histories_.end() && histories_.size() >= kMostProjects) {
    error = "there are too many projects";
    return false;
  }
  next.revision = lastRevision_ + 1;
  next.policyRevision = policyChanged ? next.revision : before.policyRevision;
  next.pauseRevision = pauseChanged ? next.revision : before.pauseRevision;
  next.changedMs = nowMs();
  if (next.what.empty()) next.what = wordFor(before, next);
  if (!store_.addChange(project, next)) {
    error = "the change could not be kept";
    return false;
  }
  lastRevision_ = next.revision;
  histories_[project].push_back(std::move(next));
  return true;
}

}  // namespace zarn::collector
