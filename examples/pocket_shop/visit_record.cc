#include "visit_record.h"

#include <QDateTime>
#include <QJsonDocument>
#include <cstdio>

namespace {
qint64 now() {
  return QDateTime::currentMSecsSinceEpoch();
}
}  // namespace

VisitRecord::VisitRecord(const QString& path) : file_(path) {
  if (path.isEmpty()) {
    file_.open(stdout, QIODevice::WriteOnly);
  } else {
    file_.open(QIODevice::WriteOnly | QIODevice::Truncate);
  }
}

void VisitRecord::enter(const QString& name, const QString& state, const QString& by) {
  const qint64 at = now();
  const QString from = name_;
  leave(at);
  if (!from.isEmpty()) {
    ++transitions_;
    write({{"kind", "transition"},
           {"from", from},
           {"to", name},
           {"by", by},
           {"at", at},
           {"elapsed", at - tapped_}});
  }
  ++screens_;
  name_ = name;
  states_ = {};
  entered_ = at;
  become(state);
}

void VisitRecord::become(const QString& state) {
  states_.append(QJsonObject{{"state", state}, {"at", now()}});
}

void VisitRecord::tap() {
  tapped_ = now();
  ++taps_;
}

void VisitRecord::scroll() {
  ++scrolls_;
}

void VisitRecord::secret(const QString& what, const QString& text) {
  write({{"kind", "secret"}, {"what", what}, {"text", text}});
}

void VisitRecord::hidden(const QString& what, const QRectF& place) {
  write({{"kind", "hidden"},
         {"what", what},
         {"screen", name_},
         {"place", QJsonArray{place.x(), place.y(), place.width(), place.height()}}});
}

void VisitRecord::end() {
  leave(now());
  write({{"kind", "end"}, {"screens", screens_}, {"transitions", transitions_}});
}

void VisitRecord::leave(qint64 at) {
  if (name_.isEmpty()) return;
  write({{"kind", "screen"},
         {"name", name_},
         {"states", states_},
         {"entered", entered_},
         {"left", at},
         {"taps", taps_},
         {"scrolls", scrolls_}});
  name_.clear();
  taps_ = scrolls_ = 0;
}

void VisitRecord::write(const QJsonObject& line) {
  file_.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
  file_.flush();
}
