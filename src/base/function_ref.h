// FunctionRef: a callable that is lent for the length of a call. It owns nothing and allocates
// nothing; it must not be kept.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace zarn::base {

template <typename Signature>
class FunctionRef;

template <typename Result, typename... Args>
class FunctionRef<Result(Args...)> {
 public:
  template <typename F>
  requires(!std::is_same_v<std::remove_cvref_t<F>, FunctionRef>)
      FunctionRef(F&& callable)  // NOLINT(google-explicit-constructor): made at the call
      : object_(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
        call_([](void* object, Args... args) -> Result {
          return (*static_cast<std::remove_reference_t<F>*>(object))(std::forward<Args>(args)...);
        }) {}

  Result operator()(Args... args) const { return call_(object_, std::forward<Args>(args)...); }

 private:
  void* object_;
  Result (*call_)(void*, Args...);
};

}  // namespace zarn::base
