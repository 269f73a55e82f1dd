#include "desktop/log.h"

#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace zarn::desktop {

void DescriptorLog::write(std::string_view line) {
  std::array<char, PIPE_BUF> text;
  const std::size_t length = std::min(line.size(), text.size() - 1);
  std::transform(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(length), text.begin(),
                 [](char c) { return static_cast<unsigned char>(c) < 0x20 ? ' ' : c; });
  text[length] = '\n';
  // Asked first, since a pipe that nobody reads would block us, and one that is closed would kill
  // the process by a signal.
  pollfd state{.fd = fd_, .events = POLLOUT, .revents = 0};
  if (::poll(&state, 1, 0) != 1 || (state.revents & (POLLERR | POLLNVAL)) != 0) return;
  [[maybe_unused]] const ssize_t written = ::write(fd_, text.data(), length + 1);
}

}  // namespace zarn::desktop
