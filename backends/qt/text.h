// Qt's texts as UTF-8 in an arena, none longer than a view's text may be.
#pragma once

#include <QStringView>
#include <string_view>

#include "base/text_arena.h"

namespace zarn::qt {

/// Cut between code points; what is no valid UTF-16 becomes U+FFFD.
std::string_view toArena(QStringView text, base::TextArena& arena);

/// Of a button: without the marks of its shortcut (`&Save` is Save, `R&&D` is R&D).
std::string_view labelToArena(QStringView text, base::TextArena& arena);

/// Of HTML: what is read, without tags and with its entities resolved, in one line.
std::string_view plainToArena(QStringView markup, base::TextArena& arena);

}  // namespace zarn::qt
