#include "events/batch_answer.h"

#include <span>
#include <unordered_set>

#include "base/json.h"
#include "base/members.h"

namespace zarn::events {
namespace {

using base::isTrue;
using base::stringMember;

std::span<const Value> arrayMember(const Properties& object, std::string_view key) {
  const Value* value = object.find(key);
  const Array* array = value != nullptr ? value->asArray() : nullptr;
  return array != nullptr ? std::span<const Value>(*array) : std::span<const Value>();
}

void addAccepted(const Properties& answer, std::vector<BatchAck>& acks) {
  for (const Value& id : arrayMember(answer, "accepted_event_ids")) {
    if (const auto text = id.asString()) {
      acks.push_back({BatchAck::Outcome::accepted, std::string(*text), {}});
    }
  }
}

void addErrors(const Properties& answer, std::vector<BatchAck>& acks) {
  for (const Value& element : arrayMember(answer, "errors")) {
    const Properties* error = element.asProperties();
    auto id = error != nullptr ? stringMember(*error, "event_id") : std::nullopt;
    if (!id) continue;
    if (isTrue(*error, "permanent")) {
      acks.push_back({BatchAck::Outcome::permanentFail, std::move(*id),
                      stringMember(*error, "message").value_or("unknown")});
    } else {
      acks.push_back({BatchAck::Outcome::transientFail, std::move(*id), {}});
    }
  }
}

void keepUnmentioned(const std::vector<model::EncodedEvent>& batch, std::vector<BatchAck>& acks) {
  std::unordered_set<std::string_view> mentioned;
  for (const auto& ack : acks) mentioned.insert(ack.eventId);
  std::vector<BatchAck> kept;
  for (const auto& event : batch) {
    if (!mentioned.contains(event.id)) {
      kept.push_back({BatchAck::Outcome::transientFail, event.id, {}});
    }
  }
  acks.insert(acks.end(), std::make_move_iterator(kept.begin()),
              std::make_move_iterator(kept.end()));
}

}  // namespace

BatchOutcome readBatchAnswer(std::string_view body, const std::vector<model::EncodedEvent>& batch) {
  const auto parsed = base::parseJson(body);
  const Properties* object = parsed ? parsed->asProperties() : nullptr;
  const Properties nothing;
  const Properties& answer = object != nullptr ? *object : nothing;
  if (isTrue(answer, "paused")) return BatchPaused{stringMember(answer, "paused_reason")};
  std::vector<BatchAck> acks;
  acks.reserve(batch.size());
  addAccepted(answer, acks);
  addErrors(answer, acks);
  keepUnmentioned(batch, acks);
  return acks;
}

std::vector<BatchAck> sameForAll(const std::vector<model::EncodedEvent>& batch,
                                 BatchAck::Outcome outcome, std::string_view message) {
  std::vector<BatchAck> acks;
  acks.reserve(batch.size());
  for (const auto& event : batch) acks.push_back({outcome, event.id, std::string(message)});
  return acks;
}

}  // namespace zarn::events
