// Text reaches the console cell by cell: widths in cells, cutting, wrapping, printing at a
// place, blanking a rectangle. With a graphics output beside the console, the pixels under a
// pop-up are saved and restored, and a shadow is painted by recolouring the pixels under it.
#pragma once

#include "uefi/graphics.h"

// One cell for the Latin, arrow, box-drawing and geometric-shape ranges; two for the rest.
bool IsNarrow(CHAR16 Character);
// The width of a string in cells; the console's width controls take none.
UINT16 DisplayWidth(const CHAR16 *Text);
// Shortens the string in place from its end until it fits; returns the width left.
UINT16 CutToWidth(CHAR16 *Text, UINT16 Cells);
void FillCharacters(CHAR16 *Buffer, UINTN Count, CHAR16 Character);
// Takes the next line of Text from Position, at most Width cells, breaking after a blank where
// it can. Returns the characters the line took (0 at the end); Line is a pool copy.
UINTN WrapLine(const CHAR16 *Text, UINT16 Width, UINTN *Position, CHAR16 **Line);
// A pool copy of Text padded with blanks to Width cells.
EFI_STATUS PadToWidth(CHAR16 **Line, UINT16 Width, const CHAR16 *Text);

// Prints at a cell, cutting the text in place at the screen's right edge; text that ends in the
// screen's last cell is printed so that it does not scroll.
void PrintAt(UINT32 Column, UINT32 Row, CHAR16 *Text);
void PrintConstAt(UINT32 Column, UINT32 Row, const CHAR16 *Text);
void PutCharAt(UINT32 Column, UINT32 Row, CHAR16 Character);
// Blanks the rectangle (edges inclusive) and leaves the attribute set.
void ClearRect(UINT32 Left, UINT32 Right, UINT32 Top, UINT32 Bottom, UINTN Attribute);
void SetAttribute(UINTN Attribute);

// A saved rectangle of the screen, in cells, and its pixels.
struct SaveScreenRecord {
  UINT16 Row;
  UINT16 Column;
  UINT16 Width;
  UINT16 Height;
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL *Buffer;
};

bool CellsToPixels(UINT32 Width, UINT32 Height, UINT32 *PixelWidth, UINT32 *PixelHeight);
bool CellToPixel(UINT32 Column, UINT32 Row, UINT32 *X, UINT32 *Y);
void SaveScreenRect(SaveScreenRecord *Record, UINT16 Column, UINT16 Row, UINT16 Width,
                    UINT16 Height);
void RestoreScreenRect(SaveScreenRecord *Record);
// Recolours the cell rectangle [Left, Right) x [Top, Bottom): background cells take the
// attribute's background colour, everything else dark grey.
void RecolorCells(UINT32 Left, UINT32 Right, UINT32 Top, UINT32 Bottom, UINTN Attribute);
// The shadow of the rectangle at (Left, Top) of Width x Height cells: a strip to its right and
// one below it.
void DrawShadow(UINT32 Left, UINT32 Top, UINT32 Width, UINT32 Height, UINTN Attribute);

// The 16 text colours as pixels, in the order of the console's colour numbers.
extern const EFI_GRAPHICS_OUTPUT_BLT_PIXEL ScreenColors[16];

// Cell size on the graphics screen.
#define CELL_PIXEL_WIDTH 8
#define CELL_PIXEL_HEIGHT 19
