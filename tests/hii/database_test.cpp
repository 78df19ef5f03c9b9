#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "host/kit/kit.h"
#include "tests/hii/hii_fixture.h"
#include "tests/hii/package_bytes.h"

using morvane::kit::IfrWriter;
using morvane::kit::PackageListBuilder;
using morvane::kit::ParseGuid;
using morvane::kit::Strings;
using morvane::test::ByteVector;
using morvane::test::HiiTest;
using morvane::test::Join;
using morvane::test::Le16;
using morvane::test::Le32;

namespace {

const EFI_GUID LIST_GUID = ParseGuid("11111111-2222-3333-4444-555555555555");
const EFI_GUID OTHER_GUID = ParseGuid("66666666-7777-8888-9999-aaaaaaaaaaaa");
const ByteVector END_PACKAGE = {0x04, 0x00, 0x00, 0xDF};

ByteVector GuidBytes(const EFI_GUID &Guid) {
  ByteVector Out(16);
  std::memcpy(Out.data(), &Guid, 16);
  return Out;
}

// A list of the given package bytes; Extra is added to the header's length field.
ByteVector ListOf(const ByteVector &Packages, int Extra = 0) {
  return Join(
      {GuidBytes(LIST_GUID), Le32(static_cast<uint32_t>(20 + Packages.size() + Extra)), Packages});
}

ByteVector FormsList(EFI_FORM_ID FormId) {
  IfrWriter Forms;
  Forms.FormSet(LIST_GUID, 1, 2, {}, true).Form(FormId, 1, true).End().End();
  Strings Table;
  Table.Add(u"Title");
  Table.Add(u"Help");
  return PackageListBuilder(LIST_GUID).AddForms(Forms).AddStrings(Table).Bytes();
}

size_t ListCount(EFI_HII_DATABASE_PROTOCOL *Database) {
  UINTN Size = 0;
  EFI_STATUS Status =
      Database->ListPackageLists(Database, EFI_HII_PACKAGE_TYPE_ALL, nullptr, &Size, nullptr);
  return Status == EFI_NOT_FOUND ? 0 : Size / sizeof(EFI_HII_HANDLE);
}

// Notifications seen, in order.
struct NotifyCall {
  UINT8 Type;
  bool HasGuid;
  EFI_GUID Guid;
  UINT32 LengthAndType;
  EFI_HII_HANDLE Handle;
  EFI_HII_DATABASE_NOTIFY_TYPE NotifyType;
};
std::vector<NotifyCall> Calls;

EFI_STATUS EFIAPI Record(UINT8 PackageType, const EFI_GUID *PackageGuid,
                         const EFI_HII_PACKAGE_HEADER *Package, EFI_HII_HANDLE Handle,
                         EFI_HII_DATABASE_NOTIFY_TYPE NotifyType) {
  NotifyCall Call{PackageType, PackageGuid != nullptr, {}, 0, Handle, NotifyType};
  if (PackageGuid != nullptr) {
    Call.Guid = *PackageGuid;
  }
  std::memcpy(&Call.LengthAndType, Package, 4);
  Calls.push_back(Call);
  return EFI_SUCCESS;
}

class DatabaseTest : public HiiTest {
protected:
  void SetUp() override { Calls.clear(); }
  void TearDown() override {
    Calls.clear();
    HiiTest::TearDown();
  }

  EFI_HANDLE Register(UINT8 Type, const EFI_GUID *Guid, EFI_HII_DATABASE_NOTIFY_TYPE NotifyType,
                      EFI_HII_DATABASE_NOTIFY Function = Record) {
    EFI_HANDLE Handle = nullptr;
    EXPECT_EQ(Database->RegisterPackageNotify(Database, Type, Guid, Function, NotifyType, &Handle),
              EFI_SUCCESS);
    return Handle;
  }
};

TEST_F(DatabaseTest, ProtocolsLiveOnOneHandleWhileTheServicesLive) {
  const EFI_GUID *GUIDS[] = {&gEfiHiiDatabaseProtocolGuid,      &gEfiHiiStringProtocolGuid,
                             &gEfiHiiConfigRoutingProtocolGuid, &gEfiUnicodeCollation2ProtocolGuid,
                             &gEfiHiiImageProtocolGuid,         &gEfiHiiFontProtocolGuid};
  for (const EFI_GUID *Guid : GUIDS) {
    EXPECT_NE(Boot.Find(Services.Handle(), *Guid), nullptr);
  }
  EXPECT_EQ(Boot.Find(Services.Handle(), gEfiHiiDatabaseProtocolGuid), Database);
  EXPECT_EQ(morvane::host::HiiServices::Current(), &Services);
  EXPECT_THROW(morvane::host::HiiServices Second(Boot.Table()), std::logic_error);
  // The image and font protocols answer, and say they cannot help.
  EFI_IMAGE_ID Image = 0;
  EXPECT_EQ(Services.Image()->NewImage(Services.Image(), nullptr, &Image, nullptr),
            EFI_UNSUPPORTED);
  EXPECT_EQ(Services.Font()->GetFontInfo(Services.Font(), nullptr, nullptr, nullptr, nullptr),
            EFI_UNSUPPORTED);
}

TEST(HiiServicesTest, OptionsLeaveImageAndFontOutAndDestructorUninstalls) {
  morvane::test::FakeBootServices Boot;
  EFI_HANDLE Handle = nullptr;
  {
    morvane::host::HiiServicesOptions Options;
    Options.ImageAndFont = false;
    morvane::host::HiiServices Services(Boot.Table(), Options);
    Handle = Services.Handle();
    EXPECT_EQ(Boot.ProtocolCount(Handle), 4u);
    EXPECT_EQ(Boot.Find(Handle, gEfiHiiImageProtocolGuid), nullptr);
    EXPECT_EQ(Services.Image(), nullptr);
  }
  EXPECT_EQ(Boot.ProtocolCount(Handle), 0u);
  EXPECT_EQ(morvane::host::HiiServices::Current(), nullptr);
}

TEST_F(DatabaseTest, ExportIsAByteExactCopy) {
  ByteVector List = FormsList(1);
  EFI_HII_HANDLE Handle = Add(List);
  ASSERT_NE(Handle, nullptr);
  EXPECT_EQ(Export(Handle), List);
}

TEST_F(DatabaseTest, BadListsAreRefusedWithoutAddingAnything) {
  Register(EFI_HII_PACKAGE_TYPE_ALL, nullptr, EFI_HII_DATABASE_NOTIFY_NEW_PACK);
  ByteVector Forms = IfrWriter().Form(1, 2, true).End().Package();
  morvane::test::StringPackageBytes HeaderTooShort;
  HeaderTooShort.HeaderSizeField = 50;
  HeaderTooShort.StringInfoOffsetField = 52;
  morvane::test::StringPackageBytes InfoPastEnd;
  InfoPastEnd.StringInfoOffsetField = 60;
  morvane::test::StringPackageBytes BlockPastEnd;
  BlockPastEnd.Blocks = {0x14, 'x', 0x00, 0x00};
  ByteVector ShortGuid = Join({{0x13, 0, 0, EFI_HII_PACKAGE_TYPE_GUID}, ByteVector(15, 0)});
  ByteVector BadKeyboard = {
      0x0B, 0, 0, EFI_HII_PACKAGE_KEYBOARD_LAYOUT, 0x01, 0x00, 0x17, 0x00, 0x00, 0x00, 0x00};
  struct BadCase {
    const char *Name;
    ByteVector List;
  };
  const BadCase CASES[] = {
      {"shorter than a header and END", Join({GuidBytes(LIST_GUID), Le32(23), END_PACKAGE})},
      {"length beyond the END", ListOf(Join({Forms, END_PACKAGE, {0, 0, 0, 0}}))},
      {"length short of the END", ListOf(Join({Forms, END_PACKAGE}), -1)},
      {"package of length 0", ListOf(Join({{0x00, 0x00, 0x00, 0x02}, END_PACKAGE}))},
      {"package of length 3", ListOf(Join({{0x03, 0x00, 0x00, 0x02}, END_PACKAGE}))},
      {"package past the list", ListOf(Join({{0x40, 0x00, 0x00, 0x02}, END_PACKAGE}))},
      {"no END", ListOf(Forms)},
      {"END before the last package", ListOf(Join({END_PACKAGE, Forms}))},
      {"END of 5 bytes", ListOf(Join({Forms, {0x05, 0x00, 0x00, 0xDF, 0x00}}))},
      {"package of type 0", ListOf(Join({{0x04, 0x00, 0x00, 0x00}, END_PACKAGE}))},
      {"string header shorter than its language",
       ListOf(Join({HeaderTooShort.Bytes(), END_PACKAGE}))},
      {"string blocks past the package", ListOf(Join({InfoPastEnd.Bytes(), END_PACKAGE}))},
      {"string block past the package", ListOf(Join({BlockPastEnd.Bytes(), END_PACKAGE}))},
      {"GUID package without a whole GUID", ListOf(Join({ShortGuid, END_PACKAGE}))},
      {"keyboard layout past its package", ListOf(Join({BadKeyboard, END_PACKAGE}))},
      {"good packages then a bad one",
       ListOf(Join({Forms, {0x02, 0x00, 0x00, 0x02}, END_PACKAGE}))},
  };
  for (const BadCase &Case : CASES) {
    EFI_HII_HANDLE Handle = reinterpret_cast<EFI_HII_HANDLE>(0x1234);
    EXPECT_EQ(AddList(Case.List, &Handle), EFI_INVALID_PARAMETER) << Case.Name;
    EXPECT_EQ(Handle, reinterpret_cast<EFI_HII_HANDLE>(0x1234)) << Case.Name;
    EXPECT_EQ(ListCount(Database), 0u) << Case.Name;
  }
  EXPECT_TRUE(Calls.empty());

  EFI_HII_HANDLE Handle = nullptr;
  ByteVector Good = FormsList(1);
  EXPECT_EQ(Database->NewPackageList(Database, nullptr, nullptr, &Handle), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Database->NewPackageList(
                Database, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(Good.data()),
                nullptr, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(ListCount(Database), 0u);
}

TEST_F(DatabaseTest, EmptyListAndOpaquePackagesAreAccepted) {
  ByteVector Empty = ListOf(END_PACKAGE);
  ByteVector Opaque = ListOf(Join({{0x07, 0x00, 0x00, EFI_HII_PACKAGE_IMAGES, 1, 2, 3},
                                   {0x05, 0x00, 0x00, 0xE3, 9},
                                   END_PACKAGE}));
  EFI_HII_HANDLE First = Add(Empty);
  EFI_HII_HANDLE Second = Add(Opaque);
  EXPECT_EQ(Export(First), Empty);
  EXPECT_EQ(Export(Second), Opaque);
  EXPECT_EQ(Export(nullptr), Join({Empty, Opaque}));
}

TEST_F(DatabaseTest, SameGuidTwiceGivesTwoHandles) {
  EFI_HII_HANDLE First = Add(FormsList(1));
  EFI_HII_HANDLE Second = Add(FormsList(2));
  EXPECT_NE(First, nullptr);
  EXPECT_NE(Second, nullptr);
  EXPECT_NE(First, Second);
  EXPECT_EQ(ListCount(Database), 2u);
  EXPECT_EQ(Export(Second), FormsList(2));
}

TEST_F(DatabaseTest, DriverHandleIsKept) {
  EFI_HANDLE Driver = reinterpret_cast<EFI_HANDLE>(0xD00D);
  EFI_HII_HANDLE WithDriver = Add(FormsList(1), Driver);
  EFI_HII_HANDLE WithoutDriver = Add(FormsList(1));
  EFI_HANDLE Found = nullptr;
  EXPECT_EQ(Database->GetPackageListHandle(Database, WithDriver, &Found), EFI_SUCCESS);
  EXPECT_EQ(Found, Driver);
  EXPECT_EQ(Database->GetPackageListHandle(Database, WithoutDriver, &Found), EFI_SUCCESS);
  EXPECT_EQ(Found, nullptr);
  EXPECT_EQ(Database->GetPackageListHandle(Database, WithDriver, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Database->GetPackageListHandle(Database, nullptr, &Found), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Database->RemovePackageList(Database, WithDriver), EFI_SUCCESS);
  EXPECT_EQ(Database->GetPackageListHandle(Database, WithDriver, &Found), EFI_INVALID_PARAMETER);
}

TEST_F(DatabaseTest, RemovedListIsGoneEverywhere) {
  EFI_HII_HANDLE Removed = Add(FormsList(1));
  EFI_HII_HANDLE Kept = Add(FormsList(2));
  EXPECT_EQ(Database->RemovePackageList(Database, Removed), EFI_SUCCESS);
  EXPECT_EQ(Database->RemovePackageList(Database, Removed), EFI_NOT_FOUND);
  EXPECT_EQ(Database->RemovePackageList(Database, nullptr), EFI_NOT_FOUND);
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

TEST_F(DatabaseTest, ListPackageListsTwoCallIdiom) {
  ByteVector WithGuidPackage =
      PackageListBuilder(OTHER_GUID).AddGuidPackage(OTHER_GUID, {1, 2, 3}).Bytes();
  EFI_HII_HANDLE Forms = Add(FormsList(1));
  EFI_HII_HANDLE Guided = Add(WithGuidPackage);

  UINTN Size = 0;
  EXPECT_EQ(Database->ListPackageLists(Database, EFI_HII_PACKAGE_TYPE_ALL, nullptr, &Size, nullptr),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 2 * sizeof(EFI_HII_HANDLE));
  EFI_HII_HANDLE Handles[3] = {};
  Size = sizeof(EFI_HII_HANDLE); // one short
  EXPECT_EQ(Database->ListPackageLists(Database, EFI_HII_PACKAGE_TYPE_ALL, nullptr, &Size, Handles),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Handles[0], nullptr);
  Size = 2 * sizeof(EFI_HII_HANDLE);
  EXPECT_EQ(Database->ListPackageLists(Database, EFI_HII_PACKAGE_TYPE_ALL, nullptr, &Size, Handles),
            EFI_SUCCESS);
  EXPECT_EQ(Handles[0], Forms);
  EXPECT_EQ(Handles[1], Guided);

  Size = sizeof(Handles);
  EXPECT_EQ(Database->ListPackageLists(Database, EFI_HII_PACKAGE_FORMS, nullptr, &Size, Handles),
            EFI_SUCCESS);
  EXPECT_EQ(Size, sizeof(EFI_HII_HANDLE));
  EXPECT_EQ(Handles[0], Forms);
  Size = sizeof(Handles);
  EXPECT_EQ(
      Database->ListPackageLists(Database, EFI_HII_PACKAGE_TYPE_GUID, &OTHER_GUID, &Size, Handles),
      EFI_SUCCESS);
  EXPECT_EQ(Size, sizeof(EFI_HII_HANDLE));
  EXPECT_EQ(Handles[0], Guided);
  EXPECT_EQ(
      Database->ListPackageLists(Database, EFI_HII_PACKAGE_TYPE_GUID, &LIST_GUID, &Size, Handles),
      EFI_NOT_FOUND);
  EXPECT_EQ(Database->ListPackageLists(Database, EFI_HII_PACKAGE_FONTS, nullptr, &Size, Handles),
            EFI_NOT_FOUND);

  struct BadCase {
    const char *Name;
    UINT8 Type;
    const EFI_GUID *Guid;
    bool NullLength;
    bool NullBuffer;
  };
  for (const BadCase &Case :
       {BadCase{"null length", EFI_HII_PACKAGE_TYPE_ALL, nullptr, true, false},
        BadCase{"null buffer", EFI_HII_PACKAGE_TYPE_ALL, nullptr, false, true},
        BadCase{"GUID type without GUID", EFI_HII_PACKAGE_TYPE_GUID, nullptr, false, false},
        BadCase{"GUID with another type", EFI_HII_PACKAGE_FORMS, &OTHER_GUID, false, false}}) {
    Size = sizeof(Handles);
    EXPECT_EQ(Database->ListPackageLists(Database, Case.Type, Case.Guid,
                                         Case.NullLength ? nullptr : &Size,
                                         Case.NullBuffer ? nullptr : Handles),
              EFI_INVALID_PARAMETER)
        << Case.Name;
  }
}

TEST_F(DatabaseTest, ExportTwoCallIdiom) {
  ByteVector First = FormsList(1);
  ByteVector Second = FormsList(2);
  EFI_HII_HANDLE Handle = Add(First);
  Add(Second);

  UINTN Size = 0;
  EXPECT_EQ(Database->ExportPackageLists(Database, Handle, &Size, nullptr), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, First.size());
  ByteVector Buffer(First.size(), 0xEE);
  Size = First.size() - 1;
  EXPECT_EQ(
      Database->ExportPackageLists(Database, Handle, &Size,
                                   reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Buffer.data())),
      EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, First.size());
  EXPECT_EQ(Buffer, ByteVector(First.size(), 0xEE));
  EXPECT_EQ(
      Database->ExportPackageLists(Database, Handle, &Size,
                                   reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Buffer.data())),
      EFI_SUCCESS);
  EXPECT_EQ(Buffer, First);

  EXPECT_EQ(Export(nullptr), Join({First, Second}));
  EXPECT_EQ(Database->ExportPackageLists(Database, Handle, nullptr, nullptr),
            EFI_INVALID_PARAMETER);
  Size = 8;
  EXPECT_EQ(Database->ExportPackageLists(Database, Handle, &Size, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(DatabaseTest, UpdateReplacesPackagesOfTheNewTypes) {
  Strings Table;
  Table.Add(u"Old");
  IfrWriter OldForms;
  OldForms.Form(1, 1, true).End();
  IfrWriter NewForms;
  NewForms.Form(2, 1, true).End();
  ByteVector Guided = PackageListBuilder(LIST_GUID).AddGuidPackage(OTHER_GUID, {7}).Bytes();
  EFI_HII_HANDLE Handle = Add(PackageListBuilder(LIST_GUID)
                                  .AddForms(OldForms)
                                  .AddStrings(Table)
                                  .AddGuidPackage(OTHER_GUID, {1})
                                  .Bytes());
  Register(EFI_HII_PACKAGE_TYPE_ALL, nullptr,
           EFI_HII_DATABASE_NOTIFY_REMOVE_PACK | EFI_HII_DATABASE_NOTIFY_ADD_PACK);

  ByteVector Update =
      PackageListBuilder(LIST_GUID).AddForms(NewForms).AddGuidPackage(OTHER_GUID, {2}).Bytes();
  EXPECT_EQ(
      Database->UpdatePackageList(
          Database, Handle, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(Update.data())),
      EFI_SUCCESS);
  EXPECT_EQ(Export(Handle), PackageListBuilder(LIST_GUID)
                                .AddStrings(Table)
                                .AddForms(NewForms)
                                .AddGuidPackage(OTHER_GUID, {2})
                                .Bytes());
  ASSERT_EQ(Calls.size(), 4u);
  EXPECT_EQ(Calls[0].NotifyType, EFI_HII_DATABASE_NOTIFY_REMOVE_PACK);
  EXPECT_EQ(Calls[0].Type, EFI_HII_PACKAGE_FORMS);
  EXPECT_EQ(Calls[1].NotifyType, EFI_HII_DATABASE_NOTIFY_REMOVE_PACK);
  EXPECT_EQ(Calls[1].Type, EFI_HII_PACKAGE_TYPE_GUID);
  EXPECT_EQ(Calls[2].NotifyType, EFI_HII_DATABASE_NOTIFY_ADD_PACK);
  EXPECT_EQ(Calls[2].Type, EFI_HII_PACKAGE_FORMS);
  EXPECT_EQ(Calls[3].NotifyType, EFI_HII_DATABASE_NOTIFY_ADD_PACK);
  EXPECT_EQ(Calls[3].Type, EFI_HII_PACKAGE_TYPE_GUID);
  EXPECT_EQ(Get(Handle, "en-US", 1), u"Old");

  ByteVector Before = Export(Handle);
  ByteVector Bad = ListOf(NewForms.Package());
  EXPECT_EQ(
      Database->UpdatePackageList(
          Database, Handle, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(Bad.data())),
      EFI_INVALID_PARAMETER);
  EXPECT_EQ(Export(Handle), Before);
  EXPECT_EQ(Database->UpdatePackageList(Database, Handle, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Database->UpdatePackageList(
                Database, reinterpret_cast<EFI_HII_HANDLE>(0x99),
                reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(Guided.data())),
            EFI_NOT_FOUND);
}

TEST_F(DatabaseTest, NotificationsComeInOrderWithTheirArguments) {
  Register(EFI_HII_PACKAGE_FORMS, nullptr, EFI_HII_DATABASE_NOTIFY_NEW_PACK);
  Register(EFI_HII_PACKAGE_STRINGS, nullptr, EFI_HII_DATABASE_NOTIFY_REMOVE_PACK);
  Register(EFI_HII_PACKAGE_TYPE_GUID, &OTHER_GUID,
           EFI_HII_DATABASE_NOTIFY_NEW_PACK | EFI_HII_DATABASE_NOTIFY_EXPORT_PACK);
  Register(EFI_HII_PACKAGE_TYPE_ALL, nullptr, EFI_HII_DATABASE_NOTIFY_EXPORT_PACK);

  IfrWriter Forms;
  Forms.Form(1, 1, true).End();
  Strings Table;
  Table.Add(u"x");
  ByteVector List = PackageListBuilder(LIST_GUID)
                        .AddForms(Forms)
                        .AddStrings(Table)
                        .AddGuidPackage(LIST_GUID, {1})
                        .AddGuidPackage(OTHER_GUID, {2, 3})
                        .Bytes();
  EFI_HII_HANDLE Handle = Add(List);
  ASSERT_EQ(Calls.size(), 2u);
  EXPECT_EQ(Calls[0].Type, EFI_HII_PACKAGE_FORMS);
  EXPECT_FALSE(Calls[0].HasGuid);
  EXPECT_EQ(Calls[0].LengthAndType, Forms.Package().size() | 0x02000000u);
  EXPECT_EQ(Calls[0].Handle, Handle);
  EXPECT_EQ(Calls[0].NotifyType, EFI_HII_DATABASE_NOTIFY_NEW_PACK);
  EXPECT_EQ(Calls[1].Type, EFI_HII_PACKAGE_TYPE_GUID);
  EXPECT_TRUE(Calls[1].HasGuid);
  EXPECT_TRUE(morvane::kit::SameGuid(Calls[1].Guid, OTHER_GUID));
  EXPECT_EQ(Calls[1].LengthAndType, 22u | 0x01000000u);
  EXPECT_EQ(Calls[1].NotifyType, EFI_HII_DATABASE_NOTIFY_NEW_PACK);

  // Export: the GUID registration and the catch-all, each package in order.
  Calls.clear();
  Export(Handle);
  std::vector<std::pair<UINT8, size_t>> Seen;
  for (const auto &Call : Calls) {
    EXPECT_EQ(Call.NotifyType, EFI_HII_DATABASE_NOTIFY_EXPORT_PACK);
    EXPECT_EQ(Call.Handle, Handle);
    Seen.push_back({Call.Type, Call.LengthAndType & 0xFFFFFF});
  }
  EXPECT_EQ(Seen, (std::vector<std::pair<UINT8, size_t>>{
                      {EFI_HII_PACKAGE_FORMS, Forms.Package().size()},
                      {EFI_HII_PACKAGE_STRINGS, Table.Package("en-US").size()},
                      {EFI_HII_PACKAGE_TYPE_GUID, 21},
                      {EFI_HII_PACKAGE_TYPE_GUID, 22},
                      {EFI_HII_PACKAGE_TYPE_GUID, 22}}));

  Calls.clear();
  EXPECT_EQ(Database->RemovePackageList(Database, Handle), EFI_SUCCESS);
  ASSERT_EQ(Calls.size(), 1u);
  EXPECT_EQ(Calls[0].Type, EFI_HII_PACKAGE_STRINGS);
  EXPECT_EQ(Calls[0].NotifyType, EFI_HII_DATABASE_NOTIFY_REMOVE_PACK);
  EXPECT_EQ(Calls[0].Handle, Handle);
}

TEST_F(DatabaseTest, UnregisteredNotificationsStop) {
  EFI_HANDLE Registration =
      Register(EFI_HII_PACKAGE_FORMS, nullptr, EFI_HII_DATABASE_NOTIFY_NEW_PACK);
  EXPECT_EQ(Database->UnregisterPackageNotify(Database, Registration), EFI_SUCCESS);
  EXPECT_EQ(Database->UnregisterPackageNotify(Database, Registration), EFI_NOT_FOUND);
  EXPECT_EQ(Database->UnregisterPackageNotify(Database, nullptr), EFI_NOT_FOUND);
  Add(FormsList(1));
  EXPECT_TRUE(Calls.empty());

  EFI_HANDLE Handle = nullptr;
  struct BadCase {
    const char *Name;
    UINT8 Type;
    const EFI_GUID *Guid;
    EFI_HII_DATABASE_NOTIFY Function;
    EFI_HII_DATABASE_NOTIFY_TYPE NotifyType;
    EFI_HANDLE *Out;
  };
  for (const BadCase &Case : {
           BadCase{"no function", EFI_HII_PACKAGE_FORMS, nullptr, nullptr, 1, &Handle},
           BadCase{"no handle", EFI_HII_PACKAGE_FORMS, nullptr, Record, 1, nullptr},
           BadCase{"no notify type", EFI_HII_PACKAGE_FORMS, nullptr, Record, 0, &Handle},
           BadCase{"unknown notify type", EFI_HII_PACKAGE_FORMS, nullptr, Record, 0x10, &Handle},
           BadCase{"GUID type without GUID", EFI_HII_PACKAGE_TYPE_GUID, nullptr, Record, 1,
                   &Handle},
           BadCase{"GUID with another type", EFI_HII_PACKAGE_FORMS, &OTHER_GUID, Record, 1,
                   &Handle},
       }) {
    EXPECT_EQ(Database->RegisterPackageNotify(Database, Case.Type, Case.Guid, Case.Function,
                                              Case.NotifyType, Case.Out),
              EFI_INVALID_PARAMETER)
        << Case.Name;
  }
}

// A notification that reads the list being added: the list is complete when it runs.
EFI_STATUS EFIAPI ReadTitleDuringAdd(UINT8 PackageType, const EFI_GUID *PackageGuid,
                                     const EFI_HII_PACKAGE_HEADER *Package, EFI_HII_HANDLE Handle,
                                     EFI_HII_DATABASE_NOTIFY_TYPE NotifyType) {
  auto *Services = morvane::host::HiiServices::Current();
  CHAR16 Text[16];
  UINTN Size = sizeof(Text);
  EFI_STATUS Status =
      Services->String()->GetString(Services->String(), "en-US", Handle, 1, Text, &Size, nullptr);
  Calls.push_back({PackageType, false, {}, static_cast<UINT32>(Status), Handle, NotifyType});
  return EFI_SUCCESS;
}

TEST_F(DatabaseTest, NotificationsMayCallTheDatabase) {
  Register(EFI_HII_PACKAGE_FORMS, nullptr, EFI_HII_DATABASE_NOTIFY_NEW_PACK, ReadTitleDuringAdd);
  EFI_HII_HANDLE Handle = Add(FormsList(1));
  ASSERT_EQ(Calls.size(), 1u);
  EXPECT_EQ(Calls[0].LengthAndType, static_cast<UINT32>(EFI_SUCCESS));
  EXPECT_EQ(Calls[0].Handle, Handle);
}

ByteVector KeyboardLayout(const EFI_GUID &Guid, uint8_t Filler) {
  // LayoutLength, Guid, descriptor string offset, one descriptor of 16 bytes.
  ByteVector Layout = Join({Le16(2 + 16 + 4 + 1 + 16), GuidBytes(Guid), Le32(39), {1}});
  Layout.insert(Layout.end(), 16, Filler);
  return Layout;
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

  Length = 0;
  EXPECT_EQ(Database->FindKeyboardLayouts(Database, &Length, nullptr), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Length, 32);
  EFI_GUID Guids[2];
  EXPECT_EQ(Database->FindKeyboardLayouts(Database, &Length, Guids), EFI_SUCCESS);
  EXPECT_TRUE(morvane::kit::SameGuid(Guids[0], LIST_GUID));
  EXPECT_TRUE(morvane::kit::SameGuid(Guids[1], OTHER_GUID));

  Length = 0;
  EXPECT_EQ(Database->GetKeyboardLayout(Database, &OTHER_GUID, &Length, nullptr),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Length, Second.size());
  ByteVector Copy(Length);
  EXPECT_EQ(Database->GetKeyboardLayout(Database, &OTHER_GUID, &Length,
                                        reinterpret_cast<EFI_HII_KEYBOARD_LAYOUT *>(Copy.data())),
            EFI_SUCCESS);
  EXPECT_EQ(Copy, Second);

  Length = 0;
  EXPECT_EQ(Database->GetKeyboardLayout(Database, nullptr, &Length, nullptr), EFI_NOT_FOUND);
  EXPECT_EQ(Database->SetKeyboardLayout(Database, &OTHER_GUID), EFI_SUCCESS);
  Length = static_cast<UINT16>(Copy.size());
  std::fill(Copy.begin(), Copy.end(), 0);
  EXPECT_EQ(Database->GetKeyboardLayout(Database, nullptr, &Length,
                                        reinterpret_cast<EFI_HII_KEYBOARD_LAYOUT *>(Copy.data())),
            EFI_SUCCESS);
  EXPECT_EQ(Copy, Second);
  const EFI_GUID Unknown = ParseGuid("00000000-0000-0000-0000-000000000001");
  EXPECT_EQ(Database->SetKeyboardLayout(Database, &Unknown), EFI_NOT_FOUND);
  EXPECT_EQ(Database->SetKeyboardLayout(Database, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Database->FindKeyboardLayouts(Database, nullptr, nullptr), EFI_INVALID_PARAMETER);
}

} // namespace
