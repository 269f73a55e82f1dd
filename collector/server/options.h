// The command line.
#pragma once

#include <string>
#include <vector>

#include "server/fault_rule.h"

namespace zarn::collector {

struct Options {
  int port = 8090;  // 0: a free one
  std::string dataDirectory;
  std::string webDirectory;  // empty: see defaultViewerDirectory()
  std::size_t mostBodyBytes = std::size_t{256} << 20;
  std::vector<FaultRule> faults;
  std::optional<std::string> paused;
  bool wantsHelp = false;
  bool wantsVersion = false;
};

/// Nothing, with a message, for arguments that make no sense.
std::optional<Options> readOptions(const std::vector<std::string>& arguments, std::string& error);
extern const char* const kUsage;

}  // namespace zarn::collector
