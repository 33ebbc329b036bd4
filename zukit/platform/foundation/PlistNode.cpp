#include "zukit/platform/foundation/PlistNode.h"

#include <cstdint>
#include <cstdlib>

namespace zu {

std::string plistText(plist_t node) {
  char* text = nullptr;
  plist_get_string_val(node, &text);
  std::string result = text != nullptr ? std::string(text) : std::string();
  std::free(text);  // NOLINT(cppcoreguidelines-no-malloc): libplist hands out malloc'd text
  return result;
}

Data plistData(plist_t node) {
  char* bytes = nullptr;
  std::uint64_t length = 0;
  plist_get_data_val(node, &bytes, &length);
  Data data(reinterpret_cast<std::uint8_t*>(bytes),
            reinterpret_cast<std::uint8_t*>(bytes) + length);
  std::free(bytes);  // NOLINT(cppcoreguidelines-no-malloc): libplist hands out malloc'd bytes
  return data;
}

std::vector<plist_t> plistElements(plist_t array) {
  std::vector<plist_t> elements;
  plist_array_iter iterator = nullptr;
  plist_array_new_iter(array, &iterator);
  if (iterator == nullptr) return elements;
  for (;;) {
    plist_t item = nullptr;
    plist_array_next_item(array, iterator, &item);
    if (item == nullptr) break;
    elements.push_back(item);
  }
  std::free(iterator);  // NOLINT(cppcoreguidelines-no-malloc): libplist's iterators are malloc'd
  return elements;
}

std::optional<Value> plistScalar(plist_t node) {
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
      std::uint8_t flag = 0;
      plist_get_bool_val(node, &flag);
      return Value(flag != 0);
    }
    case PLIST_UINT: {
      std::uint64_t number = 0;
      plist_get_uint_val(node, &number);
      return Value(static_cast<std::int64_t>(number));
    }
    case PLIST_REAL: {
      double number = 0;
      plist_get_real_val(node, &number);
      return Value(number);
    }
    case PLIST_STRING:
      return Value(plistText(node));
    case PLIST_DATA:
      return Value(plistData(node));
    default:
      return std::nullopt;
  }
}

}  // namespace zu
