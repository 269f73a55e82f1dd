// The small services: digests, randomness, log.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "desktop/crypto.h"
#include "desktop/log.h"
#include "desktop/random.h"

namespace zarn::desktop {
namespace {

using namespace std::chrono_literals;

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

/// Both ends of a pipe; reading from it never waits.
class ReadPipe {
 public:
  ReadPipe() {
    EXPECT_EQ(::pipe2(ends_.data(), O_CLOEXEC), 0);
    ::fcntl(ends_[0], F_SETFL, O_NONBLOCK);
    ::fcntl(ends_[1], F_SETPIPE_SZ, 4 * 4096);
  }
  ~ReadPipe() {
    for (const int end : ends_) ::close(end);
  }
  int in() const { return ends_[1]; }
  std::string take(std::size_t most = 1 << 20) {
    std::string all(most, ' ');
    std::size_t size = 0;
    while (size < most) {
      const ssize_t got = ::read(ends_[0], all.data() + size, most - size);
      if (got <= 0) break;
      size += static_cast<std::size_t>(got);
    }
    all.resize(size);
    return all;
  }

 private:
  std::array<int, 2> ends_{};
};

TEST(Log, ThreadsThatRaceForTheLastRoomDoNotWait) {
  ReadPipe pipe;
  DescriptorLog log(pipe.in());
  const std::string line(4000, 'x');  // a page each
  std::atomic<bool> done = false;
  std::array<std::atomic<int>, 2> written{};
  std::vector<std::thread> threads;
  for (auto& count : written) {
    threads.emplace_back([&] {
      for (; !done; ++count) log.write(line);
    });
  }
  for (int round = 0; round < 500 && !done; ++round) {
    pipe.take(line.size() + 1);  // room for one of them
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    for (auto& count : written) {
      const int before = count;
      while (count < before + 3 && !done) {
        std::this_thread::yield();
        if (std::chrono::steady_clock::now() > deadline) done = true;
      }
    }
    EXPECT_FALSE(done) << "in round " << round;
  }
  done = true;
  pipe.take();
  for (auto& thread : threads) thread.join();

  for (int i = 0; i < 6; ++i) log.write(line);
  pipe.take();
  log.write("[Zarn] room again");
  const std::string text = pipe.take();
  EXPECT_EQ(text.rfind("[Zarn] room again\n[Zarn] ", 0), 0U) << text;
  EXPECT_NE(text.find(" log lines were dropped\n"), std::string::npos) << text;
  log.write("[Zarn] once");
  EXPECT_EQ(pipe.take(), "[Zarn] once\n");
}

TEST(Log, ThreadsThatWriteAtTheSameTimeLoseNoLine) {
  ReadPipe pipe;
  DescriptorLog log(pipe.in());
  constexpr int kLines = 100;
  for (int round = 0; round < 20; ++round) {
    std::atomic<int> ready = 0;
    const auto say = [&](const std::string& name) {
      for (++ready; ready < 2;) {
      }
      for (int i = 0; i < kLines; ++i) log.write(name + std::to_string(i));
    };
    std::thread other([&] { say("other "); });
    say("one ");
    other.join();
    const std::string text = pipe.take();
    for (const char* name : {"one ", "other "}) {
      std::string ofOne, expected;
      std::istringstream lines(text);
      for (std::string line; std::getline(lines, line);) {
        if (line.rfind(name, 0) == 0) ofOne += line + "\n";
      }
      for (int i = 0; i < kLines; ++i) expected += name + std::to_string(i) + "\n";
      EXPECT_EQ(ofOne, expected) << "in round " << round;
    }
  }
}

TEST(Log, DebugLinesAreForHostsThatAskedForThem) {
  ReadPipe pipe;
  const auto sayEarly = [](DescriptorLog& log) {
    for (std::size_t i = 0; i < DescriptorLog::kEarlyLines + 2; ++i) log.debug("early");
  };
  DescriptorLog quiet(pipe.in());
  sayEarly(quiet);
  quiet.setDebug(false);
  quiet.debug("later");
  quiet.setDebug(true);
  EXPECT_EQ(pipe.take(), "");

  DescriptorLog open(pipe.in());
  sayEarly(open);
  EXPECT_EQ(pipe.take(), "");
  open.setDebug(true);
  std::string expected;
  for (std::size_t i = 0; i < DescriptorLog::kEarlyLines; ++i) expected += "early\n";
  EXPECT_EQ(pipe.take(), expected);
  open.debug("later");
  EXPECT_EQ(pipe.take(), "later\n");
  open.setDebug(false);
  open.debug("last");
  open.write("always");
  EXPECT_EQ(pipe.take(), "always\n");
}

}  // namespace
}  // namespace zarn::desktop
