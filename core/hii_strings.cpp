#include "core/hii_strings.h"

#include "core/browser_context.h"
#include "support/efi_globals.h"
#include "support/memory.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

const CHAR8 FallbackLanguage[] = "en-US";
const CHAR16 PlatformLangName[] = u"PlatformLang";

CHAR16 *ReadStringInLanguage(EFI_STRING_ID StringId, EFI_HII_HANDLE HiiHandle,
                             const CHAR8 *Language) {
  UINTN Size = 0;
  EFI_STATUS Status =
      HiiString->GetString(HiiString, Language, HiiHandle, StringId, nullptr, &Size, nullptr);
  if (Status != EFI_BUFFER_TOO_SMALL || Size < sizeof(CHAR16)) {
    return nullptr;
  }
  CHAR16 *Text = static_cast<CHAR16 *>(AllocateZeroedPool(Size));
  if (Text == nullptr) {
    return nullptr;
  }
  Status = HiiString->GetString(HiiString, Language, HiiHandle, StringId, Text, &Size, nullptr);
  if (EFI_ERROR(Status)) {
    FreePoolIfSet(Text);
    return nullptr;
  }
  return Text;
}

} // namespace

CHAR16 *GetHiiString(EFI_STRING_ID StringId, EFI_HII_HANDLE HiiHandle) {
  CHAR16 *Text = ReadStringInLanguage(StringId, HiiHandle, CurrentLanguage);
  if (Text == nullptr && AsciiCompare(CurrentLanguage, FallbackLanguage) != 0) {
    Text = ReadStringInLanguage(StringId, HiiHandle, FallbackLanguage);
  }
  return Text;
}

EFI_STRING_ID NewHiiString(const CHAR16 *Text, EFI_HII_HANDLE HiiHandle) {
  EFI_STRING_ID StringId = 0;
  if (EFI_ERROR(HiiString->NewString(HiiString, HiiHandle, &StringId, FallbackLanguage, nullptr,
                                     Text, nullptr))) {
    return 0;
  }
  return StringId;
}

void DeleteHiiString(EFI_STRING_ID StringId, EFI_HII_HANDLE HiiHandle) {
  HiiString->SetString(HiiString, HiiHandle, StringId, FallbackLanguage, u"", nullptr);
}

void ReadPlatformLanguage(CHAR8 *Buffer) {
  UINTN Size = LANGUAGE_BUFFER_SIZE - 1;
  EFI_STATUS Status = RuntimeServices->GetVariable(PlatformLangName, &gEfiGlobalVariableGuid,
                                                   nullptr, &Size, Buffer);
  if (EFI_ERROR(Status) || Size == 0) {
    AsciiCopy(Buffer, FallbackLanguage);
    return;
  }
  // The variable need not carry its terminator.
  Buffer[Size < LANGUAGE_BUFFER_SIZE ? Size : LANGUAGE_BUFFER_SIZE - 1] = 0;
}

EFI_STATUS WritePlatformLanguage() {
  return RuntimeServices->SetVariable(PlatformLangName, &gEfiGlobalVariableGuid,
                                      EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS |
                                          EFI_VARIABLE_RUNTIME_ACCESS,
                                      AsciiSize(CurrentLanguage), CurrentLanguage);
}
