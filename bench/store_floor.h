// The floor under storing an event: SQLite alone, without a library around it. One row of 700 bytes
// with a text key goes into the store's own table, indexes and pragmas by one reused statement.
#pragma once

#include <cstddef>
#include <string>

#include "latencies.h"

namespace zarn::bench {

/// One insert each, into a new database in `directory`. Checkpoints are made between the measured
/// inserts, so that the floor holds none of their cost. Empty when the database can't be made.
Latencies bareInsertLatencies(const std::string& directory, std::size_t count);

}  // namespace zarn::bench
