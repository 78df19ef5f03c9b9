#include "host/glyph.h"

namespace morvane::host {

namespace {
// Blue, green, red of the sixteen text colours.
constexpr UINT8 PALETTE[16][3] = {
    {0x00, 0x00, 0x00}, {0x98, 0x00, 0x00}, {0x00, 0x98, 0x00}, {0x98, 0x98, 0x00},
    {0x00, 0x00, 0x98}, {0x98, 0x00, 0x98}, {0x00, 0x98, 0x98}, {0x98, 0x98, 0x98},
    {0x30, 0x30, 0x30}, {0xFF, 0x00, 0x00}, {0x00, 0xFF, 0x00}, {0xFF, 0xFF, 0x00},
    {0x00, 0x00, 0xFF}, {0xFF, 0x00, 0xFF}, {0x00, 0xFF, 0xFF}, {0xFF, 0xFF, 0xFF},
};

// Row 1 carries a bar in every glyph; rows 3 to 18 carry the sixteen bits of the character,
// bit 0 at the top. Columns 1 to 6 are ink, 0 and 7 stay background.
constexpr UINT32 BAR_ROW = 1;
constexpr UINT32 FIRST_BIT_ROW = 3;

bool IsBlank(CHAR16 Char) {
  return Char == 0 || Char == u' ' || Char == 0x00A0 || Char == 0x3000;
}

bool InkColumn(UINT32 X) {
  return X >= 1 && X <= 6;
}
} // namespace

EFI_GRAPHICS_OUTPUT_BLT_PIXEL PaletteColour(UINT32 Index) {
  const UINT8 *Entry = PALETTE[Index & 0x0F];
  return {Entry[0], Entry[1], Entry[2], 0};
}

bool SameColour(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL &A, const EFI_GRAPHICS_OUTPUT_BLT_PIXEL &B) {
  return A.Blue == B.Blue && A.Green == B.Green && A.Red == B.Red;
}

UINT32 NearestPaletteIndex(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL &Colour, UINT32 Count) {
  UINT32 Best = 0;
  UINT32 BestDistance = UINT32_MAX;
  for (UINT32 Index = 0; Index < Count; Index++) {
    int Blue = Colour.Blue - PALETTE[Index][0];
    int Green = Colour.Green - PALETTE[Index][1];
    int Red = Colour.Red - PALETTE[Index][2];
    UINT32 Distance = static_cast<UINT32>(Blue * Blue + Green * Green + Red * Red);
    if (Distance < BestDistance) {
      Best = Index;
      BestDistance = Distance;
    }
  }
  return Best;
}

bool GlyphPixel(const ScreenCell &Cell, UINT32 X, UINT32 Y) {
  if (!InkColumn(X)) {
    return false;
  }
  if (Cell.Continuation) {
    return Y == BAR_ROW;
  }
  if (IsBlank(Cell.Char)) {
    return false;
  }
  if (Y == BAR_ROW) {
    return true;
  }
  if (Y >= FIRST_BIT_ROW && Y < FIRST_BIT_ROW + 16) {
    return ((Cell.Char >> (Y - FIRST_BIT_ROW)) & 1) != 0;
  }
  return false;
}

void RenderCell(const ScreenCell &Cell, EFI_GRAPHICS_OUTPUT_BLT_PIXEL *Origin, UINTN Stride) {
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL Foreground = PaletteColour(Cell.Attribute & 0x0F);
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL Background = PaletteColour((Cell.Attribute >> 4) & 0x07);
  for (UINT32 Y = 0; Y < CELL_HEIGHT; Y++) {
    for (UINT32 X = 0; X < CELL_WIDTH; X++) {
      Origin[Y * Stride + X] = GlyphPixel(Cell, X, Y) ? Foreground : Background;
    }
  }
  Origin[0].Reserved = Cell.Continuation ? CONTINUATION_MARKER : CELL_MARKER;
  Origin[1].Reserved = Cell.Attribute;
  Origin[2].Reserved = static_cast<UINT8>(Cell.Char & 0xFF);
  Origin[3].Reserved = static_cast<UINT8>(Cell.Char >> 8);
}

namespace {
bool MatchesTags(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL *Origin, UINTN Stride, ScreenCell *Tagged) {
  UINT8 Marker = Origin[0].Reserved;
  if (Marker != CELL_MARKER && Marker != CONTINUATION_MARKER) {
    return false;
  }
  Tagged->Continuation = Marker == CONTINUATION_MARKER;
  Tagged->Attribute = Origin[1].Reserved & 0x7F;
  Tagged->Char = static_cast<CHAR16>(Origin[2].Reserved | (Origin[3].Reserved << 8));
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL Foreground = PaletteColour(Tagged->Attribute & 0x0F);
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL Background = PaletteColour((Tagged->Attribute >> 4) & 0x07);
  // Pixels drawn over part of a tagged cell make the tags stale.
  for (UINT32 Y = 0; Y < CELL_HEIGHT; Y++) {
    for (UINT32 X = 0; X < CELL_WIDTH; X++) {
      const EFI_GRAPHICS_OUTPUT_BLT_PIXEL &Expected =
          GlyphPixel(*Tagged, X, Y) ? Foreground : Background;
      if (!SameColour(Origin[Y * Stride + X], Expected)) {
        return false;
      }
    }
  }
  return true;
}
} // namespace

ScreenCell DecodeCell(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL *Origin, UINTN Stride,
                      const ScreenCell &Old) {
  ScreenCell Cell;
  if (MatchesTags(Origin, Stride, &Cell)) {
    return Cell;
  }
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL Background = Origin[0];
  UINT32 BackgroundIndex = NearestPaletteIndex(Background, 8);
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL *Ink = nullptr;
  for (UINT32 Y = 0; Y < CELL_HEIGHT && Ink == nullptr; Y++) {
    for (UINT32 X = 0; X < CELL_WIDTH; X++) {
      if (!SameColour(Origin[Y * Stride + X], Background)) {
        Ink = &Origin[Y * Stride + X];
        break;
      }
    }
  }
  Cell = ScreenCell();
  if (Ink == nullptr) {
    Cell.Attribute = static_cast<UINT8>((Old.Attribute & 0x0F) | (BackgroundIndex << 4));
    return Cell;
  }
  Cell.Attribute = static_cast<UINT8>(NearestPaletteIndex(*Ink, 16) | (BackgroundIndex << 4));
  auto Inked = [&](UINT32 X, UINT32 Y) { return !SameColour(Origin[Y * Stride + X], Background); };
  UINT32 Code = 0;
  for (UINT32 Bit = 0; Bit < 16; Bit++) {
    if (Inked(1, FIRST_BIT_ROW + Bit)) {
      Code |= 1U << Bit;
    }
  }
  if (Code == 0) {
    Cell.Continuation = Inked(1, BAR_ROW);
    Cell.Char = Cell.Continuation ? Old.Char : u' ';
    return Cell;
  }
  Cell.Char = static_cast<CHAR16>(Code);
  return Cell;
}

} // namespace morvane::host
