#include "push/push_payload_sanitizer.h"

#include <gtest/gtest.h>

#include <set>

#include "base/text.h"
#include "desktop/crypto.h"
#include "push/payloads.h"
#include "redaction/pii_filter.h"
#include "runtime/property_sanitizer.h"
#include "support/fake_name_tagger.h"
#include "support/fake_services.h"

namespace zarn::push {
namespace {

class PushPayloadSanitizerTest : public ::testing::Test {
 protected:
  SanitizedPush sanitized(const Properties& userInfo, const ContentRules& rules = {}) {
    return sanitize(userInfo, rules, filter_, crypto_, random_);
  }
  SanitizedPush sanitized(std::string_view json, const ContentRules& rules = {}) {
    return sanitized(payload(json), rules);
  }
  SanitizedPush previewOf(std::string_view text, ContentRules rules = {}) {
    rules.mode = ContentMode::preview;
    return sanitized({{"aps", Properties{{"alert", Properties{{"title", text}, {"body", text}}}}}},
                     rules);
  }

  testing::FakeNameTagger names_;
  redaction::PiiFilter filter_{names_};
  desktop::OpensslCrypto crypto_;
  testing::FakeRandom random_;
};

TEST_F(PushPayloadSanitizerTest, TellsAWholeMessageWithoutItsTextAndLink) {
  EXPECT_EQ(
      encoded(properties(sanitized(richPayload()))),
      R"({"push_id":"6f9619ff-8b86-4011-b42d-00c04fc964ff","provider":"apns",)"
      R"("payload_keys":["apns-collapse-id","apns-id","aps","secret","zarn"],"is_silent":false,)"
      R"("has_mutable_content":true,"has_deep_link":true,"content_mode":"hash_only",)"
      R"("zarn_delivery_id":"d1","zarn_campaign_id":"spring","zarn_job_id":"j1",)"
      R"("category_identifier":"offer","thread_identifier":"thread-1","collapse_id":"c1",)"
      R"("deep_link_hash":"da3fb4fecd48af1d","content_hash":"3ca5a1374c12706f"})");
  EXPECT_EQ(sanitized(richPayload()).deepLinkUrl, "https://shop.example/cart?u=7");
}

TEST_F(PushPayloadSanitizerTest, ShowsTextAsTheModeSays) {
  const auto full = sanitized(richPayload(), {.mode = ContentMode::full});
  EXPECT_EQ(full.title, " Sale\n");
  const std::string most(kLongestTextBytes - 1, 'x');
  EXPECT_EQ(
      sanitized({{"aps", Properties{{"alert", most + "é"}}}}, {.mode = ContentMode::full}).body,
      most);
  const auto told =
      encoded(properties(sanitized(richPayload(), {.mode = ContentMode::preview, .bodyLimit = 4})));
  EXPECT_NE(told.find(R"("content_mode":"preview")"), told.npos);
  EXPECT_NE(told.find(R"("title":"Sale","body":"Half…","subtitle":"Toda…"})"), told.npos) << told;
}

TEST_F(PushPayloadSanitizerTest, CutsAPreviewToCharactersOnOneLine) {
  const auto cut = previewOf(std::string(100, '-'), {.titleLimit = 80, .bodyLimit = 100});
  EXPECT_EQ(cut.title, std::string(80, '-') + "…");
  EXPECT_EQ(cut.body, std::string(100, '-'));
  EXPECT_EQ(previewOf(" \r\n a\nb\r\n\t").title, "a b");
  EXPECT_EQ(previewOf("👨‍👩‍👧é👨‍👩‍👧", {.titleLimit = 2}).title,
            "👨‍👩‍👧é…");
  EXPECT_EQ(previewOf(" \n \u2003 ").title, std::nullopt);
  const auto torn = previewOf("Ask ida@harbour.example", {.titleLimit = 15, .bodyLimit = 8});
  EXPECT_EQ(torn.title, "Ask [redacted]");
  EXPECT_EQ(torn.body, "Ask [red…");
}

TEST_F(PushPayloadSanitizerTest, NamesAMessageByItsFirstId) {
  const auto id = [&](std::string_view json) { return sanitized(json).pushId; };
  EXPECT_EQ(id(R"({"zarn":{"send_id":"s","delivery_id":"d"},"apns-id":"a"})"), "s");
  EXPECT_EQ(id(R"({"zarn":{"send_id":"","delivery_id":"d"},"apns-id":"a"})"), "a");
  EXPECT_EQ(id(R"({"zarn":{"send_id":7,"delivery_id":"d"},"apns-id":""})"), "d");
  std::set<std::string> made{id("{}"), id("{}"), id(R"({"zarn":"no","apns-id":1})")};
  EXPECT_EQ(made.size(), 3u);
  for (const auto& one : made) EXPECT_TRUE(Uuid::parse(one)) << one;
}

TEST_F(PushPayloadSanitizerTest, TellsProviderAndKind) {
  const auto provider = [&](std::string_view json) { return sanitized(json).provider; };
  EXPECT_EQ(provider("{}"), "unknown");
  EXPECT_EQ(provider(R"({"aps":"no","x":1})"), "unknown");
  EXPECT_EQ(provider(R"({"aps":{"badge":1}})"), "apns");
  EXPECT_EQ(provider(R"({"zarn":{}})"), "apns");
  EXPECT_EQ(provider(R"({"aps":{"badge":1},"gcm.message_id":1})"), "fcm");
  EXPECT_EQ(provider(R"({"google.c.sender.id":"1"})"), "fcm");

  const auto isSilent = [&](std::string_view json) { return sanitized(json).isSilent; };
  EXPECT_TRUE(isSilent(R"({"aps":{"content-available":1}})"));
  EXPECT_TRUE(isSilent(R"({"aps":{"content-available":true}})"));
  EXPECT_FALSE(isSilent(R"({"aps":{"content-available":1,"alert":"Hi"}})"));
  EXPECT_FALSE(isSilent(R"({"aps":{"content-available":"1"}})"));
  EXPECT_FALSE(isSilent(R"({"aps":{"content-available":0}})"));
}

TEST_F(PushPayloadSanitizerTest, FindsTheLink) {
  const auto link = [&](std::string_view json) { return sanitized(json).deepLinkUrl; };
  EXPECT_EQ(link(R"({"zarn":{"deep_link":"z"},"deep_link":"a"})"), "z");
  EXPECT_EQ(link(R"({"zarn":{"deep_link":1},"url":"u","deepLink":"b"})"), "b");
  EXPECT_EQ(link(R"({"deep_link":["a"],"url":"u"})"), "u");
  EXPECT_EQ(link(R"({"aps":{"url":"u"}})"), std::nullopt);
}

TEST_F(PushPayloadSanitizerTest, EqualContentGivesEqualHashes) {
  const auto hash = [&](std::string_view json) { return sanitized(json).contentHash; };
  const auto alert = [&](std::string_view members) {
    return hash(R"({"aps":{"alert":{)" + std::string(members) + "}}}");
  };
  EXPECT_EQ(hash(R"({"aps":{"alert":"Hi"}})"), "8773c3f44bdd0e66");
  EXPECT_EQ(alert(R"("body":" Hi\n")"), "8773c3f44bdd0e66");
  EXPECT_EQ(alert(R"("body":"","loc-key":"Hi")"), "8773c3f44bdd0e66");
  EXPECT_NE(alert(R"("title":"Hi")"), "8773c3f44bdd0e66");
  EXPECT_EQ(alert(R"("title":"","title-loc-key":"T")"), alert(R"("title":"T")"));
  EXPECT_EQ(alert(R"("title":" ","body":"\n")"), std::nullopt);
  EXPECT_EQ(hash(R"({"aps":{"alert":[1]},"zarn":{"job_id":"j"}})"), std::nullopt);
}

TEST_F(PushPayloadSanitizerTest, OnlyWhatTheLibraryMadePassesTheFilterForPersonalData) {
  const testing::FakeNameTagger names({"Ida Berg"});
  const redaction::PiiFilter filter(names);
  const runtime::PropertySanitizer sanitizer(filter);
  const auto admitted = [&](const Properties& told) {
    std::string out;
    base::JsonWriter json(out);
    json.beginObject();
    for (const auto& [key, value] : told) {
      sanitizer.write(json, key, value, runtime::sanitizingRules(model::EventType::pushOpen), true);
    }
    json.endObject();
    return out;
  };
  // Digests and ids in the form of UUIDs look like tokens, but are none.
  const auto rich = properties(sanitized(richPayload()));
  EXPECT_EQ(admitted(rich), encoded(rich));

  const std::string text = admitted(properties(sanitized(
      R"({"zarn":{"send_id":"ida@berg.example","campaign_id":"for Ida Berg","job_id":"ida@berg.example"},
          "aps":{"alert":"Dear Ida Berg","category":"ida@berg.example"},
          "apns-collapse-id":"ida@berg.example","ida@berg.example":1})",
      {.mode = ContentMode::full})));
  EXPECT_EQ(text.find("berg.example"), text.npos) << text;
  EXPECT_EQ(text.find("Ida Berg"), text.npos) << text;
}

TEST_F(PushPayloadSanitizerTest, HoldsAgainstHostilePayloads) {
  const auto largestMode =
      ContentRules{.mode = ContentMode::full, .titleLimit = 1u << 30, .bodyLimit = 1u << 30};
  std::string longLetter = "a";
  while (longLetter.size() < kLongestRead - 1) longLetter += "\u0301";
  const std::string garbage = "\xF0\x9F\xFF" + std::string(kLongestRead - 3, '\x80');
  const std::string plain(kLongestRead, 'x');

  for (const std::string& text : {longLetter, garbage, plain, std::string(1 << 20, 'x')}) {
    Properties userInfo{
        {"aps",
         Properties{{"alert", Properties{{"title", text}, {"body", text}, {"subtitle", text}}},
                    {"category", text},
                    {"thread-id", text}}},
        {"zarn", Properties{{"send_id", text}, {"campaign_id", text}, {"deep_link", text}}},
        {"apns-collapse-id", text}};
    for (int i = 0; i < 2000; ++i) userInfo.set(std::to_string(i) + text.substr(0, 2000), i);
    for (const auto mode : {ContentMode::hashOnly, ContentMode::preview, ContentMode::full}) {
      auto rules = largestMode;
      rules.mode = mode;
      const auto told = properties(sanitized(userInfo, rules));
      EXPECT_EQ(told.find("deep_link_hash") != nullptr, text.size() <= kLongestRead);
      EXPECT_EQ(told.find("payload_keys")->asArray()->size(), 100u);
      const std::string json = encoded(told);
      EXPECT_LT(json.size(), 400000u);
      EXPECT_TRUE(base::isValidUtf8(json));
    }
  }

  Value nested = "deep";
  for (int i = 0; i < 1000; ++i) nested = Properties{{"alert", std::move(nested)}};
  EXPECT_EQ(sanitized({{"aps", nested}, {"zarn", nested}}).payloadKeys.size(), 2u);
}

}  // namespace
}  // namespace zarn::push
