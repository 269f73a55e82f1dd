// Checks the members of one JSON object against a table of keys, and remembers what is wrong.
#pragma once

#include <rapidjson/document.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zarn::collector {

enum class Need { required, optional };
enum class Kind { text, filledText, integer, number, flag, object, array };

struct KeyRule {
  std::string_view key;
  Kind kind;
  Need need = Need::required;
};

class ObjectCheck {
 public:
  /// Checks presence, type, repeated and unknown keys. `path` stands before each key in a problem.
  ObjectCheck(const rapidjson::Value& object, std::string path, std::span<const KeyRule> rules,
              std::vector<std::string>& problems);

  /// The member where it is present and of the right type.
  const rapidjson::Value* find(std::string_view key) const;
  std::string text(std::string_view key) const;
  void problem(std::string_view key, std::string_view what);

 private:
  struct Found {
    std::string_view key;
    const rapidjson::Value* value;  // null: of a wrong type
  };

  const std::string path_;
  std::vector<Found> found_;
  std::vector<std::string>& problems_;
};

/// The text in quotes, cut to what fits a message.
std::string quoted(std::string_view text);

}  // namespace zarn::collector
