// Null-terminated UCS-2 and ASCII strings. A null pointer counts as an empty string where a
// length is asked for.
#pragma once

#include "uefi/base.h"

UINTN StrLength(const CHAR16 *String);
// Bytes with the terminator.
UINTN StrSize(const CHAR16 *String);
CHAR16 *StrCopy(CHAR16 *Destination, const CHAR16 *Source);
// Copies exactly Count characters, also past a terminator of Source, then writes a terminator
// at Destination[Count].
CHAR16 *StrCopyN(CHAR16 *Destination, const CHAR16 *Source, UINTN Count);
CHAR16 *StrAppend(CHAR16 *Destination, const CHAR16 *Source);
// The difference of the first unequal characters as unsigned numbers; 0 when equal.
INTN StrCompare(const CHAR16 *A, const CHAR16 *B);
// The first place of Pattern in String, or null; an empty Pattern gives String.
CHAR16 *StrFind(const CHAR16 *String, const CHAR16 *Pattern);
// "A" to "Z" become "a" to "z", in place.
void StrToLower(CHAR16 *String);
// A pool copy, or null.
CHAR16 *StrDuplicate(const CHAR16 *String);

UINTN AsciiLength(const CHAR8 *String);
UINTN AsciiSize(const CHAR8 *String);
// Returns the address behind the terminator it wrote.
CHAR8 *AsciiCopy(CHAR8 *Destination, const CHAR8 *Source);
INTN AsciiCompare(const CHAR8 *A, const CHAR8 *B);
