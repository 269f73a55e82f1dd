// A step of the user that is kept in memory, for whoever looks into a crash.
//
//   zarn::Zarn::addBreadcrumb({.category = "cart", .message = "Coupon added", .data = {{"n", 2}}});
#pragma once

#include <string>

#include "zarn/export.h"
#include "zarn/value.h"

ZARN_NAMESPACE_BEGIN

struct Breadcrumb {
  std::string category;  // such as "navigation" or "ui"
  std::string message;
  Properties data = {};
  std::string level = "info";
};

ZARN_NAMESPACE_END
