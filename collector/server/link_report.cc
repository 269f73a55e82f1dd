// The part of Reports about links and installs.
#include "server/frequencies.h"
#include "server/report_rows.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

using Lease = Connections::Lease;

void writeLink(JsonOut& out, const SentEvent& event) {
  openEvent(out, event);
  out.field("device_id", event.device);
  for (const std::string_view key :
       {"link_host", "link_path_hash", "source", "is_deferred", "link_id", "zarn_click_id"}) {
    writeSent(out, event.properties, key);
  }
  out.key("utm").object();
  for (const auto& member : event.properties.GetObject()) {
    const std::string_view key = textOf(member.name);
    if (key.starts_with("utm_")) out.key(key).raw(jsonOf(member.value));
  }
  out.end().end();
}

bool writeLinks(JsonOut& out, Lease& lease, const ReportScope& scope) {
  Frequencies sources, campaigns;
  std::int64_t shown = 0;
  out.key("events").array();
  const bool good =
      eachEvent(lease, scope, "type = 'deep_link'", kAllRows, [&](const SentEvent& event) {
        const std::string_view source = textIn(event.properties, "source");
        const std::string_view campaign = textIn(event.properties, "utm_campaign");
        sources.add(source.empty() ? "unknown" : source);
        if (!campaign.empty()) campaigns.add(campaign);
        if (shown++ < kMostListed) writeLink(out, event);
      });
  if (!good) return false;
  out.end().key("by_source").object();
  for (const auto* source : sources.top()) out.field(source->first, source->second);
  out.end().key("by_campaign").array();
  for (const auto* campaign : campaigns.top()) {
    out.object().field("campaign", campaign->first).field("count", campaign->second).end();
  }
  out.end();
  return true;
}

void writeResolve(JsonOut& out, const SentCall& call) {
  const rapidjson::Value none(rapidjson::kObjectType);
  const rapidjson::Value& answer = call.response != nullptr ? *call.response : none;
  const rapidjson::Value* resolved = memberOf(answer, "resolved");
  const bool isResolved = resolved != nullptr && resolved->IsTrue();
  const rapidjson::Value* link = memberOf(answer, "link");
  const bool hasLink = isResolved && link != nullptr && link->IsObject();
  const auto text = [&](std::string_view key, std::string_view value) {
    out.key(key);
    value.empty() ? out.null() : out.value(value);
  };
  out.object()
      .field("time", isoText(call.ms))
      .field("has_click_id", !textIn(call.request, "zarn_click_id").empty())
      .field("has_clipboard_token", !textIn(call.request, "clipboard_token").empty())
      .key("resolved");
  call.response == nullptr ? out.null() : out.value(isResolved);
  text("link_id", hasLink ? textIn(*link, "id") : std::string_view());
  text("campaign", isResolved ? textIn(answer, "campaign") : std::string_view());
  out.field("status", call.status).optional("cause", call.cause).end();
}

void writeInstall(JsonOut& out, const SentEvent& event) {
  openEvent(out, event);
  out.field("device_id", event.device);
  writeSent(out, event.properties, "app_version");
  writeSent(out, event.properties, "zarn_click_id");
  out.end();
}

void writeValidation(JsonOut& out, const SentCall& call) {
  out.object().field("time", isoText(call.ms));
  writeSent(out, call.request, "install_id");
  writeSent(out, call.request, "device_id");
  const std::string_view word =
      call.response != nullptr ? textIn(*call.response, "validation_status") : std::string_view();
  out.key("status");
  word.empty() ? out.null() : out.value(word);
  out.optional("cause", call.cause).end();
}

}  // namespace

Reports::Result Reports::links(const ReportScope& scope, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  JsonOut out;
  out.object();
  if (!writeLinks(out, lease, scope)) return std::nullopt;
  out.key("resolves").array();
  if (!eachCall(lease, scope, Endpoint::resolve,
                [&](const SentCall& call) { writeResolve(out, call); })) {
    return std::nullopt;
  }
  out.end().key("installs").array();
  if (!eachEvent(lease, scope, "type = 'install'", kMostListed,
                 [&](const SentEvent& event) { writeInstall(out, event); })) {
    return std::nullopt;
  }
  out.end().key("validations").array();
  if (!eachCall(lease, scope, Endpoint::validate,
                [&](const SentCall& call) { writeValidation(out, call); })) {
    return std::nullopt;
  }
  return out.end().end().take();
}

}  // namespace zarn::collector
