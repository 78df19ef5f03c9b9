// The keyboard: one queue of keys behind the simple and the extended text input protocols,
// their key-wait events and the key notifications.
#pragma once

#include <deque>
#include <memory>
#include <vector>

#include "host/events.h"
#include "uefi/console.h"

namespace morvane::host {

class KeyboardInput {
public:
  explicit KeyboardInput(EventService &Events);
  ~KeyboardInput();
  KeyboardInput(const KeyboardInput &) = delete;
  KeyboardInput &operator=(const KeyboardInput &) = delete;

  EFI_SIMPLE_TEXT_INPUT_PROTOCOL *SimpleProtocol() { return &Simple.Protocol; }
  EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL *ExtendedProtocol() { return &Extended.Protocol; }

  // Queues a key and runs the key notifications that match it.
  void Push(const EFI_KEY_DATA &Key);
  // A key with no modifiers has shift state 0; any modifier adds EFI_SHIFT_STATE_VALID.
  void PushKey(UINT16 ScanCode, CHAR16 UnicodeChar, UINT32 ShiftBits = 0);
  size_t Pending() const { return Queue.size(); }
  void Clear() { Queue.clear(); }

  EFI_STATUS Read(EFI_KEY_DATA *Key);
  // True while the most recent read (or key-wait check) found the queue empty.
  bool LastReadFoundEmpty() const { return ReadFoundEmpty; }
  EFI_KEY_TOGGLE_STATE ToggleState() const { return Toggle; }
  EFI_STATUS SetToggleState(const EFI_KEY_TOGGLE_STATE *State);
  EFI_STATUS RegisterNotify(const EFI_KEY_DATA *Key, EFI_KEY_NOTIFY_FUNCTION Function,
                            VOID **NotifyHandle);
  EFI_STATUS UnregisterNotify(VOID *NotifyHandle);
  bool IsKeyWaitEvent(EFI_EVENT Event) const {
    return Event != nullptr &&
           (Event == Simple.Protocol.WaitForKey || Event == Extended.Protocol.WaitForKeyEx);
  }

  struct SimpleRecord {
    EFI_SIMPLE_TEXT_INPUT_PROTOCOL Protocol;
    UINT64 Signature;
    KeyboardInput *Owner;
  };
  struct ExtendedRecord {
    EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL Protocol;
    UINT64 Signature;
    KeyboardInput *Owner;
  };

private:
  struct KeyNotification {
    EFI_KEY_DATA Key;
    EFI_KEY_NOTIFY_FUNCTION Function;
  };

  static void EFIAPI WaitNotify(EFI_EVENT Event, VOID *Context);

  EventService &Events;
  SimpleRecord Simple;
  ExtendedRecord Extended;
  std::deque<EFI_KEY_DATA> Queue;
  std::vector<std::unique_ptr<KeyNotification>> Notifications;
  EFI_KEY_TOGGLE_STATE Toggle = 0;
  bool ReadFoundEmpty = false;
};

} // namespace morvane::host
