#include "support/arith.h"

#include "support/poison.h"

UINT64 ShiftRight64(UINT64 Value, UINTN Count) {
  return Value >> (Count & 63);
}

UINT64 ShiftLeft64(UINT64 Value, UINTN Count) {
  return Value << (Count & 63);
}

UINT64 Multiply64By32(UINT64 Value, UINT32 Factor) {
  // Two 32 x 32 partial products; the high part of the upper one falls outside 64 bits.
  UINT64 Low = (Value & 0xFFFFFFFFu) * Factor;
  UINT64 High = (Value >> 32) * Factor;
  return Low + (High << 32);
}

UINT64 Divide64By32(UINT64 Value, UINT32 Divisor, UINT32 *Remainder) {
  UINT64 Quotient = 0;
  UINT64 Rest = 0;
  for (int Bit = 63; Bit >= 0; Bit--) {
    Rest = (Rest << 1) | ((Value >> Bit) & 1);
    if (Rest >= Divisor) {
      Rest -= Divisor;
      Quotient |= static_cast<UINT64>(1) << Bit;
    }
  }
  if (Remainder != nullptr) {
    *Remainder = static_cast<UINT32>(Rest);
  }
  return Quotient;
}
