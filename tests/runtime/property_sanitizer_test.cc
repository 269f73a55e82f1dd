#include "runtime/property_sanitizer.h"

#include <gtest/gtest.h>

#include "base/value_access.h"
#include "redaction/pii_filter.h"
#include "support/fake_name_tagger.h"

namespace zarn::runtime {
namespace {

using model::EventType;

class PropertySanitizerTest : public ::testing::Test {
 protected:
  std::string sanitized(EventType type, const Properties& properties, bool isOwn = true) const {
    std::string out;
    base::JsonWriter json(out);
    json.beginObject();
    for (const auto& [key, value] : properties) {
      sanitizer_.write(json, key, value, sanitizingRules(type), isOwn);
    }
    json.endObject();
    return out;
  }

  testing::FakeNameTagger names_{{"Ida Berg"}};
  redaction::PiiFilter filter_{names_};
  PropertySanitizer sanitizer_{filter_};
};

constexpr const char* kUuid = "6f9619ff-8b86-4011-b42d-00c04fc964ff";

TEST_F(PropertySanitizerTest, ScrubsTextWhereverItStands) {
  EXPECT_EQ(sanitized(EventType::custom,
                      {{"a", "from Ida Berg"},
                       {"b", Array{"x@y.example", 4, Properties{{"email", "x@y.example"}}}},
                       {"c", Url{"https://h.example/?mail=x@y.example"}},
                       {"d", ""}}),
            R"({"a":"from [name]","b":["[redacted]",4,{"email":"[redacted]"}],)"
            R"("c":"https://h.example/?mail=[redacted]","d":""})");
}

TEST_F(PropertySanitizerTest, LeavesWhatIsNoTextAndWhatTheLibraryMade) {
  const std::string digest(64, 'a');
  EXPECT_EQ(sanitized(EventType::custom, {{"n", 4111111111111111},
                                          {"t", Date(std::chrono::seconds(0))},
                                          {"u", *Uuid::parse(kUuid)},
                                          {"m", Decimal{"19.99"}},
                                          {"z", nullptr},
                                          {"h", base::ValueAccess::opaque(digest)}}),
            R"({"n":4111111111111111,"t":"1970-01-01T00:00:00.000Z",)"
            R"("u":"6F9619FF-8B86-4011-B42D-00C04FC964FF","m":19.99,"z":null,"h":")" +
                digest + "\"}");
}

TEST_F(PropertySanitizerTest, TraitsPassOnlyAsTheCallsOwnAndOnlyAtTheTop) {
  const Properties traits{{"email", "x@y.example"},
                          {"$phone", "+47 22 33 44 55"},
                          {"note", "x@y.example"},
                          {"name", Array{"x@y.example"}}};
  EXPECT_EQ(
      sanitized(EventType::identify, traits),
      R"({"email":"x@y.example","$phone":"+47 22 33 44 55","note":"[redacted]","name":["[redacted]"]})");
  EXPECT_EQ(sanitized(EventType::identify, {{"email", "x@y.example"}}, false),
            R"({"email":"[redacted]"})");
  EXPECT_EQ(sanitized(EventType::custom, {{"email", "x@y.example"}}), R"({"email":"[redacted]"})");
}

TEST_F(PropertySanitizerTest, AttributionIdsPassAsUuidsOrWithTheirEvents) {
  const std::string token(40, 'k');
  const Properties ids{{"idfa", kUuid}, {"zarn_click_id", token}, {"other", kUuid}};
  EXPECT_EQ(sanitized(EventType::custom, ids),
            std::string(R"({"idfa":")") + kUuid +
                R"(","zarn_click_id":"[redacted]","other":"[redacted]"})");
  EXPECT_EQ(sanitized(EventType::install, ids), std::string(R"({"idfa":")") + kUuid +
                                                    R"(","zarn_click_id":")" + token +
                                                    R"(","other":"[redacted]"})");
}

TEST_F(PropertySanitizerTest, LooksAtTheFirst256Characters) {
  const std::string tail = " x@y.example";
  const std::string late(256, '.');
  EXPECT_EQ(sanitized(EventType::custom, {{"k", late + tail}}), R"({"k":")" + late + tail + "\"}");
  EXPECT_EQ(sanitized(EventType::custom, {{"k", "a@b.example " + late + tail}}),
            R"({"k":"[redacted] )" + late + tail + "\"}");
}

}  // namespace
}  // namespace zarn::runtime
