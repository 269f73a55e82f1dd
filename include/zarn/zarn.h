// ZarnSDK: product analytics for native apps.
//
//   zarn::Zarn::configure("wk_live_x_myproject_abc");
//   zarn::Zarn::track("checkout", {{"items", 3}, {"total", 59.9}});
//
// Every call may come from any thread, before or after configure, and returns without an error:
// problems become lines in the debug log (ConfigurationOptions::debug). No call throws. After a
// fork the child's calls do nothing until it has executed another program.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "zarn/breadcrumb.h"
#include "zarn/deep_link.h"
#include "zarn/diagnostics.h"
#include "zarn/export.h"
#include "zarn/network.h"
#include "zarn/options.h"
#include "zarn/push.h"
#include "zarn/skan.h"
#include "zarn/standard_property.h"
#include "zarn/text.h"
#include "zarn/typed_events.h"
#include "zarn/value.h"

ZARN_NAMESPACE_BEGIN

class ZARN_API Zarn {
 public:
  Zarn() = delete;

  /// Starts the library: opens its store, restores what was not delivered and contacts the server
  /// in the background. Takes a few milliseconds. Later calls have no effect, but for a first one
  /// that was refused because of its environment; that is printed always.
  ///
  /// `writeKey`: at least five parts joined by "_", the fourth of which is the project id; any
  /// other text is itself the project id, unless the options name one.
  static void configure(Text writeKey, ConfigurationOptions options = {}) noexcept;
  /// The same with project id and key apart.
  static void configure(Text projectId, Text apiKey, ConfigurationOptions options = {}) noexcept;

  /// Records that something happened. An accepted event survives the end of the process, however it
  /// comes, once the call has returned, where the disk can be written; a power cut may take the
  /// newest. Text in `properties` passes the filter for personal data. No effect before configure,
  /// after an opt-out, while the server pauses the project or has switched such events off.
  static void track(Text name, const Properties& properties = {}) noexcept;

  /// Records that a screen was shown, where the app knows better than the library what its screens
  /// are: with a user interface attached (zarn/qt.h), those are recorded by themselves. Personal
  /// data is taken out of the name.
  static void screenView(Text name, const Properties& properties = {}) noexcept;

  /// Names the user of the events from now on. Blanks around the id are cut off; an empty id is
  /// ignored. Repeating the same call sends nothing.
  static void identify(Text userId, const Properties& traits = {}) noexcept;

  /// Records that the user belongs to a group, such as a company or team.
  static void group(Text groupId, const Properties& traits = {}) noexcept;

  /// Super properties are added to every later event; a property of the event itself wins.
  static void setSuperProperty(Text key, Value value) noexcept;
  static void setSuperProperties(const Properties& properties) noexcept;
  static void unsetSuperProperty(Text key) noexcept;
  static void clearSuperProperties() noexcept;

  /// User properties are kept with the user and sent as an event when they change. No effect on
  /// keys that the server does not allow.
  static void setUserProperty(Text key, Value value) noexcept;
  static void setUserProperty(StandardProperty property, Value value) noexcept;
  static void setUserProperties(const Properties& properties) noexcept;

  /// Adds the super property "experiment_" and the experiment's name to every later event.
  static void setExperimentVariant(Text experiment, Text variant) noexcept;

  // Business events with fixed names and keys.
  static void trackPurchase(const Purchase& purchase) noexcept;
  static void trackSubscriptionStart(const SubscriptionStart& start) noexcept;
  static void trackTrialStart(const TrialStart& start) noexcept;
  static void trackCancel(const Cancellation& cancellation) noexcept;
  static void trackUpgrade(const Upgrade& upgrade) noexcept;
  static void trackSignup(const Signup& signup = {}) noexcept;
  static void trackActivation(const Activation& activation = {}) noexcept;
  static void trackShare(const Share& share) noexcept;
  static void trackInvite(const Invite& invite = {}) noexcept;
  /// Records that a goal was reached. `name`: 3 to 64 of the characters a-z, 0-9, "_" and "-";
  /// another one is refused with a line that is printed always.
  static void markGoal(Text name, const Goal& goal = {}) noexcept;

  /// Sees the requests that the host makes with an HTTP stack of its own: hand each one's metrics
  /// to the proxy, which counts it and passes it on to `wrapped`. The server gets counts by host
  /// and shape of path. What ends before configure is not counted. For libcurl there is
  /// zarn/curl.h. In a forked child it only passes on; null when memory is out.
  static std::shared_ptr<ZarnNetworkDelegateProxy> networkDelegate(
      std::shared_ptr<NetworkDelegate> wrapped = nullptr) noexcept;

  /// Remembers a step of the user, in memory only: the last 100.
  static void addBreadcrumb(const Breadcrumb& breadcrumb) noexcept;

  /// Calls `handler` with every link that leads into the app, on the thread of the main queue: at
  /// once, and again when the server knows more of it. A link that came before there was a handler
  /// is handed over now; of several, the last. The last handler counts; an empty one takes it away.
  /// What it throws stops there.
  static void onDeepLink(std::function<void(const ZarnDeepLink&)> handler) noexcept;
  /// Takes a link with which the app was opened: tells the handler, records that it was followed
  /// and asks the server about it. False before configure and for text that is no link.
  static bool handleURL(Text url) noexcept;
  /// The same for a web link that the user goes on with; false for anything else.
  static bool handleUserActivity(const UserActivity& activity) noexcept;
  /// The same for each link that a new window was opened for.
  static void handleSceneConnection(const SceneConnection& connection) noexcept;
  /// Asks the server about a link without opening it. `answer` gets the link, with what is known of
  /// it, exactly once, on the thread of the main queue, within some 3 seconds; nothing before
  /// configure and for text that is no link.
  static void resolveLink(Text url,
                          std::function<void(std::optional<ZarnDeepLink>)> answer) noexcept;
  /// Keeps what the user has agreed to in matters of advertising, in a form of the app's own;
  /// absent takes it back. Nothing of it is sent.
  static void setAdvertisingConsent(std::optional<std::string> consent) noexcept;

  /// Conversion values for the system's ad network.
  static ZarnSKAN& skan() noexcept;

  /// Registers the token under which the app's push messages reach this device. The server gets it
  /// once, events only its digest. No effect before configure.
  static void setPushToken(Text token, PushProvider provider) noexcept;
  /// The provider has withdrawn the token: the same one may be set again.
  static void logPushTokenInvalidated(Text token, PushProvider provider) noexcept;
  // What became of a push message. `userInfo` is its payload; what of its text is sent, and in
  // which form, is the server's choice, and nothing but a digest unless it says so. A message that
  // was received twice counts once.
  /// `appState`: "active", "inactive" or "background".
  static void logPushReceived(const Properties& userInfo, Text appState) noexcept;
  /// Later events are attributed to the message, see
  /// ConfigurationOptions::pushAttributionWindowSeconds. Its link goes the way of Zarn::handleURL.
  static void logPushOpened(const Properties& userInfo, Text actionIdentifier = "default") noexcept;
  static void logPushDismissed(const Properties& userInfo) noexcept;
  /// A button of the message.
  static void logPushAction(const Properties& userInfo, Text actionIdentifier) noexcept;

  /// Stops everything and forgets every event that has not been delivered, until optIn; it holds
  /// for later launches and for all processes of the app. When it returns, nothing is sent any
  /// more. Before configure it is written down; call desktop::describeHost first there.
  static void optOut() noexcept;
  /// Ends an opt-out. Events are taken again as soon as the server has answered with its policy.
  static void optIn() noexcept;
  /// For when the user signs out: forgets the user, their properties and the super properties, and
  /// goes on under a new anonymous id and session. What is waiting is not sent.
  static void reset() noexcept;

  /// What the library is doing and why nothing arrives.
  static ZarnDiagnostics diagnostics() noexcept;

  /// Sends what is waiting, in the background.
  static void flush() noexcept;
  /// Sends what is waiting and blocks until the server has answered, or for `timeoutSeconds` (none,
  /// when it is zero, negative or no number). True when the batch was answered, and when nothing is
  /// waiting or under way, whatever the state; false on time-out, without a connection, before
  /// configure, while another batch is under way, and when something waits while the server's
  /// go-ahead is missing (before its first answer, in recovery, in a pause). Calling it on the
  /// thread of the main queue ends the process with a message, since the app would freeze; with the
  /// desktop backend that thread is the library's own, and every thread of the host may call.
  static bool flush(double timeoutSeconds) noexcept;
};

ZARN_NAMESPACE_END
