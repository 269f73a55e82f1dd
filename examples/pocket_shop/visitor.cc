#include "visitor.h"

void Visitor::visit() {
  signIn();
  lookAround();
  lookAtNothing();
  meetTrouble();
  fillCart();
  buy();
  lookAtAccount();
  record_.end();
}

void Visitor::signIn() {
  see("emailField", "Login", "normal", "start");
  typeSecret("emailField", "mara.lindqvist@example.com");
  typeSecret("passwordField", "sw0rdfish-harbour");
  noteHidden("emailField");
  noteHidden("passwordField");
  hands_.tap("revealButton");
  look();
  hands_.tap("signInButton");
}

void Visitor::lookAround() {
  see("skeletons", "Catalogue", "loading");
  seeChange("category-kitchen", "populated");
  look();
  hands_.rest(pace_ / 2);  // it has just loaded: time for its picture as well
  hands_.tap("category-kitchen");
  see("busy", "Kitchen", "loading");
  seeChange("product-kitchen-1", "populated");
  hands_.scroll("products", 420);
  hands_.tap("add-kitchen-8");
  look();
  hands_.tap("product-kitchen-7");
  see("addToCart", "Product", "normal");
  look();
  hands_.tap("addToCart");
  hands_.await("addedNotice");
  hands_.tap("backButton");
  see("product-kitchen-7", "Kitchen", "populated");
  look();
  hands_.tap("backButton");
}

void Visitor::lookAtNothing() {
  see("category-garden", "Catalogue", "populated");
  look();
  hands_.tap("category-garden");
  see("busy", "Garden", "loading");
  seeChange("emptyNotice", "empty");
  look();
  hands_.tap("backButton");
}

void Visitor::meetTrouble() {
  see("category-offers", "Catalogue", "populated");
  look();
  hands_.tap("category-offers");
  see("busy", "Offers", "loading");
  seeChange("retryButton", "error");
  look();
  hands_.tap("retryButton");
  seeChange("busy", "loading");
  seeChange("product-offers-1", "populated");
  look();
  hands_.tap("backButton");
  see("category-offers", "Catalogue", "populated");
  look();
}

void Visitor::fillCart() {
  hands_.tap("cartTab");
  see("checkoutButton", "Cart", "populated", "tab");
  look();
  hands_.tap("remove-0");
  hands_.tap("dialogNo");
  hands_.tap("remove-0");
  hands_.tap("dialogYes");
  hands_.tap("checkoutButton");
}

void Visitor::buy() {
  see("cardField", "Checkout", "normal");
  typeSecret("nameField", "Mara Lindqvist");
  typeSecret("phoneField", "+47 99 28 41 70");
  typeSecret("noteField", "Key 4417 is under the blue pot");
  typeSecret("cardField", "4000123499567897");
  hands_.type("expiryField", "09/31");
  hands_.type("cvcField", "739");
  for (const char* field :
       {"nameField", "phoneField", "noteField", "cardField", "expiryField", "cvcField"}) {
    noteHidden(field);
  }
  look();
  hands_.scroll("checkoutForm", 200);
  hands_.tap("placeOrder");
  see("continueShopping", "Order confirmed", "normal");
  look();
  hands_.tap("continueShopping");
  see("emptyNotice", "Cart", "empty");
  look();
}

void Visitor::lookAtAccount() {
  hands_.tap("accountTab");
  see("signOutButton", "Account", "normal", "tab");
  record_.secret("address", "Fyrstikkbakken 14");
  noteHidden("customer");
  look();
  hands_.tap("signOutButton");
  hands_.tap("dialogNo");
  hands_.tap("settingsRow");
  see("offersSwitch", "Settings", "normal");
  hands_.tap("offersSwitch");
  hands_.tap("receiptSwitch");
  look();
  hands_.tap("backButton");
  see("helpRow", "Account", "normal");
  look();
  hands_.tap("helpRow");
  see("helpSite", "Help", "normal");
  record_.secret("in the web view", "20417733");
  noteHidden("helpSite");
  look();
  hands_.tap("backButton");
  see("helpRow", "Account", "normal");
  look();
}

void Visitor::see(const QString& mark, const QString& name, const QString& state,
                  const QString& by) {
  hands_.await(mark);
  record_.enter(name, state, by);
  looking_.start();
  name_ = name + " " + state;
}

void Visitor::seeChange(const QString& mark, const QString& state) {
  hands_.await(mark);
  record_.become(state);
  looking_.start();
  name_ = name_.section(' ', 0, -2) + " " + state;
}

void Visitor::look() {
  const auto time = known_.insert(name_).second ? pace_ : pace_ / 4;
  hands_.rest(time - std::chrono::milliseconds(looking_.elapsed()));
}

void Visitor::noteHidden(const QString& mark) {
  record_.hidden(mark, hands_.placeOf(mark));
}

void Visitor::typeSecret(const QString& field, const QString& text) {
  record_.secret(field, text);
  hands_.type(field, text);
}
