#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zukit/hooks/ZuBlock.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/CacheLine.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// The callback map of a hook record: callback name (compared by value) to callback (held
// strongly, compared by identity). Enumeration follows insertion order; a callback stored under
// a name already present takes that name's place. Callers must not rely on any order among
// callbacks.
class ZU_EXPORT ZuBlockMap {
 public:
  ZU_RUNTIME_CLASS_NAME(ZuBlockMap, zu::Object)
  // One name and its callback.
  using Entry = std::pair<std::string, std::shared_ptr<ZuBlock>>;
  // Entries start on a cache line of their own (see CacheLine.h).
  using Entries = std::vector<Entry, zu::CacheLineAllocator<Entry>>;
  // What a hooked call needs of one callback, copied out of the block so that it walks one
  // array: the block, its call signature and its entry point (ZuBlock::entry()).
  struct Call {
    const ZuBlock* block;
    const std::type_info* signature;
    void (*entry)();
  };
  using Calls = std::vector<Call, zu::CacheLineAllocator<Call>>;

  // The callback under `name`, or nullptr.
  std::shared_ptr<ZuBlock> objectForKey(std::string_view name) const;
  // Stores `block` under `name`, replacing any callback there; a null block removes the name.
  void setObject(std::shared_ptr<ZuBlock> block, std::string name);
  // Removes the callback under `name`, if any.
  void removeObjectForKey(std::string_view name);
  // The number of callbacks.
  std::size_t count() const { return _entries.size(); }

  Entries::const_iterator begin() const { return _entries.begin(); }
  Entries::const_iterator end() const { return _entries.end(); }
  // The callbacks as hooked calls run them, in the entries' order (calls()[i] is entry i).
  const Calls& calls() const { return _calls; }

  // True when every callback takes `Signature` (and there is at least one), so that a hooked
  // call can run them all without looking at each one's signature.
  template <class Signature>
  bool allTake() const {
    return _commonSignature != nullptr &&
           (_commonSignature == &typeid(Signature) || *_commonSignature == typeid(Signature));
  }
  // Same names with the identical callbacks, in any order.
  bool operator==(const ZuBlockMap& other) const;

 private:
  // Rebuilds _calls from _entries.
  void entriesChanged();

  alignas(zu::kCacheLineSize) Entries _entries;
  Calls _calls;
  // The signature every callback takes; nullptr when they differ or there are none.
  const std::type_info* _commonSignature = nullptr;
};
