// EFI_UNICODE_COLLATION_PROTOCOL (the UC2 interface) over the folding in collation.cpp.
#include "host/hii/collation.h"
#include "host/hii/hii_services.h"

namespace morvane::host {

namespace {

CHAR8 SUPPORTED_LANGUAGES[] = "en";

// StriColl: compares two strings without case.
INTN EFIAPI StriColl(EFI_UNICODE_COLLATION_PROTOCOL *This, CHAR16 *Str1, CHAR16 *Str2) {
  return CompareWithoutCase(Str1, Str2);
}

// MetaiMatch: wildcard match without case.
BOOLEAN EFIAPI MetaiMatch(EFI_UNICODE_COLLATION_PROTOCOL *This, CHAR16 *String, CHAR16 *Pattern) {
  return WildcardMatch(String, Pattern) ? TRUE : FALSE;
}

// StrLwr: folds a string to lower case in place.
VOID EFIAPI StrLwr(EFI_UNICODE_COLLATION_PROTOCOL *This, CHAR16 *Str) {
  for (; *Str != 0; Str++) {
    *Str = FoldLower(*Str);
  }
}

// StrUpr: folds a string to upper case in place.
VOID EFIAPI StrUpr(EFI_UNICODE_COLLATION_PROTOCOL *This, CHAR16 *Str) {
  for (; *Str != 0; Str++) {
    *Str = FoldUpper(*Str);
  }
}

// FatToStr: an OEM FAT name to UCS-2.
VOID EFIAPI FatToStr(EFI_UNICODE_COLLATION_PROTOCOL *This, UINTN FatSize, CHAR8 *Fat,
                     CHAR16 *String) {
  FatBytesToString(FatSize, Fat, String);
}

// StrToFat: UCS-2 to an OEM FAT name.
BOOLEAN EFIAPI StrToFat(EFI_UNICODE_COLLATION_PROTOCOL *This, CHAR16 *String, UINTN FatSize,
                        CHAR8 *Fat) {
  return StringToFatBytes(String, FatSize, Fat) ? TRUE : FALSE;
}

} // namespace

const EFI_UNICODE_COLLATION_PROTOCOL HII_COLLATION_TABLE = {
    .StriColl = StriColl,
    .MetaiMatch = MetaiMatch,
    .StrLwr = StrLwr,
    .StrUpr = StrUpr,
    .FatToStr = FatToStr,
    .StrToFat = StrToFat,
    .SupportedLanguages = SUPPORTED_LANGUAGES,
};

} // namespace morvane::host
