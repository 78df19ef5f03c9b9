#include "screen/layout.h"

#include "core/browser_context.h"
#include "data/default_tables.h"
#include "support/efi_globals.h"
#include "support/guid.h"
#include "support/memory.h"

#include "support/poison.h"

namespace {

// Sizes of kind 0 take their value unchanged here; the area is fitted when it is painted.
UINT32 AreaSize(UINT32 Kind, INT32 Value, UINT32 Full) {
  switch (Kind) {
  case SIZE_FIT:
    return static_cast<UINT32>(Value);
  case SIZE_PERCENT:
    if (Value < 0 || Value > 100) {
      return 0;
    }
    return Full * static_cast<UINT32>(Value) / 100;
  case SIZE_CELLS:
    return Value < 0 ? 0 : static_cast<UINT32>(Value);
  default:
    return 0;
  }
}

INT32 AtLeastZero(INT32 Value) {
  return Value > 0 ? Value : 0;
}
INT32 AtMostZero(INT32 Value) {
  return Value < 0 ? Value : 0;
}

const FORM_STYLE_ROW *FindStyleRow(const Form *Shown) {
  if (Browser->StyleTable == nullptr || Shown == nullptr) {
    return nullptr;
  }
  // A platform's table without its end row must not run on forever.
  for (UINTN Index = 0; Index < 0x10000; Index++) {
    const FORM_STYLE_ROW *Row = &Browser->StyleTable[Index];
    if (Row->StyleId > 0xFFFE) {
      return nullptr;
    }
    if (Row->StyleId == Shown->FormStyle) {
      return Row;
    }
  }
  return nullptr;
}

} // namespace

ScreenArea *AreaOf(UINT32 AreaId) {
  switch (AreaId) {
  case AREA_MENU_BAR:
    return &Browser->MenuBarArea;
  case AREA_BODY:
    return &Browser->BodyArea;
  case AREA_HELP:
    return &Browser->HelpArea;
  case AREA_FOOTER:
    return &Browser->FooterArea;
  case AREA_TITLE:
    return &Browser->TitleArea;
  default:
    return nullptr;
  }
}

EFI_STATUS InstallDefaultLayout() {
  VOID *Existing = nullptr;
  if (!EFI_ERROR(BootServices->LocateProtocol(&gScreenLayoutProtocolGuid, nullptr, &Existing))) {
    return EFI_SUCCESS;
  }
  // The block lives on the driver's handle for the driver's life.
  UINT8 *Block = static_cast<UINT8 *>(AllocateZeroedPool(DEFAULT_LAYOUT_TOTAL_SIZE));
  if (Block == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  WriteUnaligned32(Block, DEFAULT_LAYOUT_TOTAL_SIZE);
  WriteUnaligned32(Block + 4, DEFAULT_LAYOUT_BODY_SIZE);
  CopyBytes(Block + 8, DefaultLayoutRows, sizeof(DefaultLayoutRows));
  return BootServices->InstallMultipleProtocolInterfaces(
      &Browser->DriverHandle, &gScreenLayoutProtocolGuid, Block, nullptr);
}

const ScreenLayout *FindLayoutForForm(const Form *Shown) {
  const FORM_STYLE_ROW *Row = FindStyleRow(Shown);
  if (Row == nullptr) {
    return nullptr;
  }
  VOID *Layout = nullptr;
  if (EFI_ERROR(BootServices->LocateProtocol(&Row->LayoutGuid, nullptr, &Layout))) {
    return nullptr;
  }
  return static_cast<const ScreenLayout *>(Layout);
}

EFI_STATUS ComputeFrame(const LayoutRow *Row, const ScreenRect *Screen, ScreenRect *Frame) {
  UINT32 FullWidth = Screen->Right - Screen->Left + 1;
  UINT32 Width = AreaSize(Row->WidthKind, Row->WidthValue, FullWidth);
  switch (Row->HorizontalAnchor) {
  case ANCHOR_LEFT:
    Frame->Left = Screen->Left + AtLeastZero(Row->HorizontalOffset);
    break;
  case ANCHOR_RIGHT:
    Frame->Left = Screen->Right + AtMostZero(Row->HorizontalOffset);
    break;
  case ANCHOR_CENTER:
    Frame->Left =
        Screen->Left + (FullWidth >> 1) + AtMostZero(Row->HorizontalOffset) - (Width >> 1);
    break;
  default:
    return EFI_UNSUPPORTED;
  }
  Frame->Right = Frame->Left + Width - 1;

  UINT32 FullHeight = Screen->Bottom - Screen->Top + 1;
  UINT32 Height = AreaSize(Row->HeightKind, Row->HeightValue, FullHeight);
  switch (Row->VerticalAnchor) {
  case ANCHOR_TOP:
    Frame->Top = Screen->Top + AtLeastZero(Row->VerticalOffset);
    break;
  case ANCHOR_BOTTOM:
    Frame->Top = Screen->Bottom + AtMostZero(Row->VerticalOffset);
    break;
  case ANCHOR_CENTER:
    Frame->Top = Screen->Top + (FullHeight >> 1) + AtMostZero(Row->VerticalOffset) - (Height >> 1);
    break;
  default:
    return EFI_UNSUPPORTED;
  }
  Frame->Bottom = Frame->Top + Height - 1;
  return EFI_SUCCESS;
}

void ComputeAreas(const ScreenLayout *Layout) {
  for (UINT32 AreaId = 0; AreaId < AREA_COUNT; AreaId++) {
    AreaOf(AreaId)->Row = nullptr;
  }
  UINT32 RowCount = Layout->BodySize / LAYOUT_ROW_SIZE;
  for (UINT32 Index = 0; Index < RowCount; Index++) {
    const LayoutRow *Row = &Layout->Rows[Index];
    ScreenArea *Area = AreaOf(Row->AreaId);
    if (Area == nullptr) {
      continue;
    }
    Area->Row = Row;
    ComputeFrame(Row, &Browser->ScreenDimensions, &Area->Frame);
  }
}

void ApplyFrame(UINT32 Flags, const ScreenRect *Frame, ScreenRect *Client) {
  *Client = *Frame;
  if ((Flags & LAYOUT_FLAG_BOX) != 0) {
    Client->Left++;
    Client->Right--;
    Client->Top++;
    Client->Bottom--;
  }
}

bool StyleRefusesDefaults(const Form *Shown) {
  const FORM_STYLE_ROW *Row = FindStyleRow(Shown);
  return Row != nullptr && GuidIsEqual(&Row->LayoutGuid, &gNoDefaultsLayoutGuid);
}

bool HasArea(UINT32 AreaId) {
  if (Browser->Layout == nullptr) {
    return false;
  }
  ScreenArea *Area = AreaOf(AreaId);
  return Area != nullptr && Area->Row != nullptr;
}

EFI_STATUS EFIAPI GetAreaAttributes(UINT32 AreaId, VOID *Row, UINT32 *Rect) {
  if (Row == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  ScreenArea *Area = AreaOf(AreaId);
  if (Area == nullptr || Area->Row == nullptr) {
    return EFI_NOT_FOUND;
  }
  CopyBytes(Row, Area->Row, LAYOUT_ROW_SIZE);
  if (Rect != nullptr) {
    Rect[0] = Area->Client.Left;
    Rect[1] = Area->Client.Right;
    Rect[2] = Area->Client.Top;
    Rect[3] = Area->Client.Bottom;
  }
  return EFI_SUCCESS;
}
