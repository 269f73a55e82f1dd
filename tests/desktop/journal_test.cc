#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/json.h"
#include "base/text.h"
#include "desktop/journal_diagnostics.h"
#include "desktop/journal_reader.h"
#include "desktop/journal_stack.h"
#include "support/child_process.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"
#include "support/temp_directory.h"

namespace zarn::desktop {
namespace {

constexpr const char* kMessage =
    "Process 4711 (shop) of user 1000 dumped core.\n"
    "\n"
    "Module /home/anna/lib/libcart.so from deb cart-1.2.amd64\n"
    "Stack trace of thread 4711:\n"
    "#0  0x00007f0a1b2c3d4e n/a (libc.so.6 + 0x8b1aa)\n"
    "#1  0x00007f0a1b2c3d4f Cart::add(Item (&)[2]) (/home/anna/lib/libcart.so + 0x11)\n"
    "#10 0x0000563412345678 main (shop (deleted) + 0x1139)\n"
    "\n"
    "Stack trace of thread 4712:\n"
    "#0  0x00007f0a1b2c3d50 poll (libc.so.6 + 0x1)\n"
    "ELF object binary architecture: AMD x86-64";
constexpr const char* kTree =
    R"j({"callStacks":[{"threadAttributed":true,"callStackRootFrames":[)j"
    R"j({"binaryName":"libc.so.6","offset":"0x8b1aa"},)j"
    R"j({"binaryName":"libcart.so","symbol":"Cart::add(Item (&)[2])","offset":"0x11"},)j"
    R"j({"binaryName":"shop","symbol":"main","offset":"0x1139"}]}]})j";

TEST(JournalStack, KeepsTheFramesOfTheThreadThatCrashed) {
  EXPECT_EQ(callStackTreeOf(kMessage), kTree);
  EXPECT_EQ(callStackTreeOf("Stack trace of thread 1:\n#0 0x1 n/a (n/a)"),
            R"({"callStacks":[{"threadAttributed":true,"callStackRootFrames":[)"
            R"({"binaryName":"n/a"}]}]})");
}

TEST(JournalStack, ReadsNothingElse) {
  const std::string heading = "Stack trace of thread 1:\n";
  for (const std::string& none :
       {std::string(), std::string("Process 1 (a) of user 0 dumped core."), heading,
        heading + "Command line: shop --token=x", heading + "#0", heading + "#0 0x (a)",
        heading + "#0 0x12345678901234567 main (a + 0x1)", heading + "#0 0x1 main",
        heading + "#0 0x1 main (shop", heading + "\n#0 0x1 main (shop + 0x1)"}) {
    EXPECT_EQ(callStackTreeOf(none), "") << none;
  }
}

TEST(JournalStack, IsBoundedAndHoldsForHostileBytes) {
  std::string many = "Stack trace of thread 1:\n";
  const std::string symbol(5000, '\xff');
  for (int i = 0; i < 400; ++i) many += "#0 0x1 " + symbol + " (" + symbol + " + 0x1)\n";
  const auto tree = callStackTreeOf(many);
  EXPECT_LT(tree.size(), 32768u);
  EXPECT_TRUE(base::parseJson(tree));

  std::string frames = "Stack trace of thread 1:\n";
  for (int i = 0; i < 400; ++i) frames += "#0 0x1 f (a + 0x1)\n";
  const auto parsed = base::parseJson(callStackTreeOf(frames));
  ASSERT_TRUE(parsed);
  const auto& stack = (*parsed->asProperties()->find("callStacks")->asArray())[0];
  EXPECT_EQ(stack.asProperties()->find("callStackRootFrames")->asArray()->size(), 100u);

  for (const std::string piece : {" (", "0x", " + 0x", "#", ")", "\n", "/", "\xe2\x80"}) {
    std::string hostile = "Stack trace of thread 1:\n#0 0x1 ";
    while (hostile.size() < (1u << 20)) hostile += piece;
    const auto read = callStackTreeOf(hostile + ")");
    EXPECT_TRUE(read.empty() || base::parseJson(read)) << piece;
  }
}

TEST(DiagnosticSignal, MapsWhatLinuxNumbersOtherwise) {
  EXPECT_EQ(diagnosticSignal(SIGSEGV), 11);
  EXPECT_EQ(diagnosticSignal(SIGABRT), 6);
  EXPECT_EQ(diagnosticSignal(SIGBUS), 10);
  EXPECT_EQ(diagnosticSignal(SIGSYS), 12);
}

constexpr const char* kWriter = "/lib/systemd/systemd-journal-remote";
constexpr const char* kProgram = "/opt/shop/bin/shop";

/// A journal file that is written by the system's own tool.
class JournalTest : public ::testing::Test {
 protected:
  using Fields = std::vector<std::pair<std::string, std::string>>;

  void SetUp() override {
    if (::access(kWriter, X_OK) != 0) {
      GTEST_SKIP() << kWriter << " is missing: install the package systemd-journal-remote";
    }
  }
  /// Seconds on the test's clock, counted from its start.
  std::int64_t at(int second) const {
    return 1893456000000000 + std::int64_t{second} * 1000000;  // 2030-01-01
  }
  Fields crash(const std::string& message = kMessage) const {
    return {{"MESSAGE_ID", "fc2e22bc6ee647b6b90729ab34a250b1"},
            {"_UID", std::to_string(::getuid())},
            {"COREDUMP_EXE", kProgram},
            {"COREDUMP_UID", std::to_string(::getuid())},
            {"COREDUMP_SIGNAL", "11"},
            {"COREDUMP_CMDLINE", "shop --token=secret"},
            {"MESSAGE", message}};
  }
  static Fields changed(Fields fields, const std::string& name, const std::string& value) {
    for (auto& field : fields) {
      if (field.first == name) field.second = value;
    }
    return fields;
  }
  void record(int second, const Fields& fields) {
    entries_ += "__REALTIME_TIMESTAMP=" + std::to_string(at(second)) + "\n";
    entries_ += "__MONOTONIC_TIMESTAMP=" + std::to_string(1000000 + second) + "\n";
    entries_ += "_BOOT_ID=0123456789abcdef0123456789abcdef\n";
    for (const auto& [name, value] : fields) {
      entries_ += name + "\n";
      for (int shift = 0; shift < 64; shift += 8) {
        entries_ += static_cast<char>(std::uint64_t{value.size()} >> shift & 255);
      }
      entries_ += value + "\n";
    }
    entries_ += "\n";
  }
  void writeJournal() {
    const std::string input = directory_.file("entries");
    std::ofstream(input, std::ios::binary) << entries_;
    testing::ChildProcess writer(
        kWriter, {.arguments = {"--output=" + directory_.file("system.journal"), input},
                  .capturesErrors = true});
    const auto end = writer.wait(std::chrono::seconds(20));
    ASSERT_TRUE(end.isClean()) << end << writer.output();
  }

  /// One launch of the app at this second; what it was handed.
  std::vector<platform::DiagnosticPayload> launch(int second, const std::string& build = "241") {
    clock_.setNow(Date(std::chrono::microseconds(at(second))));
    device_.appFacts.build = build;
    JournalDiagnostics diagnostics(dispatch_, defaults_, clock_, device_,
                                   {.executable = kProgram, .directory = directory_.path()});
    std::vector<platform::DiagnosticPayload> received;
    diagnostics.start([&](const std::vector<platform::DiagnosticPayload>& payloads) {
      received.insert(received.end(), payloads.begin(), payloads.end());
    });
    EXPECT_TRUE(received.empty());
    dispatch_.runUntilIdle();
    return received;
  }

  testing::TempDirectory directory_;
  std::string entries_;
  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  testing::FakeDefaults defaults_;
  testing::FakeDevice device_;
};

TEST_F(JournalTest, TellsEachCrashOfThisProgramOnce) {
  record(1, crash("before the first launch"));
  record(11, crash());
  record(12, changed(crash(), "COREDUMP_EXE", "/opt/shop/bin/other"));
  record(13, changed(crash(), "COREDUMP_UID", "54321"));
  record(14, changed(crash(), "MESSAGE_ID", "00000000000000000000000000000001"));
  record(15, changed(crash(), "_UID", "54321"));  // somebody else says so
  auto second = changed(crash("no stack"), "COREDUMP_SIGNAL", "7");
  second.emplace_back("COREDUMP_TIMESTAMP", std::to_string(at(16) + 250000));
  record(18, second);
  writeJournal();

  EXPECT_TRUE(launch(10, "241").empty());
  const auto told = launch(20, "242");
  ASSERT_EQ(told.size(), 2u);
  ASSERT_EQ(told[0].crashDiagnostics.size(), 1u);
  EXPECT_TRUE(told[0].hangDiagnostics.empty());
  EXPECT_EQ(told[0].timeStampEnd, Date(std::chrono::microseconds(at(11))));
  const auto& crashed = told[0].crashDiagnostics[0];
  EXPECT_EQ(crashed.signal, 11);
  EXPECT_EQ(crashed.callStackTree, kTree);
  EXPECT_EQ(crashed.metaData.applicationBuildVersion, "241");
  EXPECT_FALSE(crashed.terminationReason);
  EXPECT_EQ(told[1].timeStampEnd, Date(std::chrono::microseconds(at(16) + 250000)));
  EXPECT_EQ(told[1].crashDiagnostics[0].signal, 10);
  EXPECT_EQ(told[1].crashDiagnostics[0].callStackTree, "");
  EXPECT_TRUE(launch(30).empty());
}

TEST_F(JournalTest, TellsTheNewestTenOldestFirst) {
  for (int i = 0; i < 14; ++i)
    record(20 + i, changed(crash(), "COREDUMP_SIGNAL", std::to_string(i)));
  writeJournal();
  EXPECT_TRUE(launch(10).empty());
  const auto told = launch(50);
  ASSERT_EQ(told.size(), 10u);
  EXPECT_EQ(told.front().crashDiagnostics[0].signal, 4);
  EXPECT_EQ(told.back().crashDiagnostics[0].signal, 13);
  EXPECT_TRUE(launch(51).empty());
}

TEST_F(JournalTest, WhatAnOptOutCoversIsSkippedAndAStopHoldsBack) {
  record(11, crash());
  writeJournal();
  EXPECT_TRUE(launch(10).empty());
  clock_.setNow(Date(std::chrono::microseconds(at(15))));
  JournalDiagnostics diagnostics(dispatch_, defaults_, clock_, device_,
                                 {.executable = kProgram, .directory = directory_.path()});
  int told = 0;
  diagnostics.start([&](const auto&) { ++told; });
  diagnostics.stop();
  dispatch_.runUntilIdle();
  EXPECT_EQ(told, 0);
  testing::FakeDefaults kept;
  defaults_.leaveTo(kept);
  diagnostics.skipToNow();
  EXPECT_TRUE(launch(20).empty());
  kept.leaveTo(defaults_);
  EXPECT_EQ(launch(20).size(), 1u);  // a stop alone loses nothing
}

TEST_F(JournalTest, AKillInTheReceiverTellsAgain) {
  record(11, crash());
  writeJournal();
  EXPECT_TRUE(launch(10).empty());
  clock_.setNow(Date(std::chrono::microseconds(at(15))));
  testing::FakeDefaults left;
  {
    JournalDiagnostics diagnostics(dispatch_, defaults_, clock_, device_,
                                   {.executable = kProgram, .directory = directory_.path()});
    diagnostics.start([&](const auto&) { defaults_.leaveTo(left); });
    dispatch_.runUntilIdle();
  }
  EXPECT_TRUE(launch(20).empty());
  left.leaveTo(defaults_);
  EXPECT_EQ(launch(20).size(), 1u);
}

TEST_F(JournalTest, APositionAheadOfTheClockStartsAnew) {
  record(11, crash());
  record(21, crash());
  writeJournal();
  defaults_.set(JournalDiagnostics::kSeenKey, static_cast<double>(at(1000000)));
  EXPECT_TRUE(launch(20).empty());
  EXPECT_EQ(launch(30).size(), 1u);
}

TEST(JournalReader, ABrokenOrMissingJournalHasNoRecords) {
  testing::TempDirectory directory;
  CrashQuery query{.executable = kProgram, .directory = directory.path()};
  EXPECT_TRUE(readCrashRecords(query).empty());
  std::ofstream(directory.file("system.journal")) << std::string(100000, 'x');
  EXPECT_TRUE(readCrashRecords(query).empty());
  query.directory = directory.file("none");
  EXPECT_TRUE(readCrashRecords(query).empty());
  query.directory.clear();  // the system's own, wherever this runs
  EXPECT_TRUE(readCrashRecords(query).empty());
}

}  // namespace
}  // namespace zarn::desktop
