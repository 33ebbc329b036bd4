#pragma once

#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/network/NSURLResponse.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// A response and its body as the URL cache keeps them. Immutable.
class ZU_EXPORT NSCachedURLResponse final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSCachedURLResponse, Object)
  // An entry for `response` with body `data`.
  NSCachedURLResponse(std::shared_ptr<NSURLResponse> response, Data data)
      : _response(std::move(response)), _data(std::move(data)) {}

  // The response as first received.
  const std::shared_ptr<NSURLResponse>& response() const { return _response; }
  // The body.
  const Data& data() const { return _data; }

 private:
  std::shared_ptr<NSURLResponse> _response;
  Data _data;
};

}  // namespace zu
