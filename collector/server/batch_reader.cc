#include "server/batch_reader.h"

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <cstdint>

namespace zarn::collector {
namespace {

constexpr int kDeepest = 200;
// Depth of the members of the root object, and of the elements of its arrays.
constexpr int kMember = 1;
constexpr int kElement = 2;

// Notes where the elements of "batch" begin and end. A value's callback comes when it has been
// read, so an element reaches from the end of the one before to where the reader stands.
class Splitter {
 public:
  using Ch = char;
  using Size = rapidjson::SizeType;

  Splitter(std::string_view body, const rapidjson::MemoryStream& stream)
      : body_(body), stream_(stream) {}

  bool Null() { return scalar(); }
  bool Bool(bool) { return scalar(); }
  bool Int(int) { return scalar(); }
  bool Uint(unsigned) { return scalar(); }
  bool Int64(std::int64_t) { return scalar(); }
  bool Uint64(std::uint64_t) { return scalar(); }
  bool Double(double) { return scalar(); }
  bool RawNumber(const Ch*, Size, bool) { return scalar(); }
  bool String(const Ch*, Size, bool) { return scalar(); }
  bool StartObject() { return open(); }
  bool EndObject(Size) { return close(); }
  bool Key(const Ch* text, Size length, bool) {
    if (depth_ == kMember) isBatch_ = std::string_view(text, length) == "batch";
    return true;
  }
  bool StartArray() {
    if (depth_ == 0) return refuse("the body must be a JSON object");
    if (depth_ == kMember && isBatch_) {
      if (found_) return refuse("\"batch\" appears twice");
      found_ = inBatch_ = true;
      begin_ = last_ = stream_.Tell() + 1;
    }
    return open();
  }
  bool EndArray(Size) {
    if (depth_ == kElement && inBatch_) {
      inBatch_ = false;
      end_ = stream_.Tell();
    }
    return close();
  }

  bool found() const { return found_; }
  const std::string& refusal() const { return refusal_; }
  std::vector<std::string_view> takeEvents() { return std::move(events_); }
  std::string envelope() const {
    return std::string(body_.substr(0, begin_)) + std::string(body_.substr(end_));
  }

 private:
  bool refuse(const char* why) {
    refusal_ = why;
    return false;
  }
  bool scalar() {
    if (depth_ == 0) return refuse("the body must be a JSON object");
    if (depth_ == kMember && isBatch_) return refuse("\"batch\" must be an array");
    if (depth_ == kElement) element(stream_.Tell());
    return true;
  }
  bool open() {
    if (depth_ == kMember && isBatch_ && !inBatch_) return refuse("\"batch\" must be an array");
    if (++depth_ > kDeepest) return refuse("nested deeper than 200 levels");
    return true;
  }
  bool close() {
    if (--depth_ == kElement) element(stream_.Tell() + 1);
    return true;
  }
  void element(std::size_t end) {
    if (!inBatch_) return;
    const std::size_t begin = body_.find_first_not_of(" \t\r\n,", last_);
    events_.push_back(body_.substr(begin, end - begin));
    last_ = end;
  }

  const std::string_view body_;
  const rapidjson::MemoryStream& stream_;
  int depth_ = 0;
  bool isBatch_ = false;
  bool found_ = false;
  bool inBatch_ = false;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::size_t last_ = 0;
  std::string refusal_;
  std::vector<std::string_view> events_;
};

}  // namespace

bool readBatch(std::string_view body, BatchBody& batch, std::string& error) {
  // Numbers stay text here: converting them is left to the check of the single event.
  constexpr unsigned flags = rapidjson::kParseIterativeFlag |
                             rapidjson::kParseValidateEncodingFlag |
                             rapidjson::kParseNumbersAsStringsFlag;
  rapidjson::MemoryStream stream(body.data(), body.size());
  Splitter splitter(body, stream);
  rapidjson::Reader reader;
  const rapidjson::ParseResult result = reader.Parse<flags>(stream, splitter);
  if (!splitter.refusal().empty()) {
    error = splitter.refusal();
    return false;
  }
  if (result.IsError()) {
    error = "malformed JSON: " + std::string(rapidjson::GetParseError_En(result.Code())) +
            " (at byte " + std::to_string(result.Offset()) + ")";
    return false;
  }
  if (!splitter.found()) {
    error = "\"batch\" is missing";
    return false;
  }
  batch.events = splitter.takeEvents();
  batch.envelope = splitter.envelope();
  return true;
}

}  // namespace zarn::collector
