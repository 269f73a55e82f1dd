// Latencies: what single calls took, and the percentiles of it.
#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace zarn::bench {

class Latencies {
 public:
  void reserve(std::size_t count) { nanoseconds_.reserve(count); }
  void add(std::chrono::nanoseconds took) { nanoseconds_.push_back(took.count()); }
  /// Measures one call.
  template <typename F>
  void time(F&& call) {
    const auto start = std::chrono::steady_clock::now();
    std::forward<F>(call)();
    add(std::chrono::steady_clock::now() - start);
  }

  const std::vector<std::int64_t>& nanoseconds() const { return nanoseconds_; }

  /// Nanoseconds that `fraction` (0 to 1) of the calls did not exceed, by nearest rank: 0.5 is the
  /// median, 1 the maximum. 0 without calls.
  std::int64_t percentile(double fraction) const {
    if (nanoseconds_.empty()) return 0;
    std::vector<std::int64_t> sorted = nanoseconds_;
    const auto rank =
        static_cast<std::size_t>(std::ceil(fraction * static_cast<double>(sorted.size())));
    const auto at =
        sorted.begin() + static_cast<std::ptrdiff_t>(std::max<std::size_t>(rank, 1) - 1);
    std::nth_element(sorted.begin(), at, sorted.end());
    return *at;
  }
  double percentileMicroseconds(double fraction) const {
    return static_cast<double>(percentile(fraction)) / 1000;
  }

 private:
  std::vector<std::int64_t> nanoseconds_;
};

}  // namespace zarn::bench
