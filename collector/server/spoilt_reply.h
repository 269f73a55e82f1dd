// What a fault makes of a reply that is otherwise well: the part of it that shows in status and
// body. Delays and broken connections are left to the sender.
#pragma once

#include "server/request.h"

namespace zarn::collector {

/// `mistyped` is the body for a fault of that kind.
Reply spoiltReply(Reply reply, const FaultRule& fault, std::string_view mistyped);

/// Whether the client gets no answer at all.
bool isSilent(const FaultRule& fault);

}  // namespace zarn::collector
