#include "zukit/platform/foundation/NSJSONSerialization.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/utils/NSDictionary+ZuJson.h"

std::optional<std::string> zu_dictionaryToJson(const zu::Dictionary& dictionary) {
  const auto data = zu::NSJSONSerialization::dataWithJSONObject(
      zu::Value(dictionary), zu::NSJSONWritingPrettyPrinted, nullptr);
  if (!data) return std::nullopt;
  return std::string(data->begin(), data->end());
}
