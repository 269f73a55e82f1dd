#include "desktop/journal_stack.h"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "base/hex.h"
#include "base/json.h"
#include "base/text.h"

namespace zarn::desktop {
namespace {

constexpr std::size_t kMostBytes = 64 << 10;
constexpr int kMostFrames = 100;
constexpr std::size_t kMostNameCharacters = 128;
constexpr std::size_t kMostHexDigits = 16;
constexpr std::string_view kHeading = "Stack trace of thread ";
constexpr std::string_view kDeleted = " (deleted)";
constexpr std::string_view kUnknown = "n/a";

std::string_view takeLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return line;
}

/// "0x" and digits at the start of `text`, taken off it.
std::optional<std::string_view> takeHexNumber(std::string_view& text) {
  if (!text.starts_with("0x")) return std::nullopt;
  std::size_t end = 2;
  while (end < text.size() && base::hexDigitValue(text[end]) >= 0) ++end;
  if (end == 2 || end > 2 + kMostHexDigits) return std::nullopt;
  const std::string_view number = text.substr(0, end);
  text.remove_prefix(end);
  return number;
}

std::string_view shortName(std::string_view name) {
  return base::prefixOfCharacters(name, kMostNameCharacters);
}

struct Frame {
  std::string_view symbol;
  std::string_view binaryName;
  std::optional<std::string_view> offset;
};

/// "#3  0x00007f0a1b2c3d4e symbol (library.so.6 + 0x2724a)"; the symbol may hold anything.
std::optional<Frame> frameOf(std::string_view line) {
  line = base::trimmed(line);
  if (!line.starts_with('#') || !line.ends_with(')')) return std::nullopt;
  const std::size_t address = line.find("0x");
  if (address == line.npos) return std::nullopt;
  line.remove_prefix(address);
  if (!takeHexNumber(line) || !line.starts_with(' ')) return std::nullopt;
  line.remove_suffix(1);
  Frame frame;
  if (const auto plus = line.rfind(" + 0x"); plus != line.npos) {
    std::string_view rest = line.substr(plus + 3);
    const auto offset = takeHexNumber(rest);
    if (offset && rest.empty()) {
      frame.offset = offset;
      line = line.substr(0, plus);
    }
  }
  if (line.ends_with(kDeleted)) line.remove_suffix(kDeleted.size());
  const auto open = line.rfind(" (");
  if (open == line.npos) return std::nullopt;
  frame.symbol = base::trimmed(line.substr(0, open));
  frame.binaryName = line.substr(open + 2);
  if (frame.binaryName != kUnknown) {
    frame.binaryName.remove_prefix(frame.binaryName.rfind('/') + 1);  // npos + 1 is the start
  }
  return frame;
}

void write(base::JsonWriter& json, const Frame& frame) {
  json.beginObject().member("binaryName", shortName(frame.binaryName));
  if (!frame.symbol.empty() && frame.symbol != kUnknown) {
    json.member("symbol", shortName(frame.symbol));
  }
  if (frame.offset) json.member("offset", *frame.offset);
  json.endObject();
}

}  // namespace

std::string callStackTreeOf(std::string_view message) {
  message = message.substr(0, kMostBytes);
  bool found = false;
  while (!found && !message.empty()) found = takeLine(message).starts_with(kHeading);
  std::string frames;
  base::JsonWriter json(frames);
  json.beginArray();
  int count = 0;
  for (; count < kMostFrames && !message.empty(); ++count) {
    const auto frame = frameOf(takeLine(message));
    if (!frame) break;
    write(json, *frame);
  }
  json.endArray();
  if (count == 0) return {};
  std::string tree;
  base::JsonWriter(tree)
      .beginObject()
      .key("callStacks")
      .beginArray()
      .beginObject()
      .key("threadAttributed")
      .boolean(true)
      .key("callStackRootFrames")
      .raw(frames)
      .endObject()
      .endArray()
      .endObject();
  return tree;
}

}  // namespace zarn::desktop
