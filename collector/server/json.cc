#include "server/json.h"

#include <rapidjson/error/en.h>

namespace zarn::collector {

std::string jsonOf(const rapidjson::Value& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return {buffer.GetString(), buffer.GetSize()};
}

bool parseJson(std::string_view text, rapidjson::Document& document, std::string& error) {
  constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
  document.Parse<flags>(text.data(), text.size());
  if (!document.HasParseError()) return true;
  error = "malformed JSON: " + std::string(rapidjson::GetParseError_En(document.GetParseError())) +
          " (at byte " + std::to_string(document.GetErrorOffset()) + ")";
  return false;
}

}  // namespace zarn::collector
