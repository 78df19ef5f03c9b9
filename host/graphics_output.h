// A graphics output protocol whose single mode is a frame buffer of 8x19-pixel text cells.
// Text drawn on the console appears in the pixels; pixels written by Blt are decoded back into
// the text screen, so saving and restoring pixels or recolouring them moves the text too.
#pragma once

#include <vector>

#include "host/pool.h"
#include "host/text_screen.h"
#include "uefi/device_path.h"
#include "uefi/graphics.h"

namespace morvane::host {

class GraphicsOutput {
public:
  // The frame buffer is Columns*8 by Rows*19 pixels.
  GraphicsOutput(TextScreen &Screen, PoolAllocator &Pool, UINT32 Columns, UINT32 Rows);
  GraphicsOutput(const GraphicsOutput &) = delete;
  GraphicsOutput &operator=(const GraphicsOutput &) = delete;

  EFI_GRAPHICS_OUTPUT_PROTOCOL *Protocol() { return &Record.Protocol; }
  EFI_DEVICE_PATH_PROTOCOL *DevicePath() {
    return reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL *>(Path.data());
  }

  UINT32 Width() const { return HorizontalPixels; }
  UINT32 Height() const { return VerticalPixels; }
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL &Pixel(UINT32 X, UINT32 Y) const {
    return Frame[static_cast<size_t>(Y) * HorizontalPixels + X];
  }

  EFI_STATUS QueryMode(UINT32 ModeNumber, UINTN *SizeOfInfo,
                       EFI_GRAPHICS_OUTPUT_MODE_INFORMATION **Info);
  EFI_STATUS SetMode(UINT32 ModeNumber);
  EFI_STATUS Blt(EFI_GRAPHICS_OUTPUT_BLT_PIXEL *BltBuffer,
                 EFI_GRAPHICS_OUTPUT_BLT_OPERATION BltOperation, UINTN SourceX, UINTN SourceY,
                 UINTN DestinationX, UINTN DestinationY, UINTN Width, UINTN Height, UINTN Delta);

  // Redraws one text cell, or all of them, from the text screen.
  void DrawCell(UINT32 Column, UINT32 Row);
  void DrawAll();

  struct PrivateRecord {
    EFI_GRAPHICS_OUTPUT_PROTOCOL Protocol;
    UINT64 Signature;
    GraphicsOutput *Owner;
  };

private:
  bool Fits(UINTN X, UINTN Y, UINTN Width, UINTN Height) const;
  void DecodeArea(UINTN X, UINTN Y, UINTN Width, UINTN Height);

  TextScreen &Screen;
  PoolAllocator &Pool;
  UINT32 HorizontalPixels;
  UINT32 VerticalPixels;
  std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL> Frame;
  EFI_GRAPHICS_OUTPUT_MODE_INFORMATION Info{};
  EFI_GRAPHICS_OUTPUT_PROTOCOL_MODE Mode{};
  std::vector<UINT8> Path;
  PrivateRecord Record;
};

} // namespace morvane::host
