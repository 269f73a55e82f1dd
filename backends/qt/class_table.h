// Qt's classes that the view seam tells apart, by name: Qt Quick's are not public, and modules that
// an app does not use are not linked.
#pragma once

#include <string_view>

#include "qt/class_kinds.h"

namespace zarn::qt {

struct KnownClass {
  std::string_view name;
  platform::ViewKind kind;
  Trait trait;
};

/// Null for a class that is not told apart.
const KnownClass* knownClass(std::string_view name);

/// For classes that are known only by how their names end, be they Qt's or an app's.
const KnownClass* classNamedLike(std::string_view name);

}  // namespace zarn::qt
