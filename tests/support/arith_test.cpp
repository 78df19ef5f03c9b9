#include <gtest/gtest.h>

#include <cstdint>

#include "support/arith.h"

namespace {

TEST(ArithTest, ShiftsTakeCountModulo64) {
  EXPECT_EQ(ShiftLeft64(1, 63), 0x8000000000000000ULL);
  EXPECT_EQ(ShiftLeft64(1, 64), 1u);
  EXPECT_EQ(ShiftRight64(0x8000000000000000ULL, 63), 1u);
  EXPECT_EQ(ShiftRight64(0xF0, 68), 0x0Fu);
}

TEST(ArithTest, MultiplyKeepsLow64Bits) {
  EXPECT_EQ(Multiply64By32(0x100000000ULL, 0x10), 0x1000000000ULL);
  EXPECT_EQ(Multiply64By32(0xFFFFFFFFFFFFFFFFULL, 2), 0xFFFFFFFFFFFFFFFEULL);
  EXPECT_EQ(Multiply64By32(123456789ULL, 1000), 123456789000ULL);
  EXPECT_EQ(Multiply64By32(0x8000000000000000ULL, 2), 0u);
}

TEST(ArithTest, DivideIsExactForEveryDivisor) {
  const uint64_t Values[] = {
      0, 1, 9, 10, 0xFFFFFFFFULL, 0x100000000ULL, 0xFFFFFFFFFFFFFFFFULL, 0x123456789ABCDEF0ULL};
  const uint32_t Divisors[] = {1, 2, 3, 7, 10, 0x80000000u, 0xFFFFFFFFu};
  for (uint64_t Value : Values) {
    for (uint32_t Divisor : Divisors) {
      UINT32 Remainder = 0xDEAD;
      EXPECT_EQ(Divide64By32(Value, Divisor, &Remainder), Value / Divisor);
      EXPECT_EQ(Remainder, Value % Divisor);
    }
  }
  EXPECT_EQ(Divide64By32(100, 7, nullptr), 14u);
}

TEST(ArithTest, DivideByZeroGivesAllOnesAndLow32Bits) {
  UINT32 Remainder = 0;
  EXPECT_EQ(Divide64By32(5, 0, &Remainder), 0xFFFFFFFFFFFFFFFFULL);
  EXPECT_EQ(Remainder, 5u);
  EXPECT_EQ(Divide64By32(0x1234567887654321ULL, 0, &Remainder), 0xFFFFFFFFFFFFFFFFULL);
  EXPECT_EQ(Remainder, 0x87654321u);
}

} // namespace
