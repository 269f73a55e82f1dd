#include "desktop/log.h"

#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace zarn::desktop {

// One thread at a time: of two that both find room in a pipe, one could take all of it.
void DescriptorLog::write(std::string_view line) {
  if (!begins(line)) return;
  writeOrDrop(line);
  for (auto lines = takeLinesOfOthers(); !lines.empty(); lines = takeLinesOfOthers()) {
    for (const std::string& other : lines) writeOrDrop(other);
  }
}

bool DescriptorLog::begins(std::string_view line) {
  base::MutexLock lock(mutex_);
  if (!isWriting_) {
    takenOver_ = 0;
    return isWriting_ = true;
  }
  if (takenOver_ < kLinesOfOthers) {
    ++takenOver_;
    ofOthers_.emplace_back(line.substr(0, PIPE_BUF));
  } else {
    ++dropped_;
  }
  return false;
}

std::vector<std::string> DescriptorLog::takeLinesOfOthers() {
  std::vector<std::string> lines;
  base::MutexLock lock(mutex_);
  lines.swap(ofOthers_);
  isWriting_ = !lines.empty();
  return lines;
}

void DescriptorLog::writeOrDrop(std::string_view line) {
  if (!writeNow(line)) {
    ++dropped_;
  } else if (const unsigned dropped = dropped_) {
    const std::string report = "[Zarn] " + std::to_string(dropped) + " log lines were dropped";
    if (writeNow(report)) dropped_ -= dropped;
  }
}

void DescriptorLog::debug(std::string_view line) {
  if (debug_ == Debug::unknown) {
    base::MutexLock lock(mutex_);
    if (debug_ == Debug::unknown) {
      if (early_.size() < kEarlyLines) early_.emplace_back(line);
      return;
    }
  }
  if (debug_ == Debug::on) write(line);
}

void DescriptorLog::setDebug(bool isOn) {
  std::vector<std::string> early;
  {
    base::MutexLock lock(mutex_);
    debug_ = isOn ? Debug::on : Debug::off;
    early.swap(early_);
  }
  if (!isOn) return;
  for (const std::string& line : early) write(line);
}

bool DescriptorLog::writeNow(std::string_view line) {
  std::array<char, PIPE_BUF> text;
  const std::size_t length = std::min(line.size(), text.size() - 1);
  std::transform(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(length), text.begin(),
                 [](char c) { return static_cast<unsigned char>(c) < 0x20 ? ' ' : c; });
  text[length] = '\n';
  // Asked first, since a pipe that nobody reads would block us, and one that is closed would kill
  // the process by a signal.
  pollfd state{.fd = fd_, .events = POLLOUT, .revents = 0};
  if (::poll(&state, 1, 0) != 1 || (state.revents & (POLLERR | POLLNVAL)) != 0) return false;
  return ::write(fd_, text.data(), length + 1) > 0;
}

}  // namespace zarn::desktop
