// Hexadecimal forms of configuration strings.
//
// Two forms exist and they are not each other's twins:
//   value digits: bytes 34 12 read as the number 0x1234 and written "1234" (upper case);
//   header digits: bytes in memory order, two lower-case digits each ("3412").
#pragma once

#include "uefi/base.h"

// True for 0-9, A-F, a-f, with the digit's value in Out.
bool HexDigitValue(UINT8 *Out, CHAR16 Character);
// The low four bits as an upper-case digit.
CHAR16 NibbleToHexDigit(UINT8 Value);

// Reads digits from Text up to the first non-digit; the last two digits form byte 0 of
// Buffer, low nibble first. Size is in bytes, in and out: (digits + 1) / 2. Too small:
// EFI_BUFFER_TOO_SMALL with the size needed, and Buffer untouched. Only the bytes the digits
// cover are written. No digits: Size 0 and success. DigitCount may be null.
EFI_STATUS HexTextToBytes(UINT8 *Buffer, UINTN *Size, const CHAR16 *Text, UINTN *DigitCount);

// Writes 2 x ByteCount upper-case digits and a terminator, byte 0 at the end of the text,
// high nibble first. Size is in characters, in and out: 2 x ByteCount + 1.
EFI_STATUS BytesToHexText(CHAR16 *Text, UINTN *Size, const UINT8 *Buffer, UINTN ByteCount);

void ReverseBytes(UINT8 *Buffer, UINTN Size);

// The header form: byte 0 first, lower case. Text has room for 2 x ByteCount + 1 characters.
void BytesToConfigHex(CHAR16 *Text, const UINT8 *Buffer, UINTN ByteCount);
// The inverse of BytesToConfigHex: HexTextToBytes, then the Size bytes reversed.
EFI_STATUS ConfigHexToBytes(UINT8 *Buffer, UINTN *Size, const CHAR16 *Text);
