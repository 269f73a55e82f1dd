// Writes columns of what is kept as the API shows them.
#pragma once

#include <string_view>

#include "server/database.h"
#include "server/json.h"

namespace zarn::collector {

/// A kept list of problems, or none.
void writeProblems(JsonOut& out, std::string_view problems);
/// Text that may be JSON (a good answer) or anything else (what a fault sent).
void writeBody(JsonOut& out, std::string_view key, std::string_view body);
/// Milliseconds since 1970 as text; null where the column is.
void writeTime(JsonOut& out, std::string_view key, const Statement& row, int column);
void writeNumber(JsonOut& out, std::string_view key, const Statement& row, int column);

}  // namespace zarn::collector
