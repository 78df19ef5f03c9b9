// The handle database behind the boot services: installing and finding protocols, protocol
// notifications, opening protocols by driver, and device paths.
#include <cstring>
#include <vector>

#include "host/handle_database.h"
#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

int InterfaceA = 1;
int InterfaceB = 2;
int InterfaceC = 3;

// A device path of one vendor node with a distinguishing byte, then the end node.
struct TestDevicePath {
  VENDOR_DEVICE_PATH Vendor;
  EFI_DEVICE_PATH_PROTOCOL End;
};

TestDevicePath MakePath(UINT8 Tag) {
  TestDevicePath Path{};
  Path.Vendor.Header = {HARDWARE_DEVICE_PATH, HW_VENDOR_DP, {sizeof(VENDOR_DEVICE_PATH), 0}};
  Path.Vendor.Guid = kProtocolC;
  Path.Vendor.Guid.Data4[0] = Tag;
  Path.End = {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, {4, 0}};
  return Path;
}

class HandleDatabaseTest : public HostTest {
protected:
  UINTN CountHandles() {
    UINTN Size = 0;
    Boot->LocateHandle(AllHandles, nullptr, nullptr, &Size, nullptr);
    return Size / sizeof(EFI_HANDLE);
  }

  // The next interface new since Registration, or null.
  VOID *Next(VOID *Registration, const EFI_GUID &Protocol = kProtocolA) {
    VOID *Found = nullptr;
    return Boot->LocateProtocol(&Protocol, Registration, &Found) == EFI_SUCCESS ? Found : nullptr;
  }
};

TEST_F(HandleDatabaseTest, InstallFindReinstallAndUninstall) {
  UINTN Before = CountHandles();
  EFI_HANDLE Handle = Install(kProtocolA, &InterfaceA);
  ASSERT_NE(Handle, nullptr);
  EXPECT_EQ(CountHandles(), Before + 1);
  EXPECT_EQ(Find(Handle, kProtocolA), &InterfaceA);
  VOID *Found = nullptr;
  EXPECT_EQ(Boot->HandleProtocol(Handle, &kProtocolB, &Found), EFI_UNSUPPORTED);
  EXPECT_EQ(Boot->HandleProtocol(Handle, &kProtocolA, nullptr), EFI_INVALID_PARAMETER);

  // Refused: a protocol twice, no handle pointer, no GUID, a handle that is not one.
  EXPECT_EQ(Boot->InstallProtocolInterface(&Handle, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceB),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->InstallProtocolInterface(nullptr, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceA),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->InstallProtocolInterface(&Handle, nullptr, EFI_NATIVE_INTERFACE, &InterfaceA),
            EFI_INVALID_PARAMETER);
  int NotAHandle = 0;
  EFI_HANDLE Bogus = &NotAHandle;
  EXPECT_EQ(Boot->InstallProtocolInterface(&Bogus, &kProtocolB, EFI_NATIVE_INTERFACE, &InterfaceA),
            EFI_INVALID_PARAMETER);

  // Reinstalling and uninstalling need the interface that is there.
  EXPECT_EQ(Boot->ReinstallProtocolInterface(Handle, &kProtocolA, &InterfaceB, &InterfaceC),
            EFI_NOT_FOUND);
  ASSERT_EQ(Boot->ReinstallProtocolInterface(Handle, &kProtocolA, &InterfaceA, &InterfaceB),
            EFI_SUCCESS);
  EXPECT_EQ(Find(Handle, kProtocolA), &InterfaceB);
  EXPECT_EQ(Boot->UninstallProtocolInterface(Handle, &kProtocolA, &InterfaceA), EFI_NOT_FOUND);
  EXPECT_EQ(Boot->UninstallProtocolInterface(Handle, &kProtocolB, &InterfaceB), EFI_NOT_FOUND);
  ASSERT_EQ(Boot->UninstallProtocolInterface(Handle, &kProtocolA, &InterfaceB), EFI_SUCCESS);
  // The empty handle disappears.
  EXPECT_EQ(CountHandles(), Before);
  EXPECT_EQ(Boot->HandleProtocol(Handle, &kProtocolA, &Found), EFI_INVALID_PARAMETER);
}

TEST_F(HandleDatabaseTest, LocateHandleAndProtocolInCreationOrder) {
  EFI_HANDLE First = Install(kProtocolA, &InterfaceA);
  EFI_HANDLE Second = Install(kProtocolA, &InterfaceB);
  UINTN Size = 0;
  ASSERT_EQ(Boot->LocateHandle(ByProtocol, &kProtocolA, nullptr, &Size, nullptr),
            EFI_BUFFER_TOO_SMALL);
  ASSERT_EQ(Size, 2 * sizeof(EFI_HANDLE));
  // One short of the need is still too small.
  EFI_HANDLE Handles[2] = {};
  UINTN Short = Size - 1;
  EXPECT_EQ(Boot->LocateHandle(ByProtocol, &kProtocolA, nullptr, &Short, Handles),
            EFI_BUFFER_TOO_SMALL);
  ASSERT_EQ(Boot->LocateHandle(ByProtocol, &kProtocolA, nullptr, &Size, Handles), EFI_SUCCESS);
  EXPECT_EQ(Handles[0], First);
  EXPECT_EQ(Handles[1], Second);
  EXPECT_EQ(Boot->LocateHandle(ByProtocol, &kProtocolB, nullptr, &Size, Handles), EFI_NOT_FOUND);
  EXPECT_EQ(Boot->LocateHandle(ByProtocol, &kProtocolA, nullptr, nullptr, Handles),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->LocateHandle(ByProtocol, nullptr, nullptr, &Size, Handles),
            EFI_INVALID_PARAMETER);

  EXPECT_EQ(Next(nullptr), &InterfaceA);
  VOID *Found = &InterfaceC;
  EXPECT_EQ(Boot->LocateProtocol(&kProtocolB, nullptr, &Found), EFI_NOT_FOUND);
  EXPECT_EQ(Found, nullptr);
  EXPECT_EQ(Boot->LocateProtocol(&kProtocolA, nullptr, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(HandleDatabaseTest, LocateHandleBufferAndProtocolsPerHandleAllocateFromPool) {
  EFI_HANDLE Handle = Install(kProtocolA, &InterfaceA);
  Install(kProtocolB, &InterfaceB, Handle);
  UINTN Count = 0;
  EFI_HANDLE *Buffer = nullptr;
  ASSERT_EQ(Boot->LocateHandleBuffer(ByProtocol, &kProtocolA, nullptr, &Count, &Buffer),
            EFI_SUCCESS);
  ASSERT_EQ(Count, 1U);
  EXPECT_EQ(Buffer[0], Handle);
  EXPECT_TRUE(Host.Pool().Owns(Buffer));
  EXPECT_EQ(Boot->FreePool(Buffer), EFI_SUCCESS);
  Count = 7;
  Buffer = reinterpret_cast<EFI_HANDLE *>(&Count);
  EXPECT_EQ(Boot->LocateHandleBuffer(ByProtocol, &kProtocolC, nullptr, &Count, &Buffer),
            EFI_NOT_FOUND);
  EXPECT_EQ(Count, 0U);
  EXPECT_EQ(Buffer, nullptr);
  EXPECT_EQ(Boot->LocateHandleBuffer(ByProtocol, &kProtocolA, nullptr, nullptr, &Buffer),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->LocateHandleBuffer(ByProtocol, &kProtocolA, nullptr, &Count, nullptr),
            EFI_INVALID_PARAMETER);
  Host.Pool().FailAllocation(1);
  EXPECT_EQ(Boot->LocateHandleBuffer(ByProtocol, &kProtocolA, nullptr, &Count, &Buffer),
            EFI_OUT_OF_RESOURCES);

  EFI_GUID **Guids = nullptr;
  ASSERT_EQ(Boot->ProtocolsPerHandle(Handle, &Guids, &Count), EFI_SUCCESS);
  ASSERT_EQ(Count, 2U);
  EXPECT_EQ(std::memcmp(Guids[0], &kProtocolA, sizeof(EFI_GUID)), 0);
  EXPECT_EQ(std::memcmp(Guids[1], &kProtocolB, sizeof(EFI_GUID)), 0);
  EXPECT_EQ(Boot->FreePool(Guids), EFI_SUCCESS);
  EXPECT_EQ(Boot->ProtocolsPerHandle(nullptr, &Guids, &Count), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->ProtocolsPerHandle(Handle, nullptr, &Count), EFI_INVALID_PARAMETER);
}

TEST_F(HandleDatabaseTest, RegistrationKeyYieldsEachNewInterfaceOnce) {
  int Notified = 0;
  EFI_EVENT Event = Counter(&Notified);
  Install(kProtocolA, &InterfaceA);
  VOID *Registration = nullptr;
  ASSERT_EQ(Boot->RegisterProtocolNotify(&kProtocolA, Event, &Registration), EFI_SUCCESS);
  // Installed before the registration: not new.
  EXPECT_EQ(Next(Registration), nullptr);
  EFI_HANDLE Second = Install(kProtocolA, &InterfaceB);
  Install(kProtocolA, &InterfaceC);
  EXPECT_EQ(Notified, 2);
  EXPECT_EQ(Next(Registration), &InterfaceB);
  EXPECT_EQ(Next(Registration), &InterfaceC);
  EXPECT_EQ(Next(Registration), nullptr);
  // A reinstallation counts as new again.
  int Replacement = 4;
  Boot->ReinstallProtocolInterface(Second, &kProtocolA, &InterfaceB, &Replacement);
  EXPECT_EQ(Notified, 3);
  EXPECT_EQ(Next(Registration), &Replacement);
  // An interface removed before it is read is not reported.
  EFI_HANDLE Gone = Install(kProtocolA, &InterfaceA);
  Boot->UninstallProtocolInterface(Gone, &kProtocolA, &InterfaceA);
  EXPECT_EQ(Next(Registration), nullptr);

  EXPECT_EQ(Boot->RegisterProtocolNotify(nullptr, Event, &Registration), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->RegisterProtocolNotify(&kProtocolA, nullptr, &Registration),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->RegisterProtocolNotify(&kProtocolA, Event, nullptr), EFI_INVALID_PARAMETER);
  // Closing the event ends its registration.
  Boot->CloseEvent(Event);
  Install(kProtocolA, &InterfaceA);
  EXPECT_EQ(Notified, 4);
  EXPECT_EQ(Next(Registration), nullptr);
}

TEST_F(HandleDatabaseTest, LocateHandleByRegisterNotifyReturnsOneNewHandleAtATime) {
  int Notified = 0;
  EFI_EVENT Event = Counter(&Notified);
  VOID *Registration = nullptr;
  Boot->RegisterProtocolNotify(&kProtocolB, Event, &Registration);
  EFI_HANDLE First = Install(kProtocolB, &InterfaceA);
  EFI_HANDLE Second = Install(kProtocolB, &InterfaceB);
  for (EFI_HANDLE Expected : {First, Second}) {
    EFI_HANDLE Found[2] = {};
    UINTN Size = sizeof(Found);
    ASSERT_EQ(Boot->LocateHandle(ByRegisterNotify, nullptr, Registration, &Size, Found),
              EFI_SUCCESS);
    EXPECT_EQ(Size, sizeof(EFI_HANDLE));
    EXPECT_EQ(Found[0], Expected);
  }
  EFI_HANDLE Found = nullptr;
  UINTN Size = sizeof(Found);
  EXPECT_EQ(Boot->LocateHandle(ByRegisterNotify, nullptr, Registration, &Size, &Found),
            EFI_NOT_FOUND);
  int NotARegistration = 0;
  EXPECT_EQ(Boot->LocateHandle(ByRegisterNotify, nullptr, &NotARegistration, &Size, &Found),
            EFI_INVALID_PARAMETER);
  Boot->CloseEvent(Event);
}

TEST_F(HandleDatabaseTest, InstallAndUninstallMultipleAreAllOrNothing) {
  UINTN Before = CountHandles();
  EFI_HANDLE Handle = nullptr;
  // The same protocol twice: the second fails and the first is taken back.
  EXPECT_EQ(Boot->InstallMultipleProtocolInterfaces(&Handle, &kProtocolA, &InterfaceA, &kProtocolB,
                                                    &InterfaceB, &kProtocolA, &InterfaceC, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Handle, nullptr);
  EXPECT_EQ(CountHandles(), Before);
  EFI_HANDLE Existing = Install(kProtocolB, &InterfaceB);
  EXPECT_EQ(Boot->InstallMultipleProtocolInterfaces(&Existing, &kProtocolA, &InterfaceA,
                                                    &kProtocolB, &InterfaceC, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Find(Existing, kProtocolA), nullptr);
  EXPECT_EQ(Find(Existing, kProtocolB), &InterfaceB);

  ASSERT_EQ(Boot->InstallMultipleProtocolInterfaces(&Handle, &kProtocolA, &InterfaceA, &kProtocolC,
                                                    &InterfaceC, nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(Find(Handle, kProtocolC), &InterfaceC);
  EXPECT_EQ(Boot->UninstallMultipleProtocolInterfaces(Handle, &kProtocolA, &InterfaceA, &kProtocolC,
                                                      &InterfaceB, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Find(Handle, kProtocolA), &InterfaceA);
  ASSERT_EQ(Boot->UninstallMultipleProtocolInterfaces(Handle, &kProtocolA, &InterfaceA, &kProtocolC,
                                                      &InterfaceC, nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(Find(Handle, kProtocolA), nullptr);
}

TEST_F(HandleDatabaseTest, InstallMultipleRefusesADuplicateDevicePath) {
  TestDevicePath Path = MakePath(1);
  TestDevicePath Same = MakePath(1);
  TestDevicePath Other = MakePath(2);
  EFI_HANDLE First = Install(gEfiDevicePathProtocolGuid, &Path);
  UINTN Before = CountHandles();
  EFI_HANDLE Second = nullptr;
  EXPECT_EQ(Boot->InstallMultipleProtocolInterfaces(&Second, &kProtocolA, &InterfaceA,
                                                    &gEfiDevicePathProtocolGuid, &Same, nullptr),
            EFI_ALREADY_STARTED);
  EXPECT_EQ(Second, nullptr);
  EXPECT_EQ(CountHandles(), Before);
  EXPECT_EQ(Boot->InstallMultipleProtocolInterfaces(&Second, &gEfiDevicePathProtocolGuid, &Other,
                                                    nullptr),
            EFI_SUCCESS);

  // The longest matching prefix gives the device and the rest of the path.
  Install(kProtocolA, &InterfaceA, First);
  TestDevicePath Wanted = MakePath(1);
  EFI_DEVICE_PATH_PROTOCOL *Remaining = &Wanted.Vendor.Header;
  EFI_HANDLE Device = nullptr;
  ASSERT_EQ(Boot->LocateDevicePath(&kProtocolA, &Remaining, &Device), EFI_SUCCESS);
  EXPECT_EQ(Device, First);
  EXPECT_EQ(Remaining, &Wanted.End);
  TestDevicePath Unknown = MakePath(8);
  Remaining = &Unknown.Vendor.Header;
  EXPECT_EQ(Boot->LocateDevicePath(&kProtocolA, &Remaining, &Device), EFI_NOT_FOUND);
}

// The notification of an InstallMultiple sees the whole set: the handle it finds has B too.
int SawBoth = 0;
VOID EFIAPI SeesBothProtocols(EFI_EVENT Event, VOID *Context) {
  EFI_BOOT_SERVICES *Boot = Platform::Current().BootServices();
  VOID *Registration = *static_cast<VOID **>(Context);
  EFI_HANDLE Handle = nullptr;
  UINTN Size = sizeof(Handle);
  VOID *Found = nullptr;
  EXPECT_EQ(Boot->LocateHandle(ByRegisterNotify, nullptr, Registration, &Size, &Handle),
            EFI_SUCCESS);
  EXPECT_EQ(Boot->HandleProtocol(Handle, &kProtocolB, &Found), EFI_SUCCESS);
  SawBoth++;
}

TEST_F(HandleDatabaseTest, InstallMultipleNotifiesOnlyOnceTheWholeSetIsInstalled) {
  SawBoth = 0;
  VOID *Registration = nullptr;
  EFI_EVENT Event = nullptr;
  Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, SeesBothProtocols, &Registration, &Event);
  Boot->RegisterProtocolNotify(&kProtocolA, Event, &Registration);
  EFI_HANDLE Handle = nullptr;
  ASSERT_EQ(Boot->InstallMultipleProtocolInterfaces(&Handle, &kProtocolA, &InterfaceA, &kProtocolB,
                                                    &InterfaceB, nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(SawBoth, 1);
  Boot->CloseEvent(Event);
}

TEST_F(HandleDatabaseTest, OpenProtocolKeepsDriversApart) {
  EFI_HANDLE Controller = Install(kProtocolA, &InterfaceA);
  EFI_HANDLE DriverOne = Install(kProtocolB, &InterfaceB);
  EFI_HANDLE DriverTwo = Install(kProtocolB, &InterfaceC);
  VOID *Found = nullptr;
  auto Open = [&](EFI_HANDLE Agent, UINT32 Attributes, VOID **Interface) {
    return Boot->OpenProtocol(Controller, &kProtocolA, Interface, Agent,
                              Agent != nullptr ? Controller : nullptr, Attributes);
  };
  ASSERT_EQ(Open(DriverOne, EFI_OPEN_PROTOCOL_BY_DRIVER, &Found), EFI_SUCCESS);
  EXPECT_EQ(Found, &InterfaceA);
  EXPECT_EQ(Open(DriverOne, EFI_OPEN_PROTOCOL_BY_DRIVER, &Found), EFI_ALREADY_STARTED);
  EXPECT_EQ(Open(DriverTwo, EFI_OPEN_PROTOCOL_BY_DRIVER, &Found), EFI_ACCESS_DENIED);
  // Plain gets still work, and a held protocol cannot be pulled away.
  EXPECT_EQ(Open(nullptr, EFI_OPEN_PROTOCOL_GET_PROTOCOL, &Found), EFI_SUCCESS);
  EXPECT_EQ(Boot->UninstallProtocolInterface(Controller, &kProtocolA, &InterfaceA),
            EFI_ACCESS_DENIED);
  ASSERT_EQ(Boot->CloseProtocol(Controller, &kProtocolA, DriverOne, Controller), EFI_SUCCESS);
  EXPECT_EQ(Boot->CloseProtocol(Controller, &kProtocolA, DriverOne, Controller), EFI_NOT_FOUND);
  EXPECT_EQ(Open(DriverTwo, EFI_OPEN_PROTOCOL_BY_DRIVER, &Found), EFI_SUCCESS);

  EXPECT_EQ(Open(nullptr, EFI_OPEN_PROTOCOL_GET_PROTOCOL, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Open(nullptr, EFI_OPEN_PROTOCOL_TEST_PROTOCOL, nullptr), EFI_SUCCESS);
  EXPECT_EQ(Open(nullptr, 0x40, &Found), EFI_INVALID_PARAMETER);
  Found = &InterfaceC;
  EXPECT_EQ(Boot->OpenProtocol(Controller, &kProtocolC, &Found, nullptr, nullptr,
                               EFI_OPEN_PROTOCOL_GET_PROTOCOL),
            EFI_UNSUPPORTED);
  EXPECT_EQ(Found, nullptr);
}

TEST(DevicePathSize, CountsUpToTheEndNodeAndRejectsBrokenNodes) {
  TestDevicePath Path = MakePath(0);
  EXPECT_EQ(DevicePathSize(&Path.Vendor.Header), sizeof(VENDOR_DEVICE_PATH) + 4);
  Path.Vendor.Header.Length[0] = 2;
  EXPECT_EQ(DevicePathSize(&Path.Vendor.Header), 0U);
  EXPECT_EQ(DevicePathSize(nullptr), 0U);
}

} // namespace
} // namespace morvane::host::test
