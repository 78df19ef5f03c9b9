#include <algorithm>
#include <cstring>
#include <vector>

#include "host/handle_database.h"
#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

using HandleDatabaseTest = HostTest;

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

UINTN CountHandles(EFI_BOOT_SERVICES *Boot) {
  UINTN Size = 0;
  Boot->LocateHandle(AllHandles, nullptr, nullptr, &Size, nullptr);
  return Size / sizeof(EFI_HANDLE);
}

TEST_F(HandleDatabaseTest, InstallCreatesAHandleWhenNoneIsGiven) {
  EFI_HANDLE Handle = nullptr;
  ASSERT_EQ(Boot->InstallProtocolInterface(&Handle, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceA),
            EFI_SUCCESS);
  ASSERT_NE(Handle, nullptr);
  VOID *Found = nullptr;
  ASSERT_EQ(Boot->HandleProtocol(Handle, &kProtocolA, &Found), EFI_SUCCESS);
  EXPECT_EQ(Found, &InterfaceA);
  EXPECT_EQ(Boot->HandleProtocol(Handle, &kProtocolB, &Found), EFI_UNSUPPORTED);
}

TEST_F(HandleDatabaseTest, InstallRefusesWhatThePublishedServiceRefuses) {
  EFI_HANDLE Handle = nullptr;
  ASSERT_EQ(Boot->InstallProtocolInterface(&Handle, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceA),
            EFI_SUCCESS);
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
}

TEST_F(HandleDatabaseTest, UninstallNeedsTheSameInterfaceAndEmptyHandlesDisappear) {
  UINTN Before = CountHandles(Boot);
  EFI_HANDLE Handle = nullptr;
  ASSERT_EQ(Boot->InstallProtocolInterface(&Handle, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceA),
            EFI_SUCCESS);
  EXPECT_EQ(CountHandles(Boot), Before + 1);
  EXPECT_EQ(Boot->UninstallProtocolInterface(Handle, &kProtocolA, &InterfaceB), EFI_NOT_FOUND);
  EXPECT_EQ(Boot->UninstallProtocolInterface(Handle, &kProtocolB, &InterfaceA), EFI_NOT_FOUND);
  ASSERT_EQ(Boot->UninstallProtocolInterface(Handle, &kProtocolA, &InterfaceA), EFI_SUCCESS);
  EXPECT_EQ(CountHandles(Boot), Before);
  VOID *Found = nullptr;
  EXPECT_EQ(Boot->HandleProtocol(Handle, &kProtocolA, &Found), EFI_INVALID_PARAMETER);
}

TEST_F(HandleDatabaseTest, ReinstallReplacesOnlyAMatchingInterface) {
  EFI_HANDLE Handle = nullptr;
  Boot->InstallProtocolInterface(&Handle, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceA);
  EXPECT_EQ(Boot->ReinstallProtocolInterface(Handle, &kProtocolA, &InterfaceB, &InterfaceC),
            EFI_NOT_FOUND);
  ASSERT_EQ(Boot->ReinstallProtocolInterface(Handle, &kProtocolA, &InterfaceA, &InterfaceB),
            EFI_SUCCESS);
  VOID *Found = nullptr;
  Boot->HandleProtocol(Handle, &kProtocolA, &Found);
  EXPECT_EQ(Found, &InterfaceB);
}

TEST_F(HandleDatabaseTest, LocateHandleFollowsTheTwoCallIdiomInCreationOrder) {
  EFI_HANDLE First = nullptr;
  EFI_HANDLE Second = nullptr;
  Boot->InstallProtocolInterface(&First, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceA);
  Boot->InstallProtocolInterface(&Second, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceB);
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
}

TEST_F(HandleDatabaseTest, LocateHandleBufferAllocatesFromPool) {
  EFI_HANDLE First = nullptr;
  Boot->InstallProtocolInterface(&First, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceA);
  UINTN Count = 0;
  EFI_HANDLE *Buffer = nullptr;
  ASSERT_EQ(Boot->LocateHandleBuffer(ByProtocol, &kProtocolA, nullptr, &Count, &Buffer),
            EFI_SUCCESS);
  ASSERT_EQ(Count, 1U);
  EXPECT_EQ(Buffer[0], First);
  EXPECT_TRUE(Host.Pool().Owns(Buffer));
  EXPECT_EQ(Boot->FreePool(Buffer), EFI_SUCCESS);

  Count = 7;
  Buffer = reinterpret_cast<EFI_HANDLE *>(&Count);
  EXPECT_EQ(Boot->LocateHandleBuffer(ByProtocol, &kProtocolB, nullptr, &Count, &Buffer),
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
}

TEST_F(HandleDatabaseTest, LocateProtocolReturnsTheFirstInstalled) {
  EFI_HANDLE First = nullptr;
  EFI_HANDLE Second = nullptr;
  Boot->InstallProtocolInterface(&First, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceA);
  Boot->InstallProtocolInterface(&Second, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceB);
  VOID *Found = nullptr;
  ASSERT_EQ(Boot->LocateProtocol(&kProtocolA, nullptr, &Found), EFI_SUCCESS);
  EXPECT_EQ(Found, &InterfaceA);
  Found = &InterfaceC;
  EXPECT_EQ(Boot->LocateProtocol(&kProtocolB, nullptr, &Found), EFI_NOT_FOUND);
  EXPECT_EQ(Found, nullptr);
  EXPECT_EQ(Boot->LocateProtocol(&kProtocolA, nullptr, nullptr), EFI_INVALID_PARAMETER);
}

int NotifyCount = 0;
VOID EFIAPI CountNotify(EFI_EVENT Event, VOID *Context) {
  NotifyCount++;
}

TEST_F(HandleDatabaseTest, RegistrationKeyYieldsEachNewInterfaceOnce) {
  NotifyCount = 0;
  EFI_EVENT Event = nullptr;
  ASSERT_EQ(Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, CountNotify, nullptr, &Event),
            EFI_SUCCESS);
  EFI_HANDLE Existing = nullptr;
  Boot->InstallProtocolInterface(&Existing, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceA);
  VOID *Registration = nullptr;
  ASSERT_EQ(Boot->RegisterProtocolNotify(&kProtocolA, Event, &Registration), EFI_SUCCESS);
  VOID *Found = nullptr;
  // Installed before the registration: not new.
  EXPECT_EQ(Boot->LocateProtocol(&kProtocolA, Registration, &Found), EFI_NOT_FOUND);

  EFI_HANDLE Second = nullptr;
  EFI_HANDLE Third = nullptr;
  Boot->InstallProtocolInterface(&Second, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceB);
  Boot->InstallProtocolInterface(&Third, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceC);
  EXPECT_EQ(NotifyCount, 2);
  ASSERT_EQ(Boot->LocateProtocol(&kProtocolA, Registration, &Found), EFI_SUCCESS);
  EXPECT_EQ(Found, &InterfaceB);
  ASSERT_EQ(Boot->LocateProtocol(&kProtocolA, Registration, &Found), EFI_SUCCESS);
  EXPECT_EQ(Found, &InterfaceC);
  EXPECT_EQ(Boot->LocateProtocol(&kProtocolA, Registration, &Found), EFI_NOT_FOUND);

  // A reinstallation counts as new again.
  int Replacement = 4;
  Boot->ReinstallProtocolInterface(Second, &kProtocolA, &InterfaceB, &Replacement);
  EXPECT_EQ(NotifyCount, 3);
  ASSERT_EQ(Boot->LocateProtocol(&kProtocolA, Registration, &Found), EFI_SUCCESS);
  EXPECT_EQ(Found, &Replacement);
  Boot->CloseEvent(Event);
}

TEST_F(HandleDatabaseTest, AnInterfaceRemovedBeforeItIsReadIsNotReported) {
  EFI_EVENT Event = nullptr;
  Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, CountNotify, nullptr, &Event);
  VOID *Registration = nullptr;
  Boot->RegisterProtocolNotify(&kProtocolA, Event, &Registration);
  EFI_HANDLE Handle = nullptr;
  Boot->InstallProtocolInterface(&Handle, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceA);
  Boot->UninstallProtocolInterface(Handle, &kProtocolA, &InterfaceA);
  VOID *Found = nullptr;
  EXPECT_EQ(Boot->LocateProtocol(&kProtocolA, Registration, &Found), EFI_NOT_FOUND);
  Boot->CloseEvent(Event);
}

TEST_F(HandleDatabaseTest, LocateHandleByRegisterNotifyReturnsOneNewHandleAtATime) {
  EFI_EVENT Event = nullptr;
  Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, CountNotify, nullptr, &Event);
  VOID *Registration = nullptr;
  Boot->RegisterProtocolNotify(&kProtocolB, Event, &Registration);
  EFI_HANDLE First = nullptr;
  EFI_HANDLE Second = nullptr;
  Boot->InstallProtocolInterface(&First, &kProtocolB, EFI_NATIVE_INTERFACE, &InterfaceA);
  Boot->InstallProtocolInterface(&Second, &kProtocolB, EFI_NATIVE_INTERFACE, &InterfaceB);
  EFI_HANDLE Found[2] = {};
  UINTN Size = sizeof(Found);
  ASSERT_EQ(Boot->LocateHandle(ByRegisterNotify, nullptr, Registration, &Size, Found), EFI_SUCCESS);
  EXPECT_EQ(Size, sizeof(EFI_HANDLE));
  EXPECT_EQ(Found[0], First);
  Size = sizeof(Found);
  ASSERT_EQ(Boot->LocateHandle(ByRegisterNotify, nullptr, Registration, &Size, Found), EFI_SUCCESS);
  EXPECT_EQ(Found[0], Second);
  EXPECT_EQ(Boot->LocateHandle(ByRegisterNotify, nullptr, Registration, &Size, Found),
            EFI_NOT_FOUND);
  int NotARegistration = 0;
  EXPECT_EQ(Boot->LocateHandle(ByRegisterNotify, nullptr, &NotARegistration, &Size, Found),
            EFI_INVALID_PARAMETER);
  Boot->CloseEvent(Event);
}

TEST_F(HandleDatabaseTest, ClosingTheEventEndsItsRegistration) {
  NotifyCount = 0;
  EFI_EVENT Event = nullptr;
  Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, CountNotify, nullptr, &Event);
  VOID *Registration = nullptr;
  Boot->RegisterProtocolNotify(&kProtocolA, Event, &Registration);
  Boot->CloseEvent(Event);
  EFI_HANDLE Handle = nullptr;
  Boot->InstallProtocolInterface(&Handle, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceA);
  EXPECT_EQ(NotifyCount, 0);
  VOID *Found = nullptr;
  EXPECT_EQ(Boot->LocateProtocol(&kProtocolA, Registration, &Found), EFI_NOT_FOUND);
}

TEST_F(HandleDatabaseTest, RegisterProtocolNotifyRefusesNullArguments) {
  EFI_EVENT Event = nullptr;
  Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, CountNotify, nullptr, &Event);
  VOID *Registration = nullptr;
  EXPECT_EQ(Boot->RegisterProtocolNotify(nullptr, Event, &Registration), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->RegisterProtocolNotify(&kProtocolA, nullptr, &Registration),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->RegisterProtocolNotify(&kProtocolA, Event, nullptr), EFI_INVALID_PARAMETER);
  Boot->CloseEvent(Event);
}

TEST_F(HandleDatabaseTest, InstallMultipleIsAllOrNothing) {
  UINTN Before = CountHandles(Boot);
  EFI_HANDLE Handle = nullptr;
  // The same protocol twice: the second fails and the first is taken back.
  EXPECT_EQ(Boot->InstallMultipleProtocolInterfaces(&Handle, &kProtocolA, &InterfaceA, &kProtocolB,
                                                    &InterfaceB, &kProtocolA, &InterfaceC, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Handle, nullptr);
  EXPECT_EQ(CountHandles(Boot), Before);

  EFI_HANDLE Existing = nullptr;
  Boot->InstallProtocolInterface(&Existing, &kProtocolB, EFI_NATIVE_INTERFACE, &InterfaceB);
  EXPECT_EQ(Boot->InstallMultipleProtocolInterfaces(&Existing, &kProtocolA, &InterfaceA,
                                                    &kProtocolB, &InterfaceC, nullptr),
            EFI_INVALID_PARAMETER);
  VOID *Found = nullptr;
  EXPECT_EQ(Boot->HandleProtocol(Existing, &kProtocolA, &Found), EFI_UNSUPPORTED);
  Boot->HandleProtocol(Existing, &kProtocolB, &Found);
  EXPECT_EQ(Found, &InterfaceB);

  ASSERT_EQ(Boot->InstallMultipleProtocolInterfaces(&Handle, &kProtocolA, &InterfaceA, &kProtocolC,
                                                    &InterfaceC, nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(Boot->HandleProtocol(Handle, &kProtocolC, &Found), EFI_SUCCESS);
}

TEST_F(HandleDatabaseTest, InstallMultipleRefusesADuplicateDevicePath) {
  TestDevicePath Path = MakePath(1);
  TestDevicePath Same = MakePath(1);
  TestDevicePath Other = MakePath(2);
  EFI_HANDLE First = nullptr;
  ASSERT_EQ(
      Boot->InstallMultipleProtocolInterfaces(&First, &gEfiDevicePathProtocolGuid, &Path, nullptr),
      EFI_SUCCESS);
  UINTN Before = CountHandles(Boot);
  EFI_HANDLE Second = nullptr;
  EXPECT_EQ(Boot->InstallMultipleProtocolInterfaces(&Second, &kProtocolA, &InterfaceA,
                                                    &gEfiDevicePathProtocolGuid, &Same, nullptr),
            EFI_ALREADY_STARTED);
  EXPECT_EQ(Second, nullptr);
  EXPECT_EQ(CountHandles(Boot), Before);
  EXPECT_EQ(Boot->InstallMultipleProtocolInterfaces(&Second, &gEfiDevicePathProtocolGuid, &Other,
                                                    nullptr),
            EFI_SUCCESS);
}

VOID EFIAPI SeesBothProtocols(EFI_EVENT Event, VOID *Context) {
  EFI_BOOT_SERVICES *Boot = Platform::Current().BootServices();
  VOID *Registration = *static_cast<VOID **>(Context);
  EFI_HANDLE Handle = nullptr;
  UINTN Size = sizeof(Handle);
  if (Boot->LocateHandle(ByRegisterNotify, nullptr, Registration, &Size, &Handle) != EFI_SUCCESS) {
    return;
  }
  VOID *Found = nullptr;
  NotifyCount = Boot->HandleProtocol(Handle, &kProtocolB, &Found) == EFI_SUCCESS ? 100 : -1;
}

TEST_F(HandleDatabaseTest, InstallMultipleNotifiesOnlyOnceTheWholeSetIsInstalled) {
  NotifyCount = 0;
  VOID *Registration = nullptr;
  EFI_EVENT Event = nullptr;
  Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, SeesBothProtocols, &Registration, &Event);
  Boot->RegisterProtocolNotify(&kProtocolA, Event, &Registration);
  EFI_HANDLE Handle = nullptr;
  ASSERT_EQ(Boot->InstallMultipleProtocolInterfaces(&Handle, &kProtocolA, &InterfaceA, &kProtocolB,
                                                    &InterfaceB, nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(NotifyCount, 100);
  Boot->CloseEvent(Event);
}

TEST_F(HandleDatabaseTest, UninstallMultipleIsAllOrNothing) {
  EFI_HANDLE Handle = nullptr;
  Boot->InstallMultipleProtocolInterfaces(&Handle, &kProtocolA, &InterfaceA, &kProtocolB,
                                          &InterfaceB, nullptr);
  EXPECT_EQ(Boot->UninstallMultipleProtocolInterfaces(Handle, &kProtocolA, &InterfaceA, &kProtocolB,
                                                      &InterfaceC, nullptr),
            EFI_INVALID_PARAMETER);
  VOID *Found = nullptr;
  EXPECT_EQ(Boot->HandleProtocol(Handle, &kProtocolA, &Found), EFI_SUCCESS);
  ASSERT_EQ(Boot->UninstallMultipleProtocolInterfaces(Handle, &kProtocolA, &InterfaceA, &kProtocolB,
                                                      &InterfaceB, nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(Boot->HandleProtocol(Handle, &kProtocolA, &Found), EFI_INVALID_PARAMETER);
}

TEST_F(HandleDatabaseTest, ProtocolsPerHandleListsGuidsInPool) {
  EFI_HANDLE Handle = nullptr;
  Boot->InstallMultipleProtocolInterfaces(&Handle, &kProtocolA, &InterfaceA, &kProtocolB,
                                          &InterfaceB, nullptr);
  EFI_GUID **Guids = nullptr;
  UINTN Count = 0;
  ASSERT_EQ(Boot->ProtocolsPerHandle(Handle, &Guids, &Count), EFI_SUCCESS);
  ASSERT_EQ(Count, 2U);
  EXPECT_EQ(std::memcmp(Guids[0], &kProtocolA, sizeof(EFI_GUID)), 0);
  EXPECT_EQ(std::memcmp(Guids[1], &kProtocolB, sizeof(EFI_GUID)), 0);
  EXPECT_EQ(Boot->FreePool(Guids), EFI_SUCCESS);
  EXPECT_EQ(Boot->ProtocolsPerHandle(nullptr, &Guids, &Count), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->ProtocolsPerHandle(Handle, nullptr, &Count), EFI_INVALID_PARAMETER);
}

TEST_F(HandleDatabaseTest, OpenProtocolKeepsDriversApart) {
  EFI_HANDLE Controller = nullptr;
  EFI_HANDLE DriverOne = nullptr;
  EFI_HANDLE DriverTwo = nullptr;
  Boot->InstallProtocolInterface(&Controller, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceA);
  Boot->InstallProtocolInterface(&DriverOne, &kProtocolB, EFI_NATIVE_INTERFACE, &InterfaceB);
  Boot->InstallProtocolInterface(&DriverTwo, &kProtocolB, EFI_NATIVE_INTERFACE, &InterfaceC);
  VOID *Found = nullptr;
  ASSERT_EQ(Boot->OpenProtocol(Controller, &kProtocolA, &Found, DriverOne, Controller,
                               EFI_OPEN_PROTOCOL_BY_DRIVER),
            EFI_SUCCESS);
  EXPECT_EQ(Found, &InterfaceA);
  EXPECT_EQ(Boot->OpenProtocol(Controller, &kProtocolA, &Found, DriverOne, Controller,
                               EFI_OPEN_PROTOCOL_BY_DRIVER),
            EFI_ALREADY_STARTED);
  EXPECT_EQ(Boot->OpenProtocol(Controller, &kProtocolA, &Found, DriverTwo, Controller,
                               EFI_OPEN_PROTOCOL_BY_DRIVER),
            EFI_ACCESS_DENIED);
  // Plain gets still work, and a held protocol cannot be pulled away.
  EXPECT_EQ(Boot->OpenProtocol(Controller, &kProtocolA, &Found, nullptr, nullptr,
                               EFI_OPEN_PROTOCOL_GET_PROTOCOL),
            EFI_SUCCESS);
  EXPECT_EQ(Boot->UninstallProtocolInterface(Controller, &kProtocolA, &InterfaceA),
            EFI_ACCESS_DENIED);
  ASSERT_EQ(Boot->CloseProtocol(Controller, &kProtocolA, DriverOne, Controller), EFI_SUCCESS);
  EXPECT_EQ(Boot->CloseProtocol(Controller, &kProtocolA, DriverOne, Controller), EFI_NOT_FOUND);
  EXPECT_EQ(Boot->OpenProtocol(Controller, &kProtocolA, &Found, DriverTwo, Controller,
                               EFI_OPEN_PROTOCOL_BY_DRIVER),
            EFI_SUCCESS);
}

TEST_F(HandleDatabaseTest, OpenProtocolStatusesForMissingAndNullArguments) {
  EFI_HANDLE Handle = nullptr;
  Boot->InstallProtocolInterface(&Handle, &kProtocolA, EFI_NATIVE_INTERFACE, &InterfaceA);
  VOID *Found = &InterfaceC;
  EXPECT_EQ(Boot->OpenProtocol(Handle, &kProtocolB, &Found, nullptr, nullptr,
                               EFI_OPEN_PROTOCOL_GET_PROTOCOL),
            EFI_UNSUPPORTED);
  EXPECT_EQ(Found, nullptr);
  EXPECT_EQ(Boot->OpenProtocol(Handle, &kProtocolA, nullptr, nullptr, nullptr,
                               EFI_OPEN_PROTOCOL_GET_PROTOCOL),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->OpenProtocol(Handle, &kProtocolA, nullptr, nullptr, nullptr,
                               EFI_OPEN_PROTOCOL_TEST_PROTOCOL),
            EFI_SUCCESS);
  EXPECT_EQ(Boot->OpenProtocol(Handle, &kProtocolA, &Found, nullptr, nullptr, 0x40),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->HandleProtocol(Handle, &kProtocolA, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(HandleDatabaseTest, LocateDevicePathFindsTheLongestPrefix) {
  TestDevicePath Path = MakePath(7);
  EFI_HANDLE Handle = nullptr;
  Boot->InstallMultipleProtocolInterfaces(&Handle, &gEfiDevicePathProtocolGuid, &Path, &kProtocolA,
                                          &InterfaceA, nullptr);
  TestDevicePath Wanted = MakePath(7);
  EFI_DEVICE_PATH_PROTOCOL *Remaining = &Wanted.Vendor.Header;
  EFI_HANDLE Device = nullptr;
  ASSERT_EQ(Boot->LocateDevicePath(&kProtocolA, &Remaining, &Device), EFI_SUCCESS);
  EXPECT_EQ(Device, Handle);
  EXPECT_EQ(Remaining, &Wanted.End);
  TestDevicePath Unknown = MakePath(8);
  Remaining = &Unknown.Vendor.Header;
  EXPECT_EQ(Boot->LocateDevicePath(&kProtocolA, &Remaining, &Device), EFI_NOT_FOUND);
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
