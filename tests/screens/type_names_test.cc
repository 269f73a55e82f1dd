#include "screens/type_names.h"

#include <gtest/gtest.h>

namespace zarn::screens {
namespace {

TEST(TypeNames, AreFoundAmongPlumbing) {
  const auto parsed = [](std::string_view text) {
    return std::string(parseHostedTypeName(text).value_or("nothing"));
  };
  EXPECT_EQ(parsed("Host<ModifiedContent<LoginView, _SafeAreaIgnoringLayout>>"), "LoginView");
  EXPECT_EQ(parsed("ModifiedContent<LoginPage, Optional<LoginView>>"), "LoginView");
  EXPECT_EQ(parsed("TupleView<(CartBody, CartScreen, CartPage)>"), "CartScreen");
  EXPECT_EQ(parsed("VStack<TupleView<(Text, CartRow)>>"), "CartRow");
  EXPECT_EQ(parsed("ModifiedContent<AnyView, CartModel, CartStore, SwiftUI.Cart, UIKitThing>"),
            "nothing");
  EXPECT_EQ(parsed("cart<item>"), "nothing");
  EXPECT_EQ(parsed(""), "nothing");
  EXPECT_EQ(parsed("<<,>>(Ёлка)"), "Ёлка");
}

TEST(TypeNames, OfPeopleAndMachines) {
  for (const char* name : {"CartPage", "App", "SettingsViewController"}) {
    EXPECT_TRUE(isHumanTypeName(name)) << name;
  }
  for (const char* name : {"cartPage", "Ab", "MyAnyViewHolder", "_Cart", "LazyViewOfCart"}) {
    EXPECT_FALSE(isHumanTypeName(name)) << name;
  }
  EXPECT_FALSE(isHumanTypeName(std::string(65, 'A')));
  EXPECT_EQ(withoutControllerSuffix("SettingsViewController"), "Settings");
  EXPECT_EQ(withoutControllerSuffix("SettingsController"), "Settings");
  EXPECT_EQ(withoutControllerSuffix("ControllerPage"), "ControllerPage");
}

}  // namespace
}  // namespace zarn::screens
