// Four-letter record signatures, written when a record is made and never tested: they let a
// memory dump show what a block holds.
#pragma once

#include "uefi/base.h"

constexpr UINT32 Signature32(char A, char B, char C, char D) {
  return static_cast<UINT32>(static_cast<UINT8>(A)) |
         (static_cast<UINT32>(static_cast<UINT8>(B)) << 8) |
         (static_cast<UINT32>(static_cast<UINT8>(C)) << 16) |
         (static_cast<UINT32>(static_cast<UINT8>(D)) << 24);
}
