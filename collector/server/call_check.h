// The wire form of the calls about links, installs, push tokens and screenshots: what a well-formed
// one looks like, what is wrong with one that is not, and what of it may be shown.
#pragma once

#include <string>
#include <string_view>

#include "server/fault_rule.h"
#include "server/records.h"
#include "server/wire_check.h"

namespace zarn::collector {

struct CallFacts {
  CallerFacts caller;
  std::string clickId, clipboardToken;  // of a resolve; empty: it has none
  Screenshot screenshot;                // of a check or an upload
  std::string refusal;                  // why the screenshot cannot be kept; empty: it can
  /// The body with digests in place of token, receipt and picture ("token_sha256"). Where it may
  /// hold such, values that are of no known key, or not of its type, are null.
  std::string shown;
};

/// Whether bodies of the endpoint bring what is not to be shown.
bool bringsSecrets(Endpoint endpoint);

/// What is wrong with the Authorization header of such a call; empty: nothing.
std::string callAuthorizationProblem(Endpoint endpoint, std::string_view header);

/// For all endpoints but batch, init and config. False, with a message, when the body is no JSON
/// object.
bool checkCall(Endpoint endpoint, std::string_view json, CallFacts& facts, std::string& error);

}  // namespace zarn::collector
