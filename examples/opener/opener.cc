// An app that links of its own scheme lead into, and that runs once: a link that is opened while it
// runs goes to the window that the user has, not to a second one.
//
//   zarn-opener --register     makes it the program for "zarn-prints:" links
//   zarn-opener [LINK]         runs until it is interrupted; prints each link that leads into it
//   xdg-open zarn-prints://orders/7?from=mail
//
// ZARN_OPENER_SERVER names the server; by default a collector on this machine.
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "desktop_entry.h"
#include "single_instance.h"
#include "zarn/desktop.h"
#include "zarn/zarn.h"

using zarn::Zarn;

namespace {

const char* variable(const char* name, const char* otherwise) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : otherwise;
}

/// Where desktop programs keep what belongs to them and not to the user's documents.
std::filesystem::path dataHome() {
  const auto inHome = std::filesystem::path(variable("HOME", ".")) / ".local/share";
  return variable("XDG_DATA_HOME", inHome.c_str());
}

int registerScheme() {
  const auto written = opener::writeDesktopEntry(
      dataHome() / "applications",
      {.id = "zarn-opener", .name = "Harbour Prints", .scheme = "zarn-prints"});
  if (!written) {
    std::cerr << "zarn-opener: can't write into " << dataHome() / "applications"
              << "\n";
    return 1;
  }
  std::cout << "Wrote " << written->string() << "\n";
  if (opener::makeDefault("zarn-opener", "zarn-prints")) return 0;
  std::cout << "Without xdg-mime, add to ~/.config/mimeapps.list:\n[Default Applications]\n"
               "x-scheme-handler/zarn-prints=zarn-opener.desktop\n";
  return 0;
}

void show(const zarn::ZarnDeepLink& link) {
  std::string line = std::string(rawValue(link.source)) + " " + link.url.text;
  if (link.campaign) line += ", of the campaign " + *link.campaign;
  if (link.targetPath) line += ", to " + *link.targetPath;
  std::cout << line << std::endl;
}

/// Readable once the program is to end.
int watchSignals() {
  sigset_t ends;
  sigemptyset(&ends);
  sigaddset(&ends, SIGINT);
  sigaddset(&ends, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &ends, nullptr);
  return signalfd(-1, &ends, SFD_CLOEXEC);
}

int run(const std::optional<std::string>& link) {
  const auto folder = dataHome() / "zarn-opener";
  const auto meeting = variable("XDG_RUNTIME_DIR", folder.c_str());
  opener::SingleInstance instance(std::filesystem::path(meeting) / "zarn-opener");
  if (!instance.isFirst()) return instance.handOver(link.value_or("")) ? 0 : 1;

  const int signals = watchSignals();
  zarn::desktop::describeHost({.bundleId = "com.example.opener",
                               .name = "Harbour Prints",
                               .version = "1.0",
                               .dataDirectory = folder});
  Zarn::configure("wk_demo_x_opener_key",
                  {.apiHost = variable("ZARN_OPENER_SERVER", "http://127.0.0.1:8090"),
                   .universalLinkHosts = {"prints.example"}});
  Zarn::onDeepLink(show);
  std::cout << "Running" << std::endl;
  if (link) Zarn::handleURL(*link);
  instance.serve(signals, [](const std::string& handed) {
    if (handed.empty() || !Zarn::handleURL(handed)) std::cout << "Started again" << std::endl;
    Zarn::flush();
  });
  Zarn::onDeepLink({});
  Zarn::flush(2.0);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view first = argc > 1 ? argv[1] : "";
  if (argc > 2 || (first.starts_with("-") && first != "--register")) {
    std::cerr << "usage: zarn-opener [--register | LINK]\n";
    return 2;
  }
  if (first == "--register") return registerScheme();
  return run(argc > 1 ? std::optional<std::string>(first) : std::nullopt);
}
