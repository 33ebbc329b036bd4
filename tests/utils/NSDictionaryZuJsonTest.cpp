// zu_dictionaryToJson: pretty JSON text of a dictionary, or none.

#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "zukit/platform/foundation/Date.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/utils/NSDictionary+ZuJson.h"

namespace {

using zu::Dictionary;
using zu::Value;

TEST(NSDictionaryZuJson, WritesPrettyJsonInInsertionOrder) {
  Dictionary inner;
  inner.setObject(Value(1.5), "x");
  Dictionary body;
  body.setObject(Value("Zu"), "name");
  body.setObject(Value(3), "count");
  body.setObject(Value(true), "ok");
  body.setObject(Value(zu::Array{Value(1), Value("a/b"), Value("图")}), "list");
  body.setObject(Value::null(), "none");
  body.setObject(Value(inner), "inner");
  EXPECT_EQ(zu_dictionaryToJson(body),
            "{\n"
            "  \"name\" : \"Zu\",\n"
            "  \"count\" : 3,\n"
            "  \"ok\" : true,\n"
            "  \"list\" : [\n"
            "    1,\n"
            "    \"a\\/b\",\n"
            "    \"图\"\n"
            "  ],\n"
            "  \"none\" : null,\n"
            "  \"inner\" : {\n"
            "    \"x\" : 1.5\n"
            "  }\n"
            "}");
}

TEST(NSDictionaryZuJson, GivesNoneForWhatJsonCannotHold) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const Value& refused : {Value(zu::Data{1, 2}), Value(zu::Date::date()), Value(nan),
                               Value(std::string("\xff")), Value(zu::Array{Value(zu::Data{})})}) {
    Dictionary dictionary;
    dictionary.setObject(refused, "key");
    EXPECT_FALSE(zu_dictionaryToJson(dictionary).has_value()) << refused.description();
  }
  EXPECT_TRUE(zu_dictionaryToJson(Dictionary()).has_value());
}

}  // namespace
