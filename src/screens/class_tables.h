// What is known of classes by their names alone. A toolkit tells the kind of most nodes, and that
// comes first; these tables serve what is left. Comparisons are exact.
#pragma once

#include "screens/text_match.h"

namespace zarn::screens {

// Screens that no user would call one.
extern const Words kSystemControllerNames;
extern const Words kSystemControllerPrefixes;

// Names that tell how something is built and not what it is.
extern const Words kPlaceholderNames;
extern const Words kPlaceholderNameSuffixes;

// Parts of a type's text that say nothing of the app.
extern const Words kHostedTypeNoise;
extern const Words kHostedTypeNoiseSuffixes;
extern const Words kHostedTypePreferredSuffixes;  // the better ones first

// Found anywhere in the class text of a view.
extern const Words kSystemOverlayParts;  // they come and go over what the app shows
extern const Words kLoadingParts;
extern const Words kListParts;  // of a scroll view
extern const Words kRowParts;

// Views that only hold another one.
extern const Words kTransparentWrapperNames;
extern const Words kTransparentWrapperPrefixes;

}  // namespace zarn::screens
