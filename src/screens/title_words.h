// The words that titles of screens are made of.
#pragma once

#include "screens/text_match.h"

namespace zarn::screens {

extern const Words kTitleWords;          // lower case
extern const Words kPlaceholderPhrases;  // lower case; what stands where a title is still to come

}  // namespace zarn::screens
