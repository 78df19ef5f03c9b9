// A form holds statements; the screen holds lines. Each time a form is shown, its visible
// statements become MenuLine records, with prompt and value columns worked out from the form's
// own content; this also paints one record in each of its looks.
#pragma once

#include "core/browser_context.h"
#include "uefi/console.h"

#define MENU_LINE_SIGNATURE Signature32('u', 'i', 'm', 'm')

struct MenuLine {
  UINT32 Signature;
  ListLink Link;
  EFI_HII_HANDLE Handle;
  struct Statement *Statement;
  UINT16 DisplayIndex;
  UINT16 Row;
  UINT16 Column;
  UINT16 ValueRow;
  UINT16 ValueColumn;
  UINT16 ValueWidth;
  CHAR16 *Description;
  UINT16 PromptWidth;
  UINT16 Skip;
  UINT32 Field;
  UINT8 GrayOut;
  UINT8 ReadOnly;
};

inline MenuLine *MenuLineFromLink(ListLink *Link) {
  return LIST_RECORD(Link, MenuLine, Link);
}

// Fills OptionList and returns the rows the options take; 0, doing nothing, when the list is
// not empty.
UINT16 BuildMenuOptions(UiSelection *Selection);
// EFI_OUT_OF_RESOURCES when the last build ran out of memory and stopped early.
EFI_STATUS MenuOptionsBuildStatus();
void FreeMenuOptions();
// Reduces Limit (cells) to what the form's widest prompt and value need.
void MeasureFormWidth(EFI_HII_HANDLE Handle, Form *Shown, UINT16 *Limit);
UINT16 MeasureValueWidth(Statement *Question, EFI_HII_HANDLE Handle);
void PaintMenuOption(UiSelection *Selection, MenuLine *Option, bool Highlight, UINT32 Mode);
UINTN PromptAttribute(bool Highlight);
UINTN ValueAttribute(const MenuLine *Option, bool Highlight);

EFI_STATUS FindLineEnd(const CHAR16 *Text, UINTN *Position);
UINT16 CountLines(const CHAR16 *Text);
bool IsConfigRequestString(const CHAR16 *Text);

bool IsSelectable(const MenuLine *Option);
bool IsPromptOnly(const Statement *Question);
bool HasBrackets(const Statement *Question);
// A statement is suppressed when its suppress-if held at the last evaluation.
bool IsSuppressed(const Statement *Question);
