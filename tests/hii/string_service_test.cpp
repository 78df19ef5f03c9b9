// The HII string protocol over the database: reading strings and languages, adding strings and
// languages, changing strings, and what each refuses.
#include <gtest/gtest.h>

#include "host/hii/string_package.h"
#include "host/kit/kit.h"
#include "tests/hii/hii_fixture.h"

namespace morvane::test {
namespace {

using kit::PackageListBuilder;
using kit::StringPackageOptions;
using kit::Strings;

const EFI_GUID LIST_GUID = kit::ParseGuid("0a0b0c0d-1111-2222-3333-444455556666");
const EFI_HII_HANDLE UNKNOWN = reinterpret_cast<EFI_HII_HANDLE>(0x77);

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
  EFI_HII_HANDLE AddTable(const Strings &Table) {
    return Add(PackageListBuilder(LIST_GUID).AddStrings(Table).Bytes());
  }

  EFI_STATUS Status(EFI_HII_HANDLE Handle, const char *Language, EFI_STRING_ID Id) {
    EFI_STATUS Result = EFI_SUCCESS;
    Get(Handle, Language, Id, &Result);
    return Result;
  }

  EFI_STATUS New(EFI_HII_HANDLE Handle, EFI_STRING_ID *Id, const char *Language, const CHAR16 *Name,
                 const CHAR16 *Text) {
    return HiiString->NewString(HiiString, Handle, Id, Language, Name, Text, nullptr);
  }

  // The texts of Language's package in an export of the list.
  host::StringPackage Exported(EFI_HII_HANDLE Handle, const std::string &Language) {
    ByteVector List = Export(Handle);
    for (size_t Offset = 20; Offset + 4 <= List.size();) {
      size_t Length = List[Offset] | (List[Offset + 1] << 8) | (List[Offset + 2] << 16);
      host::StringPackage Package;
      if (List[Offset + 3] == EFI_HII_PACKAGE_STRINGS &&
          host::ReadStringPackage(List.data() + Offset, Length, &Package) == EFI_SUCCESS &&
          Package.Language == Language) {
        return Package;
      }
      Offset += Length == 0 ? 4 : Length;
    }
    ADD_FAILURE() << "no exported package for " << Language;
    return {};
  }
};

TEST_F(StringServiceTest, GetStringReadsEachLanguageAndRefusesBadRequests) {
  EFI_HII_HANDLE Handle = AddTable(TwoLanguages());
  EXPECT_EQ(Get(Handle, "en-US", 1), u"Main");
  EXPECT_EQ(Get(Handle, "en-US", 3), u"Exit");
  EXPECT_EQ(Get(Handle, "en-US", 4), u"");
  EXPECT_EQ(Get(Handle, "fr-FR", 1), u"Principal");
  EXPECT_EQ(Get(Handle, "FR-fr", 3), u"Quitter");
  // A skipped id has no text, and no other language stands in for it.
  EXPECT_EQ(Status(Handle, "fr-FR", 2), EFI_NOT_FOUND);
  EXPECT_EQ(Status(Handle, "en-US", 0), EFI_NOT_FOUND);
  EXPECT_EQ(Status(Handle, "en-US", 5), EFI_NOT_FOUND);
  EXPECT_EQ(Status(UNKNOWN, "en-US", 1), EFI_NOT_FOUND);
  EXPECT_EQ(Status(nullptr, "en-US", 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Status(Handle, nullptr, 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Status(Handle, "de-DE", 1), EFI_INVALID_LANGUAGE);
  EXPECT_EQ(Status(Handle, "en", 1), EFI_INVALID_LANGUAGE);

  CHAR16 Buffer[8];
  UINTN Size = 4;
  EFI_FONT_INFO *Font = reinterpret_cast<EFI_FONT_INFO *>(0x1);
  EXPECT_EQ(HiiString->GetString(HiiString, "en-US", Handle, 1, Buffer, nullptr, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(HiiString->GetString(HiiString, "en-US", Handle, 1, nullptr, &Size, nullptr),
            EFI_INVALID_PARAMETER);
  Size = sizeof(Buffer);
  EXPECT_EQ(HiiString->GetString(HiiString, "en-US", Handle, 1, Buffer, &Size, &Font), EFI_SUCCESS);
  EXPECT_EQ(Font, nullptr);
}

TEST_F(StringServiceTest, HandMadePackagesWithOddHeadersAndKeywordLanguages) {
  StringPackageBytes Keywords;
  Keywords.Language = "x-UEFI-ns";
  Keywords.Blocks = Join({Hex("21 2B01"), AsciiZ("\x10Key"), Hex("00")});
  StringPackageBytes English; // 1, 2 in a run; 3 = 1; one skipped; 255 skipped; 259 in SCSU
  English.Padding = 1;
  English.Blocks = Join({Hex("16 0200"), Ucs2Z(u"One"), Ucs2Z(u"Two"), Hex("20 0100 22FF 12 0100"),
                         AsciiZ("Last"), Hex("00")});
  StringPackageBytes French; // a font block, then 1 in font 1, then a skip of 258
  French.Language = "fr-FR";
  French.Padding = 5;
  French.Blocks = Join({Hex("31 40 0F00 01 1300 00000000"), Ucs2Z(u"f"), Hex("15 01"), Ucs2Z(u"Un"),
                        Hex("21 0201 00")});
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
  EXPECT_EQ(Status(Handle, "en-US", 300), EFI_NOT_FOUND);
  // The keyword namespace comes after the display languages.
  EXPECT_EQ(Languages(Handle), "en-US;fr-FR;x-UEFI-ns");
}

TEST_F(StringServiceTest, PrimaryAndSecondaryLanguages) {
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
  auto Secondary = [&](const char *Primary) {
    ByteVector Bytes = TwoCalls([&](UINTN *Size, void *Out) {
      return HiiString->GetSecondaryLanguages(HiiString, Handle, Primary, (CHAR8 *)Out, Size);
    });
    return std::string(Bytes.begin(), Bytes.end());
  };
  EXPECT_EQ(Secondary("fr-FR"), std::string("fr-CA;fr-BE", 12));
  EXPECT_EQ(Secondary("en-US"), std::string(1, '\0'));

  char Buffer[32];
  UINTN Size = sizeof(Buffer);
  EXPECT_EQ(HiiString->GetSecondaryLanguages(HiiString, Handle, "fr-CA", Buffer, &Size),
            EFI_INVALID_LANGUAGE);
  EXPECT_EQ(HiiString->GetSecondaryLanguages(HiiString, UNKNOWN, "en-US", Buffer, &Size),
            EFI_NOT_FOUND);
  EXPECT_EQ(HiiString->GetSecondaryLanguages(HiiString, Handle, nullptr, Buffer, &Size),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(HiiString->GetLanguages(HiiString, UNKNOWN, Buffer, &Size), EFI_NOT_FOUND);
  EXPECT_EQ(HiiString->GetLanguages(HiiString, nullptr, Buffer, &Size), EFI_INVALID_PARAMETER);
  EXPECT_EQ(HiiString->GetLanguages(HiiString, Handle, Buffer, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(HiiString->GetLanguages(HiiString, Handle, nullptr, &Size), EFI_INVALID_PARAMETER);
}

TEST_F(StringServiceTest, NewStringTakesTheNextIdInEveryDisplayLanguage) {
  Strings Table = TwoLanguages();
  Table.Translate("x-UEFI-ns", 2, u"HelpKey");
  EFI_HII_HANDLE Handle = AddTable(Table);
  EFI_STRING_ID Id = 0;
  EXPECT_EQ(New(Handle, &Id, "fr-FR", nullptr, u"Nouveau"), EFI_SUCCESS);
  EXPECT_EQ(Id, 5);
  EXPECT_EQ(Get(Handle, "fr-FR", 5), u"Nouveau");
  EXPECT_EQ(Get(Handle, "en-US", 5), u"Nouveau");
  EXPECT_EQ(Status(Handle, "x-UEFI-ns", 5), EFI_NOT_FOUND);
  EXPECT_EQ(New(Handle, &Id, "en-US", nullptr, u"Next"), EFI_SUCCESS);
  EXPECT_EQ(Id, 6);
  // The export carries the change.
  EXPECT_EQ(Exported(Handle, "en-US").Entries[6].Text, u"Next");
  EXPECT_EQ(Exported(Handle, "fr-FR").Entries[5].Text, u"Nouveau");
  EXPECT_EQ(Exported(Handle, "fr-FR").Entries.count(2), 0u);
  // A keyword goes to its namespace only.
  EXPECT_EQ(New(Handle, &Id, "x-UEFI-ns", nullptr, u"Key7"), EFI_SUCCESS);
  EXPECT_EQ(Id, 7);
  EXPECT_EQ(Get(Handle, "x-UEFI-ns", 7), u"Key7");
  EXPECT_EQ(Status(Handle, "en-US", 7), EFI_NOT_FOUND);

  EXPECT_EQ(New(Handle, nullptr, "en-US", nullptr, u"x"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(New(Handle, &Id, nullptr, nullptr, u"x"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(New(Handle, &Id, "en-US", nullptr, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(New(UNKNOWN, &Id, "en-US", nullptr, u"x"), EFI_NOT_FOUND);
  // A language the list lacks needs its name.
  EXPECT_EQ(New(Handle, &Id, "de-DE", nullptr, u"Neu"), EFI_NOT_FOUND);
}

EFI_HII_DATABASE_NOTIFY_TYPE LastNotify = 0;
EFI_STATUS EFIAPI RememberNotify(UINT8 PackageType, const EFI_GUID *PackageGuid,
                                 const EFI_HII_PACKAGE_HEADER *Package, EFI_HII_HANDLE Handle,
                                 EFI_HII_DATABASE_NOTIFY_TYPE NotifyType) {
  LastNotify = PackageType == EFI_HII_PACKAGE_STRINGS ? NotifyType : 0xFF;
  return EFI_SUCCESS;
}

TEST_F(StringServiceTest, NewStringCreatesAPackageForANamedLanguage) {
  LastNotify = 0;
  EFI_HANDLE Registration = nullptr;
  ASSERT_EQ(Database->RegisterPackageNotify(Database, EFI_HII_PACKAGE_STRINGS, nullptr,
                                            RememberNotify, EFI_HII_DATABASE_NOTIFY_ADD_PACK,
                                            &Registration),
            EFI_SUCCESS);
  EFI_HII_HANDLE Handle = AddTable(TwoLanguages());
  EFI_STRING_ID Id = 0;
  EXPECT_EQ(New(Handle, &Id, "de-DE", u"Deutsch", u"Neu"), EFI_SUCCESS);
  EXPECT_EQ(LastNotify, EFI_HII_DATABASE_NOTIFY_ADD_PACK);
  // The language's name takes id 5 and the string id 6, both aligned in every language.
  EXPECT_EQ(Id, 6);
  EXPECT_EQ(Languages(Handle), "en-US;fr-FR;de-DE");
  EXPECT_EQ(Get(Handle, "de-DE", 6), u"Neu");
  EXPECT_EQ(Get(Handle, "de-DE", 5), u"Deutsch");
  EXPECT_EQ(Get(Handle, "en-US", 6), u"Neu");
  EXPECT_EQ(Exported(Handle, "de-DE").LanguageName, 5);
  EXPECT_EQ(Database->UnregisterPackageNotify(Database, Registration), EFI_SUCCESS);
}

TEST_F(StringServiceTest, NewStringFindsNoIdPast0xFFFF) {
  EFI_HII_HANDLE Full =
      Add(PackageListBuilder(LIST_GUID)
              .AddRawPackage(StringBlocks(Join({Hex("21 FEFF 14"), Ucs2Z(u"last"), Hex("00")})))
              .Bytes());
  EXPECT_EQ(Get(Full, "en-US", 0xFFFF), u"last");
  EFI_STRING_ID Id = 0;
  EXPECT_EQ(New(Full, &Id, "en-US", nullptr, u"x"), EFI_OUT_OF_RESOURCES);
}

TEST_F(StringServiceTest, SetStringChangesOneLanguage) {
  EFI_HII_HANDLE Handle = AddTable(TwoLanguages());
  auto Set = [&](EFI_HII_HANDLE List, EFI_STRING_ID Id, const char *Language, const CHAR16 *Text) {
    return HiiString->SetString(HiiString, List, Id, Language, Text, nullptr);
  };
  EXPECT_EQ(Set(Handle, 1, "en-US", u"Main menu"), EFI_SUCCESS);
  EXPECT_EQ(Get(Handle, "en-US", 1), u"Main menu");
  EXPECT_EQ(Get(Handle, "fr-FR", 1), u"Principal");
  EXPECT_EQ(Exported(Handle, "en-US").Entries[1].Text, u"Main menu");
  // An id the list knows but this language skipped gets its translation.
  EXPECT_EQ(Set(Handle, 4, "fr-FR", u"Vide"), EFI_SUCCESS);
  EXPECT_EQ(Get(Handle, "fr-FR", 4), u"Vide");
  EXPECT_EQ(Get(Handle, "fr-FR", 3), u"Quitter");

  EXPECT_EQ(Set(Handle, 5, "en-US", u"x"), EFI_NOT_FOUND) << "id past the last";
  EXPECT_EQ(Set(Handle, 0, "en-US", u"x"), EFI_NOT_FOUND) << "id 0";
  EXPECT_EQ(Set(Handle, 1, "de-DE", u"x"), EFI_NOT_FOUND) << "language not in the list";
  EXPECT_EQ(Set(UNKNOWN, 1, "en-US", u"x"), EFI_NOT_FOUND);
  EXPECT_EQ(Set(nullptr, 1, "en-US", u"x"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Set(Handle, 1, nullptr, u"x"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Set(Handle, 1, "en-US", nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Get(Handle, "en-US", 1), u"Main menu");
}

} // namespace
} // namespace morvane::test
