#include "network/route.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "network/hosts.h"
#include "network/network_record.h"

namespace zarn::network {
namespace {

TEST(Route, KeepsTheShapeOfThePath) {
  const std::vector<std::pair<std::string, std::string>> routes = {
      {"", "/"},
      {"/", "/"},
      {"//", "/"},
      {"/a//b", "/a/b"},
      {"/users/123/posts/", "/users/:id/posts/"},
      {"users/7", "users/:id"},
      {"/a?b=1/2", "/a"},
      {"#x", "/"},
      {"/a%3Fmail=x%40y.z", "/a"},
      {"/u/x%40y.z", "/u/:id"},
      {"/u/x%2540y.z", "/u/:id"},
      {"/u/%31%32", "/u/:id"},
      {"/%", "/%"},
      {"/caf%C3%A9", "/caf\u00e9"},
  };
  for (const auto& [path, route] : routes) EXPECT_EQ(routeOf(path), route) << path;
}

TEST(Route, TellsIdentifiersFromNames) {
  for (const char* id :
       {"0", "3f2504e0-4f89-11d3-9a0c-0305e82c3301", "3F2504E0-4F89-11D3-9A0C-0305E82C3301",
        "abcdef0123456789", "DEADBEEFDEADBEEF", "a@b.c", "@a@b.c", "abcdefghij_klmnopq-1",
        "+49-30-123456", "4111 1111 1111 1111", "Ida Larsen", "a\nb", "@ida_l", "by@ida",
        "NO9386011117947", "eyJhbGciOi.eyJzdWIi.c2ln"}) {
    EXPECT_TRUE(isIdentifier(id)) << id;
  }
  EXPECT_TRUE(isIdentifier(std::string(65, 'a')));
  for (const char* name : {"", "v1", "abcdef012345678", "a@b", "@b", "a@", "abcdefghijklmnopqrst",
                           "abcdefghijklmnopqr.1", "1.0.16", "2024-01-15", "\u0661\u0662",
                           "zwei-3-vier", "en12steamboats", "eyJ.x", "caf\u00e9"}) {
    EXPECT_FALSE(isIdentifier(name)) << name;
  }
}

TEST(Route, HoldsForHostileText) {
  const std::string slashes = routeOf(std::string(1 << 20, '/'));
  EXPECT_EQ(slashes, "/");
  EXPECT_EQ(routeOf(std::string(1 << 20, '%')), ":id");
  EXPECT_EQ(routeOf("/\xFF\xC0%FF"), "/\xFF\xC0\xFF");
  std::string many;
  for (int i = 0; i < 100'000; ++i) many += "/1234567";
  EXPECT_EQ(routeOf(many).size(), 400'000U);
}

TEST(Route, WhatIsCutOffAPathLeavesNoPartOfAnIdentifier) {
  EXPECT_EQ(storedPath(std::string(1024, 'a')).size(), 1024U);
  EXPECT_EQ(storedPath(std::string(1 << 20, 'a')), "/:id");
  EXPECT_EQ(storedPath("/a/" + std::string(1 << 20, 'b')), "/a/:id");
  const std::string whole = "/" + std::string(1023, 'a');
  EXPECT_EQ(storedPath(whole + "/secret"), whole + "/:id");
  const std::string split = "/" + std::string(1000, 'a') + "/3f2504e0-4f89-11d3-9a0c-0305e82c3301";
  EXPECT_EQ(storedPath(split), split.substr(0, 1001) + "/:id");
}

TEST(Route, StatusBuckets) {
  for (const auto& [status, bucket] : std::vector<std::pair<int, const char*>>{{200, "2xx"},
                                                                               {299, "2xx"},
                                                                               {304, "3xx"},
                                                                               {404, "4xx"},
                                                                               {599, "5xx"},
                                                                               {600, "error"},
                                                                               {101, "error"},
                                                                               {0, "error"},
                                                                               {-1, "error"},
                                                                               {-250, "error"},
                                                                               {32767, "error"}}) {
    EXPECT_EQ(statusBucketOf(static_cast<std::int16_t>(status)), bucket) << status;
  }
}

TEST(Hosts, PlainOnes) {
  for (const char* host : {"api.example.com", "API", "my_host-1", "10.0.0.1", "::1", "fe80::1"}) {
    EXPECT_TRUE(isPlainHost(host)) << host;
  }
  for (const char* host : {"", "a b", "a@b.cc", "%41", "h\u00f6st", "api:80", "\xFF"}) {
    EXPECT_FALSE(isPlainHost(host)) << host;
  }
  EXPECT_FALSE(isPlainHost(std::string(254, 'a')));
}

TEST(Hosts, OwnOnesByDomainAndName) {
  const OwnHosts own{.domains = {"zarn.example"}, .selfHost = "collector.test"};
  for (const char* host : {"zarn.example", "Ingest.ZARN.example", "zarn.example.", "COLLECTOR.test",
                           "a.b.zarn.example"}) {
    EXPECT_TRUE(own.contain(comparableHost(host))) << host;
  }
  for (const char* host : {"notzarn.example", "zarn.example.org", "a.collector.test", ""}) {
    EXPECT_FALSE(own.contain(comparableHost(host))) << host;
  }
  EXPECT_FALSE(isWithin("a.", ""));
}

TEST(NetworkRecord, MethodsInEitherCase) {
  using Method = NetworkRecord::Method;
  EXPECT_EQ(methodOf(""), Method::get);
  EXPECT_EQ(methodOf("GET"), Method::get);
  EXPECT_EQ(methodOf("dElEtE"), Method::del);
  EXPECT_EQ(methodOf("OPTIONS"), Method::options);
  EXPECT_EQ(methodOf("OTHER"), Method::other);
  EXPECT_EQ(methodOf("GETS"), Method::other);
  EXPECT_EQ(methodOf(std::string(1 << 20, 'g')), Method::other);
  EXPECT_EQ(wordOf(Method::del), "DELETE");
  EXPECT_EQ(wordOf(Method::other), "OTHER");
}

TEST(NetworkRecord, NumbersStayInTheirRanges) {
  EXPECT_EQ(millisecondsOf(0.0019999), 1);
  EXPECT_EQ(millisecondsOf(-5), 0);
  EXPECT_EQ(millisecondsOf(1e300), 2147483647);
  EXPECT_EQ(millisecondsOf(std::stod("nan")), -1);
  EXPECT_EQ(millisecondsOf(-std::stod("inf")), -1);
  EXPECT_EQ(clampedBytes(std::int64_t{1} << 40), 2147483647);
  EXPECT_EQ(clampedBytes(-7), 0);
  EXPECT_EQ(clampedStatus(70000), 32767);
}

}  // namespace
}  // namespace zarn::network
