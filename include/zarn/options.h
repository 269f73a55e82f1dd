// What a host can set when it configures the library.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "zarn/export.h"

ZARN_NAMESPACE_BEGIN

/// Read once by Zarn::configure; later changes have no effect. A number that makes no sense (not
/// finite, zero or negative where only a positive one can work) is replaced by its default, with a
/// line in the debug log.
///
/// When the process environment holds ZARN_INTERNAL_DEV=1, `apiHost` is the development endpoint
/// and `environment` is "development", whatever is set here.
struct ConfigurationOptions {
  /// What the library captures by itself.
  bool autoTrackScreens = true;
  bool autoTrackTaps = true;
  bool autoTrackFlows = true;
  bool autoTrackNetwork = true;
  bool autoTrackCrashes = true;
  bool autoTrackSessions = true;
  bool autoTrackPush = true;

  /// How long after the opening of a push message later events are attributed to it. Seconds; one
  /// day.
  double pushAttributionWindowSeconds = 86400;
  /// A stay in the background longer than this ends the session. Seconds.
  double sessionTimeout = 1800;
  /// How often waiting events are sent. Seconds; less than 0.1 counts as 0.1.
  double flushInterval = 30;
  /// How many waiting events are sent at once without waiting for the interval. At least 1.
  int flushAt = 20;
  /// How many undelivered events are kept; beyond it the oldest is dropped. At least 1.
  int maxBufferSize = 1000;

  /// Base URL of the server. Absent: the endpoint of `environment`. Text that forms no web address
  /// is replaced by the production endpoint, with a line in the debug log.
  std::optional<std::string> apiHost = std::nullopt;
  /// Prints what the library does to standard error, in lines that begin with "[Zarn".
  bool debug = false;
  /// "production" or "development"; case and surrounding blanks don't matter. Anything else is
  /// refused by Zarn::configure.
  std::string environment = "production";
  /// The project, when it can't be read from the write key.
  std::optional<std::string> projectId = std::nullopt;
  /// The key to send in place of the write key.
  std::optional<std::string> apiKeyOverride = std::nullopt;

  /// Session replay. An absent switch leaves the choice to the server.
  bool replayEnabled = true;
  std::optional<bool> replayStructuralEnabled = std::nullopt;
  std::optional<bool> replayTileCaptureEnabled = std::nullopt;
  std::optional<bool> replayOcrEnabled = std::nullopt;
  /// Share of sessions that are recorded, 0.0 to 1.0; what lies outside counts as the nearer end,
  /// and what is no number as 0.
  double replaySampleRate = 1.0;
  /// Whether replay also records while the device is on a cellular network.
  bool replayCaptureOnCellular = false;

  /// Whether a link of one of `universalLinkHosts` that comes through Zarn::handleURL is also
  /// opened in the program that the user has for it, such as the browser.
  bool deepLinkAutoOpen = false;
  /// Hosts, with their subdomains, whose links the server is asked about: it may know more of them
  /// than the link says. Only these, whatever the server names.
  std::vector<std::string> universalLinkHosts = {};
  /// Whether the first launch may look for a link on the clipboard.
  bool deferredClipboardMatchEnabled = false;

  /// Whether the first launch reports the store's receipt.
  bool installReceiptValidationEnabled = true;
};

ZARN_NAMESPACE_END
