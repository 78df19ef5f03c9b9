// Lines, boxes, frames and the scroll bar.
#pragma once

#include "screen/layout.h"

void DrawHorizontal(UINT32 Column, UINT32 Row, UINT32 Length, UINTN Attribute, CHAR16 Middle,
                    CHAR16 Left, CHAR16 Right);
void DrawVertical(UINT32 Column, UINT32 Row, UINT32 Length, UINTN Attribute, CHAR16 Middle,
                  CHAR16 Top, CHAR16 Bottom);
void DrawBox(UINT32 Left, UINT32 Right, UINT32 Top, UINT32 Bottom, UINTN Attribute);
// A box around the rectangle when the row asks for one, and its shadow when it asks for that.
void DrawFrame(const LayoutRow *Row, const ScreenRect *Frame);
// The scroll bar in the right column of R: arrows at both ends, the thumb in proportion.
void DrawScrollBar(bool Show, const ScreenRect *R, UINTN Attribute, UINT32 First, UINT32 Last,
                   UINT32 Total);
// The rounded quotient: a / b, plus one when twice the remainder is not below b.
UINT32 RoundedQuotient(UINT32 A, UINT32 B);
