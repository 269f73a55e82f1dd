#include "qt/class_kinds.h"

#include <QMetaObject>
#include <QObject>
#include <algorithm>
#include <memory>
#include <string>
#include <unordered_map>

#include "base/text_arena.h"
#include "qt/class_table.h"

namespace zarn::qt {
namespace {

constexpr std::string_view kQmlMark = "_QML";

constexpr const char* kPropertyNames[] = {"bottomPadding",
                                          "color",
                                          "contentItem",
                                          "currentItem",
                                          "displayText",
                                          "echoMode",
                                          "editable",
                                          "enabled",
                                          "font",
                                          "footerItem",
                                          "headerItem",
                                          "highlightItem",
                                          "inputMask",
                                          "inputMethodHints",
                                          "leftPadding",
                                          "loops",
                                          "maximumLength",
                                          "name",
                                          "placeholderText",
                                          "position",
                                          "radius",
                                          "rightPadding",
                                          "running",
                                          "sourceItem",
                                          "text",
                                          "textFormat",
                                          "title",
                                          "topPadding",
                                          "validator",
                                          "width"};
static_assert(std::size(kPropertyNames) == static_cast<std::size_t>(Property::count));

bool startsUpperCase(std::string_view text) {
  return !text.empty() && text.front() >= 'A' && text.front() <= 'Z';
}

bool isQmlType(std::string_view name) {
  return name.find(kQmlMark) != std::string_view::npos;
}

/// As a developer reads it.
std::string_view shortName(std::string_view name) {
  name = name.substr(0, name.find(kQmlMark));
  if (const auto colons = name.rfind("::"); colons != std::string_view::npos) {
    name.remove_prefix(colons + 2);
  }
  constexpr std::string_view kQuick = "QQuick";
  if (name.starts_with(kQuick) && startsUpperCase(name.substr(kQuick.size()))) {
    name.remove_prefix(kQuick.size());
    constexpr std::string_view kForQml = "QmlImpl";  // of a Window, as QML makes it
    if (name.ends_with(kForQml)) name.remove_suffix(kForQml.size());
  }
  return name;
}

/// A class of Qt's own, in C++.
bool isQtClass(std::string_view name) {
  return !isQmlType(name) && name.starts_with('Q') && startsUpperCase(name.substr(1));
}

/// A class of Qt's, or a style's file that has the name of the class which it gives a look.
bool isToolkits(const QMetaObject& type) {
  const std::string_view text = shortName(type.className());
  for (const QMetaObject* at = &type; at != nullptr; at = at->superClass()) {
    const std::string_view name = at->className();
    if (shortName(name) != text) return false;
    if (!isQmlType(name)) return isQtClass(name);
  }
  return false;
}

/// The first class of the chain that the table knows decides, but for what the name of an app's own
/// class says. A name never makes less of a text field.
const KnownClass* known(const QMetaObject& type, const QMetaObject** owner) {
  const KnownClass* byName = nullptr;
  for (const QMetaObject* at = &type; at != nullptr; at = at->superClass()) {
    *owner = at;
    if (byName == nullptr) byName = classNamedLike(shortName(at->className()));
    if (const KnownClass* found = knownClass(at->className())) {
      const bool isField = found->kind == platform::ViewKind::textField ||
                           found->kind == platform::ViewKind::textView;
      return byName != nullptr && !isField ? byName : found;
    }
  }
  return byName;
}

/// Of the class of Qt's that `type` is or stands on; those are never unloaded.
const ToolkitProperties* propertiesOf(const QMetaObject& type) {
  static auto& all =
      *new std::unordered_map<const QMetaObject*, std::unique_ptr<ToolkitProperties>>;
  const QMetaObject* qtClass = &type;
  while (qtClass != nullptr && !isQtClass(qtClass->className())) qtClass = qtClass->superClass();
  if (qtClass == nullptr) return nullptr;
  auto& own = all[qtClass];
  if (!own) own = std::make_unique<ToolkitProperties>(*qtClass);
  return own.get();
}

bool hasPlaceholderName(std::string_view name) {
  return name.find("Shimmer") != std::string_view::npos ||
         name.find("Skeleton") != std::string_view::npos;
}

struct Entry {
  std::string name;  // in full: the numbers in the names of QML types are never given twice
  const char* baseName = nullptr;
  std::string text;
  ClassFacts facts;
};

Entry describe(const QMetaObject& type) {
  Entry entry;
  entry.name = type.className();
  entry.baseName = type.superClass() != nullptr ? type.superClass()->className() : nullptr;
  entry.text = shortName(entry.name);
  ClassFacts& facts = entry.facts;
  facts.isToolkits = isToolkits(type);
  facts.isPlaceholder = hasPlaceholderName(entry.text);
  const QMetaObject* owner = nullptr;
  if (const KnownClass* found = known(type, &owner)) {
    facts.kind = found->kind;
    facts.trait = found->trait;
    facts.isBare = owner == &type && found->kind == platform::ViewKind::plain;
    if (found->trait != Trait::none) facts.properties = propertiesOf(type);
  }
  return entry;
}

/// By the place of the class's name: QML gives each object a meta object of its own, all of which
/// share the strings of their type. Those go with the type, and the next one may stand at their
/// place; hence the name is compared as well.
const Entry& entryOf(const QMetaObject& type) {
  constexpr std::size_t kMostClasses = 4096;
  static auto& all = *new std::unordered_map<const void*, Entry>;
  const char* const name = type.className();
  const QMetaObject* const base = type.superClass();
  auto found = all.find(name);
  if (found != all.end()) {
    const Entry& entry = found->second;
    if (entry.name == name && entry.baseName == (base != nullptr ? base->className() : nullptr)) {
      return entry;
    }
    all.erase(found);
  }
  if (all.size() >= kMostClasses) all.clear();
  return all.emplace(name, describe(type)).first->second;
}

}  // namespace

ToolkitProperties::ToolkitProperties(const QMetaObject& type) {
  for (std::size_t i = 0; i < std::size(kPropertyNames); ++i) {
    const int index = type.indexOfProperty(kPropertyNames[i]);
    if (index >= 0) properties_[i] = type.property(index);
  }
}

ClassFacts classOf(const QObject& object) {
  return entryOf(*object.metaObject()).facts;
}

std::string_view classText(const QObject& object, base::TextArena& arena) {
  return arena.copy(entryOf(*object.metaObject()).text);
}

bool mayBeMasked(platform::ViewKind kind) {
  using platform::ViewKind;
  return kind == ViewKind::web || kind == ViewKind::media || kind == ViewKind::map ||
         kind == ViewKind::textField || kind == ViewKind::textView;
}

bool isKindOf(const QObject& object, std::string_view className) {
  for (const QMetaObject* at = object.metaObject(); at != nullptr; at = at->superClass()) {
    const std::string_view name = at->className();
    if (name == className || shortName(name) == className) return true;
  }
  return false;
}

}  // namespace zarn::qt
