// Reference pictures of screens: what a good client sends, what is kept of it, and what it is
// answered.
#include <gtest/gtest.h>

#include "collector/wire_samples.h"
#include "server/base64.h"
#include "server/call_check.h"
#include "server/digest.h"
#include "server/jpeg.h"
#include "server/screenshot_queries.h"
#include "support/collector_process.h"

namespace zarn::collector {
namespace {

using testing::CollectorProcess;
using Problems = std::vector<std::string>;

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// Header and end of a JPEG of 390 x 844 pixels, with a comment and fill bytes on the way; and as
// base64.
const std::string kJpeg(
    "\xFF\xD8\xFF\xFE\x00\x04qt\xFF\xFF\xC2\x00\x0B\x08\x03\x4C\x01\x86\x01\x01"
    "\x11\x00\xFF\xD9",
    24);
const std::string kPicture = "/9j//gAEcXT//8IACwgDTAGGAQERAP/Z";

std::string checkText(const std::string& screen = "Cart_populated") {
  return R"({"project_id":"shop","app_id":"app:io.shop","screen_name":")" + screen +
         R"(","platform":"ios","sdk_version":"1.0.16","bundle_id":"io.shop"})";
}

std::string uploadText(const std::string& screen = "Cart_populated") {
  return spoilt(checkText(screen), "}",
                R"(,"image_b64":")" + kPicture +
                    R"(","width":390,"height":844,"release_id":"io.shop@1","device_id":"D",)"
                    R"("anonymous_id":"A"})");
}

CollectorProcess::Answer send(const CollectorProcess& collector, const std::string& body,
                              const std::string& path = "/api/sdk/screenshot",
                              const std::string& authorization = "Bearer k") {
  return collector.request("POST", path, body, {"Authorization: " + authorization});
}

std::string check(const CollectorProcess& collector, const std::string& body = checkText()) {
  return send(collector, body, "/api/sdk/screenshot/check").body;
}

constexpr const char* kExists = R"({"exists":true})";
constexpr const char* kMissing = R"({"exists":false})";

TEST(Base64, ReadsOnlyWhatAnEncoderWrites) {
  EXPECT_EQ(decodedBase64("").value_or("none"), "");
  EXPECT_EQ(decodedBase64("YQ==").value_or("none"), "a");
  EXPECT_EQ(decodedBase64("YWI=").value_or("none"), "ab");
  EXPECT_EQ(decodedBase64("/9j+").value_or("none"), "\xFF\xD8\xFE");
  EXPECT_EQ(decodedBase64(kPicture).value_or("none"), kJpeg);
  for (const char* bad : {"YQ", "YQ=", "Y===", "====", "=",
                          "YR==", "YWJ=", "Y!==", " YQ=", "YQ==YQ==", "YWJj\n   ", "_9j-"}) {
    EXPECT_FALSE(decodedBase64(bad)) << bad;
  }
}

TEST(Jpeg, TellsItsSize) {
  const auto size = jpegSize(kJpeg);
  ASSERT_TRUE(size);
  EXPECT_EQ(size->width, 390);
  EXPECT_EQ(size->height, 844);
  for (std::size_t length = 0; length < kJpeg.size(); ++length) {
    EXPECT_FALSE(jpegSize(kJpeg.substr(0, length))) << length;
    EXPECT_FALSE(jpegSize(kJpeg.substr(0, length / 2) + "\xFF\xD9")) << length;
  }
  EXPECT_FALSE(jpegSize("\x89PNG\xFF\xD9"));
  EXPECT_FALSE(jpegSize(spoilt(kJpeg, "\xC2", "\xDA")));  // the scan, and no frame before it
  EXPECT_FALSE(jpegSize(spoilt(kJpeg, "\x03\x4C", std::string(2, '\0'))));
  EXPECT_FALSE(jpegSize(spoilt(kJpeg, std::string("\x00\x04", 2), std::string(2, '\0'))));
}

TEST(ScreenshotCheck, NamesWhatIsWrong) {
  const auto problems = [](Endpoint endpoint, const std::string& body) {
    CallFacts facts;
    std::string error;
    EXPECT_TRUE(checkCall(endpoint, body, facts, error)) << error;
    EXPECT_FALSE(has(facts.shown, kPicture)) << facts.shown;
    return std::pair(facts.caller.problems, facts.refusal);
  };
  EXPECT_EQ(problems(Endpoint::screenshotCheck, checkText()).first, Problems());
  EXPECT_EQ(problems(Endpoint::screenshot, uploadText()), std::pair(Problems(), std::string()));
  EXPECT_EQ(problems(Endpoint::screenshotCheck, uploadText()).first.size(), 6u);
  const struct {
    std::string from, to, problem;
    bool isRefused;
  } cases[] = {
      {"\"width\":390", "\"width\":391", "width is not the picture's own, 390", false},
      {"\"height\":844", "\"height\":\"844\"", "height must be an integer", false},
      {"\"device_id\":\"D\",", "", "device_id is missing", false},
      {"/9j/", "/8j/", "image_b64 is no whole JPEG", true},
      {"/9j/", "/9j", "image_b64 is no base64", true},
      {"Cart", "", "", false},
      {"\"Cart_populated\"", "\"\"", "screen_name must be a non-empty string", true},
      {"Cart", std::string(600, 'C'), "screen_name has more than 512 bytes", true},
      {"\"app_id\":\"app:io.shop\"", "\"app_id\":7", "app_id must be a non-empty string", true},
  };
  for (const auto& each : cases) {
    const auto [found, refusal] =
        problems(Endpoint::screenshot, spoilt(uploadText(), each.from, each.to));
    EXPECT_EQ(found, each.problem.empty() ? Problems() : Problems{each.problem});
    EXPECT_EQ(!refusal.empty(), each.isRefused) << each.problem;
  }
  EXPECT_EQ(callAuthorizationProblem(Endpoint::screenshot, "Bearer k"), "");
  for (const char* header : {"", "k", "Bearer ", "Bearer k l", "bearer k"}) {
    EXPECT_NE(callAuthorizationProblem(Endpoint::screenshotCheck, header), "") << header;
  }
  EXPECT_NE(callAuthorizationProblem(Endpoint::resolve, "Bearer k"), "");
}

TEST(ScreenshotKey, MayEndWithTheState) {
  const auto read = [](std::string_view key) {
    const ScreenKey parts = screenKey(key);
    return std::string(parts.name) + "|" + std::string(parts.state);
  };
  EXPECT_EQ(read("Cart_populated"), "Cart|populated");
  EXPECT_EQ(read("Cart_new_error"), "Cart_new|error");
  EXPECT_EQ(read("Cart"), "Cart|");
  EXPECT_EQ(read("Cart_gone"), "Cart_gone|");
  EXPECT_EQ(read("_empty"), "_empty|");
  EXPECT_EQ(read("Cartempty"), "Cartempty|");
}

TEST(Screenshots, AreKeptOncePerScreenAndServedByTheirDigest) {
  CollectorProcess collector;
  const std::string kept = "/api/collector/screenshots";
  EXPECT_EQ(check(collector), kMissing);
  EXPECT_EQ(send(collector, uploadText()).body, R"({"stored":true})");
  EXPECT_EQ(check(collector), kExists);
  EXPECT_EQ(check(collector, checkText("Cart_empty")), kMissing);
  EXPECT_EQ(check(collector, spoilt(checkText(), "app:io.shop", "other")), kMissing);
  EXPECT_EQ(check(collector, spoilt(checkText(), "\"shop\"", "\"cafe\"")), kMissing);
  send(collector, uploadText());
  collector.kill();
  collector.start();
  EXPECT_EQ(check(collector), kExists);

  const std::string list = collector.getJson(kept + "?project=shop");
  EXPECT_TRUE(has(list, R"({"screenshots":[{"screen_name":"Cart_populated","state":"populated",)"
                        R"("project_id":"shop","app_id":"app:io.shop","received_at":")"));
  EXPECT_TRUE(has(list, R"("width":390,"height":844,"bytes":24,"uploads":2,"sha256":")" +
                            sha256Hex(kJpeg) + R"(","bundle_id":"io.shop")"))
      << list;
  EXPECT_TRUE(has(list, R"("release_id":"io.shop@1","device_id":"D","anonymous_id":"A"}]})"));
  EXPECT_EQ(collector.getJson(kept + "?project=cafe"), R"({"screenshots":[]})");
  const auto picture = collector.request("GET", kept + "/" + sha256Hex(kJpeg));
  EXPECT_EQ(picture.status, 200);
  EXPECT_EQ(picture.body, kJpeg);
  for (const char* other : {"/abc", "/..", "/%2e%2e%2fcollector.db"}) {
    EXPECT_EQ(collector.request("GET", kept + other).status, 404) << other;
  }

  send(collector, spoilt(uploadText(), "\"shop\"", "\"cafe\""));
  EXPECT_EQ(collector.request("DELETE", "/api/collector/projects/shop/screenshots").body,
            R"({"removed":1})");
  EXPECT_EQ(check(collector), kMissing);
  EXPECT_TRUE(has(collector.getJson(kept), "cafe"));
  collector.post("/api/collector/reset", "");
  EXPECT_EQ(collector.getJson(kept), R"({"screenshots":[]})");
}

TEST(Screenshots, AreRefusedWithoutAPicture) {
  CollectorProcess collector;
  EXPECT_EQ(send(collector, spoilt(uploadText(), "/9j/", "AAAA")).status, 400);
  EXPECT_EQ(send(collector, "[]").status, 400);
  EXPECT_EQ(send(collector, std::string((12u << 20) + 1, ' ')).status, 413);
  EXPECT_EQ(check(collector), kMissing);
  send(collector, uploadText(), "/api/sdk/screenshot", "k");
  const std::string shown =
      collector.getJson("/api/collector/exchanges?endpoint=screenshot&order=asc");
  EXPECT_TRUE(has(shown, "image_b64 is no whole JPEG"));
  EXPECT_TRUE(has(shown, R"("request":{"project_id":"shop","app_id":"app:io.shop")"));
  EXPECT_TRUE(has(shown, R"("image_sha256":")" + sha256Hex(kJpeg) + R"(","width":390)")) << shown;
  EXPECT_TRUE(has(shown, R"(the Authorization header must be \"Bearer\" and the key)"));
  EXPECT_FALSE(has(shown, kPicture));
}

TEST(Screenshots, AreAnsweredAsSetAndAsFaultsSay) {
  CollectorProcess collector;
  const std::string answers = "/api/collector/projects/shop/answers";
  const auto set = [&](const std::string& json) {
    return collector.request("PUT", answers, json).status;
  };
  const auto fault = [&](const std::string& json) {
    collector.request("PUT", "/api/collector/faults", "[" + json + "]");
  };
  EXPECT_EQ(set(R"({"screenshot_exists":true,"screenshot_status":507})"), 200);
  EXPECT_EQ(set(R"({"screenshot_exists":"yes"})"), 400);
  EXPECT_EQ(check(collector), kExists);
  EXPECT_EQ(send(collector, uploadText()).status, 507);
  EXPECT_EQ(set(R"({"screenshot_exists":null,"screenshot_status":null})"), 200);
  EXPECT_EQ(check(collector), kMissing);
  for (const char* spoiling : {R"({"endpoint":"screenshot","kind":"status"})",
                               R"({"endpoint":"screenshot","kind":"drop"})",
                               R"({"endpoint":"screenshot","kind":"mistyped"})"}) {
    fault(spoiling);
    send(collector, uploadText());
    EXPECT_EQ(check(collector), kMissing) << spoiling;
  }
  fault(R"({"endpoint":"screenshot_check","kind":"mistyped"})");
  EXPECT_EQ(check(collector), R"({"exists":"no"})");
  collector.post("/api/collector/projects/shop/pause", "");
  fault("");
  EXPECT_EQ(send(collector, uploadText()).status, 503);
  EXPECT_EQ(check(collector), R"({"paused":true})");
  collector.post("/api/collector/projects/shop/resume", "");
  fault(R"({"endpoint":"screenshot","kind":"empty","keep":true})");
  EXPECT_EQ(send(collector, uploadText()).body, "");
  EXPECT_EQ(check(collector), kExists);
  EXPECT_EQ(set(R"({"screenshot_exists":false})"), 200);
  EXPECT_EQ(check(collector), kMissing);
}

}  // namespace
}  // namespace zarn::collector
