// EFI_HII_STRING_PROTOCOL over the services' database.
#include "host/hii/hii_services.h"

namespace morvane::host {

namespace {

HiiDatabase *DatabaseOf(const EFI_HII_STRING_PROTOCOL *This) {
  HiiServices *Owner = HiiOwnerOf(This);
  return Owner == nullptr ? nullptr : &Owner->Packages();
}

// NewString: adds a string under the list's next id.
EFI_STATUS EFIAPI NewString(const EFI_HII_STRING_PROTOCOL *This, EFI_HII_HANDLE PackageList,
                            EFI_STRING_ID *StringId, const CHAR8 *Language,
                            const CHAR16 *LanguageName, const CHAR16 *String,
                            const EFI_FONT_INFO *StringFontInfo) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr
             ? EFI_INVALID_PARAMETER
             : Database->NewString(PackageList, StringId, Language, LanguageName, String);
}

// GetString: the text of an id in one language.
EFI_STATUS EFIAPI GetString(const EFI_HII_STRING_PROTOCOL *This, const CHAR8 *Language,
                            EFI_HII_HANDLE PackageList, EFI_STRING_ID StringId, EFI_STRING String,
                            UINTN *StringSize, EFI_FONT_INFO **StringFontInfo) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr ? EFI_INVALID_PARAMETER
                             : Database->GetString(Language, PackageList, StringId, String,
                                                   StringSize, StringFontInfo);
}

// SetString: replaces the text of an id in one language.
EFI_STATUS EFIAPI SetString(const EFI_HII_STRING_PROTOCOL *This, EFI_HII_HANDLE PackageList,
                            EFI_STRING_ID StringId, const CHAR8 *Language, const CHAR16 *String,
                            const EFI_FONT_INFO *StringFontInfo) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr ? EFI_INVALID_PARAMETER
                             : Database->SetString(PackageList, StringId, Language, String);
}

// GetLanguages: the primary languages of the list, separated by ';'.
EFI_STATUS EFIAPI GetLanguages(const EFI_HII_STRING_PROTOCOL *This, EFI_HII_HANDLE PackageList,
                               CHAR8 *Languages, UINTN *LanguagesSize) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr ? EFI_INVALID_PARAMETER
                             : Database->GetLanguages(PackageList, Languages, LanguagesSize);
}

// GetSecondaryLanguages: the secondary languages of one primary language's package.
EFI_STATUS EFIAPI GetSecondaryLanguages(const EFI_HII_STRING_PROTOCOL *This,
                                        EFI_HII_HANDLE PackageList, const CHAR8 *PrimaryLanguage,
                                        CHAR8 *SecondaryLanguages, UINTN *SecondaryLanguagesSize) {
  HiiDatabase *Database = DatabaseOf(This);
  return Database == nullptr
             ? EFI_INVALID_PARAMETER
             : Database->GetSecondaryLanguages(PackageList, PrimaryLanguage, SecondaryLanguages,
                                               SecondaryLanguagesSize);
}

} // namespace

const EFI_HII_STRING_PROTOCOL HII_STRING_TABLE = {
    .NewString = NewString,
    .GetString = GetString,
    .SetString = SetString,
    .GetLanguages = GetLanguages,
    .GetSecondaryLanguages = GetSecondaryLanguages,
};

} // namespace morvane::host
