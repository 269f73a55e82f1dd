#include "server/screen_pictures.h"

#include <algorithm>
#include <cctype>

#include "server/screenshot_queries.h"

namespace zarn::collector {
namespace {

bool isAscii(char c) {
  return static_cast<unsigned char>(c) < 0x80;
}

// Without what a key may have lost of a name: quotation marks and the like beyond ASCII.
std::string asciiOf(std::string text) {
  std::erase_if(text, [](char c) { return !isAscii(c); });
  return text;
}

}  // namespace

std::string simplified(std::string_view name) {
  std::string simple;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (!isAscii(c)) {
      simple += c;
    } else if (std::isalnum(byte) != 0) {
      simple += static_cast<char>(std::tolower(byte));
    }
  }
  return simple;
}

bool ScreenPictures::read(Connections::Lease& lease, const std::string& project) {
  Where where;
  if (!project.empty()) where.add("project = ?", project);
  Statement query(*lease,
                  "SELECT screen, sha256, app, release_id, received_ms, width, height,"
                  " length(jpeg) FROM screenshots" +
                      where.sql() + " ORDER BY received_ms DESC, id DESC");
  where.bindTo(query, 1);
  const bool good = lease.each(query, [this](const Statement& row) {
    const ScreenKey key = screenKey(row.text(0));
    byName_.emplace(simplified(key.name), pictures_.size());
    ScreenPicture& picture = pictures_.emplace_back();
    picture.key = row.text(0);
    picture.state = screenKey(picture.key).state;
    picture.sha256 = row.text(1);
    picture.app = row.text(2);
    picture.releaseId = row.text(3);
    picture.receivedMs = row.number(4);
    picture.width = row.number(5);
    picture.height = row.number(6);
    picture.bytes = row.number(7);
  });
  told_.assign(pictures_.size(), false);
  return good;
}

std::vector<const ScreenPicture*> ScreenPictures::of(std::string_view name,
                                                     const ScreenViews* views) {
  std::string simple = simplified(name);
  std::vector<std::string> keys = {simple};
  if (std::string ascii = asciiOf(simple); ascii != simple && ascii.size() > 2) {
    keys.push_back(std::move(ascii));
  }
  if (views != nullptr) {
    for (const auto* each : views->fingerprints.top()) keys.push_back("screen" + each->first);
  }
  std::vector<std::size_t> found;
  for (const std::string& key : keys) {
    const auto [begin, end] = byName_.equal_range(key);
    for (auto at = begin; at != end; ++at) found.push_back(at->second);
  }
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  std::vector<const ScreenPicture*> pictures;
  for (const std::size_t at : found) {
    told_[at] = true;
    pictures.push_back(&pictures_[at]);
  }
  return pictures;
}

std::vector<const ScreenPicture*> ScreenPictures::others() const {
  std::vector<const ScreenPicture*> pictures;
  for (std::size_t i = 0; i < pictures_.size(); ++i) {
    if (!told_[i]) pictures.push_back(&pictures_[i]);
  }
  return pictures;
}

}  // namespace zarn::collector
