// The store's part of the reference pictures.
#include "server/store_statements.h"

namespace zarn::collector {

using Lock = std::unique_lock<std::mutex>;

bool Store::addScreenshot(const Screenshot& screenshot, std::int64_t receivedMs) {
  const Lock lock(mutex_);
  Statement& add = statements_->addScreenshot;
  add.bind(1, screenshot.project).bind(2, screenshot.app).bind(3, screenshot.screen);
  add.bind(4, receivedMs).bind(5, screenshot.bundleId).bind(6, screenshot.platform);
  add.bind(7, screenshot.sdkVersion).bind(8, screenshot.releaseId).bind(9, screenshot.device);
  add.bind(10, screenshot.anonymous).bind(11, screenshot.user);
  add.bind(12, std::int64_t{screenshot.size.width}).bind(13, std::int64_t{screenshot.size.height});
  return add.bind(14, screenshot.sha256).bindBytes(15, screenshot.jpeg).run();
}

bool Store::hasScreenshot(const Screenshot& of) const {
  const Lock lock(mutex_);
  Statement& find = statements_->hasScreenshot;
  const bool isThere = find.bind(1, of.project).bind(2, of.app).bind(3, of.screen).step();
  find.reset();
  return isThere;
}

std::optional<std::int64_t> Store::removeScreenshots(const std::string& project) {
  const Lock lock(mutex_);
  if (!statements_->removeScreenshots.bind(1, project).run()) return std::nullopt;
  return database_->changes();
}

}  // namespace zarn::collector
