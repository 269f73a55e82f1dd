// Closure: a move-only callable. Work handed to queues owns what it carries, and what it carries is
// often move-only, which std::function refuses. Small callables are kept in place.
#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace zarn::base {

template <typename Signature>
class UniqueFunction;

template <typename R, typename... Args>
class UniqueFunction<R(Args...)> {
 public:
  UniqueFunction() = default;
  UniqueFunction(std::nullptr_t) {}  // NOLINT: an empty closure is spelled nullptr
  template <typename F, typename D = std::decay_t<F>>
  requires(!std::is_same_v<D, UniqueFunction> && std::is_invocable_r_v<R, D&, Args...>)
      UniqueFunction(F&& callable) {  // NOLINT: callables convert, as they do to std::function
    if constexpr (sizeof(D) <= kInPlace && alignof(D) <= alignof(std::max_align_t) &&
                  std::is_nothrow_move_constructible_v<D>) {
      new (&storage_) D(std::forward<F>(callable));
      operations_ = &kInPlaceOperations<D>;
    } else {
      *reinterpret_cast<D**>(&storage_) = new D(std::forward<F>(callable));
      operations_ = &kHeapOperations<D>;
    }
  }
  UniqueFunction(UniqueFunction&& other) noexcept { take(other); }
  UniqueFunction& operator=(UniqueFunction&& other) noexcept {
    if (this != &other) {
      clear();
      take(other);
    }
    return *this;
  }
  ~UniqueFunction() { clear(); }

  explicit operator bool() const { return operations_ != nullptr; }
  R operator()(Args... args) { return operations_->call(&storage_, std::forward<Args>(args)...); }

 private:
  static constexpr std::size_t kInPlace = 6 * sizeof(void*);
  struct Operations {
    R (*call)(void*, Args&&...);
    void (*moveTo)(void* from, void* to);
    void (*destroy)(void*);
  };
  template <typename D>
  static constexpr Operations kInPlaceOperations = {
      [](void* at, Args&&... args) -> R {
        return (*static_cast<D*>(at))(std::forward<Args>(args)...);
      },
      [](void* from, void* to) {
        new (to) D(std::move(*static_cast<D*>(from)));
        static_cast<D*>(from)->~D();
      },
      [](void* at) { static_cast<D*>(at)->~D(); }};
  template <typename D>
  static constexpr Operations kHeapOperations = {
      [](void* at, Args&&... args) -> R {
        return (**static_cast<D**>(at))(std::forward<Args>(args)...);
      },
      [](void* from, void* to) { *static_cast<D**>(to) = *static_cast<D**>(from); },
      [](void* at) { delete *static_cast<D**>(at); }};

  void take(UniqueFunction& other) noexcept {
    operations_ = std::exchange(other.operations_, nullptr);
    if (operations_) operations_->moveTo(&other.storage_, &storage_);
  }
  void clear() {
    if (auto* operations = std::exchange(operations_, nullptr)) operations->destroy(&storage_);
  }

  alignas(std::max_align_t) std::byte storage_[kInPlace];
  const Operations* operations_ = nullptr;
};

using Closure = UniqueFunction<void()>;

}  // namespace zarn::base
