// A page of rows as the API answers it: {KEY: [...], "next": the last row's number, or null at the
// end}.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "server/connections.h"
#include "server/json.h"
#include "server/queries.h"

namespace zarn::collector {

/// `write` writes one row; its first column is the number. Nothing when the query failed, with the
/// message noted in the lease.
template <class Write>
std::optional<std::string> pageJson(Connections::Lease& lease, Statement& query,
                                    std::string_view key, const Page& page, Write write) {
  JsonOut out;
  out.object().key(key).array();
  std::int64_t shown = 0, last = 0;
  const bool good = lease.each(query, [&](const Statement& row) {
    write(out, row);
    last = row.number(0);
    ++shown;
  });
  if (!good) return std::nullopt;
  out.end().key("next");
  shown == page.limit ? out.value(last) : out.null();
  return out.end().take();
}

}  // namespace zarn::collector
