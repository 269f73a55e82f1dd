#include "shop_server.h"

#include <QVariantMap>

namespace {

struct Category {
  const char *id, *name, *about, *picture;
};
constexpr Category kCategories[] = {
    {"kitchen", "Kitchen", "For mornings and long dinners", "kettle.png"},
    {"living", "Living", "Light and a place to sit", "lamp.png"},
    {"garden", "Garden", "What grows outside", "plant.png"},
    {"offers", "Offers", "This week for less", "tag.png"},
};

struct Product {
  const char *category, *name, *picture;
  int cents;
};
constexpr Product kProducts[] = {
    {"kitchen", "Harbour mug", "mug.png", 1450},
    {"kitchen", "Low kettle", "kettle.png", 6900},
    {"kitchen", "Moss bowl", "bowl.png", 2200},
    {"kitchen", "Oak board", "board.png", 3850},
    {"kitchen", "Espresso mug", "mug.png", 1190},
    {"kitchen", "Soup bowl", "bowl.png", 1980},
    {"kitchen", "Tall kettle", "kettle.png", 7400},
    {"kitchen", "Bread board", "board.png", 4200},
    {"kitchen", "Tea mug", "mug.png", 1650},
    {"kitchen", "Salad bowl", "bowl.png", 3400},
    {"kitchen", "Travel kettle", "kettle.png", 5200},
    {"kitchen", "Cheese board", "board.png", 2950},
    {"living", "Evening lamp", "lamp.png", 8900},
    {"living", "Field chair", "chair.png", 12900},
    {"living", "Window plant", "plant.png", 2600},
    {"living", "Reading lamp", "lamp.png", 7600},
    {"offers", "Field chair", "chair.png", 9900},
    {"offers", "Moss bowl", "bowl.png", 1500},
    {"offers", "Reading lamp", "lamp.png", 5900},
};

QVariantList categories() {
  QVariantList rows;
  for (const Category& category : kCategories) {
    rows.append(QVariantMap{{"id", category.id},
                            {"name", category.name},
                            {"about", category.about},
                            {"picture", category.picture}});
  }
  return rows;
}

QVariantList productsOf(const QString& category) {
  QVariantList rows;
  for (const Product& product : kProducts) {
    if (category != QLatin1String(product.category)) continue;
    rows.append(QVariantMap{{"id", category + "-" + QString::number(rows.size() + 1)},
                            {"name", product.name},
                            {"about",
                             "Made by hand in a small workshop by the sea, of things that "
                             "last. Every piece is a little different from the next."},
                            {"picture", product.picture},
                            {"cents", product.cents}});
  }
  return rows;
}

}  // namespace

ShopServer& ShopServer::instance() {
  static ShopServer server;
  return server;
}

std::optional<QVariantList> ShopServer::answer(const QString& path) {
  const bool first = asked_.insert(path).second;
  if (path == "offers" && first) return std::nullopt;
  return path == "categories" ? categories() : productsOf(path);
}
