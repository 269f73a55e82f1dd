#include <gtest/gtest.h>

#include "support/loopback_server.h"
#include "zarn/curl.h"

namespace zarn::desktop {
namespace {

using testing::LoopbackServer;

struct Told final : NetworkDelegate {
  void didFinishCollectingMetrics(const NetworkTask&, const NetworkMetrics& metrics) override {
    all.push_back(metrics);
  }
  std::vector<NetworkMetrics> all;
};

class CurlObserverTest : public ::testing::Test {
 protected:
  CurlObserverTest() {
    curl_easy_setopt(
        curl_, CURLOPT_WRITEFUNCTION,
        +[](char*, std::size_t size, std::size_t count, void*) { return size * count; });
    server_.answerWith({.body = std::string(500, 'x')});
  }
  ~CurlObserverTest() override { curl_easy_cleanup(curl_); }

  RequestObservation observed(const std::string& url) {
    curl_easy_setopt(curl_, CURLOPT_URL, url.c_str());
    return observe(curl_, told_);
  }
  NetworkMetrics request(const std::string& url) {
    auto observation = observed(url);
    observation.finished(curl_easy_perform(curl_));
    observation.finished(CURLE_OK);  // once is enough
    return told_->all.back();
  }

  LoopbackServer server_;
  CURL* const curl_ = curl_easy_init();
  const std::shared_ptr<Told> told_ = std::make_shared<Told>();
};

TEST_F(CurlObserverTest, ReadsWhatATransferTook) {
  server_.answerNext({.body = std::string(500, 'x'), .delay = std::chrono::milliseconds(30)});
  curl_easy_setopt(curl_, CURLOPT_POSTFIELDS, "four");
  const auto metrics = request(server_.url("/orders?user=ida"));
  ASSERT_EQ(told_->all.size(), 1U);
  EXPECT_EQ(metrics.url, server_.url("/orders?user=ida"));
  EXPECT_EQ(metrics.method, "POST");
  EXPECT_EQ(metrics.status, 200);
  EXPECT_FALSE(metrics.hasError);
  EXPECT_EQ(metrics.bytesSent, 4);
  EXPECT_EQ(metrics.bytesReceived, 500);
  EXPECT_GE(metrics.duration, 0.03);
  ASSERT_EQ(metrics.transactions.size(), 1U);
  const NetworkTransaction& first = metrics.transactions[0];
  EXPECT_LE(*first.domainLookupEnd, *first.connectEnd);
  EXPECT_LT(*first.connectEnd, *first.responseStart);
  EXPECT_GE(*first.responseStart, 0.03);
  EXPECT_LE(*first.responseStart, metrics.duration);
}

TEST_F(CurlObserverTest, AConnectionThatStoodBeforeHasNoPhases) {
  request(server_.url());
  const auto metrics = request(server_.url());
  ASSERT_EQ(server_.connectionCount(), 1U);
  EXPECT_FALSE(metrics.transactions[0].domainLookupEnd);
  EXPECT_FALSE(metrics.transactions[0].connectEnd);
  EXPECT_TRUE(metrics.transactions[0].responseStart);
}

TEST_F(CurlObserverTest, ARedirectedTransferGoesByItsFirstAddress) {
  curl_easy_setopt(curl_, CURLOPT_FOLLOWLOCATION, 1L);
  server_.answerBy([](const testing::LoopbackRequest& request) -> testing::LoopbackAnswer {
    if (request.path == "/new") return {.status = 204};
    return {.status = 302, .headers = {{"Location", "/new"}}};
  });
  for (const char* path : {"/old", "/older"}) {
    const auto metrics = request(server_.url(path));
    EXPECT_EQ(metrics.url, server_.url(path));
    EXPECT_EQ(metrics.status, 204);
    EXPECT_TRUE(metrics.transactions.empty());
  }
  EXPECT_EQ(request(server_.url("/new")).url, server_.url("/new"));
  const std::string bare = "127.0.0.1:" + std::to_string(server_.port()) + "/old";
  EXPECT_EQ(request(bare).url, server_.url("/new"));
}

TEST_F(CurlObserverTest, FailuresAndBareNamesAreToldToo) {
  server_.answerNext({.kind = testing::LoopbackAnswer::Kind::closeAtOnce});
  const auto failed = request(server_.url("/x"));
  EXPECT_TRUE(failed.hasError);
  EXPECT_FALSE(failed.status);
  EXPECT_FALSE(failed.transactions[0].responseStart);
  EXPECT_EQ(request("127.0.0.1:" + std::to_string(server_.port())).url, server_.url());
}

TEST_F(CurlObserverTest, LettingGoTellsATransferThatTookPlace) {
  { const auto unused = observed(server_.url()); }
  EXPECT_TRUE(told_->all.empty());
  {
    auto observation = observed(server_.url("/a"));
    curl_easy_perform(curl_);
    const auto moved = std::move(observation);
  }
  ASSERT_EQ(told_->all.size(), 1U);
  EXPECT_EQ(told_->all[0].status, 200);
  { const auto unused = observed(server_.url()); }  // the handle still has the times of the last
  EXPECT_EQ(told_->all.size(), 1U);
}

TEST_F(CurlObserverTest, WorksWithAMultiHandle) {
  CURLM* multi = curl_multi_init();
  auto observation = observed(server_.url("/m"));
  curl_multi_add_handle(multi, curl_);
  for (int running = 1; running > 0;) {
    curl_multi_perform(multi, &running);
    curl_multi_poll(multi, nullptr, 0, 100, nullptr);
  }
  int left = 0;
  const CURLMsg* message = curl_multi_info_read(multi, &left);
  ASSERT_NE(message, nullptr);
  observation.finished(message->data.result);
  curl_multi_remove_handle(multi, curl_);
  curl_multi_cleanup(multi);
  ASSERT_EQ(told_->all.size(), 1U);
  EXPECT_EQ(told_->all[0].url, server_.url("/m"));
}

TEST_F(CurlObserverTest, WithoutAHandleThereIsNothingToTell) {
  observe(nullptr, told_).finished(CURLE_OK);
  EXPECT_TRUE(told_->all.empty());
}

}  // namespace
}  // namespace zarn::desktop
