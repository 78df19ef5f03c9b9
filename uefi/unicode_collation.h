// Unicode Collation Protocol (UEFI specification section 19.1).
#pragma once

#include "uefi/base.h"

#define EFI_UNICODE_COLLATION_PROTOCOL2_GUID                                                       \
  {                                                                                                \
    0xa4c751fc, 0x23ae, 0x4c3e, {                                                                  \
      0x92, 0xe9, 0x49, 0x64, 0xcf, 0x63, 0xf3, 0x49                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gEfiUnicodeCollation2ProtocolGuid = EFI_UNICODE_COLLATION_PROTOCOL2_GUID;

struct EFI_UNICODE_COLLATION_PROTOCOL;

typedef INTN(EFIAPI *EFI_UNICODE_COLLATION_STRICOLL)(EFI_UNICODE_COLLATION_PROTOCOL *This,
                                                     CHAR16 *Str1, CHAR16 *Str2);
typedef BOOLEAN(EFIAPI *EFI_UNICODE_COLLATION_METAIMATCH)(EFI_UNICODE_COLLATION_PROTOCOL *This,
                                                          CHAR16 *String, CHAR16 *Pattern);
typedef VOID(EFIAPI *EFI_UNICODE_COLLATION_STRLWR)(EFI_UNICODE_COLLATION_PROTOCOL *This,
                                                   CHAR16 *Str);
typedef VOID(EFIAPI *EFI_UNICODE_COLLATION_STRUPR)(EFI_UNICODE_COLLATION_PROTOCOL *This,
                                                   CHAR16 *Str);
typedef VOID(EFIAPI *EFI_UNICODE_COLLATION_FATTOSTR)(EFI_UNICODE_COLLATION_PROTOCOL *This,
                                                     UINTN FatSize, CHAR8 *Fat, CHAR16 *String);
typedef BOOLEAN(EFIAPI *EFI_UNICODE_COLLATION_STRTOFAT)(EFI_UNICODE_COLLATION_PROTOCOL *This,
                                                        CHAR16 *String, UINTN FatSize, CHAR8 *Fat);

struct EFI_UNICODE_COLLATION_PROTOCOL {
  EFI_UNICODE_COLLATION_STRICOLL StriColl;
  EFI_UNICODE_COLLATION_METAIMATCH MetaiMatch;
  EFI_UNICODE_COLLATION_STRLWR StrLwr;
  EFI_UNICODE_COLLATION_STRUPR StrUpr;
  EFI_UNICODE_COLLATION_FATTOSTR FatToStr;
  EFI_UNICODE_COLLATION_STRTOFAT StrToFat;
  CHAR8 *SupportedLanguages;
};
