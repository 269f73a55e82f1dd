#include "base/fork_guard.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "support/temp_directory.h"

namespace zarn::base {
namespace {

/// What `inChild` gives in a forked child, which must leave at once.
template <typename F>
int resultInChild(F inChild) {
  const pid_t child = fork();
  if (child == 0) _exit(inChild());
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool isOpen(int fd) {
  return fcntl(fd, F_GETFD) != -1;
}

TEST(ForkGuardTest, OnlyTheChildKnowsItselfForked) {
  watchForks();
  watchForks();
  EXPECT_EQ(resultInChild([] { return inForkedChild() ? 1 : 0; }), 1);
  EXPECT_FALSE(inForkedChild());
}

TEST(ForkGuardTest, TheChildClosesWhatIsRegistered) {
  constexpr std::size_t kMany = 70;  // more than one block of slots
  std::vector<int> fds;
  std::vector<std::unique_ptr<ClosedInChild>> guards;
  for (std::size_t i = 0; i < kMany; ++i) {
    fds.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    guards.push_back(std::make_unique<ClosedInChild>(fds.back()));
  }
  guards[3].reset();
  const int openInChild = resultInChild([&] {
    int count = 0;
    for (const int fd : fds) count += isOpen(fd) ? 1 : 0;
    return count == 1 && isOpen(fds[3]) ? 7 : count;
  });
  EXPECT_EQ(openInChild, 7);
  for (const int fd : fds) {
    EXPECT_TRUE(isOpen(fd));
  }
  guards.clear();
  for (const int fd : fds) close(fd);
}

TEST(ForkGuardTest, AFileLockEndsWithItsHolderAlthoughAChildLives) {
  const testing::TempDirectory folder;
  const std::string path = folder.file("lock");
  const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
  ASSERT_EQ(flock(fd, LOCK_EX), 0);
  int block[2];
  ASSERT_EQ(pipe(block), 0);
  pid_t child = -1;
  {
    const ClosedInChild guard(fd);
    child = fork();
    if (child == 0) {
      char byte;
      close(block[1]);
      _exit(static_cast<int>(read(block[0], &byte, 1)));  // lives until the parent lets it go
    }
  }
  close(fd);
  // The child may not have run yet.
  int other = open(path.c_str(), O_RDWR | O_CLOEXEC);
  bool isFree = false;
  for (int tries = 0; tries < 1000 && !isFree; ++tries) {
    isFree = flock(other, LOCK_EX | LOCK_NB) == 0;
    if (!isFree) usleep(1000);
  }
  EXPECT_TRUE(isFree);
  close(block[0]);
  close(block[1]);
  EXPECT_EQ(waitpid(child, nullptr, 0), child);
  close(other);
}

}  // namespace
}  // namespace zarn::base
