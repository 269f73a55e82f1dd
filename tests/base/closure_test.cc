#include "base/closure.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>

namespace zarn::base {
namespace {

/// Counts the live copies of itself; `Padding` bytes decide whether it fits in place.
template <std::size_t Padding>
struct Counted {
  explicit Counted(int& live) : live_(&live) { ++*live_; }
  Counted(Counted&& other) noexcept : live_(other.live_), calls_(other.calls_) { ++*live_; }
  ~Counted() { --*live_; }
  int operator()(int value) { return value + ++calls_; }
  int* live_;
  int calls_ = 0;
  std::array<char, Padding> padding_{};
};

template <typename Callable>
void movesAndDestroysOnce() {
  int live = 0;
  {
    UniqueFunction<int(int)> first = Callable(live);
    EXPECT_EQ(first(10), 11);
    UniqueFunction<int(int)> second = std::move(first);
    EXPECT_FALSE(first);  // NOLINT: moved from means empty here
    EXPECT_EQ(second(10), 12);
    second = Callable(live);
    EXPECT_EQ(live, 1);
    EXPECT_EQ(second(10), 11);
    auto& self = second;
    second = std::move(self);
    EXPECT_TRUE(second);
    second = nullptr;
    EXPECT_EQ(live, 0);
    first = Callable(live);
  }
  EXPECT_EQ(live, 0);
}

TEST(ClosureTest, SmallAndLargeCallablesMoveAndAreDestroyedOnce) {
  movesAndDestroysOnce<Counted<8>>();
  movesAndDestroysOnce<Counted<200>>();
}

TEST(ClosureTest, ArgumentsPassAsTheyAre) {
  UniqueFunction<std::size_t(std::unique_ptr<std::string>, std::string&)> append =
      [](std::unique_ptr<std::string> what, std::string& to) { return (to += *what).size(); };
  std::string text = "ab";
  EXPECT_EQ(append(std::make_unique<std::string>("c"), text), 3u);
  EXPECT_EQ(text, "abc");
}

}  // namespace
}  // namespace zarn::base
