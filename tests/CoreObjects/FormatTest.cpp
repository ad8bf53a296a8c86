#include "CoreObjects/Format.h"

#include <gtest/gtest.h>

#include <string>

namespace OrvWorkFlow::Core {
namespace {

TEST(FormatTest, FillsInItsValues) {
  EXPECT_EQ(Format("<%s, %s> %d", "type", "instance", -7), "<type, instance> -7");
  EXPECT_EQ(Format("100%%"), "100%");
  EXPECT_EQ(Format("%s", ""), "");
}

TEST(FormatTest, ValuesMayHaveAnyLength) {
  for (const std::size_t length : {0u, 1u, 498u, 499u, 500u, 4095u, 4096u, 1000000u}) {
    const std::string value(length, 'x');
    EXPECT_EQ(Format("[%s]", value.c_str()), "[" + value + "]");
  }
}

TEST(FormatTest, AValueIsNotAFormat) { EXPECT_EQ(Format("%s", "%s%n%d"), "%s%n%d"); }

}  // namespace
}  // namespace OrvWorkFlow::Core
