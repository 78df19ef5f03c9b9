// How a text cell looks in the frame buffer: 8x19 pixels of palette colours with a glyph
// pattern that encodes the character, plus tags in the reserved bytes of the first pixels so
// saved pixels restore the exact cell.
#pragma once

#include "host/screen_cell.h"
#include "uefi/graphics.h"

namespace morvane::host {

constexpr UINT32 CELL_WIDTH = 8;
constexpr UINT32 CELL_HEIGHT = 19;
// Reserved byte of pixel (0,0) of a rendered cell; the second marks a continuation cell.
constexpr UINT8 CELL_MARKER = 0xA5;
constexpr UINT8 CONTINUATION_MARKER = 0xA6;

EFI_GRAPHICS_OUTPUT_BLT_PIXEL PaletteColour(UINT32 Index);
// The palette index nearest to a colour among the first Count entries.
UINT32 NearestPaletteIndex(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL &Colour, UINT32 Count);
bool SameColour(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL &A, const EFI_GRAPHICS_OUTPUT_BLT_PIXEL &B);

// Whether pixel (X, Y) of the cell is drawn in the foreground colour. Pixel (0,0) never is,
// nor any pixel of a blank.
bool GlyphPixel(const ScreenCell &Cell, UINT32 X, UINT32 Y);

// Draws a cell with its tags at Origin; Stride counts pixels per scan line.
void RenderCell(const ScreenCell &Cell, EFI_GRAPHICS_OUTPUT_BLT_PIXEL *Origin, UINTN Stride);

// Reads a cell back: from the tags when they are present and the pixels still match them,
// otherwise from the colours. An all-background cell is a blank keeping Old's foreground.
ScreenCell DecodeCell(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL *Origin, UINTN Stride,
                      const ScreenCell &Old);

} // namespace morvane::host
