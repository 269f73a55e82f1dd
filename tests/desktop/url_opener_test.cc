#include "desktop/url_opener.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <string>

#include "desktop/descriptor.h"
#include "desktop/dispatch.h"
#include "support/temp_directory.h"

namespace zarn::desktop {
namespace {

TEST(OpenableUrl, TakesWebAddressesOnly) {
  EXPECT_EQ(openableUrl("https://shop.example/a?b=c&d=%20#e"),
            "https://shop.example/a?b=c&d=%20#e");
  EXPECT_EQ(openableUrl("HTTP://shop.example/"), "HTTP://shop.example/");
  EXPECT_EQ(openableUrl("http://shop.example/a b'\"`\n\xc3\xa9\\"),
            "http://shop.example/a%20b%27%22%60%0A%C3%A9%5C");
  for (const char* refused :
       {"", "http://", "http:/x", "file:///etc/passwd", "--help", "javascript:alert(1)//http://x",
        " http://x", "/bin/sh", "ftp://x", "httpsx://x"}) {
    EXPECT_FALSE(openableUrl(refused)) << refused;
  }
  EXPECT_FALSE(openableUrl("http://" + std::string(9000, 'a')));
}

std::atomic<int> childSignals = 0;

/// A PATH with a program of ours as xdg-open, which tells what it was called with through a pipe.
class UrlOpenerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(::mkfifo(directory_.file("told").c_str(), 0600), 0);
    told_ = Descriptor(::open(directory_.file("told").c_str(), O_RDWR | O_CLOEXEC));
    if (const char* path = std::getenv("PATH")) path_ = path;
    childSignals = 0;
    struct sigaction count {};
    count.sa_handler = [](int) { ++childSignals; };
    ::sigaction(SIGCHLD, &count, &before_);
  }
  void TearDown() override {
    ::setenv("PATH", path_.c_str(), 1);
    ::sigaction(SIGCHLD, &before_, nullptr);
  }
  void install(const std::string& script) {
    const std::string program = directory_.file("xdg-open");
    std::ofstream(program) << "#!/bin/sh\n" << script;
    ::chmod(program.c_str(), 0700);
    ::setenv("PATH", (directory_.path() + ":" + path_).c_str(), 1);
  }
  std::string told() {
    std::string line;
    pollfd source{.fd = told_.get(), .events = POLLIN, .revents = 0};
    while (!line.ends_with('\n') && ::poll(&source, 1, 10000) > 0) {
      char c = 0;
      if (::read(told_.get(), &c, 1) != 1) break;
      line += c;
    }
    return line;
  }

  testing::TempDirectory directory_;
  std::string path_;
  Descriptor told_;
  struct sigaction before_ {};
  ThreadDispatch dispatch_;
};

TEST_F(UrlOpenerTest, StartsTheOpenerAsNobodysChild) {
  install(
      "dir=$(dirname \"$0\")\n"
      "ls /proc/$$/fd > \"$dir/fds\"\n"
      "sid=$(cut -d' ' -f6 /proc/$$/stat)\n"
      "[ $sid = $$ ] && sid=own\n"
      "echo \"$# $1 $(grep -x '[0-9]' \"$dir/fds\" | tr -d '\\n') $sid\" > \"$dir/told\"\n"
      "awk '/^Sig(Blk|Ign):/{print $2}' /proc/$$/status > \"$dir/told\"\n");
  const Descriptor inherited(::open("/dev/null", O_RDONLY));  // not close-on-exec
  ASSERT_TRUE(inherited && inherited.get() < 10);
  ::signal(SIGPIPE, SIG_IGN);
  DesktopUrlOpener opener(dispatch_.pool());
  opener.open("https://shop.example/?q=$(touch x);a&b");
  // The shell has its own open from 10 on.
  EXPECT_EQ(told(), "1 https://shop.example/?q=$(touch%20x);a&b 012 own\n");
  EXPECT_EQ(std::stoull(told(), nullptr, 16), 0u);                        // blocked
  EXPECT_EQ(std::stoull(told(), nullptr, 16) & 1u << (SIGPIPE - 1), 0u);  // ignored
  ::signal(SIGPIPE, SIG_DFL);
  ASSERT_TRUE(dispatch_.stop(base::seconds(10)));
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG | __WALL), -1);  // no child of ours is left
  EXPECT_EQ(errno, ECHILD);
  EXPECT_EQ(childSignals, 0);
}

TEST_F(UrlOpenerTest, AMissingOpenerDoesNothing) {
  ::setenv("PATH", directory_.path().c_str(), 1);
  DesktopUrlOpener opener(dispatch_.pool());
  opener.open("https://shop.example/");
  ASSERT_TRUE(dispatch_.stop(base::seconds(10)));
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG | __WALL), -1);
  EXPECT_EQ(childSignals, 0);
}

}  // namespace
}  // namespace zarn::desktop
