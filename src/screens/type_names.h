// Names of screens that are hidden in the text of a type, such as
// Host<ModifiedContent<LoginView, Padding>>. Pure functions; any thread.
#pragma once

#include <optional>
#include <string_view>

namespace zarn::screens {

/// The part of the text that names a screen; nothing when all of it is plumbing.
std::optional<std::string_view> parseHostedTypeName(std::string_view text);

/// Whether a person has given the type its name.
bool isHumanTypeName(std::string_view text);

/// "SettingsViewController" is about "Settings".
std::string_view withoutControllerSuffix(std::string_view className);

}  // namespace zarn::screens
