#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/TestHome.h"

int main(int argc, char** argv) {
  const zukit::test::TestHome home;
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
