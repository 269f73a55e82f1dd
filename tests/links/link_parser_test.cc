#include "links/link_parser.h"

#include <gtest/gtest.h>

#include "base/text.h"
#include "desktop/crypto.h"
#include "links/deep_link_hosts.h"

namespace zarn::links {
namespace {

constexpr const char* kClickId = "0a1b2c3d-4e5f-4a6b-8c7d-0123456789AB";

std::optional<ParsedLink> parse(std::string_view url) {
  static desktop::OpensslCrypto crypto;
  return LinkParser(crypto).parse(url);
}

TEST(LinkParserTest, ReadsPathAndParametersWithoutTheirEncoding) {
  const auto link = parse(
      "https://shop.example/caf%C3%A9/a+b?x=1%202&flag&=nameless&x=last&empty=&eq=a=b&&p+q=%2B#f");
  ASSERT_TRUE(link);
  EXPECT_TRUE(link->isWeb);
  EXPECT_EQ(link->host, "shop.example");
  EXPECT_EQ(parse("shop://ida%40harbour.example")->host, "ida@harbour.example");
  EXPECT_EQ(link->path, "/café/a+b");
  EXPECT_EQ(link->parameters,
            (std::map<std::string, std::string>{
                {"x", "last"}, {"", "nameless"}, {"empty", ""}, {"eq", "a=b"}, {"p+q", "+"}}));
  EXPECT_FALSE(parse("myapp://product/5")->isWeb);
  EXPECT_EQ(parse("myapp:product/5")->path, "product/5");
  for (const char* text : {"", "shop.example/x", "https://a.example/x y", "https://a.example/\n"}) {
    EXPECT_FALSE(parse(text)) << text;
  }
}

TEST(LinkParserTest, TakesTheSegmentAfterLinkForItsId) {
  const auto idOf = [](const std::string& path) {
    return parse("https://a.example" + path)->shortLinkId.value_or("none");
  };
  EXPECT_EQ(idOf("/link/ab12"), "ab12");
  EXPECT_EQ(idOf("//x//link//ab12/y"), "ab12");
  EXPECT_EQ(idOf("/link/link/b"), "link");
  EXPECT_EQ(idOf("/link/"), "none");
  EXPECT_EQ(idOf("/links/ab12"), "none");
  EXPECT_EQ(idOf("/?link/ab12"), "none");
  EXPECT_EQ(idOf("/link/" + std::string(257, 'a')), "none");
  EXPECT_EQ(parse("https://a.example/link/ab12?x=1")->dedupKey, "ab12");
}

TEST(LinkParserTest, KeyDoesNotDependOnTheOrderOfParameters) {
  const auto keyOf = [](const std::string& rest) {
    return parse("https://example.com/a" + rest)->dedupKey;
  };
  EXPECT_EQ(keyOf("?b=3&a=1&b=2"), "19ef9e4fd89a9b07");
  EXPECT_EQ(keyOf("?b=2&b=3&a=1"), keyOf("?a=1&b=2&b=3"));
  EXPECT_EQ(keyOf("?a&a="), keyOf("?a=&a"));
  for (const char* other :
       {"", "?", "?a=1&b=2", "?a=1&b=2&b=3#f", "?a=1&b=2&b=3&", "?1=a&2=b&3=b"}) {
    EXPECT_NE(keyOf(other), keyOf("?a=1&b=2&b=3")) << other;
  }
}

TEST(LinkParserTest, KnowsClickIdsByTheirForm) {
  const std::string good = kClickId;
  EXPECT_TRUE(isClickId(good));
  EXPECT_FALSE(isClickId(good + "0"));
  EXPECT_FALSE(isClickId(good.substr(1)));
  for (const auto& [at, wrong] : std::map<std::size_t, std::string>{
           {0, "g"}, {8, "0"}, {13, "a"}, {14, "06a"}, {19, "7cF-"}, {35, "-"}}) {
    for (const char c : wrong) {
      std::string text = good;
      text[at] = c;
      EXPECT_FALSE(isClickId(text)) << text;
    }
  }
  const auto link = parse("https://a.example/?zarn_click_id=nonsense");
  EXPECT_FALSE(link->clickId);
  EXPECT_EQ(link->parameters.at("zarn_click_id"), "nonsense");
  EXPECT_EQ(parse("a:?zarn_click_id=" + good)->clickId, good);
}

TEST(LinkParserTest, HoldsForHostileLinks) {
  std::string many = "https://a.example/?";
  for (int i = 0; i < 10'000; ++i) many += "n=" + std::to_string(i) + "&";
  EXPECT_EQ(parse(many)->parameters.at("n"), "9999");
  const std::string ampersands = "a:?" + std::string(1 << 20, '&');
  EXPECT_TRUE(parse(ampersands)->parameters.empty());
  EXPECT_NE(parse(ampersands)->dedupKey, parse(ampersands + '&')->dedupKey);
  const auto deep = parse("https://a.example/" + std::string(1 << 20, '/') + "link/x");
  EXPECT_EQ(deep->shortLinkId, "x");
  EXPECT_FALSE(parse("https://a.example/" + std::string(LinkParser::kMaxLength, 'a')));
  const auto broken = parse("https://a.example/%ff%F0%9F%/\xC3?%80=%zz&\xFF=%");
  ASSERT_TRUE(broken);
  EXPECT_TRUE(base::isValidUtf8(broken->path));
  for (const auto& [name, value] : broken->parameters) {
    EXPECT_TRUE(base::isValidUtf8(name) && base::isValidUtf8(value));
  }
  EXPECT_EQ(broken->parameters.at("\uFFFD"), "%");
}

TEST(DeepLinkHostsTest, AllowAHostAndItsSubdomainsOnly) {
  const DeepLinkHosts hosts({"Example.com", "", "bücher.example"});
  for (const char* url : {"https://example.com/a", "http://A.EXAMPLE.com:8443", "app://example.com",
                          "https://user:pw@example.com/", "https://bücher.example"}) {
    EXPECT_TRUE(hosts.allow(url)) << url;
  }
  for (const char* url : {"https://evilexample.com/", "https://example.com.evil.example/",
                          "https://example.com@evil.example", "https://evil.example\\@example.com/",
                          "https://evil.example%2F.example.com/",
                          "https://evil.example／.example.com/", "https://example.com./",
                          "myapp:", "https:///example.com", "https://.", "https://x.", "no link"}) {
    EXPECT_FALSE(hosts.allow(url)) << url;
  }
  EXPECT_FALSE(DeepLinkHosts({}).allow("https://example.com"));
}

}  // namespace
}  // namespace zarn::links
