#pragma once

#include <functional>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/CacheLine.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/RuntimeClass.h"

template <class Signature>
class ZuTypedBlock;

// A callback handed to the swizzler: a closure with a fixed call signature, shared rather than
// copied, so that it keeps its identity wherever it is stored. Its description is
// "<ZuBlock: 0x...>".
class ZU_EXPORT ZuBlock : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuBlock, zu::Object)
  // A block that calls `function` with the call signature `Signature` (such as
  // ZuViewAppearanceBlock); nullptr when `function` is an empty std::function.
  template <class Signature, class F>
  static std::shared_ptr<ZuBlock> make(F&& function) {
    std::function<Signature> callable(std::forward<F>(function));
    if (!callable) return nullptr;
    return std::make_shared<ZuTypedBlock<Signature>>(std::move(callable));
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
  // The block's own class name, "ZuBlock", whatever its signature.
  std::string className() const override;

  // Calls the block as a `Signature`; the caller has checked hasSignature<Signature>().
  template <class Signature, class... Args>
  void invoke(Args&&... args) const {
    static_cast<const ZuTypedBlock<Signature>&> (*this)(std::forward<Args>(args)...);
  }

 protected:
  explicit ZuBlock(const std::type_info& signature) : _signature(&signature) {}

 private:
  alignas(zu::kCacheLineSize) const std::type_info* _signature;
};

// A block of one call signature; made by ZuBlock::make().
template <class R, class... Args>
class ZU_EXPORT ZuTypedBlock<R(Args...)> final : public ZuBlock {
 public:
  explicit ZuTypedBlock(std::function<R(Args...)> function)
      : ZuBlock(typeid(R(Args...))), _function(std::move(function)) {}

  // Runs the closure.
  R operator()(Args... args) const { return _function(std::forward<Args>(args)...); }

 private:
  const std::function<R(Args...)> _function;
};
