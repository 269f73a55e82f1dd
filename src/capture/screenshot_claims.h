// ScreenshotClaims: which screens a picture is being made of, and which the server has one of.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "base/mutex.h"

namespace zarn::capture {

/// Any thread.
class ScreenshotClaims : public std::enable_shared_from_this<ScreenshotClaims> {
 public:
  /// No more are under way at a time.
  static constexpr std::size_t kMostPending = 32;
  /// Beyond this the server is asked again about a screen that it has a picture of.
  static constexpr std::size_t kMostKnown = 500;

  class Claim;
  /// The key is the caller's until the claim ends. Nothing when it is another's, or when the server
  /// is known to have the picture.
  std::optional<Claim> claim(std::string key);
  /// Every claim is void.
  void voidAll();
  /// The server may have no pictures any more.
  void forgetKnown();

 private:
  void release(const std::string& key, std::uint64_t id, bool isKnown);
  bool isHeld(const std::string& key, std::uint64_t id) const;

  mutable base::Mutex lock_{base::LockRank::leaf};
  std::uint64_t lastId_ ZARN_GUARDED_BY(lock_) = 0;
  std::unordered_map<std::string, std::uint64_t> pending_ ZARN_GUARDED_BY(lock_);  // key to claim
  std::unordered_set<std::string> known_ ZARN_GUARDED_BY(lock_);
};

/// Frees its key when it dies, wherever that is.
class ScreenshotClaims::Claim {
 public:
  Claim(Claim&&) noexcept = default;
  Claim& operator=(Claim&&) noexcept;
  ~Claim() { end(false); }

  const std::string& key() const { return key_; }
  bool isVoid() const { return !claims_ || !claims_->isHeld(key_, id_); }
  /// The server has the picture.
  void settle() { end(true); }

 private:
  friend class ScreenshotClaims;
  Claim(std::shared_ptr<ScreenshotClaims> claims, std::string key, std::uint64_t id)
      : claims_(std::move(claims)), key_(std::move(key)), id_(id) {}
  void end(bool isKnown);

  std::shared_ptr<ScreenshotClaims> claims_;
  std::string key_;
  std::uint64_t id_;
};

}  // namespace zarn::capture
