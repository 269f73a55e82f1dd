// The small services: digests, randomness, log.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "desktop/crypto.h"
#include "desktop/log.h"
#include "desktop/random.h"

namespace zarn::desktop {
namespace {

TEST(Crypto, Sha256) {
  OpensslCrypto crypto;
  const auto digest = crypto.sha256("abc");
  EXPECT_EQ(digest[0], 0xba);
  EXPECT_EQ(digest[1], 0x78);
  EXPECT_EQ(digest[31], 0xad);
  EXPECT_EQ(crypto.sha256("")[0], 0xe3);
}

TEST(Random, NeverRepeatsWithinOrAcrossThreads) {
  constexpr int kEach = 5000;
  KernelRandom random;
  std::array<std::vector<std::uint64_t>, 3> made;
  std::vector<std::thread> threads;
  for (auto& numbers : made) {
    threads.emplace_back([&] {
      for (int i = 0; i < kEach; ++i) numbers.push_back(random.next());
    });
  }
  for (auto& thread : threads) thread.join();
  std::set<std::uint64_t> all;
  for (const auto& numbers : made) all.insert(numbers.begin(), numbers.end());
  EXPECT_EQ(all.size(), made.size() * kEach);
}

TEST(Random, FillsAnySize) {
  KernelRandom random;
  for (const std::size_t size : {0, 1, 16, 511, 512, 513, 5000}) {
    std::vector<std::uint8_t> bytes(size + 1, 0);
    random.fill(std::span(bytes).first(size));
    EXPECT_EQ(bytes[size], 0);
    if (size < 16) continue;
    // A byte in its first eight and last eight places is zero by chance once in 2^64.
    EXPECT_NE(std::vector(bytes.begin(), bytes.begin() + 8), std::vector<std::uint8_t>(8, 0));
    EXPECT_NE(std::vector(bytes.end() - 9, bytes.end() - 1), std::vector<std::uint8_t>(8, 0));
  }
}

TEST(Random, AForkedChildHasItsOwn) {
  KernelRandom random;
  random.next();
  int pipe[2];
  ASSERT_EQ(::pipe(pipe), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const std::uint64_t number = random.next();
    [[maybe_unused]] const auto sent = ::write(pipe[1], &number, sizeof(number));
    ::_exit(0);
  }
  const std::uint64_t ours = random.next();
  std::uint64_t theirs = ours;
  EXPECT_EQ(::read(pipe[0], &theirs, sizeof(theirs)), static_cast<ssize_t>(sizeof(theirs)));
  EXPECT_NE(ours, theirs);
  ::waitpid(child, nullptr, 0);
  ::close(pipe[0]);
  ::close(pipe[1]);
}

TEST(Log, OneLineAWriteAndNeverAWait) {
  int pipe[2];
  ASSERT_EQ(::pipe2(pipe, O_CLOEXEC), 0);
  DescriptorLog log(pipe[1]);
  log.write("[Zarn] two\nlines");
  std::array<char, 8192> buffer;
  ssize_t got = ::read(pipe[0], buffer.data(), buffer.size());
  EXPECT_EQ(std::string(buffer.data(), static_cast<std::size_t>(got)), "[Zarn] two lines\n");
  log.write(std::string(10000, 'x'));
  got = ::read(pipe[0], buffer.data(), buffer.size());
  EXPECT_EQ(got, 4096);
  EXPECT_EQ(buffer[4095], '\n');

  for (int i = 0; i < 100; ++i) log.write(std::string(4000, 'x'));  // more than the pipe takes
  ::close(pipe[0]);
  log.write("nobody reads");  // and no signal for it
  ::close(pipe[1]);
  log.write("nobody writes");
}

}  // namespace
}  // namespace zarn::desktop
