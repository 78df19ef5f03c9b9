#include <gtest/gtest.h>

#include "host/hii/string_package.h"
#include "host/kit/kit.h"
#include "tests/hii/hii_fixture.h"
#include "tests/hii/package_bytes.h"

using morvane::kit::PackageListBuilder;
using morvane::kit::ParseGuid;
using morvane::kit::StringPackageOptions;
using morvane::kit::Strings;
using morvane::test::ByteVector;
using morvane::test::HiiTest;
using morvane::test::Join;
using morvane::test::Le16;
using morvane::test::StringPackageBytes;
using morvane::test::Ucs2Z;

namespace {

const EFI_GUID LIST_GUID = ParseGuid("0a0b0c0d-1111-2222-3333-444455556666");

// en-US: 1 "Main", 2 "Help", 3 "Exit", 4 ""; fr-FR: 1 "Principal", 3 "Quitter".
Strings TwoLanguages() {
  Strings Table;
  Table.Add(u"Main");
  Table.Add(u"Help");
  Table.Add(u"Exit");
  Table.Add(u"");
  Table.Translate("fr-FR", 1, u"Principal");
  Table.Translate("fr-FR", 3, u"Quitter");
  return Table;
}

class StringServiceTest : public HiiTest {
protected:
  EFI_HII_HANDLE AddTwoLanguages() {
    return Add(PackageListBuilder(LIST_GUID).AddStrings(TwoLanguages()).Bytes());
  }

  std::string Languages(EFI_HII_HANDLE Handle) {
    UINTN Size = 0;
    EXPECT_EQ(HiiString->GetLanguages(HiiString, Handle, nullptr, &Size), EFI_BUFFER_TOO_SMALL);
    std::string Text(Size, '?');
    EXPECT_EQ(HiiString->GetLanguages(HiiString, Handle, Text.data(), &Size), EFI_SUCCESS);
    EXPECT_EQ(Text.back(), '\0');
    Text.pop_back();
    return Text;
  }

  // The texts of Language's package in an export of the list.
  morvane::host::StringPackage Exported(EFI_HII_HANDLE Handle, const std::string &Language) {
    ByteVector List = Export(Handle);
    size_t Offset = 20;
    while (Offset + 4 <= List.size()) {
      size_t Length = List[Offset] | (List[Offset + 1] << 8) | (List[Offset + 2] << 16);
      if (List[Offset + 3] == EFI_HII_PACKAGE_STRINGS) {
        morvane::host::StringPackage Package;
        EXPECT_EQ(morvane::host::ReadStringPackage(List.data() + Offset, Length, &Package),
                  EFI_SUCCESS);
        if (Package.Language == Language) {
          return Package;
        }
      }
      Offset += Length == 0 ? 4 : Length;
    }
    ADD_FAILURE() << "no exported package for " << Language;
    return {};
  }
};

TEST_F(StringServiceTest, KitPackagesReadInTwoLanguages) {
  EFI_HII_HANDLE Handle = AddTwoLanguages();
  EXPECT_EQ(Get(Handle, "en-US", 1), u"Main");
  EXPECT_EQ(Get(Handle, "en-US", 3), u"Exit");
  EXPECT_EQ(Get(Handle, "fr-FR", 1), u"Principal");
  EXPECT_EQ(Get(Handle, "FR-fr", 3), u"Quitter");
  EFI_STATUS Status = EFI_SUCCESS;
  // A skipped id has no text, and no other language stands in for it.
  Get(Handle, "fr-FR", 2, &Status);
  EXPECT_EQ(Status, EFI_NOT_FOUND);
}

TEST_F(StringServiceTest, GetStringTwoCallIdiomAndStatuses) {
  EFI_HII_HANDLE Handle = AddTwoLanguages();
  UINTN Size = 0;
  EXPECT_EQ(HiiString->GetString(HiiString, "en-US", Handle, 1, nullptr, &Size, nullptr),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 10u);
  CHAR16 Buffer[8] = {u'#', u'#', u'#', u'#', u'#', u'#', u'#', u'#'};
  Size = 9;
  EXPECT_EQ(HiiString->GetString(HiiString, "en-US", Handle, 1, Buffer, &Size, nullptr),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 10u);
  EXPECT_EQ(Buffer[0], u'#');
  EFI_FONT_INFO *Font = reinterpret_cast<EFI_FONT_INFO *>(0x1);
  EXPECT_EQ(HiiString->GetString(HiiString, "en-US", Handle, 1, Buffer, &Size, &Font), EFI_SUCCESS);
  EXPECT_EQ(std::u16string(Buffer), u"Main");
  EXPECT_EQ(Buffer[5], u'#');
  EXPECT_EQ(Font, nullptr);
  // The empty string is a success of two bytes.
  Size = sizeof(Buffer);
  EXPECT_EQ(HiiString->GetString(HiiString, "en-US", Handle, 4, Buffer, &Size, nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(Size, 2u);
  EXPECT_EQ(Buffer[0], 0);

  EFI_HII_HANDLE Unknown = reinterpret_cast<EFI_HII_HANDLE>(0x77);
  struct StatusCase {
    const char *Name;
    const CHAR8 *Language;
    EFI_HII_HANDLE List;
    EFI_STRING_ID Id;
    bool NullBuffer;
    bool NullSize;
    EFI_STATUS Expected;
  };
  for (const StatusCase &Case : {
           StatusCase{"unknown handle", "en-US", Unknown, 1, false, false, EFI_NOT_FOUND},
           StatusCase{"null handle", "en-US", nullptr, 1, false, false, EFI_INVALID_PARAMETER},
           StatusCase{"null language", nullptr, Handle, 1, false, false, EFI_INVALID_PARAMETER},
           StatusCase{"null size", "en-US", Handle, 1, false, true, EFI_INVALID_PARAMETER},
           StatusCase{"null buffer with a size", "en-US", Handle, 1, true, false,
                      EFI_INVALID_PARAMETER},
           StatusCase{"language not in the list", "de-DE", Handle, 1, false, false,
                      EFI_INVALID_LANGUAGE},
           StatusCase{"language prefix only", "en", Handle, 1, false, false, EFI_INVALID_LANGUAGE},
           StatusCase{"id 0", "en-US", Handle, 0, false, false, EFI_NOT_FOUND},
           StatusCase{"id past the last", "en-US", Handle, 5, false, false, EFI_NOT_FOUND},
       }) {
    Size = sizeof(Buffer);
    EXPECT_EQ(HiiString->GetString(HiiString, Case.Language, Case.List, Case.Id,
                                   Case.NullBuffer ? nullptr : Buffer,
                                   Case.NullSize ? nullptr : &Size, nullptr),
              Case.Expected)
        << Case.Name;
  }
}

TEST_F(StringServiceTest, HandMadePackagesWithOddHeadersAndKeywordLanguages) {
  StringPackageBytes Keywords;
  Keywords.Language = "x-UEFI-ns";
  Keywords.Blocks = Join({{0x21}, Le16(299), {0x10, 'K', 'e', 'y', 0, 0x00}});
  StringPackageBytes English;
  English.Padding = 1;
  English.Blocks = Join({{0x16},
                         Le16(2),
                         Ucs2Z(u"One"),
                         Ucs2Z(u"Two"),
                         {0x20},
                         Le16(1),
                         {0x22, 0xFF},
                         {0x12},
                         Le16(1),
                         {'L', 'a', 's', 't', 0},
                         {0x00}});
  StringPackageBytes French;
  French.Language = "fr-FR";
  French.Padding = 5;
  French.Blocks = Join({{0x31, 0x40},
                        Le16(15),
                        {0x01},
                        Le16(19),
                        {0, 0, 0, 0},
                        Ucs2Z(u"f"),
                        {0x15, 0x01},
                        Ucs2Z(u"Un"),
                        {0x21},
                        Le16(0x102),
                        {0x00}});
  EFI_HII_HANDLE Handle = Add(PackageListBuilder(LIST_GUID)
                                  .AddRawPackage(Keywords.Bytes())
                                  .AddRawPackage(English.Bytes())
                                  .AddRawPackage(French.Bytes())
                                  .Bytes());
  EXPECT_EQ(Get(Handle, "en-US", 1), u"One");
  EXPECT_EQ(Get(Handle, "en-US", 2), u"Two");
  EXPECT_EQ(Get(Handle, "en-US", 3), u"One");
  EXPECT_EQ(Get(Handle, "en-US", 259), u"Last");
  EXPECT_EQ(Get(Handle, "fr-FR", 1), u"Un");
  EXPECT_EQ(Get(Handle, "x-UEFI-ns", 300), u"Key");
  EFI_STATUS Status = EFI_SUCCESS;
  Get(Handle, "en-US", 300, &Status);
  EXPECT_EQ(Status, EFI_NOT_FOUND);
  // The keyword namespace comes after the display languages.
  EXPECT_EQ(Languages(Handle), "en-US;fr-FR;x-UEFI-ns");
}

TEST_F(StringServiceTest, LanguagesTwoCallIdiom) {
  EFI_HII_HANDLE Handle = AddTwoLanguages();
  UINTN Size = 0;
  EXPECT_EQ(HiiString->GetLanguages(HiiString, Handle, nullptr, &Size), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, sizeof("en-US;fr-FR"));
  char Buffer[32];
  Size = sizeof("en-US;fr-FR") - 1;
  EXPECT_EQ(HiiString->GetLanguages(HiiString, Handle, Buffer, &Size), EFI_BUFFER_TOO_SMALL);
  Size = sizeof(Buffer);
  EXPECT_EQ(HiiString->GetLanguages(HiiString, Handle, Buffer, &Size), EFI_SUCCESS);
  EXPECT_STREQ(Buffer, "en-US;fr-FR");
  EXPECT_EQ(Size, sizeof("en-US;fr-FR"));
  EXPECT_EQ(
      HiiString->GetLanguages(HiiString, reinterpret_cast<EFI_HII_HANDLE>(0x5), Buffer, &Size),
      EFI_NOT_FOUND);
  EXPECT_EQ(HiiString->GetLanguages(HiiString, nullptr, Buffer, &Size), EFI_INVALID_PARAMETER);
  EXPECT_EQ(HiiString->GetLanguages(HiiString, Handle, Buffer, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(HiiString->GetLanguages(HiiString, Handle, nullptr, &Size), EFI_INVALID_PARAMETER);
}

TEST_F(StringServiceTest, SecondaryLanguages) {
  Strings Table;
  Table.Add(u"x");
  StringPackageOptions WithSecondary;
  WithSecondary.SecondaryLanguages = "fr-CA;fr-BE";
  EFI_HII_HANDLE Handle = Add(PackageListBuilder(LIST_GUID)
                                  .AddRawPackage(Table.Package("en-US"))
                                  .AddStrings(TwoLanguages(), {"fr-FR"}, WithSecondary)
                                  .Bytes());
  EXPECT_EQ(Languages(Handle), "en-US;fr-FR");
  EXPECT_EQ(Get(Handle, "fr-FR", 1), u"Principal");
  UINTN Size = 0;
  EXPECT_EQ(HiiString->GetSecondaryLanguages(HiiString, Handle, "fr-FR", nullptr, &Size),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, sizeof("fr-CA;fr-BE"));
  char Buffer[32];
  EXPECT_EQ(HiiString->GetSecondaryLanguages(HiiString, Handle, "fr-FR", Buffer, &Size),
            EFI_SUCCESS);
  EXPECT_STREQ(Buffer, "fr-CA;fr-BE");
  Size = sizeof(Buffer);
  EXPECT_EQ(HiiString->GetSecondaryLanguages(HiiString, Handle, "en-US", Buffer, &Size),
            EFI_SUCCESS);
  EXPECT_STREQ(Buffer, "");
  EXPECT_EQ(Size, 1u);
  EXPECT_EQ(HiiString->GetSecondaryLanguages(HiiString, Handle, "fr-CA", Buffer, &Size),
            EFI_INVALID_LANGUAGE);
  EXPECT_EQ(HiiString->GetSecondaryLanguages(HiiString, reinterpret_cast<EFI_HII_HANDLE>(0x5),
                                             "en-US", Buffer, &Size),
            EFI_NOT_FOUND);
  EXPECT_EQ(HiiString->GetSecondaryLanguages(HiiString, Handle, nullptr, Buffer, &Size),
            EFI_INVALID_PARAMETER);
}

TEST_F(StringServiceTest, NewStringTakesTheNextIdInEveryDisplayLanguage) {
  Strings Table = TwoLanguages();
  Table.Translate("x-UEFI-ns", 2, u"HelpKey");
  EFI_HII_HANDLE Handle = Add(PackageListBuilder(LIST_GUID).AddStrings(Table).Bytes());
  EFI_STRING_ID Id = 0;
  EXPECT_EQ(HiiString->NewString(HiiString, Handle, &Id, "fr-FR", nullptr, u"Nouveau", nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(Id, 5);
  EXPECT_EQ(Get(Handle, "fr-FR", 5), u"Nouveau");
  EXPECT_EQ(Get(Handle, "en-US", 5), u"Nouveau");
  EFI_STATUS Status = EFI_SUCCESS;
  Get(Handle, "x-UEFI-ns", 5, &Status);
  EXPECT_EQ(Status, EFI_NOT_FOUND);
  EXPECT_EQ(HiiString->NewString(HiiString, Handle, &Id, "en-US", nullptr, u"Next", nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(Id, 6);
  // The export carries the change.
  EXPECT_EQ(Exported(Handle, "en-US").Entries[6].Text, u"Next");
  EXPECT_EQ(Exported(Handle, "fr-FR").Entries[5].Text, u"Nouveau");
  EXPECT_EQ(Exported(Handle, "fr-FR").Entries.count(2), 0u);

  // A keyword goes to its namespace only.
  EXPECT_EQ(HiiString->NewString(HiiString, Handle, &Id, "x-UEFI-ns", nullptr, u"Key7", nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(Id, 7);
  EXPECT_EQ(Get(Handle, "x-UEFI-ns", 7), u"Key7");
  Get(Handle, "en-US", 7, &Status);
  EXPECT_EQ(Status, EFI_NOT_FOUND);
}

EFI_HII_DATABASE_NOTIFY_TYPE LastNotify = 0;
UINT8 LastNotifyType = 0;
EFI_STATUS EFIAPI RememberNotify(UINT8 PackageType, const EFI_GUID *PackageGuid,
                                 const EFI_HII_PACKAGE_HEADER *Package, EFI_HII_HANDLE Handle,
                                 EFI_HII_DATABASE_NOTIFY_TYPE NotifyType) {
  LastNotify = NotifyType;
  LastNotifyType = PackageType;
  return EFI_SUCCESS;
}

TEST_F(StringServiceTest, NewStringCreatesAPackageForANamedLanguage) {
  LastNotify = 0;
  EFI_HANDLE Registration = nullptr;
  ASSERT_EQ(Database->RegisterPackageNotify(Database, EFI_HII_PACKAGE_STRINGS, nullptr,
                                            RememberNotify, EFI_HII_DATABASE_NOTIFY_ADD_PACK,
                                            &Registration),
            EFI_SUCCESS);
  EFI_HII_HANDLE Handle = AddTwoLanguages();
  EFI_STRING_ID Id = 0;
  EXPECT_EQ(HiiString->NewString(HiiString, Handle, &Id, "de-DE", nullptr, u"Neu", nullptr),
            EFI_NOT_FOUND);
  EXPECT_EQ(LastNotify, 0u);
  EXPECT_EQ(HiiString->NewString(HiiString, Handle, &Id, "de-DE", u"Deutsch", u"Neu", nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(LastNotify, EFI_HII_DATABASE_NOTIFY_ADD_PACK);
  EXPECT_EQ(LastNotifyType, EFI_HII_PACKAGE_STRINGS);
  // The language's name takes id 5 and the string id 6, both aligned in every language.
  EXPECT_EQ(Id, 6);
  EXPECT_EQ(Languages(Handle), "en-US;fr-FR;de-DE");
  EXPECT_EQ(Get(Handle, "de-DE", 6), u"Neu");
  EXPECT_EQ(Get(Handle, "de-DE", 5), u"Deutsch");
  EXPECT_EQ(Get(Handle, "en-US", 6), u"Neu");
  EXPECT_EQ(Exported(Handle, "de-DE").LanguageName, 5);
  EXPECT_EQ(Database->UnregisterPackageNotify(Database, Registration), EFI_SUCCESS);
}

TEST_F(StringServiceTest, NewStringStatuses) {
  EFI_HII_HANDLE Handle = AddTwoLanguages();
  EFI_STRING_ID Id = 0;
  EXPECT_EQ(HiiString->NewString(HiiString, Handle, nullptr, "en-US", nullptr, u"x", nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(HiiString->NewString(HiiString, Handle, &Id, nullptr, nullptr, u"x", nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(HiiString->NewString(HiiString, Handle, &Id, "en-US", nullptr, nullptr, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(HiiString->NewString(HiiString, reinterpret_cast<EFI_HII_HANDLE>(0x5), &Id, "en-US",
                                 nullptr, u"x", nullptr),
            EFI_NOT_FOUND);

  // A package whose ids reach 0xFFFF has no id left.
  StringPackageBytes Full;
  Full.Blocks = Join({{0x21}, Le16(0xFFFE), {0x14}, Ucs2Z(u"last"), {0x00}});
  EFI_HII_HANDLE FullHandle =
      Add(PackageListBuilder(LIST_GUID).AddRawPackage(Full.Bytes()).Bytes());
  EXPECT_EQ(Get(FullHandle, "en-US", 0xFFFF), u"last");
  EXPECT_EQ(HiiString->NewString(HiiString, FullHandle, &Id, "en-US", nullptr, u"x", nullptr),
            EFI_OUT_OF_RESOURCES);
}

TEST_F(StringServiceTest, SetStringChangesOneLanguage) {
  EFI_HII_HANDLE Handle = AddTwoLanguages();
  EXPECT_EQ(HiiString->SetString(HiiString, Handle, 1, "en-US", u"Main menu", nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(Get(Handle, "en-US", 1), u"Main menu");
  EXPECT_EQ(Get(Handle, "fr-FR", 1), u"Principal");
  EXPECT_EQ(Exported(Handle, "en-US").Entries[1].Text, u"Main menu");
  // An id the list knows but this language skipped gets its translation.
  EXPECT_EQ(HiiString->SetString(HiiString, Handle, 4, "fr-FR", u"Vide", nullptr), EFI_SUCCESS);
  EXPECT_EQ(Get(Handle, "fr-FR", 4), u"Vide");
  EXPECT_EQ(Get(Handle, "fr-FR", 3), u"Quitter");

  struct StatusCase {
    const char *Name;
    EFI_HII_HANDLE List;
    EFI_STRING_ID Id;
    const CHAR8 *Language;
    const CHAR16 *Text;
    EFI_STATUS Expected;
  };
  for (const StatusCase &Case : {
           StatusCase{"id past the last", Handle, 5, "en-US", u"x", EFI_NOT_FOUND},
           StatusCase{"id 0", Handle, 0, "en-US", u"x", EFI_NOT_FOUND},
           StatusCase{"language not in the list", Handle, 1, "de-DE", u"x", EFI_NOT_FOUND},
           StatusCase{"unknown handle", reinterpret_cast<EFI_HII_HANDLE>(0x5), 1, "en-US", u"x",
                      EFI_NOT_FOUND},
           StatusCase{"null handle", nullptr, 1, "en-US", u"x", EFI_INVALID_PARAMETER},
           StatusCase{"null language", Handle, 1, nullptr, u"x", EFI_INVALID_PARAMETER},
           StatusCase{"null text", Handle, 1, "en-US", nullptr, EFI_INVALID_PARAMETER},
       }) {
    EXPECT_EQ(
        HiiString->SetString(HiiString, Case.List, Case.Id, Case.Language, Case.Text, nullptr),
        Case.Expected)
        << Case.Name;
  }
  EXPECT_EQ(Get(Handle, "en-US", 1), u"Main menu");
}

} // namespace
