// What a host must not get past the compiler. compile_test.py compiles this file as it stands and
// then with every line that begins with //! taken in, each of which must be refused; the line below
// it is what the host would have to write.
#include <string>

#include "zarn/zarn.h"

namespace {

using zarn::Array;
using zarn::Properties;
using zarn::Value;
using zarn::Zarn;

enum class Plain { one };
enum OldPlain { two };
struct Nothing {};

void nestedValuesAreSpelled() {
  //! Zarn::track("x", {{"a", {{"b", 1}}}});
  Zarn::track("x", {{"a", Properties{{"b", 1}}}});
  //! Zarn::track("x", {{"a", {{"b", 1}, {"c", 2}}}});
  Zarn::track("x", {{"a", Properties{{"b", 1}, {"c", 2}}}});
  //! Zarn::track("x", {{"k", {"x", "y"}}});
  Zarn::track("x", {{"k", Array{"x", "y"}}});
  //! Zarn::track("x", {{"k", {1, 2, 3}}});
  Zarn::track("x", {{"k", Array{1, 2, 3}}});
  //! Zarn::setSuperProperty("k", {"x", "y"});
  Zarn::setSuperProperty("k", Array{"x", "y"});
  //! Zarn::track("x", {"a", 1});
  Zarn::track("x", {{"a", 1}});
}

void pointersAreNoValues(int* number, void* thing, const Properties* properties, void (*call)()) {
  //! Value a(number);
  Value a(*number);
  //! Value b(thing);
  Value b(thing != nullptr);
  //! Value c(properties);
  Value c(*properties);
  //! Value d(call);
  Value d(call != nullptr);
  //! Zarn::track("x", {{"this", number}});
  Zarn::track("x", {{"this", *number}});
  //! Value e(L"wide");
  Value e("narrow");
  //! Value f(std::optional<int*>{number});
  Value f(std::optional<int>{*number});
}

void charactersAreNeitherTextNorNumbers(char letter) {
  //! Value a(letter);
  Value a(std::string(1, letter));
  //! Value b(u8"text");
  Value b("text");
}

void unknownTypesNeedAText() {
  //! Value a(Plain::one);
  Value a(static_cast<int>(Plain::one));
  //! Value b(two);
  Value b(static_cast<int>(two));
  //! Value c(Nothing{});
  Value c;
  //! Value d(std::true_type{});
  Value d(std::true_type::value);
}

void valuesDoNotConvertBack(const Value& value) {
  //! bool a = value;
  bool a = value.asBool().value_or(false);
  //! std::string b = value;
  std::string b(value.asString().value_or(""));
  static_cast<void>(a);
}

}  // namespace

void useAll() {
  int number = 0;
  nestedValuesAreSpelled();
  pointersAreNoValues(&number, nullptr, nullptr, nullptr);
  charactersAreNeitherTextNorNumbers('a');
  unknownTypesNeedAText();
  valuesDoNotConvertBack(number);
}
