// What the "deep_link" event tells of a link. Its path and query stay on the device.
#pragma once

#include <cstddef>

#include "zarn/deep_link.h"
#include "zarn/value.h"

namespace zarn::platform {
class Crypto;
}

namespace zarn::links {

struct ParsedLink;

/// Further parameters that name a campaign are left out, so that no link makes an event of any
/// size.
inline constexpr std::size_t kMostCampaignParameters = 50;

/// `parsed` is what the link says by itself. Text of the link is cut where admission would no
/// longer scrub it, at 256 characters; a parameter whose name is no plain key is left out.
Properties clickProperties(const ZarnDeepLink& link, const ParsedLink& parsed,
                           platform::Crypto& crypto);

}  // namespace zarn::links
