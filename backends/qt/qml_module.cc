#include "qt/qml_module.h"

#include <algorithm>

#include "qt/redaction.h"
#include "zarn/qt.h"

namespace zarn::qt {
namespace {

static_assert(int{QmlModule::OtherContent} == static_cast<int>(ContentType::other));
static_assert(int{QmlModule::TelephoneNumber} == static_cast<int>(ContentType::telephoneNumber));

}  // namespace

bool QmlMarks::isRedacted() const {
  return qt::isRedacted(*parent());
}

void QmlMarks::redact(bool isPrivate) {
  if (isPrivate == isRedacted()) return;
  setRedacted(*parent(), isPrivate);
  Q_EMIT redactChanged();
}

int QmlMarks::contentType() const {
  const ObjectNote* const note = noteOf(*parent());
  return note != nullptr && note->contentType ? static_cast<int>(*note->contentType) : 0;
}

void QmlMarks::setContentType(int type) {
  const int known =
      std::clamp(type, int{QmlModule::GuessedContent}, int{QmlModule::TelephoneNumber});
  qt::setContentType(*parent(), static_cast<ContentType>(known));
  Q_EMIT contentTypeChanged();
}

void registerQmlModule() {
  qmlRegisterUncreatableType<QmlModule>("Zarn", 1, 0, "Zarn",
                                        QStringLiteral("Zarn is for attached properties"));
}

}  // namespace zarn::qt
