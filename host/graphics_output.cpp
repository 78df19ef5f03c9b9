#include "host/graphics_output.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "host/glyph.h"

namespace morvane::host {

namespace {
constexpr UINT64 GRAPHICS_SIGNATURE = 0x54504F4758455448ULL;
// Vendor GUID of the display's device path node.
constexpr EFI_GUID DISPLAY_VENDOR_GUID = {
    0x5c1f0b7e, 0x4d2a, 0x4e8b, {0x9a, 0x61, 0x2f, 0x7d, 0x3c, 0x58, 0xe1, 0x04}};

GraphicsOutput &OwnerOf(EFI_GRAPHICS_OUTPUT_PROTOCOL *This) {
  auto *Record = reinterpret_cast<GraphicsOutput::PrivateRecord *>(This);
  if (Record == nullptr || Record->Signature != GRAPHICS_SIGNATURE) {
    std::abort();
  }
  return *Record->Owner;
}

namespace Service {
// QueryMode: the one mode's information, in pool the caller frees.
EFI_STATUS EFIAPI QueryMode(EFI_GRAPHICS_OUTPUT_PROTOCOL *This, UINT32 ModeNumber,
                            UINTN *SizeOfInfo, EFI_GRAPHICS_OUTPUT_MODE_INFORMATION **Info) {
  return OwnerOf(This).QueryMode(ModeNumber, SizeOfInfo, Info);
}

// SetMode: sets the one mode and clears the frame buffer to black.
EFI_STATUS EFIAPI SetMode(EFI_GRAPHICS_OUTPUT_PROTOCOL *This, UINT32 ModeNumber) {
  return OwnerOf(This).SetMode(ModeNumber);
}

// Blt: fills, reads, writes or moves rectangles of pixels.
EFI_STATUS EFIAPI Blt(EFI_GRAPHICS_OUTPUT_PROTOCOL *This, EFI_GRAPHICS_OUTPUT_BLT_PIXEL *BltBuffer,
                      EFI_GRAPHICS_OUTPUT_BLT_OPERATION BltOperation, UINTN SourceX, UINTN SourceY,
                      UINTN DestinationX, UINTN DestinationY, UINTN Width, UINTN Height,
                      UINTN Delta) {
  return OwnerOf(This).Blt(BltBuffer, BltOperation, SourceX, SourceY, DestinationX, DestinationY,
                           Width, Height, Delta);
}
} // namespace Service
} // namespace

GraphicsOutput::GraphicsOutput(TextScreen &Screen, PoolAllocator &Pool, UINT32 Columns, UINT32 Rows)
    : Screen(Screen), Pool(Pool), HorizontalPixels(Columns * CELL_WIDTH),
      VerticalPixels(Rows * CELL_HEIGHT),
      Frame(static_cast<size_t>(HorizontalPixels) * VerticalPixels), Record{{.QueryMode =
                                                                                 Service::QueryMode,
                                                                             .SetMode =
                                                                                 Service::SetMode,
                                                                             .Blt = Service::Blt,
                                                                             .Mode = &Mode},
                                                                            GRAPHICS_SIGNATURE,
                                                                            this} {
  Info.Version = 0;
  Info.HorizontalResolution = HorizontalPixels;
  Info.VerticalResolution = VerticalPixels;
  Info.PixelFormat = PixelBlueGreenRedReserved8BitPerColor;
  Info.PixelsPerScanLine = HorizontalPixels;
  Mode.MaxMode = 1;
  Mode.Mode = 0;
  Mode.Info = &Info;
  Mode.SizeOfInfo = sizeof(Info);
  // Direct writes to this memory bypass the decoding that Blt does.
  Mode.FrameBufferBase = reinterpret_cast<EFI_PHYSICAL_ADDRESS>(Frame.data());
  Mode.FrameBufferSize = Frame.size() * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL);

  // A vendor hardware node followed by the end node.
  VENDOR_DEVICE_PATH Node{};
  Node.Header.Type = HARDWARE_DEVICE_PATH;
  Node.Header.SubType = HW_VENDOR_DP;
  Node.Header.Length[0] = sizeof(VENDOR_DEVICE_PATH);
  Node.Guid = DISPLAY_VENDOR_GUID;
  EFI_DEVICE_PATH_PROTOCOL End = {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, {4, 0}};
  Path.resize(sizeof(Node) + sizeof(End));
  std::memcpy(Path.data(), &Node, sizeof(Node));
  std::memcpy(Path.data() + sizeof(Node), &End, sizeof(End));

  DrawAll();
}

void GraphicsOutput::DrawCell(UINT32 Column, UINT32 Row) {
  if ((Column + 1) * CELL_WIDTH > HorizontalPixels || (Row + 1) * CELL_HEIGHT > VerticalPixels) {
    return;
  }
  RenderCell(
      Screen.Cell(Column, Row),
      &Frame[static_cast<size_t>(Row) * CELL_HEIGHT * HorizontalPixels + Column * CELL_WIDTH],
      HorizontalPixels);
}

void GraphicsOutput::DrawAll() {
  std::fill(Frame.begin(), Frame.end(), EFI_GRAPHICS_OUTPUT_BLT_PIXEL{0, 0, 0, 0});
  for (UINT32 Row = 0; Row < Screen.Rows(); Row++) {
    for (UINT32 Column = 0; Column < Screen.Columns(); Column++) {
      DrawCell(Column, Row);
    }
  }
}

EFI_STATUS GraphicsOutput::QueryMode(UINT32 ModeNumber, UINTN *SizeOfInfo,
                                     EFI_GRAPHICS_OUTPUT_MODE_INFORMATION **InfoOut) {
  if (SizeOfInfo == nullptr || InfoOut == nullptr || ModeNumber >= Mode.MaxMode) {
    return EFI_INVALID_PARAMETER;
  }
  VOID *Copy = nullptr;
  if (EFI_ERROR(Pool.Allocate(EfiBootServicesData, sizeof(Info), &Copy))) {
    return EFI_OUT_OF_RESOURCES;
  }
  std::memcpy(Copy, &Info, sizeof(Info));
  *SizeOfInfo = sizeof(Info);
  *InfoOut = static_cast<EFI_GRAPHICS_OUTPUT_MODE_INFORMATION *>(Copy);
  return EFI_SUCCESS;
}

EFI_STATUS GraphicsOutput::SetMode(UINT32 ModeNumber) {
  if (ModeNumber >= Mode.MaxMode) {
    return EFI_UNSUPPORTED;
  }
  std::fill(Frame.begin(), Frame.end(), EFI_GRAPHICS_OUTPUT_BLT_PIXEL{0, 0, 0, 0});
  DecodeArea(0, 0, HorizontalPixels, VerticalPixels);
  return EFI_SUCCESS;
}

bool GraphicsOutput::Fits(UINTN X, UINTN Y, UINTN Width, UINTN Height) const {
  return X <= HorizontalPixels && Y <= VerticalPixels && Width <= HorizontalPixels - X &&
         Height <= VerticalPixels - Y;
}

void GraphicsOutput::DecodeArea(UINTN X, UINTN Y, UINTN Width, UINTN Height) {
  UINTN FirstColumn = X / CELL_WIDTH;
  UINTN LastColumn = (X + Width - 1) / CELL_WIDTH;
  UINTN FirstRow = Y / CELL_HEIGHT;
  UINTN LastRow = (Y + Height - 1) / CELL_HEIGHT;
  for (UINTN Row = FirstRow; Row <= LastRow && Row < Screen.Rows(); Row++) {
    for (UINTN Column = FirstColumn; Column <= LastColumn && Column < Screen.Columns(); Column++) {
      if ((Column + 1) * CELL_WIDTH > HorizontalPixels ||
          (Row + 1) * CELL_HEIGHT > VerticalPixels) {
        continue;
      }
      const EFI_GRAPHICS_OUTPUT_BLT_PIXEL *Origin =
          &Frame[Row * CELL_HEIGHT * HorizontalPixels + Column * CELL_WIDTH];
      UINT32 CellColumn = static_cast<UINT32>(Column);
      UINT32 CellRow = static_cast<UINT32>(Row);
      Screen.StoreDecodedCell(
          CellColumn, CellRow,
          DecodeCell(Origin, HorizontalPixels, Screen.Cell(CellColumn, CellRow)));
    }
  }
}

EFI_STATUS GraphicsOutput::Blt(EFI_GRAPHICS_OUTPUT_BLT_PIXEL *BltBuffer,
                               EFI_GRAPHICS_OUTPUT_BLT_OPERATION BltOperation, UINTN SourceX,
                               UINTN SourceY, UINTN DestinationX, UINTN DestinationY, UINTN Width,
                               UINTN Height, UINTN Delta) {
  if (static_cast<UINT32>(BltOperation) >= EfiGraphicsOutputBltOperationMax || Width == 0 ||
      Height == 0) {
    return EFI_INVALID_PARAMETER;
  }
  if (Delta == 0) {
    Delta = Width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL);
  }
  // The caller's buffer is addressed in bytes per row; rows of pixels inside it.
  auto BufferRow = [&](UINTN Y) {
    return reinterpret_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL *>(reinterpret_cast<UINT8 *>(BltBuffer) +
                                                             Y * Delta);
  };
  auto FrameRow = [&](UINTN Y) { return &Frame[Y * HorizontalPixels]; };
  switch (BltOperation) {
  case EfiBltVideoFill:
    if (BltBuffer == nullptr || !Fits(DestinationX, DestinationY, Width, Height)) {
      return EFI_INVALID_PARAMETER;
    }
    for (UINTN Y = 0; Y < Height; Y++) {
      std::fill_n(FrameRow(DestinationY + Y) + DestinationX, Width, *BltBuffer);
    }
    DecodeArea(DestinationX, DestinationY, Width, Height);
    return EFI_SUCCESS;
  case EfiBltVideoToBltBuffer:
    if (BltBuffer == nullptr || !Fits(SourceX, SourceY, Width, Height) ||
        Delta < (DestinationX + Width) * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL)) {
      return EFI_INVALID_PARAMETER;
    }
    for (UINTN Y = 0; Y < Height; Y++) {
      std::copy_n(FrameRow(SourceY + Y) + SourceX, Width,
                  BufferRow(DestinationY + Y) + DestinationX);
    }
    return EFI_SUCCESS;
  case EfiBltBufferToVideo:
    if (BltBuffer == nullptr || !Fits(DestinationX, DestinationY, Width, Height) ||
        Delta < (SourceX + Width) * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL)) {
      return EFI_INVALID_PARAMETER;
    }
    for (UINTN Y = 0; Y < Height; Y++) {
      std::copy_n(BufferRow(SourceY + Y) + SourceX, Width,
                  FrameRow(DestinationY + Y) + DestinationX);
    }
    DecodeArea(DestinationX, DestinationY, Width, Height);
    return EFI_SUCCESS;
  case EfiBltVideoToVideo: {
    if (!Fits(SourceX, SourceY, Width, Height) ||
        !Fits(DestinationX, DestinationY, Width, Height)) {
      return EFI_INVALID_PARAMETER;
    }
    // Copy rows in the order that never reads a row already overwritten.
    bool Downward = DestinationY > SourceY;
    for (UINTN Step = 0; Step < Height; Step++) {
      UINTN Y = Downward ? Height - 1 - Step : Step;
      std::memmove(FrameRow(DestinationY + Y) + DestinationX, FrameRow(SourceY + Y) + SourceX,
                   Width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
    }
    DecodeArea(DestinationX, DestinationY, Width, Height);
    return EFI_SUCCESS;
  }
  default:
    return EFI_INVALID_PARAMETER;
  }
}

} // namespace morvane::host
