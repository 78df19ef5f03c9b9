#include "support/hex.h"

#include "support/poison.h"

bool HexDigitValue(UINT8 *Out, CHAR16 Character) {
  if (Character >= u'0' && Character <= u'9') {
    *Out = static_cast<UINT8>(Character - u'0');
  } else if (Character >= u'A' && Character <= u'F') {
    *Out = static_cast<UINT8>(Character - u'A' + 10);
  } else if (Character >= u'a' && Character <= u'f') {
    *Out = static_cast<UINT8>(Character - u'a' + 10);
  } else {
    return false;
  }
  return true;
}

CHAR16 NibbleToHexDigit(UINT8 Value) {
  return u"0123456789ABCDEF"[Value & 0x0F];
}

EFI_STATUS HexTextToBytes(UINT8 *Buffer, UINTN *Size, const CHAR16 *Text, UINTN *DigitCount) {
  UINTN Digits = 0;
  UINT8 Nibble;
  while (HexDigitValue(&Nibble, Text[Digits])) {
    Digits++;
  }
  if (DigitCount != nullptr) {
    *DigitCount = Digits;
  }
  UINTN Needed = (Digits + 1) / 2;
  if (*Size < Needed) {
    *Size = Needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  *Size = Needed;
  // The last digit is the low nibble of byte 0, so walk the digits backwards.
  for (UINTN Index = 0; Index < Digits; Index++) {
    HexDigitValue(&Nibble, Text[Digits - 1 - Index]);
    UINT8 *Byte = &Buffer[Index / 2];
    if ((Index & 1) == 0) {
      *Byte = Nibble;
    } else {
      *Byte = static_cast<UINT8>(*Byte | (Nibble << 4));
    }
  }
  return EFI_SUCCESS;
}

EFI_STATUS BytesToHexText(CHAR16 *Text, UINTN *Size, const UINT8 *Buffer, UINTN ByteCount) {
  UINTN Needed = 2 * ByteCount + 1;
  if (*Size < Needed) {
    *Size = Needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  *Size = Needed;
  for (UINTN Index = 0; Index < ByteCount; Index++) {
    UINT8 Byte = Buffer[ByteCount - 1 - Index];
    Text[2 * Index] = NibbleToHexDigit(static_cast<UINT8>(Byte >> 4));
    Text[2 * Index + 1] = NibbleToHexDigit(Byte);
  }
  Text[2 * ByteCount] = 0;
  return EFI_SUCCESS;
}

void ReverseBytes(UINT8 *Buffer, UINTN Size) {
  for (UINTN Low = 0, High = Size; Low + 1 < High; Low++, High--) {
    UINT8 Byte = Buffer[Low];
    Buffer[Low] = Buffer[High - 1];
    Buffer[High - 1] = Byte;
  }
}

void BytesToConfigHex(CHAR16 *Text, const UINT8 *Buffer, UINTN ByteCount) {
  static const CHAR16 Digits[] = u"0123456789abcdef";
  for (UINTN Index = 0; Index < ByteCount; Index++) {
    Text[2 * Index] = Digits[Buffer[Index] >> 4];
    Text[2 * Index + 1] = Digits[Buffer[Index] & 0x0F];
  }
  Text[2 * ByteCount] = 0;
}

EFI_STATUS ConfigHexToBytes(UINT8 *Buffer, UINTN *Size, const CHAR16 *Text) {
  EFI_STATUS Status = HexTextToBytes(Buffer, Size, Text, nullptr);
  if (!EFI_ERROR(Status)) {
    ReverseBytes(Buffer, *Size);
  }
  return Status;
}
