// Finds personal names by a dictionary of given names and surnames of many languages.
//
// A name is a known given name with a capital initial together with the surname, initials and
// particles after it; a capitalised word after a title; an initial or a surname joined to one of
// these. A given name that is an everyday word ("Mark", "Rose") counts only before a known surname
// or after a title. Names in small letters and in scripts other than Latin, Greek and Cyrillic are
// not found.
#pragma once

#include "platform/name_tagger.h"

namespace zarn::desktop {

class DictionaryNameTagger : public platform::NameTagger {
 public:
  DictionaryNameTagger();
  void findNames(std::string_view text, std::vector<platform::TextRange>& names) const override;
};

}  // namespace zarn::desktop
