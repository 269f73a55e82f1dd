// The slot in which library and backend meet: every service of the platform, ready to use.
#pragma once

#include "zarn/export.h"

namespace zarn::platform {

class AdNetwork;
class Clipboard;
class Clock;
class Crypto;
class Defaults;
class Device;
class DiagnosticsSource;
class Dispatch;
class Environment;
class Files;
class HttpClient;
class ImageCodec;
class InputEvents;
class LifeEvents;
class LogSink;
class NameTagger;
class Notifications;
class PathMonitor;
class Random;
class RequestHook;
class ScreenEvents;
class SecureStore;
class StoreReceipt;
class UrlOpener;
class Windows;

/// Only the composition root sees all of it; a class takes exactly the services it uses.
struct Host {
  Dispatch& dispatch;
  Clock& clock;
  Random& random;
  LogSink& log;
  Environment& environment;
  Files& files;
  Defaults& defaults;
  SecureStore& secrets;
  Crypto& crypto;
  Device& device;
  PathMonitor& paths;
  LifeEvents& life;
  HttpClient& http;
  NameTagger& names;
  RequestHook& requests;
  DiagnosticsSource& diagnostics;
  Notifications& notifications;
  Clipboard& clipboard;
  StoreReceipt& receipt;
  AdNetwork& adNetwork;
  UrlOpener& opener;
  ScreenEvents& screens;
  Windows& windows;
  InputEvents& input;
  ImageCodec& images;
};

/// Gives a host that stands on `plain` and replaces some of its services, such as those that need
/// a user interface. Must live as long as the process.
using HostExtension = Host& (*)(Host& plain);
/// Before processHost is first called; a later call has no effect and returns false. Any thread.
ZARN_API bool extendProcessHost(HostExtension extension);

/// The host of this process, defined by the backend that the program links. Made at the first call
/// and never destroyed. Must not be called before the host app has had a chance to describe itself.
Host& processHost();

}  // namespace zarn::platform
