#include "screen/frames.h"

#include "core/browser_context.h"
#include "screen/text_output.h"
#include "support/efi_globals.h"
#include "support/memory.h"

#include "support/poison.h"

void DrawHorizontal(UINT32 Column, UINT32 Row, UINT32 Length, UINTN Attribute, CHAR16 Middle,
                    CHAR16 Left, CHAR16 Right) {
  if (Length == 0) {
    return;
  }
  CHAR16 *Line =
      static_cast<CHAR16 *>(AllocatePoolOf((static_cast<UINTN>(Length) + 1) * sizeof(CHAR16)));
  if (Line == nullptr) {
    return;
  }
  FillCharacters(Line, Length, Middle);
  Line[0] = Left;
  // With one cell the last character stands over the first.
  Line[Length - 1] = Right;
  Line[Length] = 0;
  SetAttribute(Attribute);
  PrintAt(Column, Row, Line);
  FreePoolIfSet(Line);
}

void DrawVertical(UINT32 Column, UINT32 Row, UINT32 Length, UINTN Attribute, CHAR16 Middle,
                  CHAR16 Top, CHAR16 Bottom) {
  if (Length == 0) {
    return;
  }
  SetAttribute(Attribute);
  for (UINT32 Index = 0; Index < Length; Index++) {
    CHAR16 Character = Index == Length - 1 ? Bottom : (Index == 0 ? Top : Middle);
    PutCharAt(Column, Row + Index, Character);
  }
}

void DrawBox(UINT32 Left, UINT32 Right, UINT32 Top, UINT32 Bottom, UINTN Attribute) {
  UINT32 Width = Right - Left + 1;
  UINT32 Height = Bottom - Top + 1;
  DrawHorizontal(Left, Bottom, Width, Attribute, BOXDRAW_HORIZONTAL, BOXDRAW_UP_RIGHT,
                 BOXDRAW_UP_LEFT);
  DrawHorizontal(Left, Top, Width, Attribute, BOXDRAW_HORIZONTAL, BOXDRAW_DOWN_RIGHT,
                 BOXDRAW_DOWN_LEFT);
  DrawVertical(Left, Top, Height, Attribute, BOXDRAW_VERTICAL, BOXDRAW_DOWN_RIGHT,
               BOXDRAW_UP_RIGHT);
  DrawVertical(Right, Top, Height, Attribute, BOXDRAW_VERTICAL, BOXDRAW_DOWN_LEFT, BOXDRAW_UP_LEFT);
}

void DrawFrame(const LayoutRow *Row, const ScreenRect *Frame) {
  if ((Row->Flags & LAYOUT_FLAG_BOX) != 0) {
    DrawBox(Frame->Left, Frame->Right, Frame->Top, Frame->Bottom, Row->Attribute[9]);
  }
  if ((Row->Flags & LAYOUT_FLAG_SHADOW) != 0) {
    DrawShadow(Frame->Left, Frame->Top, Frame->Right - Frame->Left + 1,
               Frame->Bottom - Frame->Top + 1, EFI_DARKGRAY);
  }
}

UINT32 RoundedQuotient(UINT32 A, UINT32 B) {
  if (B == 0) {
    return 0;
  }
  return A / B + (2 * (A % B) >= B ? 1 : 0);
}

void DrawScrollBar(bool Show, const ScreenRect *R, UINTN Attribute, UINT32 First, UINT32 Last,
                   UINT32 Total) {
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = SystemTable->ConOut;
  UINTN Kept = static_cast<UINTN>(ConOut->Mode->Attribute);
  UINT32 Column = R->Right;
  UINT32 TrackTop = R->Top + 1;
  UINT32 TrackBottom = R->Bottom - 1;
  if (!Show || TrackTop >= TrackBottom || R->Bottom < 2) {
    ClearRect(Column, Column, R->Top, R->Bottom, Attribute);
    return;
  }
  UINT32 Track = TrackBottom - TrackTop + 1;
  if (Total == 0) {
    Total = 1;
  }
  UINT32 Shown = Last >= First ? Last - First + 1 : 1;
  UINT32 Thumb = RoundedQuotient(Shown * Track, Total);
  if (Thumb < 1) {
    Thumb = 1;
  }
  UINT32 Position = RoundedQuotient(First * Track, Total);
  if (Position + Thumb > Track) {
    Position = Thumb >= Track ? 0 : Track - Thumb;
  }
  SetAttribute(Attribute);
  PutCharAt(Column, R->Top, GEOMETRICSHAPE_UP_TRIANGLE);
  PutCharAt(Column, R->Bottom, GEOMETRICSHAPE_DOWN_TRIANGLE);
  for (UINT32 Index = 0; Index < Track; Index++) {
    bool InThumb = Index >= Position && Index < Position + Thumb;
    PutCharAt(Column, TrackTop + Index,
              InThumb ? BLOCKELEMENT_FULL_BLOCK : BLOCKELEMENT_LIGHT_SHADE);
  }
  SetAttribute(Kept);
}
