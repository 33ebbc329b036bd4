// Number objects: what the hook points box their scalar arguments in.

#include <gtest/gtest.h>

#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/runtime/NSNumber.h"

namespace {

TEST(NSNumberTest, NumberObjectsBoxButDoNotEqualPlainNumbers) {
  const zu::Value two(zu::NSNumber::numberWithInteger(2));
  EXPECT_TRUE(two.isObject());
  EXPECT_FALSE(two == zu::Value(2)) << "a boxed number is an object, not the integer 2";
  EXPECT_EQ(two, zu::Value(zu::NSNumber::numberWithInteger(2)));
  EXPECT_EQ(two, zu::Value(std::make_shared<zu::NSNumber>(zu::Value(2))));
  EXPECT_EQ(zu::NSNumber::from(two)->integerValue(), 2);
  EXPECT_EQ(two.description(), "2");
  EXPECT_EQ(zu::NSNumber::numberWithInteger(123456)->integerValue(), 123456);
  EXPECT_EQ(zu::NSNumber::numberWithDouble(2.5)->description(), "2.5");

  const zu::Value& yes = zu::NSNumber::boxedBool(true);
  EXPECT_EQ(yes.description(), "1");
  EXPECT_EQ(zu::NSNumber::boxedBool(false).description(), "0");
  EXPECT_TRUE(zu::NSNumber::from(yes)->boolValue());
  EXPECT_FALSE(yes == zu::Value(true));
  EXPECT_EQ(zu::NSNumber::from(yes), zu::NSNumber::numberWithBool(true));
  EXPECT_EQ(zu::NSNumber::numberWithBool(true)->hash(), zu::NSNumber::numberWithInteger(1)->hash());
  EXPECT_EQ(zu::NSStringFromClass(zu::object_getClass(zu::NSNumber::from(yes))), "NSNumber");
  EXPECT_EQ(zu::NSNumber::from(zu::Value(2)), nullptr);
  EXPECT_EQ(zu::NSNumber::from(zu::Value()), nullptr);
}

}  // namespace
