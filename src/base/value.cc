#include "zarn/value.h"

#include <algorithm>
#include <functional>
#include <limits>

#include "base/value_access.h"

ZARN_NAMESPACE_BEGIN

using base::ValueAccess;

Value::Value() noexcept = default;
Value::Value(const Value&) = default;
Value::Value(Value&&) noexcept = default;
Value& Value::operator=(const Value&) = default;
Value& Value::operator=(Value&&) noexcept = default;
Value::~Value() = default;

bool Value::isNull() const {
  return std::holds_alternative<std::monostate>(data_);
}

namespace {

template <typename T, typename Data>
std::optional<T> copyOf(const Data& data) {
  const T* held = std::get_if<T>(&data);
  return held ? std::optional<T>(*held) : std::nullopt;
}

}  // namespace

std::optional<bool> Value::asBool() const {
  return copyOf<bool>(data_);
}
std::optional<std::int64_t> Value::asInt() const {
  return copyOf<std::int64_t>(data_);
}
std::optional<double> Value::asDouble() const {
  return copyOf<double>(data_);
}
std::optional<std::string_view> Value::asString() const {
  const auto* text = std::get_if<std::string>(&data_);
  return text ? std::optional<std::string_view>(*text) : std::nullopt;
}
const Date* Value::asDate() const {
  return std::get_if<Date>(&data_);
}
const Url* Value::asUrl() const {
  return std::get_if<Url>(&data_);
}
const Uuid* Value::asUuid() const {
  return std::get_if<Uuid>(&data_);
}
const Decimal* Value::asDecimal() const {
  return std::get_if<Decimal>(&data_);
}
const Array* Value::asArray() const {
  return std::get_if<Array>(&data_);
}
const Properties* Value::asProperties() const {
  return std::get_if<Properties>(&data_);
}

bool operator==(const Value& a, const Value& b) {
  return a.data_ == b.data_;
}

void Value::setBool(bool value) {
  data_ = value;
}
void Value::setInt(std::int64_t value) {
  data_ = value;
}
void Value::setUnsigned(std::uint64_t value) {
  if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    data_ = static_cast<std::int64_t>(value);
  } else {
    data_ = std::to_string(value);
  }
}
void Value::setDouble(double value) {
  data_ = value;
}
void Value::store(std::string value) {
  data_ = std::move(value);
}
void Value::store(Date value) {
  data_ = value;
}
void Value::store(Url value) {
  data_ = std::move(value);
}
void Value::store(Uuid value) {
  data_ = value;
}
void Value::store(Decimal value) {
  data_ = std::move(value);
}

void Value::store(Array value) {
  int deepest = 0;
  for (const Value& element : value) deepest = std::max<int>(deepest, element.depth_);
  if (deepest >= ValueAccess::kMaxDepth) return store(std::string(ValueAccess::kTooDeep));
  depth_ = static_cast<std::uint8_t>(deepest + 1);
  data_ = std::move(value);
}

void Value::store(Properties value) {
  int deepest = 0;
  for (const auto& entry : value) deepest = std::max<int>(deepest, entry.value.depth_);
  if (deepest >= ValueAccess::kMaxDepth) return store(std::string(ValueAccess::kTooDeep));
  depth_ = static_cast<std::uint8_t>(deepest + 1);
  data_ = std::move(value);
}

namespace {

constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);
/// Up to so many keys are compared one by one, which beats hashing.
constexpr std::size_t kLinearUpTo = 16;

}  // namespace

/// Open addressing over positions in the list of entries; at most half full.
class Properties::Index {
 public:
  explicit Index(const std::vector<Entry>& entries) { rebuild(entries); }

  std::size_t find(const std::vector<Entry>& entries, std::string_view key) const {
    const std::size_t position = slots_[slotFor(entries, key)];
    return position == kFree ? kNowhere : position;
  }

  /// Takes note of the entry that has just been added at the end.
  void added(const std::vector<Entry>& entries) {
    if (entries.size() * 2 > slots_.size()) return rebuild(entries);
    const auto position = static_cast<std::uint32_t>(entries.size() - 1);
    slots_[slotFor(entries, entries.back().key)] = position;
  }

  void rebuild(const std::vector<Entry>& entries) {
    std::size_t size = 64;
    while (size < entries.size() * 4) size *= 2;
    slots_.assign(size, kFree);
    for (std::uint32_t position = 0; position < entries.size(); ++position) {
      slots_[slotFor(entries, entries[position].key)] = position;
    }
  }

 private:
  static constexpr std::uint32_t kFree = static_cast<std::uint32_t>(-1);

  std::size_t slotFor(const std::vector<Entry>& entries, std::string_view key) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = std::hash<std::string_view>{}(key)&mask;
    while (slots_[slot] != kFree && entries[slots_[slot]].key != key) slot = (slot + 1) & mask;
    return slot;
  }

  std::vector<std::uint32_t> slots_;
};

Properties::Properties() noexcept = default;
Properties::Properties(std::initializer_list<Entry> entries) {
  reserve(entries.size());
  for (const Entry& entry : entries) set(entry.key, entry.value);
}
Properties::Properties(const Properties& other)
    : entries_(other.entries_),
      index_(other.index_ ? std::make_unique<Index>(*other.index_) : nullptr) {}
Properties::Properties(Properties&&) noexcept = default;
Properties& Properties::operator=(const Properties& other) {
  if (this != &other) *this = Properties(other);
  return *this;
}
Properties& Properties::operator=(Properties&&) noexcept = default;
Properties::~Properties() = default;

std::size_t Properties::positionOf(std::string_view key) const {
  if (index_) return index_->find(entries_, key);
  for (std::size_t position = 0; position < entries_.size(); ++position) {
    if (entries_[position].key == key) return position;
  }
  return kNowhere;
}

void Properties::set(std::string_view key, Value value) {
  const std::size_t position = positionOf(key);
  if (position != kNowhere) {
    entries_[position].value = std::move(value);
    return;
  }
  if (entries_.capacity() == 0) entries_.reserve(4);
  entries_.push_back(Entry{std::string(key), std::move(value)});
  if (index_) {
    index_->added(entries_);
  } else if (entries_.size() > kLinearUpTo) {
    index_ = std::make_unique<Index>(entries_);
  }
}

const Value* Properties::find(std::string_view key) const {
  const std::size_t position = positionOf(key);
  return position == kNowhere ? nullptr : &entries_[position].value;
}

bool Properties::erase(std::string_view key) {
  const std::size_t position = positionOf(key);
  if (position == kNowhere) return false;
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(position));
  if (index_) index_->rebuild(entries_);
  return true;
}

void Properties::reserve(std::size_t count) {
  entries_.reserve(count);
}
std::size_t Properties::size() const {
  return entries_.size();
}
Properties::const_iterator Properties::begin() const {
  return entries_.data();
}
Properties::const_iterator Properties::end() const {
  return entries_.data() + entries_.size();
}

bool operator==(const Properties& a, const Properties& b) {
  return a.size() == b.size() && std::all_of(a.begin(), a.end(), [&b](const auto& entry) {
           const Value* other = b.find(entry.key);
           return other && *other == entry.value;
         });
}

ZARN_NAMESPACE_END
