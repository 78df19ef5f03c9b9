// The single gate between the screen and a question's text and editor: with Selected false it
// gives the text of the value column, with Selected true it runs the question's editor.
#pragma once

#include "core/browser_context.h"

struct MenuLine;

EFI_STATUS ProcessStatement(UiSelection *Selection, MenuLine *Option, BOOLEAN Selected,
                            CHAR16 **OutText);

// Numbers as the value column shows them; EFI_BUFFER_TOO_SMALL below 42 bytes, EFI_UNSUPPORTED
// for the display bits 0x30.
EFI_STATUS FormatNumber(Statement *Question, CHAR16 *Buffer, UINTN BufferSize);
#define NUMBER_TEXT_SIZE 42
// The Maximum, or for a Maximum of 0 the limit that the field width is measured by.
UINT64 NumberLimit(const Statement *Question);

// The first option whose value compares equal, or null.
QuestionOption *FindOptionByValue(Statement *Question, const HiiValue *Value);

// Byte 6 of the variable "System": not 0 lets the layout colour a highlighted prompt.
UINT8 HighlightFromLayout();

// The key on a one-of row was a step key: ProcessStatement steps instead of opening the list.
extern UINT8 OptionStepRequested;
// An editor saw F9: the defaults run when the editor has returned.
extern UINT8 LoadDefaultsRequested;
