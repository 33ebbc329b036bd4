#include "zukit/hooks/ZuBlock.h"

#include "zukit/platform/runtime/TypeEncoding.h"

ZuBlock::~ZuBlock() = default;

std::string ZuBlock::signatureName() const {
  return zu::detail::demangledTypeName(*_signature);
}

std::string ZuBlock::className() const {
  return "ZuBlock";
}
