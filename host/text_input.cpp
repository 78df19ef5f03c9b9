#include "host/text_input.h"

#include <algorithm>
#include <cstdlib>

namespace morvane::host {

namespace {
constexpr UINT64 SIMPLE_INPUT_SIGNATURE = 0x4E49545845544853ULL;
constexpr UINT64 EXTENDED_INPUT_SIGNATURE = 0x5845495845544853ULL;

KeyboardInput &OwnerOf(EFI_SIMPLE_TEXT_INPUT_PROTOCOL *This) {
  auto *Record = reinterpret_cast<KeyboardInput::SimpleRecord *>(This);
  if (Record == nullptr || Record->Signature != SIMPLE_INPUT_SIGNATURE) {
    std::abort();
  }
  return *Record->Owner;
}

KeyboardInput &OwnerOf(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL *This) {
  auto *Record = reinterpret_cast<KeyboardInput::ExtendedRecord *>(This);
  if (Record == nullptr || Record->Signature != EXTENDED_INPUT_SIGNATURE) {
    std::abort();
  }
  return *Record->Owner;
}

// Reset: drops the keys not yet read.
EFI_STATUS EFIAPI ResetSimple(EFI_SIMPLE_TEXT_INPUT_PROTOCOL *This, BOOLEAN ExtendedVerification) {
  OwnerOf(This).Clear();
  return EFI_SUCCESS;
}

// ReadKeyStroke: the next key, EFI_NOT_READY when there is none.
EFI_STATUS EFIAPI ReadKeyStroke(EFI_SIMPLE_TEXT_INPUT_PROTOCOL *This, EFI_INPUT_KEY *Key) {
  if (Key == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_KEY_DATA Data;
  EFI_STATUS Status = OwnerOf(This).Read(&Data);
  if (!EFI_ERROR(Status)) {
    *Key = Data.Key;
  }
  return Status;
}

// Reset of the extended protocol: drops the keys not yet read.
EFI_STATUS EFIAPI ResetExtended(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL *This,
                                BOOLEAN ExtendedVerification) {
  OwnerOf(This).Clear();
  return EFI_SUCCESS;
}

// ReadKeyStrokeEx: the next key with its shift and toggle state.
EFI_STATUS EFIAPI ReadKeyStrokeEx(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL *This, EFI_KEY_DATA *KeyData) {
  if (KeyData == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  return OwnerOf(This).Read(KeyData);
}

// SetState: the toggle state (caps, num and scroll lock).
EFI_STATUS EFIAPI SetState(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL *This,
                           EFI_KEY_TOGGLE_STATE *KeyToggleState) {
  return OwnerOf(This).SetToggleState(KeyToggleState);
}

// RegisterKeyNotify: calls a function when a matching key arrives.
EFI_STATUS EFIAPI RegisterKeyNotify(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL *This, EFI_KEY_DATA *KeyData,
                                    EFI_KEY_NOTIFY_FUNCTION KeyNotificationFunction,
                                    VOID **NotifyHandle) {
  return OwnerOf(This).RegisterNotify(KeyData, KeyNotificationFunction, NotifyHandle);
}

// UnregisterKeyNotify: removes a key notification.
EFI_STATUS EFIAPI UnregisterKeyNotify(EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL *This,
                                      VOID *NotificationHandle) {
  return OwnerOf(This).UnregisterNotify(NotificationHandle);
}

bool Matches(const EFI_KEY_DATA &Registered, const EFI_KEY_DATA &Key) {
  if (Registered.Key.ScanCode != Key.Key.ScanCode ||
      Registered.Key.UnicodeChar != Key.Key.UnicodeChar) {
    return false;
  }
  if ((Registered.KeyState.KeyShiftState & EFI_SHIFT_STATE_VALID) != 0 &&
      Registered.KeyState.KeyShiftState != Key.KeyState.KeyShiftState) {
    return false;
  }
  if ((Registered.KeyState.KeyToggleState & EFI_TOGGLE_STATE_VALID) != 0 &&
      Registered.KeyState.KeyToggleState != Key.KeyState.KeyToggleState) {
    return false;
  }
  return true;
}
} // namespace

KeyboardInput::KeyboardInput(EventService &Events)
    : Events(Events), Simple{{.Reset = ResetSimple,
                              .ReadKeyStroke = ReadKeyStroke,
                              .WaitForKey = nullptr},
                             SIMPLE_INPUT_SIGNATURE,
                             this},
      Extended{{.Reset = ResetExtended,
                .ReadKeyStrokeEx = ReadKeyStrokeEx,
                .WaitForKeyEx = nullptr,
                .SetState = SetState,
                .RegisterKeyNotify = RegisterKeyNotify,
                .UnregisterKeyNotify = UnregisterKeyNotify},
               EXTENDED_INPUT_SIGNATURE,
               this} {
  Events.Create(EVT_NOTIFY_WAIT, TPL_NOTIFY, WaitNotify, this, nullptr,
                &Simple.Protocol.WaitForKey);
  Events.Create(EVT_NOTIFY_WAIT, TPL_NOTIFY, WaitNotify, this, nullptr,
                &Extended.Protocol.WaitForKeyEx);
}

KeyboardInput::~KeyboardInput() {
  Events.Close(Simple.Protocol.WaitForKey);
  Events.Close(Extended.Protocol.WaitForKeyEx);
}

void EFIAPI KeyboardInput::WaitNotify(EFI_EVENT Event, VOID *Context) {
  auto *Owner = static_cast<KeyboardInput *>(Context);
  if (Owner->Queue.empty()) {
    Owner->ReadFoundEmpty = true;
  } else {
    Owner->Events.Signal(Event);
  }
}

void KeyboardInput::Push(const EFI_KEY_DATA &Key) {
  EFI_KEY_DATA Stored = Key;
  if (Stored.KeyState.KeyToggleState == 0) {
    Stored.KeyState.KeyToggleState = Toggle;
  }
  Queue.push_back(Stored);
  // Copy the functions first: a notification may unregister itself.
  std::vector<EFI_KEY_NOTIFY_FUNCTION> Calls;
  for (auto &Notification : Notifications) {
    if (Matches(Notification->Key, Stored)) {
      Calls.push_back(Notification->Function);
    }
  }
  for (EFI_KEY_NOTIFY_FUNCTION Function : Calls) {
    EFI_KEY_DATA Copy = Stored;
    Function(&Copy);
  }
}

void KeyboardInput::PushKey(UINT16 ScanCode, CHAR16 UnicodeChar, UINT32 ShiftBits) {
  EFI_KEY_DATA Key{};
  Key.Key.ScanCode = ScanCode;
  Key.Key.UnicodeChar = UnicodeChar;
  Key.KeyState.KeyShiftState = ShiftBits == 0 ? 0 : (ShiftBits | EFI_SHIFT_STATE_VALID);
  Push(Key);
}

EFI_STATUS KeyboardInput::Read(EFI_KEY_DATA *Key) {
  if (Queue.empty()) {
    ReadFoundEmpty = true;
    return EFI_NOT_READY;
  }
  *Key = Queue.front();
  Queue.pop_front();
  ReadFoundEmpty = false;
  return EFI_SUCCESS;
}

EFI_STATUS KeyboardInput::SetToggleState(const EFI_KEY_TOGGLE_STATE *State) {
  if (State == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if ((*State & EFI_TOGGLE_STATE_VALID) == 0) {
    return EFI_UNSUPPORTED;
  }
  Toggle = *State;
  return EFI_SUCCESS;
}

EFI_STATUS KeyboardInput::RegisterNotify(const EFI_KEY_DATA *Key, EFI_KEY_NOTIFY_FUNCTION Function,
                                         VOID **NotifyHandle) {
  if (Key == nullptr || Function == nullptr || NotifyHandle == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  for (auto &Notification : Notifications) {
    if (Notification->Function == Function && Notification->Key.Key.ScanCode == Key->Key.ScanCode &&
        Notification->Key.Key.UnicodeChar == Key->Key.UnicodeChar &&
        Notification->Key.KeyState.KeyShiftState == Key->KeyState.KeyShiftState &&
        Notification->Key.KeyState.KeyToggleState == Key->KeyState.KeyToggleState) {
      *NotifyHandle = Notification.get();
      return EFI_SUCCESS;
    }
  }
  Notifications.push_back(std::make_unique<KeyNotification>(KeyNotification{*Key, Function}));
  *NotifyHandle = Notifications.back().get();
  return EFI_SUCCESS;
}

EFI_STATUS KeyboardInput::UnregisterNotify(VOID *NotifyHandle) {
  auto Found =
      std::find_if(Notifications.begin(), Notifications.end(),
                   [NotifyHandle](const auto &Owned) { return Owned.get() == NotifyHandle; });
  if (NotifyHandle == nullptr || Found == Notifications.end()) {
    return EFI_INVALID_PARAMETER;
  }
  Notifications.erase(Found);
  return EFI_SUCCESS;
}

} // namespace morvane::host
