// The part of Reports about pushes and what they led to.
#include <algorithm>
#include <array>
#include <map>
#include <optional>

#include "server/frequencies.h"
#include "server/report_rows.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

using Lease = Connections::Lease;

constexpr std::string_view kPushTypes =
    "seq IN (SELECT seq FROM events WHERE type IN ('push_received', 'push_silent', 'push_open',"
    " 'push_dismissed', 'push_action'))";
constexpr std::string_view kAttributed = R"(instr(raw, '"attribution_push_id"') > 0)";
constexpr std::size_t kMostCampaigns = 10'000;
constexpr std::size_t kMostShown = 100;

// How far a push got; a later one outdoes an earlier.
enum class Outcome { received, silent, dismissed, action, opened };
constexpr std::array<std::string_view, 5> kOutcomes = {"received", "silent", "dismissed", "action",
                                                       "opened"};

Outcome outcomeOf(std::string_view type) {
  if (type == "push_open") return Outcome::opened;
  if (type == "push_action") return Outcome::action;
  if (type == "push_dismissed") return Outcome::dismissed;
  return type == "push_silent" ? Outcome::silent : Outcome::received;
}

struct Campaign {
  std::array<std::int64_t, kOutcomes.size()> counts{};
  std::int64_t attributed = 0;
};

struct Push {
  std::string id, provider, campaign, contentHash, title;
  std::optional<std::int64_t> receivedMs, openedMs, timeToOpenMs;
  Outcome outcome = Outcome::received;
  std::int64_t attributed = 0;
};

struct Pushes {
  std::array<std::int64_t, kOutcomes.size()> funnel{};
  std::map<std::string, Campaign, std::less<>> campaigns;
  std::vector<Push> newest;
  Frequencies attributed;

  Push* find(std::string_view id) {
    const auto found =
        std::find_if(newest.begin(), newest.end(), [&](const Push& each) { return each.id == id; });
    return found == newest.end() ? nullptr : &*found;
  }
};

// The newest event that has it decides.
void note(std::string& text, const SentEvent& event, std::string_view key) {
  if (text.empty()) text = textIn(event.properties, key);
}

std::int64_t receivedMs(const SentEvent& event) {
  constexpr std::int64_t latest = 4'102'444'800'000;
  const std::int64_t told = countIn(event.properties, "received_at_ms");
  return told > 0 && told < latest ? told : event.ms;
}

// Events come newest first, so that of several opens the first one stands in the end.
void notePush(Push& push, const SentEvent& event, Outcome outcome) {
  note(push.provider, event, "provider");
  note(push.campaign, event, "zarn_campaign_id");
  note(push.contentHash, event, "content_hash");
  note(push.title, event, "title");
  push.outcome = std::max(push.outcome, outcome);
  if (outcome == Outcome::received || outcome == Outcome::silent) {
    push.receivedMs = receivedMs(event);
  }
  if (outcome != Outcome::opened) return;
  push.openedMs = event.ms;
  push.timeToOpenMs.reset();
  if (memberOf(event.properties, "time_to_open_ms") != nullptr) {
    push.timeToOpenMs = countIn(event.properties, "time_to_open_ms");
  }
}

void addPush(Pushes& pushes, const SentEvent& event) {
  const Outcome outcome = outcomeOf(event.type);
  const auto at = static_cast<std::size_t>(outcome);
  ++pushes.funnel[at];
  const std::string_view campaign = textIn(event.properties, "zarn_campaign_id");
  if (!campaign.empty()) {
    if (Campaign* entry = entryOf(pushes.campaigns, campaign, kMostCampaigns)) ++entry->counts[at];
  }
  const std::string_view id = textIn(event.properties, "push_id");
  if (id.empty()) return;
  Push* push = pushes.find(id);
  if (push == nullptr && pushes.newest.size() < kMostShown) {
    push = &pushes.newest.emplace_back();
    push->id = id;
  }
  if (push != nullptr) notePush(*push, event, outcome);
}

void addAttributed(Pushes& pushes, const SentEvent& event) {
  const std::string_view id = textIn(event.properties, "attribution_push_id");
  if (id.empty()) return;
  pushes.attributed.add(event.name);
  if (Push* push = pushes.find(id)) ++push->attributed;
  const std::string_view campaign = textIn(event.properties, "attribution_campaign_id");
  if (campaign.empty()) return;
  if (Campaign* entry = entryOf(pushes.campaigns, campaign, kMostCampaigns)) ++entry->attributed;
}

std::int64_t count(const std::array<std::int64_t, kOutcomes.size()>& counts, Outcome outcome) {
  return counts[static_cast<std::size_t>(outcome)];
}

void writeCampaigns(JsonOut& out, const Pushes& pushes) {
  const auto busier = [](const Campaign& a, const Campaign& b) {
    const auto received = [](const Campaign& each) {
      return count(each.counts, Outcome::received);
    };
    return received(a) != received(b) ? received(a) > received(b) : a.attributed > b.attributed;
  };
  out.key("campaigns").array();
  for (const auto* campaign : firstOf(pushes.campaigns, kMostShown, busier)) {
    const auto& counts = campaign->second.counts;
    out.object()
        .field("campaign_id", campaign->first)
        .field("received", count(counts, Outcome::received))
        .field("opened", count(counts, Outcome::opened))
        .field("dismissed", count(counts, Outcome::dismissed))
        .field("actions", count(counts, Outcome::action))
        .field("attributed_events", campaign->second.attributed)
        .end();
  }
  out.end();
}

void write(JsonOut& out, const Push& push) {
  const auto text = [&](std::string_view key, const std::string& value) {
    out.key(key);
    value.empty() ? out.null() : out.value(value);
  };
  const auto time = [&](std::string_view key, const std::optional<std::int64_t>& ms) {
    out.key(key);
    ms ? out.value(isoText(*ms)) : out.null();
  };
  out.object().field("push_id", push.id);
  text("provider", push.provider);
  text("campaign_id", push.campaign);
  time("received_at", push.receivedMs);
  time("opened_at", push.openedMs);
  out.key("time_to_open_ms");
  push.timeToOpenMs ? out.value(*push.timeToOpenMs) : out.null();
  out.field("outcome", kOutcomes[static_cast<std::size_t>(push.outcome)]);
  text("content_hash", push.contentHash);
  text("title", push.title);
  out.field("attributed_events", push.attributed).end();
}

void write(JsonOut& out, const Pushes& pushes) {
  out.key("funnel")
      .object()
      .field("received", count(pushes.funnel, Outcome::received))
      .field("silent", count(pushes.funnel, Outcome::silent))
      .field("opened", count(pushes.funnel, Outcome::opened))
      .field("dismissed", count(pushes.funnel, Outcome::dismissed))
      .field("actions", count(pushes.funnel, Outcome::action))
      .end();
  writeCampaigns(out, pushes);
  out.key("pushes").array();
  for (const Push& push : pushes.newest) write(out, push);
  out.end().key("attributed").array();
  for (const auto* name : pushes.attributed.top()) {
    out.object().field("event_name", name->first).field("count", name->second).end();
  }
  out.end();
}

bool writePermissions(JsonOut& out, Lease& lease, const ReportScope& scope) {
  Frequencies statuses;
  const bool good =
      eachEvent(lease, scope, "type = 'push_permission'", kAllRows, [&](const SentEvent& event) {
        const std::string_view status = textIn(event.properties, "authorization_status");
        statuses.add(status.empty() ? "unknown" : status);
      });
  if (!good) return false;
  out.key("permissions").array();
  for (const auto* status : statuses.top()) {
    out.object().field("status", status->first).field("count", status->second).end();
  }
  out.end();
  return true;
}

void writeToken(JsonOut& out, const SentCall& call) {
  out.object().field("time", isoText(call.ms));
  for (const std::string_view key : {"device_id", "provider", "token_sha256"}) {
    writeSent(out, call.request, key);
  }
  out.field("status", call.status).optional("cause", call.cause).end();
}

}  // namespace

Reports::Result Reports::push(const ReportScope& scope, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Pushes pushes;
  const bool hasPushes = eachEvent(lease, scope, kPushTypes, kAllRows,
                                   [&](const SentEvent& event) { addPush(pushes, event); });
  const bool hasAttributed =
      hasPushes && eachEvent(lease, scope, kAttributed, kAllRows,
                             [&](const SentEvent& event) { addAttributed(pushes, event); });
  if (!hasAttributed) return std::nullopt;
  JsonOut out;
  out.object();
  write(out, pushes);
  if (!writePermissions(out, lease, scope)) return std::nullopt;
  out.key("tokens").array();
  if (!eachCall(lease, scope, Endpoint::registration,
                [&](const SentCall& call) { writeToken(out, call); })) {
    return std::nullopt;
  }
  return out.end().end().take();
}

}  // namespace zarn::collector
