#include "null_sink.h"

namespace zarn::bench {
namespace {

// Every section is there, and nothing of what is measured is switched off.
constexpr std::string_view kPolicy =
    R"({"core":{"pageViews":true,"sessions":true,"errors":true},"engagement":{"clicks":true},)"
    R"("performance":{"networkRequests":true},"device":{"hardwareInfo":true,"batteryInfo":true,)"
    R"("connectionInfo":true,"context":true,"lifecycle":true},"privacy":{"userAgent":true},)"
    R"("screenshots":{"enabled":false},"identity":{"collectEmail":false,"collectPhone":false},)"
    R"("push":{"enabled":true,"contentMode":"preview"},"replay":{"enabled":false},)"
    R"("deeplink":{"clipboardEnabled":false},"network":{"diagnosticCapture":false}})";

}  // namespace

NullSink::NullSink(std::string_view counted)
    : counted_("\"event_type\":\"" + std::string(counted) + '"') {
  server_.answerBy([this](const testing::LoopbackRequest& request) { return answer(request); });
}

std::string NullSink::address() const {
  std::string url = server_.url("");
  while (url.ends_with('/')) url.pop_back();
  return url;
}

testing::LoopbackAnswer NullSink::answer(const testing::LoopbackRequest& request) {
  testing::LoopbackAnswer answer;
  if (!request.path.ends_with("/batch")) {
    answer.body = R"({"data_collection":)" + std::string(kPolicy) + R"(,"dataCollection":)" +
                  std::string(kPolicy) + "}";
    return answer;
  }
  constexpr std::string_view kId = "{\"event_id\":\"";
  constexpr std::size_t kIdSize = 36;
  answer.body = R"({"accepted_event_ids":[)";
  for (auto at = request.body.find(kId); at != std::string::npos;
       at = request.body.find(kId, at + kId.size() + kIdSize)) {
    if (answer.body.back() != '[') answer.body += ',';
    answer.body += '"';
    answer.body.append(request.body, at + kId.size(), kIdSize);
    answer.body += '"';
  }
  answer.body += "]}";
  for (auto at = request.body.find(counted_); at != std::string::npos;
       at = request.body.find(counted_, at + counted_.size())) {
    ++accepted_;
  }
  return answer;
}

}  // namespace zarn::bench
