// One running instance of a program for each user: a later one hands over what it was started for.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace opener {

class SingleInstance {
 public:
  /// `place`: a file's path without extension, in a folder of the user's own.
  explicit SingleInstance(const std::filesystem::path& place);
  ~SingleInstance();
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

  bool isFirst() const { return isFirst_; }

  /// Of a later instance. False when the first one takes nothing within some seconds.
  bool handOver(const std::string& text) const;

  /// Of the first instance: passes on what others hand over, until `end` becomes readable.
  void serve(int end, const std::function<void(const std::string& text)>& take) const;

 private:
  void listen();

  const std::string socketPath_;
  int lock_ = -1;  // held as long as the process lives, however it ends
  int socket_ = -1;
  bool isFirst_ = false;
};

}  // namespace opener
