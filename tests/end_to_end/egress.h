// What the searches for planted secrets share: a host that plants them, and every byte that came of
// it at the server, on the disk and in the debug log.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "base/sqlite.h"
#include "ordered_host.h"

namespace zarn::testing {

enum Where : unsigned { kNowhere = 0, kSent = 1, kKept = 2, kLogged = 4 };

/// Something planted, and exactly where it is to be found again.
struct Planted {
  std::string what;
  std::string core;
  unsigned where = kNowhere;
};

/// Found in the surroundings, which nobody has handed to the library.
class Surroundings {
 public:
  explicit Surroundings(std::string program) : program_(std::move(program)) {}
  OrderedHost::Environment variables() const {
    return {{"HOME", home_.path()},
            {"USER", "leaking-user"},
            {"LOGNAME", "leaking-user"},
            {"EMAIL", "leaking@hidden.example"},
            {"TZ", ":" + home_.path() + "/leaking-zone"}};
  }
  std::vector<Planted> secrets(const std::string& data) const {
    std::vector<Planted> all = {{"home directory", home_.path()},
                                {"environment", "leaking"},
                                {"data directory", data},
                                {"path of the program", program_}};
    char name[256] = {};
    if (gethostname(name, sizeof name - 1) == 0 && std::string(name).size() > 7 &&
        std::string(name) != "localhost") {
      all.push_back({"name of the machine", name});
    }
    std::string id;
    if (std::ifstream("/etc/machine-id") >> id && id.size() == 32) {
      all.push_back({"id of the machine", id});
    }
    return all;
  }

 private:
  const std::string program_;
  TempDirectory home_;
};

class EgressTest : public ::testing::Test {
 protected:
  explicit EgressTest(const char* program) : program_(program) {}

  void policy(const std::string& json) {
    const auto answer = collector_.request("PUT", "/api/collector/projects/egress",
                                           R"({"data_collection":)" + json + "}");
    ASSERT_EQ(answer.status, 200) << answer.body;
  }
  std::unique_ptr<OrderedHost> launch() {
    return std::make_unique<OrderedHost>(program_, collector_.address(), data_.path(),
                                         surroundings_.variables(), true);
  }
  void end(OrderedHost& host) {
    host.exit();
    EXPECT_EQ(host.said().find(" log lines were dropped"), std::string::npos);
    logged_ += host.said();
  }
  /// A launch that plants everything while the server takes no events. `planted` is called before
  /// it ends.
  void plant(const std::function<void()>& planted = {}) {
    const auto host = launch();
    (*host)("deliver");  // the policy has been heard
    collector_.post("/api/collector/faults",
                    R"({"endpoint":"batch","kind":"status","status":503})");
    (*host)("plant");
    host->ask("flush");
    if (planted) planted();
    end(*host);
    collector_.request("DELETE", "/api/collector/faults");
  }
  void deliver() {
    const auto host = launch();
    (*host)("deliver");
    end(*host);
  }
  std::string sent() { return collector_.getJson("/api/collector/requests/raw"); }
  /// Every byte of every file; and the rows again, as a file may have them in pieces.
  std::string kept() {
    std::string all;
    const TempDirectory copy;
    std::filesystem::copy(data_.path(), copy.path(), std::filesystem::copy_options::recursive);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(data_.path())) {
      if (!entry.is_regular_file()) continue;
      std::ostringstream bytes;
      bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
      all += entry.path().filename().string() + "\n" + bytes.str() + "\n";
      if (entry.path().extension() != ".sqlite") continue;
      // Of the copy, since closing it would tidy up what the next launch is to find.
      const auto path = copy.path() / entry.path().lexically_relative(data_.path());
      auto database = base::Sqlite::open(path);
      EXPECT_TRUE(database &&
                  database->prepare("SELECT data FROM events").forEachRow([&](const auto& row) {
                    all += std::string(row.blob(0)) + "\n";
                  }));
    }
    return all;
  }

  const char* const program_;
  TempDirectory data_;
  Surroundings surroundings_{program_};
  CollectorProcess collector_;
  std::string logged_;
};

}  // namespace zarn::testing
