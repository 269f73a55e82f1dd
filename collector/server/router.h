// Finds who answers a request. Every route is in one table; nothing of a path is ever used as a
// file's name.
#pragma once

#include "server/assets.h"
#include "server/control_api.h"
#include "server/project_api.h"
#include "server/report_api.h"
#include "server/request.h"
#include "server/wire_api.h"

namespace zarn::collector {

class Router {
 public:
  Router(WireApi& wire, ControlApi& control, ProjectApi& projects, ReportApi& reports,
         const Assets& assets)
      : wire_(wire), control_(control), projects_(projects), reports_(reports), assets_(assets) {}

  Reply answer(const Request& request);

 private:
  WireApi& wire_;
  ControlApi& control_;
  ProjectApi& projects_;
  ReportApi& reports_;
  const Assets& assets_;
};

}  // namespace zarn::collector
