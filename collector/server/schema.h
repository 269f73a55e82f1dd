// The tables of the collector's file.
#pragma once

#include <string>

#include "server/database.h"

namespace zarn::collector {

/// Sets the pragmas and makes the tables where they are missing. False, with a message, for a file
/// that is no database or was written by a newer collector.
bool prepareSchema(Database& database, std::string& error);

}  // namespace zarn::collector
