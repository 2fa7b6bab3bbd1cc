#include "data/field_conversion.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "data/record_reader.h"

namespace vq {
namespace {

// Every conversion must be the correctly rounded value of the decimal text,
// which strtod gives; short numbers take a faster road that must agree bit
// for bit.
TEST(FieldConversion, AgreesWithCorrectRoundingBitForBit) {
  std::mt19937 engine(7u);
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    if (engine() % 2) text += "-";
    const int digits = 1 + static_cast<int>(engine() % 22);
    const int point = static_cast<int>(engine() % (digits + 1));
    for (int k = 0; k < digits; ++k) {
      if (k == point) text += ".";
      text.push_back(static_cast<char>('0' + engine() % 10));
    }
    // Implied decimals count only for a field without a point or exponent.
    int decimals = 0;
    std::string reference = text;
    if (engine() % 2) {
      text += "E" + std::to_string(static_cast<int>(engine() % 61) - 30);
      reference = text;
    } else if (point == digits) {
      decimals = static_cast<int>(engine() % 4);
      reference = text + "E-" + std::to_string(decimals);
    }
    double converted = 0.0;
    ASSERT_EQ(ConvertRealField(text, false, decimals, 0, converted), 0) << text;
    double expected = std::strtod(reference.c_str(), nullptr);
    if (expected == 0.0) expected = 0.0;  // a negative zero reads as plain zero
    EXPECT_EQ(std::memcmp(&converted, &expected, sizeof expected), 0) << text;
  }
}

TEST(FieldConversion, ImpliedDecimalsAndScaleJoinBeforeRounding) {
  double value = 0.0;
  ASSERT_EQ(ConvertRealField("123", false, 2, 0, value), 0);
  EXPECT_EQ(value, 1.23);
  ASSERT_EQ(ConvertRealField("1", false, 1, 0, value), 0);
  EXPECT_EQ(value, 0.1);  // not 1 / 10 computed twice
  ASSERT_EQ(ConvertRealField("3", false, 0, 1, value), 0);
  EXPECT_EQ(value, 0.3);
  ASSERT_EQ(ConvertRealField("12345678901234567890", false, 19, 0, value), 0);
  EXPECT_EQ(value, 1.234567890123456789);
}

TEST(FieldConversion, BlankZeroPaddingOfAShortRecord) {
  double value = 0.0;
  ASSERT_EQ(ConvertRealField("15", true, 1, 0, value, 2), 0);
  EXPECT_EQ(value, 150.0);
  ASSERT_EQ(ConvertRealField("1.5", true, 0, 0, value, 3), 0);
  EXPECT_EQ(value, 1.5);
  ASSERT_EQ(ConvertRealField("1E1", true, 0, 0, value, 1), 0);
  EXPECT_EQ(value, 1e10);
  ASSERT_EQ(ConvertRealField("15", false, 0, 0, value, 2), 0);
  EXPECT_EQ(value, 15.0);
  EXPECT_EQ(ConvertRealField("1", true, 0, 0, value, 1000), kSevereConversion);
  double integer = 0.0;
  ASSERT_EQ(ConvertIntegerField("7", true, 10, integer, 2), 0);
  EXPECT_EQ(integer, 700.0);
  ASSERT_EQ(ConvertIntegerField("0", true, 10, integer, 2000000000), 0);
  EXPECT_EQ(integer, 0.0);
}

TEST(FieldConversion, ListTokens) {
  double real = 0.0;
  int integer = 0;
  EXPECT_EQ(ConvertListReal("x1", real), kSevereListSyntax);
  EXPECT_EQ(ConvertListReal("1x", real), kSevereConversion);
  EXPECT_EQ(ConvertListInteger("-7.9", integer), 0);
  EXPECT_EQ(integer, -7);
  EXPECT_EQ(ConvertListInteger("2147483648", integer), kSevereConversion);
  EXPECT_EQ(ConvertListInteger("-2147483649.5", integer), kSevereConversion);
  EXPECT_EQ(ConvertListInteger("1e10", integer), kSevereConversion);
}

}  // namespace
}  // namespace vq
