// The example that opens links of its own scheme: what the desktop starts reaches the instance that
// runs, and its server.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <sstream>
#include <string>

#include "base/json.h"
#include "support/child_process.h"
#include "support/collector_process.h"
#include "support/temp_directory.h"

#ifdef ZARN_OPENER_PROGRAM

namespace zarn {
namespace {

using testing::ChildProcess;

constexpr std::chrono::seconds kPatience{30};

class OpenerTest : public ::testing::Test {
 protected:
  ChildProcess::Options options(std::vector<std::string> arguments) const {
    return {.arguments = std::move(arguments),
            .environment = {{"XDG_DATA_HOME", folder_.path()},
                            {"XDG_RUNTIME_DIR", folder_.path()},
                            {"XDG_CONFIG_HOME", folder_.path()},
                            {"HOME", folder_.path()},
                            {"ZARN_OPENER_SERVER", collector_.address()}}};
  }
  /// Of an instance that hands over, or whatever else ends by itself.
  void run(const std::string& argument) const {
    ChildProcess process(ZARN_OPENER_PROGRAM, options({argument}));
    const auto end = process.wait(kPatience);
    EXPECT_TRUE(end.isClean()) << end << process.output();
  }

  Properties ask(const std::string& path) const {
    return *base::parseJson(collector_.getJson("/api/collector/" + path))->asProperties();
  }
  std::int64_t arrived(const std::string& source) const {
    return *ask("count?type=deep_link&property.utm_source=" + source).find("count")->asInt();
  }
  bool arrives(const std::string& source) const {
    for (int i = 0; i < 60 && arrived(source) == 0; ++i) {
      const std::int64_t unique = *ask("counts").find("unique")->asInt();
      ask("wait?timeout_ms=250&unique=" + std::to_string(unique + 1));
    }
    return arrived(source) > 0;
  }

  testing::TempDirectory folder_;
  testing::CollectorProcess collector_;
};

TEST_F(OpenerTest, ALinkReachesTheInstanceThatRuns) {
  const std::string first = "zarn-prints://orders/7?utm_source=mail";
  const std::string second = "https://links.prints.example/offers/8?utm_source=poster";
  ChildProcess running(ZARN_OPENER_PROGRAM, options({first}));
  EXPECT_EQ(running.readLine(kPatience), "Running");
  EXPECT_EQ(running.readLine(kPatience), "customScheme " + first);
  run(second);
  EXPECT_EQ(running.readLine(kPatience), "universalLink " + second);
  EXPECT_TRUE(arrives("poster"));
  running.signal(SIGTERM);
  EXPECT_TRUE(running.wait(kPatience).isClean()) << running.output();

  EXPECT_EQ(arrived("mail"), 1);
  EXPECT_EQ(arrived("poster"), 1);
}

TEST_F(OpenerTest, AnInstanceThatWasKilledIsNotInTheWay) {
  {
    ChildProcess killed(ZARN_OPENER_PROGRAM, options({}));
    EXPECT_EQ(killed.readLine(kPatience), "Running");
  }
  ChildProcess running(ZARN_OPENER_PROGRAM, options({}));
  EXPECT_EQ(running.readLine(kPatience), "Running");
  run("zarn-prints:orders");
  EXPECT_EQ(running.readLine(kPatience), "customScheme zarn-prints:orders");
}

TEST_F(OpenerTest, TheDesktopLearnsWhatToStart) {
  run("--register");
  std::ostringstream entry;
  entry << std::ifstream(folder_.file("applications/zarn-opener.desktop")).rdbuf();
  EXPECT_NE(entry.str().find("Exec=\"" ZARN_OPENER_PROGRAM "\" %u\n"), std::string::npos)
      << entry.str();
  EXPECT_NE(entry.str().find("MimeType=x-scheme-handler/zarn-prints;\n"), std::string::npos);
}

}  // namespace
}  // namespace zarn

#endif
