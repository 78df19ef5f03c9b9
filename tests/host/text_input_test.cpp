// Keyboard input through the simple and extended text input protocols, key notifications, the
// late extended protocol, and the speaker.
#include <vector>

#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

class TextInputTest : public HostTest {
protected:
  EFI_SIMPLE_TEXT_INPUT_PROTOCOL *In = System->ConIn;
  EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL *InEx() {
    VOID *Interface = nullptr;
    EXPECT_EQ(Boot->LocateProtocol(&gEfiSimpleTextInputExProtocolGuid, nullptr, &Interface),
              EFI_SUCCESS);
    return static_cast<EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL *>(Interface);
  }
};

TEST_F(TextInputTest, BothProtocolsReadOneQueueInOrder) {
  EFI_INPUT_KEY Key{};
  EFI_KEY_DATA Data{};
  EXPECT_EQ(In->ReadKeyStroke(In, &Key), EFI_NOT_READY);
  EXPECT_TRUE(Host.WaitingForKey());
  EXPECT_EQ(InEx()->ReadKeyStrokeEx(InEx(), &Data), EFI_NOT_READY);
  EXPECT_EQ(InEx()->ReadKeyStrokeEx(InEx(), nullptr), EFI_INVALID_PARAMETER);
  Host.Keyboard().PushKey(SCAN_UP, 0);
  Host.Keyboard().PushKey(SCAN_NULL, u'a');
  ASSERT_EQ(In->ReadKeyStroke(In, &Key), EFI_SUCCESS);
  EXPECT_EQ(Key.ScanCode, SCAN_UP);
  EXPECT_FALSE(Host.WaitingForKey());
  ASSERT_EQ(InEx()->ReadKeyStrokeEx(InEx(), &Data), EFI_SUCCESS);
  EXPECT_EQ(Data.Key.UnicodeChar, u'a');
  EXPECT_EQ(In->ReadKeyStroke(In, &Key), EFI_NOT_READY);

  // The shift state is valid only with modifiers.
  for (UINT32 Modifiers : {0u, UINT32(EFI_LEFT_ALT_PRESSED),
                           UINT32(EFI_LEFT_SHIFT_PRESSED | EFI_RIGHT_CONTROL_PRESSED)}) {
    Host.Keyboard().PushKey(SCAN_NULL, u'x', Modifiers);
    ASSERT_EQ(InEx()->ReadKeyStrokeEx(InEx(), &Data), EFI_SUCCESS);
    EXPECT_EQ(Data.KeyState.KeyShiftState, Modifiers == 0 ? 0 : EFI_SHIFT_STATE_VALID | Modifiers);
  }
}

TEST_F(TextInputTest, KeyWaitEventsAreSignalledWhileKeysArePending) {
  EXPECT_EQ(Boot->CheckEvent(In->WaitForKey), EFI_NOT_READY);
  EXPECT_EQ(Boot->CheckEvent(InEx()->WaitForKeyEx), EFI_NOT_READY);
  Host.Keyboard().PushKey(SCAN_ESC, 0);
  EXPECT_EQ(Boot->CheckEvent(In->WaitForKey), EFI_SUCCESS);
  EXPECT_EQ(Boot->CheckEvent(InEx()->WaitForKeyEx), EFI_SUCCESS);
  EFI_INPUT_KEY Key{};
  In->ReadKeyStroke(In, &Key);
  EXPECT_EQ(Boot->CheckEvent(In->WaitForKey), EFI_NOT_READY);
  // A reset drops pending keys.
  Host.Keyboard().PushKey(SCAN_NULL, u'a');
  ASSERT_EQ(In->Reset(In, FALSE), EFI_SUCCESS);
  EXPECT_EQ(In->ReadKeyStroke(In, &Key), EFI_NOT_READY);
}

TEST_F(TextInputTest, SetStateNeedsAValidToggleState) {
  EFI_KEY_TOGGLE_STATE State = EFI_CAPS_LOCK_ACTIVE;
  EXPECT_EQ(InEx()->SetState(InEx(), &State), EFI_UNSUPPORTED);
  EXPECT_EQ(InEx()->SetState(InEx(), nullptr), EFI_INVALID_PARAMETER);
  State = EFI_TOGGLE_STATE_VALID | EFI_NUM_LOCK_ACTIVE;
  ASSERT_EQ(InEx()->SetState(InEx(), &State), EFI_SUCCESS);
  Host.Keyboard().PushKey(SCAN_NULL, u'1');
  EFI_KEY_DATA Data{};
  InEx()->ReadKeyStrokeEx(InEx(), &Data);
  EXPECT_EQ(Data.KeyState.KeyToggleState, EFI_TOGGLE_STATE_VALID | EFI_NUM_LOCK_ACTIVE);
}

std::vector<CHAR16> Notified;
EFI_STATUS EFIAPI OnKey(EFI_KEY_DATA *Key) {
  Notified.push_back(Key->Key.UnicodeChar);
  return EFI_SUCCESS;
}

TEST_F(TextInputTest, KeyNotificationsRunForMatchingKeysUntilUnregistered) {
  Notified.clear();
  EFI_KEY_DATA Wanted{};
  Wanted.Key.UnicodeChar = u'q';
  VOID *Handle = nullptr;
  ASSERT_EQ(InEx()->RegisterKeyNotify(InEx(), &Wanted, OnKey, &Handle), EFI_SUCCESS);
  EFI_KEY_DATA AltOnly{};
  AltOnly.Key.UnicodeChar = u'w';
  AltOnly.KeyState.KeyShiftState = EFI_SHIFT_STATE_VALID | EFI_LEFT_ALT_PRESSED;
  VOID *AltHandle = nullptr;
  ASSERT_EQ(InEx()->RegisterKeyNotify(InEx(), &AltOnly, OnKey, &AltHandle), EFI_SUCCESS);

  Host.Keyboard().PushKey(SCAN_NULL, u'q');
  Host.Keyboard().PushKey(SCAN_NULL, u'x');
  Host.Keyboard().PushKey(SCAN_NULL, u'w');
  Host.Keyboard().PushKey(SCAN_NULL, u'w', EFI_LEFT_ALT_PRESSED);
  EXPECT_EQ(Notified, (std::vector<CHAR16>{u'q', u'w'}));

  ASSERT_EQ(InEx()->UnregisterKeyNotify(InEx(), Handle), EFI_SUCCESS);
  Host.Keyboard().PushKey(SCAN_NULL, u'q');
  EXPECT_EQ(Notified.size(), 2U);
  EXPECT_EQ(InEx()->UnregisterKeyNotify(InEx(), Handle), EFI_INVALID_PARAMETER);
  EXPECT_EQ(InEx()->RegisterKeyNotify(InEx(), nullptr, OnKey, &Handle), EFI_INVALID_PARAMETER);
  EXPECT_EQ(InEx()->RegisterKeyNotify(InEx(), &Wanted, nullptr, &Handle), EFI_INVALID_PARAMETER);
  EXPECT_EQ(InEx()->RegisterKeyNotify(InEx(), &Wanted, OnKey, nullptr), EFI_INVALID_PARAMETER);
}

TEST(LateExtendedInput, InstalledLaterAndFoundThroughItsNotification) {
  PlatformOptions Options;
  Options.ExtendedInput = false;
  Platform Host(Options);
  EFI_BOOT_SERVICES *Boot = Host.BootServices();
  VOID *Interface = nullptr;
  EXPECT_EQ(Boot->LocateProtocol(&gEfiSimpleTextInputExProtocolGuid, nullptr, &Interface),
            EFI_NOT_FOUND);
  int ExtendedArrivals = 0;
  EFI_EVENT Event = nullptr;
  Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, CountCalls, &ExtendedArrivals, &Event);
  VOID *Registration = nullptr;
  Boot->RegisterProtocolNotify(&gEfiSimpleTextInputExProtocolGuid, Event, &Registration);
  ASSERT_EQ(Host.InstallExtendedInput(), EFI_SUCCESS);
  EXPECT_EQ(ExtendedArrivals, 1);
  ASSERT_EQ(Boot->LocateProtocol(&gEfiSimpleTextInputExProtocolGuid, Registration, &Interface),
            EFI_SUCCESS);
  EXPECT_EQ(Interface, Host.Keyboard().ExtendedProtocol());
  ASSERT_EQ(
      Boot->HandleProtocol(Host.ConsoleInHandle(), &gEfiSimpleTextInputExProtocolGuid, &Interface),
      EFI_SUCCESS);
  EXPECT_EQ(Host.InstallExtendedInput(), EFI_ALREADY_STARTED);
  Boot->CloseEvent(Event);
}

TEST_F(TextInputTest, SpeakerCountsBeepsAndRingsTheHook) {
  VOID *Interface = nullptr;
  ASSERT_EQ(Boot->LocateProtocol(&gSpeakerInterfaceProtocolGuid, nullptr, &Interface), EFI_SUCCESS);
  auto *Speaker = static_cast<SPEAKER_INTERFACE_PROTOCOL *>(Interface);
  UINTN Rung = 0;
  Host.Speaker()->SetBeepHook([&Rung](UINTN Count) { Rung += Count; });
  ASSERT_EQ(Speaker->GenerateBeep(Speaker, 1, 250000, 125000), EFI_SUCCESS);
  ASSERT_EQ(Speaker->GenerateBeep(Speaker, 2, 250000, 125000), EFI_SUCCESS);
  EXPECT_EQ(Host.Speaker()->Beeps(), 3U);
  EXPECT_EQ(Rung, 3U);
  EXPECT_EQ(Speaker->GenerateBeep(Speaker, 0, 1, 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Speaker->SetFrequency(Speaker, 0), EFI_INVALID_PARAMETER);
}

TEST(SpeakerOption, CanBeLeftOut) {
  PlatformOptions Options;
  Options.Speaker = false;
  Platform Host(Options);
  VOID *Interface = nullptr;
  EXPECT_EQ(
      Host.BootServices()->LocateProtocol(&gSpeakerInterfaceProtocolGuid, nullptr, &Interface),
      EFI_NOT_FOUND);
  EXPECT_EQ(Host.Speaker(), nullptr);
}

} // namespace
} // namespace morvane::host::test
