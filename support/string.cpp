#include "support/string.h"

#include "support/memory.h"

#include "support/poison.h"

UINTN StrLength(const CHAR16 *String) {
  UINTN Length = 0;
  if (String != nullptr) {
    while (String[Length] != 0) {
      Length++;
    }
  }
  return Length;
}

UINTN StrSize(const CHAR16 *String) {
  return (StrLength(String) + 1) * sizeof(CHAR16);
}

CHAR16 *StrCopy(CHAR16 *Destination, const CHAR16 *Source) {
  UINTN Index = 0;
  while (Source[Index] != 0) {
    Destination[Index] = Source[Index];
    Index++;
  }
  Destination[Index] = 0;
  return Destination;
}

CHAR16 *StrCopyN(CHAR16 *Destination, const CHAR16 *Source, UINTN Count) {
  for (UINTN Index = 0; Index < Count; Index++) {
    Destination[Index] = Source[Index];
  }
  Destination[Count] = 0;
  return Destination;
}

CHAR16 *StrAppend(CHAR16 *Destination, const CHAR16 *Source) {
  StrCopy(Destination + StrLength(Destination), Source);
  return Destination;
}

INTN StrCompare(const CHAR16 *A, const CHAR16 *B) {
  while (*A != 0 && *A == *B) {
    A++;
    B++;
  }
  return static_cast<INTN>(*A) - static_cast<INTN>(*B);
}

CHAR16 *StrFind(const CHAR16 *String, const CHAR16 *Pattern) {
  for (const CHAR16 *Start = String;; Start++) {
    UINTN Index = 0;
    while (Pattern[Index] != 0 && Start[Index] == Pattern[Index]) {
      Index++;
    }
    if (Pattern[Index] == 0) {
      return const_cast<CHAR16 *>(Start);
    }
    if (*Start == 0) {
      return nullptr;
    }
  }
}

void StrToLower(CHAR16 *String) {
  for (; *String != 0; String++) {
    if (*String >= u'A' && *String <= u'Z') {
      *String = static_cast<CHAR16>(*String - u'A' + u'a');
    }
  }
}

CHAR16 *StrDuplicate(const CHAR16 *String) {
  if (String == nullptr) {
    return nullptr;
  }
  return static_cast<CHAR16 *>(AllocateCopy(StrSize(String), String));
}

UINTN AsciiLength(const CHAR8 *String) {
  UINTN Length = 0;
  if (String != nullptr) {
    while (String[Length] != 0) {
      Length++;
    }
  }
  return Length;
}

UINTN AsciiSize(const CHAR8 *String) {
  return AsciiLength(String) + 1;
}

CHAR8 *AsciiCopy(CHAR8 *Destination, const CHAR8 *Source) {
  while ((*Destination++ = *Source++) != 0) {
  }
  return Destination;
}

INTN AsciiCompare(const CHAR8 *A, const CHAR8 *B) {
  while (*A != 0 && *A == *B) {
    A++;
    B++;
  }
  return static_cast<INTN>(static_cast<UINT8>(*A)) - static_cast<INTN>(static_cast<UINT8>(*B));
}
