// What the user meets on one form: a flat state machine that paints the options, reads a key,
// turns it into an event and the event into a state, and the state into a movement, an
// editor, a dialog or a decision in UiSelection.Action.
#pragma once

#include "core/browser_context.h"
#include "uefi/console.h"

#define EVENT_NONE 0
#define EVENT_DEFAULTS 1
#define EVENT_SELECT 2
#define EVENT_UP 3
#define EVENT_DOWN 4
#define EVENT_LEFT 5
#define EVENT_RIGHT 6
#define EVENT_ESCAPE 7
#define EVENT_SAVE_EXIT 8
#define EVENT_LEAVE_FORM 9
#define EVENT_PAGE_UP 10
#define EVENT_PAGE_DOWN 11
#define EVENT_NEXT_FIELD 12
#define EVENT_PREVIOUS_FIELD 13
#define EVENT_CHANGE_VALUE 14
#define EVENT_HELP 15
#define EVENT_HOME 16
#define EVENT_END 17

#define STATE_START 0
#define STATE_CHECK_ACTION 1
#define STATE_REPAINT 2
#define STATE_PAINT_HELP 4
#define STATE_PREPARE_KEY 5
#define STATE_READ_KEY 6
#define STATE_DISPATCH_KEY 7
#define STATE_EVENT 8
#define STATE_LEAVE_FORM 10
#define STATE_SELECT 11
#define STATE_ESCAPE 12
#define STATE_RIGHT 13
#define STATE_LEFT 14
#define STATE_UP 15
#define STATE_PAGE_UP 16
#define STATE_PAGE_DOWN 17
#define STATE_DOWN 18
#define STATE_SAVE_EXIT 19
#define STATE_DEFAULTS 20
#define STATE_NEXT_FIELD 21
#define STATE_PREVIOUS_FIELD 22
#define STATE_CHANGE_VALUE 23
#define STATE_GENERAL_HELP 24
#define STATE_HOME 25
#define STATE_END 26
#define STATE_NONE 27
#define STATE_EXIT 28

// A key table row: scan code in the low half and character in the high half of Key, the exact
// shift state, and the event.
struct KeyTableRow {
  UINT32 Key;
  UINT32 ShiftState;
  UINT32 Event;
};

// The event of the first row that matches the key, or EVENT_NONE.
UINT32 MatchKey(const EFI_KEY_DATA *Key, UINTN Rows, const KeyTableRow *Table);
extern const KeyTableRow MainKeyTable[22];
extern const KeyTableRow EmptyKeyTable[16];

EFI_STATUS RunMenuLoop(UiSelection *Selection);
void SaveTopRow(UiSelection *Selection);
// Acts on a refresh notification between keys; EFI_ALREADY_STARTED when it did.
EFI_STATUS HandleRefreshPending(UiSelection *Selection, UINT32 *State);
bool IsShiftHeld(const EFI_KEY_DATA *Key);
void ResetMenuLoopState();
