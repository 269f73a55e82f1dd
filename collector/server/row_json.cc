#include "server/row_json.h"

#include "server/time_text.h"

namespace zarn::collector {

void writeProblems(JsonOut& out, std::string_view problems) {
  out.key("problems").raw(problems.empty() ? "[]" : problems);
}

void writeBody(JsonOut& out, std::string_view key, std::string_view body) {
  rapidjson::Document parsed;
  std::string ignored;
  if (!body.empty() && parseJson(body, parsed, ignored)) {
    out.key(key).raw(body);
  } else {
    out.field(key, body);
  }
}

void writeTime(JsonOut& out, std::string_view key, const Statement& row, int column) {
  out.key(key);
  row.isNull(column) ? out.null() : out.value(isoText(row.number(column)));
}

void writeNumber(JsonOut& out, std::string_view key, const Statement& row, int column) {
  out.key(key);
  row.isNull(column) ? out.null() : out.value(row.number(column));
}

}  // namespace zarn::collector
