// Reads query parameters strictly: one that is misspelt or out of range is an error, never ignored,
// so that an assertion in a test cannot pass by asking something else than it meant.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "server/queries.h"
#include "server/request.h"

namespace zarn::collector {

class Parameters {
 public:
  explicit Parameters(const Request& request) : request_(request) {}

  std::string text(const std::string& name);
  std::int64_t number(const std::string& name, std::int64_t byDefault, std::int64_t least,
                      std::int64_t most);
  std::optional<bool> flag(const std::string& name);
  EventFilter filter();
  Page page(bool ascendingByDefault);

  /// What was wrong with those read, or a parameter that nobody read; empty when all is well.
  std::string error();

 private:
  const Request& request_;
  std::vector<std::string> read_;
  std::string error_;
};

/// The last part of a path such as "/api/collector/batches/12", and the number in it; 0: none.
std::string lastPart(const Request& request);
std::int64_t numberIn(std::string_view text);

/// The reason in the body of a pause, which may be empty. False for a body of another form.
bool readReason(const Request& request, std::string& reason);
constexpr std::string_view kReasonForm = "the body must be like {\"reason\": \"maintenance\"}";

}  // namespace zarn::collector
