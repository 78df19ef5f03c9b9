// The HII database protocol: the services' installation, package lists in and out, package
// notifications and keyboard layouts.
#include <gtest/gtest.h>

#include <stdexcept>

#include "host/kit/kit.h"
#include "tests/hii/hii_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrWriter;
using kit::PackageListBuilder;
using kit::ParseGuid;
using kit::Strings;

const EFI_GUID LIST_GUID = ParseGuid("11111111-2222-3333-4444-555555555555");
const EFI_GUID OTHER_GUID = ParseGuid("66666666-7777-8888-9999-aaaaaaaaaaaa");
const ByteVector END_PACKAGE = {0x04, 0x00, 0x00, 0xDF};
const EFI_GUID *const SERVICE_GUIDS[] = {
    &gEfiHiiDatabaseProtocolGuid,      &gEfiHiiStringProtocolGuid,
    &gEfiHiiConfigRoutingProtocolGuid, &gEfiUnicodeCollation2ProtocolGuid,
    &gEfiHiiImageProtocolGuid,         &gEfiHiiFontProtocolGuid};

// A list of the given package bytes; Extra is added to the header's length field.
ByteVector ListOf(const ByteVector &Packages, int Extra = 0) {
  return Join(
      {GuidBytes(LIST_GUID), Le32(static_cast<uint32_t>(20 + Packages.size() + Extra)), Packages});
}

// A form set and its strings: 1 "Title", 2 "Help".
ByteVector FormsList(EFI_FORM_ID FormId) {
  IfrWriter Forms;
  Forms.FormSet(LIST_GUID, 1, 2, {}, true).Form(FormId, 1, true).End().End();
  Strings Table;
  Table.Add(u"Title");
  Table.Add(u"Help");
  return PackageListBuilder(LIST_GUID).AddForms(Forms).AddStrings(Table).Bytes();
}

constexpr EFI_HII_DATABASE_NOTIFY_TYPE NEW = EFI_HII_DATABASE_NOTIFY_NEW_PACK;
constexpr EFI_HII_DATABASE_NOTIFY_TYPE REMOVE = EFI_HII_DATABASE_NOTIFY_REMOVE_PACK;
constexpr EFI_HII_DATABASE_NOTIFY_TYPE EXPORT = EFI_HII_DATABASE_NOTIFY_EXPORT_PACK;
constexpr EFI_HII_DATABASE_NOTIFY_TYPE ADDED = EFI_HII_DATABASE_NOTIFY_ADD_PACK;
constexpr UINT8 FORMS = EFI_HII_PACKAGE_FORMS;
constexpr UINT8 GUIDED = EFI_HII_PACKAGE_TYPE_GUID;

// A notification seen: its kind, package type and length, and list; GUID packages report their
// GUID's first field, others zero.
struct Seen {
  EFI_HII_DATABASE_NOTIFY_TYPE Kind;
  UINT8 Type;
  UINT32 Length;
  UINT32 Guid = 0;
  EFI_HII_HANDLE List = nullptr;
  bool operator==(const Seen &) const = default;
};
std::vector<Seen> Calls;

EFI_STATUS EFIAPI Record(UINT8 PackageType, const EFI_GUID *PackageGuid,
                         const EFI_HII_PACKAGE_HEADER *Package, EFI_HII_HANDLE Handle,
                         EFI_HII_DATABASE_NOTIFY_TYPE NotifyType) {
  UINT32 Header = 0;
  std::memcpy(&Header, Package, 4);
  EXPECT_EQ(Header >> 24, PackageType);
  EXPECT_EQ(PackageGuid != nullptr, PackageType == GUIDED);
  Calls.push_back({NotifyType, PackageType, Header & 0xFFFFFF,
                   PackageGuid != nullptr ? PackageGuid->Data1 : 0, Handle});
  return EFI_SUCCESS;
}

class DatabaseTest : public HiiTest {
protected:
  void SetUp() override { Calls.clear(); }

  EFI_HANDLE Register(UINT8 Type, const EFI_GUID *Guid, EFI_HII_DATABASE_NOTIFY_TYPE NotifyType,
                      EFI_HII_DATABASE_NOTIFY Function = Record) {
    EFI_HANDLE Handle = nullptr;
    EXPECT_EQ(Database->RegisterPackageNotify(Database, Type, Guid, Function, NotifyType, &Handle),
              EFI_SUCCESS);
    return Handle;
  }

  EFI_STATUS List(UINT8 Type, const EFI_GUID *Guid, UINTN *Size, EFI_HII_HANDLE *Handles) {
    return Database->ListPackageLists(Database, Type, Guid, Size, Handles);
  }

  std::vector<EFI_HII_HANDLE> Handles(UINT8 Type = EFI_HII_PACKAGE_TYPE_ALL,
                                      const EFI_GUID *Guid = nullptr) {
    EFI_STATUS Status = EFI_SUCCESS;
    ByteVector Bytes = TwoCalls(
        [&](UINTN *Size, void *Out) { return List(Type, Guid, Size, (EFI_HII_HANDLE *)Out); },
        &Status);
    EXPECT_TRUE(Status == EFI_SUCCESS || Status == EFI_NOT_FOUND);
    std::vector<EFI_HII_HANDLE> Out(Bytes.size() / sizeof(EFI_HII_HANDLE));
    std::copy(Bytes.begin(), Bytes.end(), reinterpret_cast<uint8_t *>(Out.data()));
    return Out;
  }
};

TEST_F(DatabaseTest, ServicesAreFoundThroughTheBootServicesWhileAlive) {
  const VOID *EXPECTED[] = {Database,         HiiString,      Routing, Services.Collation(),
                            Services.Image(), Services.Font()};
  for (size_t Index = 0; Index < std::size(SERVICE_GUIDS); Index++) {
    VOID *Interface = nullptr;
    EXPECT_EQ(Boot->LocateProtocol(SERVICE_GUIDS[Index], nullptr, &Interface), EFI_SUCCESS);
    EXPECT_EQ(Interface, EXPECTED[Index]) << Index;
    EXPECT_EQ(Boot->HandleProtocol(Services.Handle(), SERVICE_GUIDS[Index], &Interface),
              EFI_SUCCESS);
  }
  EXPECT_EQ(host::HiiServices::Current(), &Services);
  EXPECT_THROW(host::HiiServices Second(Boot), std::logic_error);
  // The image and font protocols answer, and say they cannot help.
  EFI_IMAGE_ID Image = 0;
  EXPECT_EQ(Services.Image()->NewImage(Services.Image(), nullptr, &Image, nullptr),
            EFI_UNSUPPORTED);
  EXPECT_EQ(Services.Font()->GetFontInfo(Services.Font(), nullptr, nullptr, nullptr, nullptr),
            EFI_UNSUPPORTED);
}

TEST(HiiServicesTest, OptionsLeaveImageAndFontOutAndDestructorUninstalls) {
  host::Platform Host;
  EFI_BOOT_SERVICES *Boot = Host.BootServices();
  host::PoolSnapshot Before = Host.Pool().Snapshot();
  {
    host::HiiServicesOptions Options;
    Options.ImageAndFont = false;
    host::HiiServices Services(Boot, Options);
    EFI_GUID **Guids = nullptr;
    UINTN Count = 0;
    ASSERT_EQ(Boot->ProtocolsPerHandle(Services.Handle(), &Guids, &Count), EFI_SUCCESS);
    EXPECT_EQ(Count, 4u);
    Boot->FreePool(Guids);
    EXPECT_EQ(Services.Image(), nullptr);
  }
  for (const EFI_GUID *Guid : SERVICE_GUIDS) {
    VOID *Interface = nullptr;
    EXPECT_EQ(Boot->LocateProtocol(Guid, nullptr, &Interface), EFI_NOT_FOUND);
  }
  EXPECT_EQ(host::HiiServices::Current(), nullptr);
  EXPECT_EQ(Host.Pool().Snapshot(), Before);
}

TEST_F(DatabaseTest, ListsAreExportedByteExactInOrder) {
  ByteVector Empty = ListOf(END_PACKAGE);
  // Packages of types the database does not read are kept as they are.
  ByteVector Opaque = ListOf(Join({Hex("070000 06 010203"), Hex("050000 E3 09"), END_PACKAGE}));
  EFI_HII_HANDLE First = Add(FormsList(1));
  EFI_HII_HANDLE SameGuid = Add(FormsList(2));
  Add(Empty);
  Add(Opaque);
  EXPECT_NE(First, SameGuid);
  EXPECT_EQ(Handles().size(), 4u);
  EXPECT_EQ(Export(First), FormsList(1));
  EXPECT_EQ(Export(SameGuid), FormsList(2));
  EXPECT_EQ(Export(nullptr), Join({FormsList(1), FormsList(2), Empty, Opaque}));
  UINTN Size = 8;
  EXPECT_EQ(Database->ExportPackageLists(Database, First, nullptr, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Database->ExportPackageLists(Database, First, &Size, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(DatabaseTest, BadListsAreRefusedWithoutAddingAnything) {
  Register(EFI_HII_PACKAGE_TYPE_ALL, nullptr, NEW);
  ByteVector Forms = IfrWriter().Form(1, 2, true).End().Package();
  StringPackageBytes HeaderTooShort;
  HeaderTooShort.HeaderSizeField = 50;
  HeaderTooShort.StringInfoOffsetField = 52;
  StringPackageBytes InfoPastEnd;
  InfoPastEnd.StringInfoOffsetField = 60;
  struct BadCase {
    const char *Name;
    ByteVector List;
  };
  const BadCase CASES[] = {
      {"shorter than a header and END", Join({GuidBytes(LIST_GUID), Le32(23), END_PACKAGE})},
      {"length beyond the END", ListOf(Join({Forms, END_PACKAGE, {0, 0, 0, 0}}))},
      {"length short of the END", ListOf(Join({Forms, END_PACKAGE}), -1)},
      {"package of length 0", ListOf(Join({Hex("000000 02"), END_PACKAGE}))},
      {"package of length 3", ListOf(Join({Hex("030000 02"), END_PACKAGE}))},
      {"package past the list", ListOf(Join({Hex("400000 02"), END_PACKAGE}))},
      {"no END", ListOf(Forms)},
      {"END before the last package", ListOf(Join({END_PACKAGE, Forms}))},
      {"END of 5 bytes", ListOf(Join({Forms, Hex("050000 DF 00")}))},
      {"package of type 0", ListOf(Join({Hex("040000 00"), END_PACKAGE}))},
      {"string header shorter than its language",
       ListOf(Join({HeaderTooShort.Bytes(), END_PACKAGE}))},
      {"string blocks past the package", ListOf(Join({InfoPastEnd.Bytes(), END_PACKAGE}))},
      {"string block past the package",
       ListOf(Join({StringBlocks(Hex("14 7800 00")), END_PACKAGE}))},
      {"GUID package without a whole GUID",
       ListOf(Join({Hex("130000 01"), ByteVector(15, 0), END_PACKAGE}))},
      {"keyboard layout past its package",
       ListOf(Join({Hex("0B0000 09 0100 1700 000000"), END_PACKAGE}))},
      {"good packages then a bad one", ListOf(Join({Forms, Hex("020000 02"), END_PACKAGE}))},
  };
  for (const BadCase &Case : CASES) {
    EFI_HII_HANDLE Handle = reinterpret_cast<EFI_HII_HANDLE>(0x1234);
    EXPECT_EQ(AddList(Case.List, &Handle), EFI_INVALID_PARAMETER) << Case.Name;
    EXPECT_EQ(Handle, reinterpret_cast<EFI_HII_HANDLE>(0x1234)) << Case.Name;
  }
  EXPECT_TRUE(Handles().empty());
  EXPECT_TRUE(Calls.empty());
  EFI_HII_HANDLE Handle = nullptr;
  EXPECT_EQ(Database->NewPackageList(Database, nullptr, nullptr, &Handle), EFI_INVALID_PARAMETER);
  EXPECT_EQ(AddList(FormsList(1), nullptr), EFI_INVALID_PARAMETER);
  EXPECT_TRUE(Handles().empty());
}

TEST_F(DatabaseTest, DriverHandleIsKeptAndRemovedListsAreGoneEverywhere) {
  EFI_HANDLE Driver = reinterpret_cast<EFI_HANDLE>(0xD00D);
  EFI_HII_HANDLE Removed = Add(FormsList(1), Driver);
  EFI_HII_HANDLE Kept = Add(FormsList(2));
  EFI_HANDLE Found = nullptr;
  EXPECT_EQ(Database->GetPackageListHandle(Database, Removed, &Found), EFI_SUCCESS);
  EXPECT_EQ(Found, Driver);
  EXPECT_EQ(Database->GetPackageListHandle(Database, Kept, &Found), EFI_SUCCESS);
  EXPECT_EQ(Found, nullptr);
  EXPECT_EQ(Database->GetPackageListHandle(Database, Kept, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Database->GetPackageListHandle(Database, nullptr, &Found), EFI_INVALID_PARAMETER);

  EXPECT_EQ(Database->RemovePackageList(Database, Removed), EFI_SUCCESS);
  EXPECT_EQ(Database->RemovePackageList(Database, Removed), EFI_NOT_FOUND);
  EXPECT_EQ(Database->RemovePackageList(Database, nullptr), EFI_NOT_FOUND);
  EXPECT_EQ(Database->GetPackageListHandle(Database, Removed, &Found), EFI_INVALID_PARAMETER);
  UINTN Size = 0;
  EXPECT_EQ(Database->ExportPackageLists(Database, Removed, &Size, nullptr), EFI_NOT_FOUND);
  EFI_STATUS Status = EFI_SUCCESS;
  Get(Removed, "en-US", 1, &Status);
  EXPECT_EQ(Status, EFI_NOT_FOUND);
  EXPECT_EQ(Get(Kept, "en-US", 1), u"Title");
  EXPECT_EQ(Export(nullptr), FormsList(2));
  // A later list never takes the removed list's handle.
  EXPECT_NE(Add(FormsList(3)), Removed);
}

TEST_F(DatabaseTest, ListPackageListsFiltersByTypeAndGuid) {
  EFI_HII_HANDLE Forms = Add(FormsList(1));
  EFI_HII_HANDLE Guided =
      Add(PackageListBuilder(OTHER_GUID).AddGuidPackage(OTHER_GUID, {1, 2, 3}).Bytes());
  EXPECT_EQ(Handles(), (std::vector<EFI_HII_HANDLE>{Forms, Guided}));
  EXPECT_EQ(Handles(EFI_HII_PACKAGE_FORMS), std::vector<EFI_HII_HANDLE>{Forms});
  EXPECT_EQ(Handles(EFI_HII_PACKAGE_TYPE_GUID, &OTHER_GUID), std::vector<EFI_HII_HANDLE>{Guided});
  EFI_HII_HANDLE Out[2];
  UINTN Size = sizeof(Out);
  EXPECT_EQ(List(EFI_HII_PACKAGE_TYPE_GUID, &LIST_GUID, &Size, Out), EFI_NOT_FOUND);
  EXPECT_EQ(List(EFI_HII_PACKAGE_FONTS, nullptr, &Size, Out), EFI_NOT_FOUND);
  EXPECT_EQ(List(EFI_HII_PACKAGE_TYPE_ALL, nullptr, nullptr, Out), EFI_INVALID_PARAMETER);
  EXPECT_EQ(List(EFI_HII_PACKAGE_TYPE_ALL, nullptr, &Size, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(List(EFI_HII_PACKAGE_TYPE_GUID, nullptr, &Size, Out), EFI_INVALID_PARAMETER);
  EXPECT_EQ(List(EFI_HII_PACKAGE_FORMS, &OTHER_GUID, &Size, Out), EFI_INVALID_PARAMETER);
}

TEST_F(DatabaseTest, UpdateReplacesPackagesOfTheNewTypes) {
  Strings Table;
  Table.Add(u"Old");
  IfrWriter OldForms;
  OldForms.Form(1, 1, true).End();
  IfrWriter NewForms;
  NewForms.Form(2, 1, true).End();
  EFI_HII_HANDLE Handle = Add(PackageListBuilder(LIST_GUID)
                                  .AddForms(OldForms)
                                  .AddStrings(Table)
                                  .AddGuidPackage(OTHER_GUID, {1})
                                  .Bytes());
  Register(EFI_HII_PACKAGE_TYPE_ALL, nullptr, REMOVE | ADDED);
  auto Update = [&](EFI_HII_HANDLE Target, const ByteVector &List) {
    return Database->UpdatePackageList(
        Database, Target, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(List.data()));
  };
  ByteVector New =
      PackageListBuilder(LIST_GUID).AddForms(NewForms).AddGuidPackage(OTHER_GUID, {2}).Bytes();
  EXPECT_EQ(Update(Handle, New), EFI_SUCCESS);
  // The strings stay; the forms and GUID packages are replaced, the new ones coming last.
  EXPECT_EQ(Export(Handle), PackageListBuilder(LIST_GUID)
                                .AddStrings(Table)
                                .AddForms(NewForms)
                                .AddGuidPackage(OTHER_GUID, {2})
                                .Bytes());
  const UINT32 OLD_FORMS = OldForms.Package().size(), NEW_FORMS = NewForms.Package().size();
  const UINT32 OTHER = OTHER_GUID.Data1;
  EXPECT_EQ(Calls, (std::vector<Seen>{{REMOVE, FORMS, OLD_FORMS, 0, Handle},
                                      {REMOVE, GUIDED, 21, OTHER, Handle},
                                      {ADDED, FORMS, NEW_FORMS, 0, Handle},
                                      {ADDED, GUIDED, 21, OTHER, Handle}}));
  EXPECT_EQ(Get(Handle, "en-US", 1), u"Old");

  ByteVector Before = Export(Handle);
  EXPECT_EQ(Update(Handle, ListOf(NewForms.Package())), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Export(Handle), Before);
  EXPECT_EQ(Database->UpdatePackageList(Database, Handle, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Update(reinterpret_cast<EFI_HII_HANDLE>(0x99), New), EFI_NOT_FOUND);
}

TEST_F(DatabaseTest, NotificationsComeInOrderWithTheirArguments) {
  Register(FORMS, nullptr, NEW);
  Register(EFI_HII_PACKAGE_STRINGS, nullptr, REMOVE);
  Register(GUIDED, &OTHER_GUID, NEW | EXPORT);
  Register(EFI_HII_PACKAGE_TYPE_ALL, nullptr, EXPORT);
  IfrWriter Forms;
  Forms.Form(1, 1, true).End();
  Strings Table;
  Table.Add(u"x");
  EFI_HII_HANDLE Handle = Add(PackageListBuilder(LIST_GUID)
                                  .AddForms(Forms)
                                  .AddStrings(Table)
                                  .AddGuidPackage(LIST_GUID, {1})
                                  .AddGuidPackage(OTHER_GUID, {2, 3})
                                  .Bytes());
  const UINT32 FORMS_SIZE = Forms.Package().size();
  const UINT32 STRINGS_SIZE = Table.Package("en-US").size();
  const UINT32 OTHER = OTHER_GUID.Data1;
  EXPECT_EQ(Calls, (std::vector<Seen>{{NEW, FORMS, FORMS_SIZE, 0, Handle},
                                      {NEW, GUIDED, 22, OTHER, Handle}}));
  // Export: the GUID registration and the catch-all, each package in order.
  Calls.clear();
  Export(Handle);
  EXPECT_EQ(Calls, (std::vector<Seen>{{EXPORT, FORMS, FORMS_SIZE, 0, Handle},
                                      {EXPORT, EFI_HII_PACKAGE_STRINGS, STRINGS_SIZE, 0, Handle},
                                      {EXPORT, GUIDED, 21, LIST_GUID.Data1, Handle},
                                      {EXPORT, GUIDED, 22, OTHER, Handle},
                                      {EXPORT, GUIDED, 22, OTHER, Handle}}));
  Calls.clear();
  EXPECT_EQ(Database->RemovePackageList(Database, Handle), EFI_SUCCESS);
  EXPECT_EQ(Calls, (std::vector<Seen>{{REMOVE, EFI_HII_PACKAGE_STRINGS, STRINGS_SIZE, 0, Handle}}));
}

TEST_F(DatabaseTest, UnregisteredNotificationsStopAndBadRegistrationsAreRefused) {
  EFI_HANDLE Registration = Register(FORMS, nullptr, NEW);
  EXPECT_EQ(Database->UnregisterPackageNotify(Database, Registration), EFI_SUCCESS);
  EXPECT_EQ(Database->UnregisterPackageNotify(Database, Registration), EFI_NOT_FOUND);
  EXPECT_EQ(Database->UnregisterPackageNotify(Database, nullptr), EFI_NOT_FOUND);
  Add(FormsList(1));
  EXPECT_TRUE(Calls.empty());

  EFI_HANDLE Handle = nullptr;
  auto Refused = [&](UINT8 Type, const EFI_GUID *Guid, EFI_HII_DATABASE_NOTIFY Function,
                     EFI_HII_DATABASE_NOTIFY_TYPE NotifyType, EFI_HANDLE *Out) {
    return Database->RegisterPackageNotify(Database, Type, Guid, Function, NotifyType, Out) ==
           EFI_INVALID_PARAMETER;
  };
  EXPECT_TRUE(Refused(FORMS, nullptr, nullptr, NEW, &Handle)) << "no function";
  EXPECT_TRUE(Refused(FORMS, nullptr, Record, NEW, nullptr)) << "no handle";
  EXPECT_TRUE(Refused(FORMS, nullptr, Record, 0, &Handle)) << "no notify type";
  EXPECT_TRUE(Refused(FORMS, nullptr, Record, 0x10, &Handle)) << "unknown notify type";
  EXPECT_TRUE(Refused(GUIDED, nullptr, Record, NEW, &Handle)) << "GUID type without GUID";
  EXPECT_TRUE(Refused(FORMS, &OTHER_GUID, Record, NEW, &Handle)) << "GUID with another type";
}

// A notification that reads the list being added: the list is complete when it runs.
EFI_STATUS EFIAPI ReadTitleDuringAdd(UINT8 PackageType, const EFI_GUID *PackageGuid,
                                     const EFI_HII_PACKAGE_HEADER *Package, EFI_HII_HANDLE Handle,
                                     EFI_HII_DATABASE_NOTIFY_TYPE NotifyType) {
  auto *String = host::HiiServices::Current()->String();
  CHAR16 Text[16];
  UINTN Size = sizeof(Text);
  EXPECT_EQ(String->GetString(String, "en-US", Handle, 1, Text, &Size, nullptr), EFI_SUCCESS);
  return Record(PackageType, PackageGuid, Package, Handle, NotifyType);
}

TEST_F(DatabaseTest, NotificationsMayCallTheDatabase) {
  Register(FORMS, nullptr, NEW, ReadTitleDuringAdd);
  EFI_HII_HANDLE Handle = Add(FormsList(1));
  ASSERT_EQ(Calls.size(), 1u);
  EXPECT_EQ(Calls[0].List, Handle);
}

// LayoutLength, Guid, descriptor string offset, one descriptor of 16 bytes.
ByteVector KeyboardLayout(const EFI_GUID &Guid, uint8_t Filler) {
  return Join({Le16(39), GuidBytes(Guid), Le32(39), {1}, ByteVector(16, Filler)});
}

TEST_F(DatabaseTest, KeyboardLayoutsAreStoredAndFound) {
  UINT16 Length = 0;
  EXPECT_EQ(Database->FindKeyboardLayouts(Database, &Length, nullptr), EFI_NOT_FOUND);
  EXPECT_EQ(Database->GetKeyboardLayout(Database, nullptr, &Length, nullptr), EFI_NOT_FOUND);
  ByteVector First = KeyboardLayout(LIST_GUID, 0xA1);
  ByteVector Second = KeyboardLayout(OTHER_GUID, 0xB2);
  Add(PackageListBuilder(LIST_GUID)
          .AddPackage(EFI_HII_PACKAGE_KEYBOARD_LAYOUT, Join({Le16(2), First, Second}))
          .Bytes());
  auto Layout = [&](const EFI_GUID *Guid) {
    return TwoCalls<UINT16>([&](UINT16 *Size, void *Out) {
      return Database->GetKeyboardLayout(Database, Guid, Size, (EFI_HII_KEYBOARD_LAYOUT *)Out);
    });
  };
  EXPECT_EQ(TwoCalls<UINT16>([&](UINT16 *Size, void *Out) {
              return Database->FindKeyboardLayouts(Database, Size, (EFI_GUID *)Out);
            }),
            Join({GuidBytes(LIST_GUID), GuidBytes(OTHER_GUID)}));
  EXPECT_EQ(Layout(&OTHER_GUID), Second);
  // No current layout until one is set.
  EXPECT_EQ(Database->GetKeyboardLayout(Database, nullptr, &Length, nullptr), EFI_NOT_FOUND);
  EXPECT_EQ(Database->SetKeyboardLayout(Database, &OTHER_GUID), EFI_SUCCESS);
  EXPECT_EQ(Layout(nullptr), Second);
  const EFI_GUID Unknown = ParseGuid("00000000-0000-0000-0000-000000000001");
  EXPECT_EQ(Database->SetKeyboardLayout(Database, &Unknown), EFI_NOT_FOUND);
  EXPECT_EQ(Database->SetKeyboardLayout(Database, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Database->FindKeyboardLayouts(Database, nullptr, nullptr), EFI_INVALID_PARAMETER);
}

} // namespace
} // namespace morvane::test
