// The small centred dialog the browser uses for notices and for reading a line of text, and
// the two notices built on it. It has fixed colours and no layout row, so it works before and
// outside any form.
#pragma once

#include <stdarg.h>

#include "core/browser_context.h"
#include "screen/text_output.h"
#include "uefi/console.h"

// LineCount UCS-2 lines follow Key. KeyMode: one key is read into Key. Otherwise a line is read
// into Text (room for MaximumLength characters and the terminator): EFI_SUCCESS on Enter,
// EFI_DEVICE_ERROR on Esc with the text typed so far kept.
EFI_STATUS EFIAPI ShowDialog(UINT32 LineCount, BOOLEAN KeyMode, UINT32 MaximumLength, CHAR16 *Text,
                             EFI_INPUT_KEY *Key, ...);
EFI_STATUS ShowDialogLines(UINT32 LineCount, BOOLEAN KeyMode, UINT32 MaximumLength, CHAR16 *Text,
                           EFI_INPUT_KEY *Key, const CHAR16 *const *Lines);
// Paints the dialog box for the lines; Save may be null.
void DrawDialog(UINT32 Width, UINT32 LineCount, const CHAR16 *const *Lines, SaveScreenRecord *Save);
// Shows the two lines with "Press ENTER to continue" until Enter is pressed.
void ShowNoticeUntilEnter(const CHAR16 *Line1, const CHAR16 *Line2);
// Names the form set (and form) that cannot be used, with the message and status; shown twice.
void ReportFormError(FormSet *Set, Form *Shown, const CHAR16 *Message, EFI_STATUS Status);

#define DIALOG_ATTRIBUTE 0xF1
#define DIALOG_INPUT_ATTRIBUTE 0x07
#define SHADOW_ATTRIBUTE 0x08
