// 64-bit arithmetic written so that a 32-bit processor needs no runtime helpers.
#pragma once

#include "uefi/base.h"

// Logical shifts; Count is taken modulo 64.
UINT64 ShiftRight64(UINT64 Value, UINTN Count);
UINT64 ShiftLeft64(UINT64 Value, UINTN Count);
// The low 64 bits of the product.
UINT64 Multiply64By32(UINT64 Value, UINT32 Factor);
// Bit-by-bit division, exact for every 32-bit divisor. A divisor of 0 gives a quotient of all
// ones and the low 32 bits of Value as remainder; the expression engine relies on that.
// Remainder may be null.
UINT64 Divide64By32(UINT64 Value, UINT32 Divisor, UINT32 *Remainder);
