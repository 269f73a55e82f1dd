// Plants secrets in all that comes in from outside, by links, push messages and requests, and in
// what is never sent: producers_egress_host API_HOST DATA ORDERS
#include "orders.h"
#include "planted.h"
#include "zarn/desktop.h"

using zarn::Array;
using zarn::Properties;
using zarn::PushProvider;
using zarn::Zarn;
using namespace zarn::testing;

namespace {

/// In an address.
std::string text(std::string_view place) {
  return percentEncoded(sentence(place));
}

/// That it was followed shows by a parameter that passes.
std::string link(std::string_view place, const std::string& path, const std::string& query = "",
                 const std::string& user = "") {
  return "https://" + user + std::string(kLinkHost) + path + "?" + std::string(kLinkParameter) +
         "=" + percentEncoded(followed(place)) + query;
}

void plantLinks() {
  const std::string at = "link: ";
  for (const std::string_view kind : kKinds) {
    const std::string user = percentEncoded(secret(kind, "link: user").text);
    Zarn::handleURL(link("link: user", "/" + user, "", user + ":" + user + "@"));
  }
  Zarn::handleURL(link("link: path", "/" + text("link: path")));
  Zarn::handleURL(link("link: value", "/", "&q=" + text("link: value")));
  Zarn::handleURL(link("link: name", "/", "&" + text("link: name") + "=1"));
  Zarn::handleURL(link("link: fragment", "/") + "#" + text("link: fragment"));
  Zarn::handleURL(link("link: click id", "/", "&zarn_click_id=" + text("link: click id")));
  Zarn::handleURL(link("link: short id", "/link/" + text("link: short id")));
  for (int times = 0; times < 2; ++times) {
    Zarn::handleURL(link("link: repeated short id", "/link/" + text("link: repeated short id")));
  }
  Zarn::handleURL(link("link: campaign", "/", "&utm_source=" + text("link: campaign")));
  Zarn::handleURL(link("link: other campaign", "/", "&~campaign=" + text("link: other campaign")));
  const std::string name = "&utm_" + text("link: campaign's name") + "=1";
  Zarn::handleURL(link("link: campaign's name", "/", name));
  Zarn::handleURL("prints://" + text("link: host of a scheme") + "/a");
  Zarn::handleURL("prints:" + text("link: path of a scheme"));
  Zarn::handleURL(sentence("link: none"));
  Zarn::handleURL(link("link: known", "/", "&zarn_click_id=" + std::string(kClickId)));

  const std::string browsing(zarn::UserActivity::kBrowsingWeb);
  Zarn::handleUserActivity({sentence("activity: type"), link("activity: type", "/")});
  Zarn::handleUserActivity({browsing, link("activity: path", "/" + text("activity: path"))});
  Zarn::handleSceneConnection(
      {.userActivities = {{browsing, link("window: activity", "/" + text("window: activity"))}},
       .urls = {link("window: link", "/" + text("window: link"))}});
  Zarn::resolveLink(link("question: path", "/" + text("question: path")), [](const auto&) {});
}

void plantPushes() {
  const auto told = [](const Properties& payload) {
    Zarn::logPushReceived(payload, "background");
    Zarn::logPushOpened(payload);
    Zarn::logPushDismissed(payload);
    Zarn::logPushAction(payload, "reply");
  };
  const auto alert = [](const char* title, std::string_view titleText, const char* body,
                        std::string_view bodyText) {
    return Properties{{"alert", Properties{{title, titleText}, {body, bodyText}}}};
  };
  told({{"aps", Properties{{"alert", Properties{{"title", sentence("push: title")},
                                                {"body", sentence("push: body")},
                                                {"subtitle", sentence("push: subtitle")},
                                                {"loc-args", Array{sentence("push: arguments")}},
                                                {sentence("push: name inside"), 1}}}}}});
  told({{"aps", alert("title-loc-key", sentence("push: key of a title"), "loc-key",
                      sentence("push: key of a body"))}});
  told({{"aps", Properties{{"alert", sentence("push: alert")}}}});
  // The preview ends within the address.
  const std::string address = secret("e-mail", "push: torn title").text;
  std::string title = mark("push: torn title") + " ";
  title += std::string(kTitleLimit - address.size() + 10 - title.size(), '.') + address;
  told({{"aps",
         alert("title", title, "body", std::string(120, '.') + std::string(kPastThePreview))}});
  told({{"order", sentence("push: value")},
        {std::string(kPushName), 1},
        {"more", Properties{{"texts", Array{sentence("push: value inside")}},
                            {sentence("push: name inside"), 1}}},
        {sentence("push: name"), 1}});
  told({{"aps", Properties{{"category", sentence("push: category")},
                           {"thread-id", sentence("push: thread")}}},
        {"apns-collapse-id", sentence("push: collapse id")},
        {"apns-id", kPushId}});
  const std::string linked = link("push: link", "/" + text("push: link"));
  told({{"zarn", Properties{{"deep_link", linked}}}});
  told({{"url", link("push: other link", "/" + text("push: other link"))}});
  const Properties repeated{{"apns-id", sentence("push: repeated id")}};
  told(repeated);
  told(repeated);
  Zarn::logPushReceived({{"apns-id", "state"}}, sentence("push: state"));
  Zarn::logPushAction({}, sentence("push: action"));
  // Last, so that what later events are attributed to holds the most.
  told({{"zarn", Properties{{"delivery_id", sentence("push: delivery")},
                            {"campaign_id", sentence("push: campaign")},
                            {"job_id", sentence("push: job")},
                            {"send_id", sentence("push: send")}}}});
}

void plantTokens() {
  for (const std::string_view kind : kKinds) {
    Zarn::setPushToken(secret(kind, "token").text, PushProvider::apns);
    Zarn::logPushTokenInvalidated(secret(kind, "withdrawn token").text, PushProvider::apns);
  }
}

void request(const std::string& url, const std::string& method = "GET") {
  static const auto network = Zarn::networkDelegate();
  network->didFinishCollectingMetrics(
      {}, {.url = url, .method = method, .status = 200, .duration = 0.1});
}

void plantRequests() {
  const std::string server = "https://" + std::string(kRequestHost);
  const std::string begin = server + "/" + std::string(kRequestSegment) + "/";
  for (const std::string_view kind : kKinds) {
    request(begin + percentEncoded(secret(kind, "request: segment").text));
    const std::string user = percentEncoded(secret(kind, "request: user").text);
    request("https://" + user + ":" + user + "@" + std::string(kRequestHost) + "/account");
    const std::string query = secret(kind, "request: query").text;
    request(server + "/search?q=" + percentEncoded(query) + "#" + percentEncoded(query), query);
  }
  // Only what could not be the name of a server.
  for (const char* kind : {"e-mail", "phone", "card", "handle", "name"}) {
    request("https://" + percentEncoded(secret(kind, "request: host").text) + "/hosted");
  }
  request("https://" + std::string(kServerName) + "/");
  // As it is where a host does not encode.
  for (const char* kind : {"e-mail", "handle", "bank account", "long token", "web token"}) {
    request(begin + secret(kind, "request: segment").text + "/");
  }
  request(begin + text("request: segment"));
}

void plantTheUnsent() {
  Zarn::addBreadcrumb({.category = sentence("breadcrumb"),
                       .message = sentence("breadcrumb"),
                       .data = {{sentence("breadcrumb"), sentence("breadcrumb")}},
                       .level = sentence("breadcrumb")});
  auto& skan = Zarn::skan();
  skan.acceptSchema({.funnelBits = {sentence("conversion")}});
  skan.recordConversionEvent(sentence("conversion"), 7.5);
  Zarn::setAdvertisingConsent(sentence("consent"));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  zarn::desktop::describeHost({.bundleId = std::string(kBundleId),
                               .name = std::string(kAppName),
                               .version = "1.0",
                               .dataDirectory = argv[2]});
  Zarn::configure("wk_test_x_egress_" + std::string(kWriteKeySecret),
                  {.apiHost = argv[1],
                   .debug = true,
                   .apiKeyOverride = std::string(kApiKey),
                   .universalLinkHosts = {std::string(kLinkHost)}});
  Zarn::onDeepLink([](const zarn::ZarnDeepLink&) {});
  auto orders = commonOrders();
  orders["plant"] = [](const std::string&) {
    plantTokens();
    plantTheUnsent();
    plantRequests();
    plantPushes();
    plantLinks();
    Zarn::track("marker");
    return "done";
  };
  follow(argv[3], orders);
}
