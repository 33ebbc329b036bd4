#include <array>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>
#include <plist/plist.h>

#include "zukit/platform/foundation/BinaryPropertyList.h"
#include "zukit/platform/foundation/BinaryPropertyListBuilder.h"

namespace {

using zu::Array;
using zu::BinaryPropertyList;
using zu::BinaryPropertyListBuilder;
using zu::Data;
using zu::Date;
using zu::Dictionary;
using zu::Value;

// Records of one shape, as a store keeps them.
Dictionary record(int i) {
  return Dictionary{{"name", Value("record " + std::to_string(i))},
                    {"kind", Value("shared")},
                    {"when", Value(Date::dateWithTimeIntervalSince1970(1700000000.25 + i))},
                    {"count", Value(i * 1000)},
                    {"tags", Value(Array{Value("名前"), Value(true), Value(Data{1, 2})})}};
}

// Writes the records and a note through the builder, sharing keys and the text "shared".
std::optional<Data> buildList(const Array& records, BinaryPropertyListBuilder& builder) {
  builder.shareDictionaryKeys();
  builder.shareText("shared");
  std::vector<std::uint64_t> elements;
  for (const Value& element : records) {
    const auto number = builder.add(element, BinaryPropertyList::kMaximumDepth - 1);
    if (!number) return std::nullopt;
    elements.push_back(*number);
  }
  const std::uint64_t list = builder.addArray(elements);
  const std::array<std::uint64_t, 2> keys{*builder.addText("records"), *builder.addText("note")};
  const std::array<std::uint64_t, 2> values{list, *builder.addText("shared")};
  return builder.finish(builder.addDictionary(keys, values));
}

TEST(BinaryPropertyListBuilder, WritesWhatTheReaderAndLibplistReadBack) {
  for (const int count : {1, 30, 5000}) {  // one-, two- and four-byte references and offsets
    Array records;
    for (int i = 0; i < count; ++i)
      records.emplace_back(record(i));
    const Value expected(Dictionary{{"records", Value(records)}, {"note", Value("shared")}});
    BinaryPropertyListBuilder builder(BinaryPropertyListBuilder::objectCount(expected) + 1);
    const auto bytes = buildList(records, builder);
    ASSERT_TRUE(bytes) << count;
    EXPECT_EQ(BinaryPropertyList::read(*bytes), expected) << count;

    plist_t node = nullptr;
    plist_from_bin(reinterpret_cast<const char*>(bytes->data()),
                   static_cast<std::uint32_t>(bytes->size()), &node);
    ASSERT_NE(node, nullptr) << count;
    plist_t list = plist_dict_get_item(node, "records");
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(plist_array_get_size(list), static_cast<std::uint32_t>(count));
    plist_t kind = plist_dict_get_item(
        plist_array_get_item(list, static_cast<std::uint32_t>(count - 1)), "kind");
    ASSERT_NE(kind, nullptr);
    EXPECT_EQ(plist_string_val_compare(kind, "shared"), 0);
    plist_free(node);
  }
}

TEST(BinaryPropertyListBuilder, RefusesWhatIsNotAPropertyListAndMoreObjectsThanAnnounced) {
  {
    BinaryPropertyListBuilder builder(10);
    EXPECT_FALSE(builder.add(Value(Array{Value("fine"), Value()}), 5));
    EXPECT_FALSE(builder.addText(std::string("\xC3\x28", 2)));
    Value deep("bottom");
    for (int i = 0; i < 3; ++i)
      deep = Value(Array{deep});
    EXPECT_FALSE(builder.add(deep, 2));
  }
  {
    BinaryPropertyListBuilder builder(2);
    const std::uint64_t first = *builder.addText("one");
    builder.addText("two");
    builder.addText("three");
    EXPECT_FALSE(builder.finish(first));
  }
  {
    BinaryPropertyListBuilder builder(1);
    EXPECT_FALSE(builder.finish(0));  // nothing added
  }
}

}  // namespace
