// The shop's server, which this app does without: it answers from a table, after a while.
#pragma once

#include <QString>
#include <QVariantList>
#include <chrono>
#include <optional>
#include <set>

class ShopServer {
 public:
  static ShopServer& instance();

  /// How long every answer takes.
  std::chrono::milliseconds delay{1500};

  /// The categories for "categories", else what there is in the category of that name. Nothing
  /// stands for a server that can't be reached: "offers" has this trouble the first time.
  std::optional<QVariantList> answer(const QString& path);

 private:
  std::set<QString> asked_;
};
