// The slot in which library and backend meet: every service of the platform, ready to use.
#pragma once

namespace zarn::platform {

class Clock;
class Crypto;
class Defaults;
class Device;
class Dispatch;
class Environment;
class Files;
class HttpClient;
class LifeEvents;
class LogSink;
class NameTagger;
class PathMonitor;
class Random;
class SecureStore;

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
};

/// The host of this process, defined by the backend that the program links. Made at the first call
/// and never destroyed. Must not be called before the host app has had a chance to describe itself.
Host& processHost();

}  // namespace zarn::platform
