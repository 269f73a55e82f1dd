#include "server/options.h"

#include <charconv>

namespace zarn::collector {
namespace {

bool readNumber(const std::string& text, int least, int most, int& value) {
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, value);
  return failure == std::errc() && stop == end && value >= least && value <= most;
}

// Takes one argument with its value; the answer is what is wrong, or nothing.
std::string setOption(Options& options, const std::string& name, const std::string& value) {
  if (name == "--port") {
    return readNumber(value, 0, 65535, options.port) ? "" : "--port must be from 0 to 65535";
  }
  if (name == "--max-body-mib") {
    int mib = 0;
    if (!readNumber(value, 1, 1024, mib)) return "--max-body-mib must be from 1 to 1024";
    options.mostBodyBytes = static_cast<std::size_t>(mib) << 20;
    return {};
  }
  if (name == "--data") {
    options.dataDirectory = value;
    return value.empty() ? "--data must name a directory" : "";
  }
  if (name == "--web") {
    options.webDirectory = value;
    return {};
  }
  if (name == "--pause") {
    options.paused = value;
    return {};
  }
  if (name == "--fault") {
    std::string error;
    auto rule = faultFromWords(value, error);
    if (!rule) return "--fault " + value + ": " + error;
    options.faults.push_back(std::move(*rule));
    return {};
  }
  return "unknown argument " + name;
}

}  // namespace

const char* const kUsage =
    R"(zarn-collector: a local server for what a Zarn host sends, with a web viewer

usage: zarn-collector --data DIR [options]

  --data DIR           keep what arrives in DIR; it is made where needed
  --port N             listen on 127.0.0.1:N; 0 takes a free port (default 8090)
  --web DIR            the built viewer (default: viewer beside the program, or as installed)
  --max-body-mib N     largest request body, 1 to 1024 (default 256)
  --fault RULE         start with a fault switched on; may be repeated. A rule is
                       key=value,key=value with the keys of the faults API, such as
                       endpoint=batch,kind=status,status=503,count=3
  --pause REASON       start paused
  --version, --help

When it listens it prints one line, "zarn-collector: listening on http://127.0.0.1:PORT".
It stops on SIGINT and SIGTERM.

exit codes: 0 stopped, 2 wrong arguments, 3 data directory unusable, 4 cannot listen
)";

std::optional<Options> readOptions(const std::vector<std::string>& arguments, std::string& error) {
  Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    std::string name = arguments[i];
    options.wantsHelp = options.wantsHelp || name == "--help" || name == "-h";
    options.wantsVersion = options.wantsVersion || name == "--version";
    if (options.wantsHelp || options.wantsVersion) return options;
    std::string value;
    if (const std::size_t equals = name.find('='); equals != std::string::npos) {
      value = name.substr(equals + 1);
      name.resize(equals);
    } else if (i + 1 < arguments.size()) {
      value = arguments[++i];
    } else {
      error = name.starts_with("--") ? name + " needs a value" : "unknown argument " + name;
      return std::nullopt;
    }
    error = setOption(options, name, value);
    if (!error.empty()) return std::nullopt;
  }
  if (options.dataDirectory.empty()) {
    error = "--data is missing";
    return std::nullopt;
  }
  return options;
}

}  // namespace zarn::collector
