// The larger dialog: a framed box with a title, a rule, a body of wrapped text that can scroll,
// and a row of bracketed buttons chosen with Left, Right and Enter. One box at a time.
#pragma once

#include "screen/screen_rect.h"
#include "uefi/hii.h"

struct MessageBoxButton {
  const CHAR16 *Text;
  UINT16 Column;
  UINT16 Row;
  UINT32 Width;
  UINT32 Attribute;
};

struct MessageBoxRequest {
  ScreenRect Inner;
  ScreenRect Outer;
  const CHAR16 *Title;
  const CHAR16 *Text;
  UINT32 ButtonCount;
  UINT32 DefaultButton;
  MessageBoxButton *Buttons;
  UINT8 Scrolling;
  UINT32 LeftAligned;
  UINT32 Attribute;
};

// A box left without a choice, or not shown.
#define MESSAGE_BOX_NO_CHOICE 0xFFFFFFFFu

#define MESSAGE_TYPE_WARNING 1
#define MESSAGE_TYPE_ERROR 2

#define MESSAGE_BUTTON_OK 0x01
#define MESSAGE_BUTTON_YES 0x02
#define MESSAGE_BUTTON_NO 0x04
#define MESSAGE_BUTTON_RETRY 0x08
#define MESSAGE_BUTTON_CANCEL 0x10

// Rect, when not null, is four u32: left, right, top, bottom of the box.
UINT32 ShowMessageBoxById(EFI_HII_HANDLE Handle, EFI_STRING_ID TitleId, EFI_STRING_ID TextId,
                          const UINT32 *Rect, UINT32 Attribute, UINT32 LeftAligned,
                          UINT32 ButtonCount, UINT32 DefaultButton, const UINT16 *ButtonIds);
UINT32 ShowMessageBox(const CHAR16 *Title, const CHAR16 *Text, const UINT32 *Rect, UINT32 Attribute,
                      UINT32 LeftAligned, UINT32 ButtonCount, UINT32 DefaultButton,
                      const CHAR16 *const *ButtonTexts);
UINT32 EFIAPI ShowCustomMessageBox(const CHAR16 *Title, const CHAR16 *Text, const UINT32 *Rect,
                                   UINT32 Attribute, UINT32 ButtonCount, UINT32 DefaultButton,
                                   const CHAR16 **ButtonTexts);
// Returns the mask bit of the chosen button, or 0.
UINT32 EFIAPI ShowSimpleMessageBox(const CHAR16 *Title, UINT32 Type, UINT32 LineCount,
                                   const CHAR16 **Lines, UINT32 DefaultMask, UINT32 ButtonMask);
UINT32 EFIAPI ShowOkMessageBox(const CHAR16 *Title, UINT32 Type, UINT32 LineCount,
                               const CHAR16 **Lines);
// The number of lines WrapLine makes of Text at Width cells.
UINT16 CountWrappedLines(const CHAR16 *Text, UINT16 Width);
// Runs a request in Rect, or sized to its content when Rect is null.
UINT32 RunMessageBox(const UINT32 *Rect, MessageBoxRequest *Request);
