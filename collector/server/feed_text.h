// What listeners of the live feed are told of a batch or an exchange.
#pragma once

#include <string>

#include "server/records.h"

namespace zarn::collector {

/// The batch's sums and, of its kept events, the last 100 as the events API shows them.
std::string batchText(const BatchRecord& batch);
std::string exchangeText(const ExchangeRecord& exchange);

}  // namespace zarn::collector
