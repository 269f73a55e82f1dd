#include "server/batch_reader.h"

#include <gtest/gtest.h>

namespace zarn::collector {
namespace {

using Texts = std::vector<std::string>;

Texts eventsOf(std::string_view body) {
  BatchBody batch;
  std::string error;
  if (!readBatch(body, batch, error)) return {"error: " + error};
  return {batch.events.begin(), batch.events.end()};
}

TEST(BatchReader, LeavesEveryByteOfTheEvents) {
  EXPECT_EQ(eventsOf(R"({"a":[1,{"batch":[0]}], "batch" : [ {"x" : [1, {"y":"]}"}]} ,{},)"
                     R"({"n":1.50e3,"s":"\u00fc\/"}] , "z":{}})"),
            (Texts{R"({"x" : [1, {"y":"]}"}]})", "{}", R"({"n":1.50e3,"s":"\u00fc\/"})"}));
}

TEST(BatchReader, TakesElementsThatAreNoObjects) {
  EXPECT_EQ(eventsOf(R"({"batch":[1 , "a\"b",null,true,[[2],{}], -1.5e99]})"),
            (Texts{"1", R"("a\"b")", "null", "true", "[[2],{}]", "-1.5e99"}));
  EXPECT_EQ(eventsOf(R"({"batch":[]})"), Texts{});
}

TEST(BatchReader, KeepsTheEnvelopeWithoutTheEvents) {
  BatchBody batch;
  std::string error;
  ASSERT_TRUE(readBatch(R"({"a":1,"batch":[ {"b":2} ],"c":{"d":[3]}})", batch, error));
  EXPECT_EQ(batch.envelope, R"({"a":1,"batch":[],"c":{"d":[3]}})");
}

TEST(BatchReader, RefusesWhatIsNoBatch) {
  const auto refusal = [](std::string_view body) { return eventsOf(body).at(0); };
  EXPECT_EQ(refusal("[]"), "error: the body must be a JSON object");
  EXPECT_EQ(refusal("7"), "error: the body must be a JSON object");
  EXPECT_EQ(refusal(R"({"a":{"batch":[]}})"), "error: \"batch\" is missing");
  EXPECT_EQ(refusal(R"({"batch":{}})"), "error: \"batch\" must be an array");
  EXPECT_EQ(refusal(R"({"batch":"x"})"), "error: \"batch\" must be an array");
  EXPECT_EQ(refusal(R"({"batch":[],"batch":[]})"), "error: \"batch\" appears twice");
  for (const char* broken : {"", "{", R"({"batch":[{})", R"({"batch":[}]})", R"({"batch":[]}x)",
                             "{\"batch\":[\"\xff\"]}", "{\"batch\":[\"\xed\xa0\x80\"]}"}) {
    EXPECT_EQ(refusal(broken).rfind("error: malformed JSON: ", 0), 0u) << broken;
  }
}

TEST(BatchReader, SurvivesDepth) {
  const auto nested = [](std::size_t levels) {
    return R"({"batch":[)" + std::string(levels, '[') + std::string(levels, ']') + "]}";
  };
  EXPECT_EQ(eventsOf(nested(100)).size(), 1u);
  EXPECT_EQ(eventsOf(nested(1'000'000)).at(0), "error: nested deeper than 200 levels");
}

}  // namespace
}  // namespace zarn::collector
