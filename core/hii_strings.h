// Strings of the HII database in the browser's current language, with "en-US" as fallback, and
// the platform language variable.
#pragma once

#include "uefi/hii.h"

// A pool copy of the string in CurrentLanguage, else in "en-US"; null when neither reads or
// memory ran out. The caller frees it.
CHAR16 *GetHiiString(EFI_STRING_ID StringId, EFI_HII_HANDLE HiiHandle);
// A new string in "en-US"; its id, or 0 on failure.
EFI_STRING_ID NewHiiString(const CHAR16 *Text, EFI_HII_HANDLE HiiHandle);
// The HII interface has no deletion: the string becomes empty.
void DeleteHiiString(EFI_STRING_ID StringId, EFI_HII_HANDLE HiiHandle);

// "PlatformLang" of the global variable GUID into Buffer (44 bytes); "en-US" when it cannot
// be read.
void ReadPlatformLanguage(CHAR8 *Buffer);
// Writes CurrentLanguage to "PlatformLang", non-volatile with boot and runtime access.
EFI_STATUS WritePlatformLanguage();
