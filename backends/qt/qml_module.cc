#include "qt/qml_module.h"

#include <algorithm>

#include "qt/redaction.h"
#include "zarn/qt.h"

namespace zarn::qt {
namespace {

using platform::TextContentType;

static_assert(int{QmlModule::EmailAddress} == static_cast<int>(TextContentType::emailAddress));
static_assert(int{QmlModule::TelephoneNumber} ==
              static_cast<int>(TextContentType::telephoneNumber));

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
      std::clamp(type, int{QmlModule::NoContentType}, int{QmlModule::TelephoneNumber});
  noteFor(*parent()).contentType = static_cast<TextContentType>(known);
  Q_EMIT contentTypeChanged();
}

void registerQmlModule() {
  qmlRegisterUncreatableType<QmlModule>("Zarn", 1, 0, "Zarn",
                                        QStringLiteral("Zarn is for attached properties"));
}

}  // namespace zarn::qt
