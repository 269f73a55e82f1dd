// A name tagger that finds the names it was told, or gives the ranges it was told.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/name_tagger.h"

namespace zarn::testing {

class FakeNameTagger : public platform::NameTagger {
 public:
  FakeNameTagger() = default;
  explicit FakeNameTagger(std::vector<std::string> names) : names_(std::move(names)) {}

  /// Given as they are for every text, right or wrong.
  void giveRanges(std::vector<platform::TextRange> ranges) { ranges_ = std::move(ranges); }

  void findNames(std::string_view text, std::vector<platform::TextRange>& found) const override {
    found.insert(found.end(), ranges_.begin(), ranges_.end());
    for (const std::string& name : names_) {
      for (auto at = text.find(name); at != text.npos; at = text.find(name, at + name.size())) {
        found.push_back({at, at + name.size()});
      }
    }
    if (!names_.empty()) {
      std::sort(found.begin(), found.end(),
                [](const auto& a, const auto& b) { return a.begin < b.begin; });
    }
  }

 private:
  std::vector<std::string> names_;
  std::vector<platform::TextRange> ranges_;
};

}  // namespace zarn::testing
