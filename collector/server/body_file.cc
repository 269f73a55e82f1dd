#include "server/body_file.h"

#include <fcntl.h>
#include <unistd.h>

namespace zarn::collector {

BodyFile::BodyFile(const std::string& name)
    : file_(open(name.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600)) {
  if (isOpen()) end_ = lseek(file_, 0, SEEK_END);
}

BodyFile::~BodyFile() {
  if (isOpen()) close(file_);
}

std::optional<std::int64_t> BodyFile::append(std::string_view body) {
  const std::int64_t begin = end_;
  std::size_t written = 0;
  while (written < body.size()) {
    const auto offset = static_cast<off_t>(begin + static_cast<std::int64_t>(written));
    const ssize_t step = pwrite(file_, body.data() + written, body.size() - written, offset);
    if (step <= 0) return std::nullopt;
    written += static_cast<std::size_t>(step);
  }
  end_ = begin + static_cast<std::int64_t>(body.size());
  return begin;
}

bool BodyFile::read(std::int64_t at, std::int64_t bytes, std::string& text) const {
  const std::size_t before = text.size();
  std::size_t got = 0;
  text.resize(before + static_cast<std::size_t>(bytes));
  while (got < static_cast<std::size_t>(bytes)) {
    const auto offset = static_cast<off_t>(at + static_cast<std::int64_t>(got));
    const ssize_t step =
        pread(file_, text.data() + before + got, static_cast<std::size_t>(bytes) - got, offset);
    if (step <= 0) return false;
    got += static_cast<std::size_t>(step);
  }
  return true;
}

void BodyFile::clear() {
  if (ftruncate(file_, 0) == 0) end_ = 0;
}

}  // namespace zarn::collector
