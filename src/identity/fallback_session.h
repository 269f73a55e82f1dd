// The session id of events while sessions are not tracked.
#pragma once

#include <memory>
#include <string>

#include "identity/random_uuid.h"
#include "model/published.h"

namespace zarn::identity {

/// "no_session_" and a UUID, made once and renewed at a privacy boundary. Any thread.
class FallbackSession {
 public:
  explicit FallbackSession(platform::Random& random) : random_(random) { renew(); }

  std::shared_ptr<const std::string> id() const { return id_.get(); }

  void renew() {
    id_.publish(std::make_shared<const std::string>("no_session_" + randomUuidText(random_)));
  }

 private:
  platform::Random& random_;
  model::Published<std::string> id_;
};

}  // namespace zarn::identity
