// The question editors that ProcessStatement runs when a question is selected: the option
// pop-up and stepping of one-of and ordered-list questions, the entry of numbers, dates and
// times, and the entry of strings and passwords.
#pragma once

#include "screen/menu_option.h"

// The modal list of a one-of or ordered list: success when Enter, F9 or F10 closed it,
// EFI_DEVICE_ERROR on Esc, EFI_NOT_FOUND when a value has no option.
EFI_STATUS ShowOptionPopUp(UiSelection *Selection, MenuLine *Option);
// A one-of moves to its neighbouring shown option, by the key in LastKey.
EFI_STATUS StepOption(UiSelection *Selection, MenuLine *Option);

// The in-place editor of a number or of one field of a date or time, beginning with the key in
// LastKey: success on Enter, Tab, or an accepted F9 or F10; EFI_ABORTED on the keys that end
// the edit for the form to act on; a refused date or time gives the validation's status.
EFI_STATUS EditNumber(UiSelection *Selection, MenuLine *Option);
UINT8 DaysInMonth(UINT16 Year, UINT8 Month);

// The line editor of strings and passwords, beginning with the key in LastKey. Text holds
// Maximum + 1 characters, zero-filled. EFI_DEVICE_ERROR on Esc or a length out of bounds.
EFI_STATUS EditText(MenuLine *Option, CHAR16 *Text, BOOLEAN AllowBlank);
// Hands an entered password to the owning driver through its Callback.
EFI_STATUS ReportPasswordChange(UiSelection *Selection, MenuLine *Option, const CHAR16 *Text);
// ProcessStatement's edit of a string and of a password question.
EFI_STATUS EditStringQuestion(UiSelection *Selection, MenuLine *Option);
EFI_STATUS EditPasswordQuestion(UiSelection *Selection, MenuLine *Option);
