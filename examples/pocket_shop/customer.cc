#include "customer.h"

#include "zarn/zarn.h"

void Customer::signIn(const QString& email) {
  if (email.isEmpty()) return;
  email_ = email;
  zarn::Zarn::identify("customer-2041", {{"plan", "free"}});
  Q_EMIT changed();
}

void Customer::signOut() {
  email_.clear();
  zarn::Zarn::reset();
  Q_EMIT changed();
}
