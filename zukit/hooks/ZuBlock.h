#pragma once

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/CacheLine.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/RuntimeClass.h"

template <class Signature>
class ZuTypedBlock;
template <class Signature, class Closure>
class ZuClosureBlock;

// A callback handed to the swizzler: a closure with a fixed call signature, shared rather than
// copied, so that it keeps its identity wherever it is stored. Its description is
// "<ZuBlock: 0x...>".
class ZU_EXPORT ZuBlock : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuBlock, zu::Object)
  // A block that calls `function` (a lambda, function object, function pointer or
  // std::function) with the call signature `Signature` (such as ZuViewAppearanceBlock);
  // nullptr for an empty std::function or a null function pointer. The closure is kept inside
  // the block and called directly, without a std::function in between.
  template <class Signature, class F>
  static std::shared_ptr<ZuBlock> make(F&& function) {
    using Closure = std::decay_t<F>;
    if constexpr (IsNullable<Closure>::value) {
      if (!function) return nullptr;
    }
    return std::make_shared<ZuClosureBlock<Signature, Closure>>(std::forward<F>(function));
  }

  ~ZuBlock() override;
  ZuBlock(const ZuBlock&) = delete;
  ZuBlock& operator=(const ZuBlock&) = delete;

  // True when the block's call signature is exactly `Signature`.
  template <class Signature>
  bool hasSignature() const {
    return _signature == &typeid(Signature) || *_signature == typeid(Signature);
  }
  // The call signature, readable, such as "void (zu::Object*, ...)".
  std::string signatureName() const;
  // The call signature.
  const std::type_info& signature() const { return *_signature; }
  // The block's entry point, type-erased: ZuTypedBlock<Signature>::Call for its signature.
  void (*entry() const)() { return _entry; }
  // The block's own class name, "ZuBlock", whatever its signature.
  std::string className() const override;

  // Calls the block as a `Signature`; the caller has checked hasSignature<Signature>().
  template <class Signature, class... Args>
  void invoke(Args&&... args) const {
    static_cast<const ZuTypedBlock<Signature>&> (*this)(std::forward<Args>(args)...);
  }

 protected:
  ZuBlock(const std::type_info& signature, void (*entryPoint)())
      : _signature(&signature), _entry(entryPoint) {}

 private:
  // Closures that may hold nothing to call.
  template <class T>
  struct IsNullable : std::bool_constant<std::is_pointer_v<T> || std::is_member_pointer_v<T>> {};
  template <class Signature>
  struct IsNullable<std::function<Signature>> : std::true_type {};

  alignas(zu::kCacheLineSize) const std::type_info* _signature;
  void (*const _entry)();
};

// A block of one call signature: calls its closure through one plain function pointer, with
// the arguments in registers.
template <class R, class... Args>
class ZU_EXPORT ZuTypedBlock<R(Args...)> : public ZuBlock {
 public:
  // The entry point of a block of this signature.
  using Call = R (*)(const ZuTypedBlock& block, Args... args);

  // Runs the closure.
  R operator()(Args... args) const { return call(entry(), *this, std::forward<Args>(args)...); }
  // Runs `block` through `entry`, its entry point (ZuBlock::entry()), which the caller has
  // taken from a block of this signature.
  static R call(void (*entryPoint)(), const ZuBlock& block, Args... args) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the entry's own type
    return reinterpret_cast<Call>(entryPoint)(static_cast<const ZuTypedBlock&>(block),
                                              std::forward<Args>(args)...);
  }

 protected:
  explicit ZuTypedBlock(Call entryPoint)
      // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): called back as Call only
      : ZuBlock(typeid(R(Args...)), reinterpret_cast<void (*)()>(entryPoint)) {}
};

// A block holding a closure of type Closure; made by ZuBlock::make().
template <class R, class... Args, class Closure>
class ZU_EXPORT ZuClosureBlock<R(Args...), Closure> final : public ZuTypedBlock<R(Args...)> {
 public:
  explicit ZuClosureBlock(Closure closure)
      : ZuTypedBlock<R(Args...)>(&run), _closure(std::move(closure)) {}

 private:
  static R run(const ZuTypedBlock<R(Args...)>& block, Args... args) {
    return std::invoke(static_cast<const ZuClosureBlock&>(block)._closure,
                       std::forward<Args>(args)...);
  }

  // Mutable, as a std::function's target is: a closure may keep state between calls.
  mutable Closure _closure;
};
