// The bodies of all requests, one after the other in one file: a database would write each of them
// twice, and in pieces.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zarn::collector {

/// For one writer. Readers may read what has been appended meanwhile.
class BodyFile {
 public:
  explicit BodyFile(const std::string& name);
  ~BodyFile();
  BodyFile(const BodyFile&) = delete;
  BodyFile& operator=(const BodyFile&) = delete;

  bool isOpen() const { return file_ >= 0; }
  /// Where the body begins; nothing when the disk does not take it.
  std::optional<std::int64_t> append(std::string_view body);
  /// Appends `bytes` from there to the text. False when they are not there.
  bool read(std::int64_t at, std::int64_t bytes, std::string& text) const;
  void clear();

 private:
  int file_ = -1;
  std::int64_t end_ = 0;
};

}  // namespace zarn::collector
