// The part of the collector's own API that tells what the events of one kind come to.
#pragma once

#include "server/reports.h"
#include "server/request.h"
#include "server/screenshot_queries.h"
#include "server/store.h"

namespace zarn::collector {

class ReportApi {
 public:
  explicit ReportApi(const Store& store) : reports_(store.file()), screenshots_(store.file()) {}

  Reply network(const Request& request);
  Reply links(const Request& request);
  Reply push(const Request& request);
  Reply crashes(const Request& request);
  Reply screens(const Request& request);
  Reply flow(const Request& request);
  Reply screenshots(const Request& request);
  Reply screenshot(const Request& request);

 private:
  using Report = Reports::Result (Reports::*)(const ReportScope&, std::string&);
  Reply answer(const Request& request, Report report);

  Reports reports_;
  ScreenshotQueries screenshots_;
};

}  // namespace zarn::collector
