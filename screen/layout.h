// Screen areas and the layout table. A layout is a block that a protocol interface points to:
//   offset 0  TotalSize (u32, not read), offset 4 BodySize (u32), offset 8 BodySize / 80 rows.
// Each row places one area relative to the screen; the table of form styles picks a layout
// GUID for a form's style.
#pragma once

#include "core/external_protocols.h"
#include "screen/screen_rect.h"

#define AREA_MENU_BAR 0
#define AREA_BODY 1
#define AREA_HELP 2
#define AREA_FOOTER 3
#define AREA_TITLE 4
#define AREA_COUNT 5

#define ANCHOR_LEFT 1
#define ANCHOR_RIGHT 3
#define ANCHOR_TOP 0
#define ANCHOR_BOTTOM 2
#define ANCHOR_CENTER 4

#define SIZE_FIT 0
#define SIZE_PERCENT 2
#define SIZE_CELLS 4

#define LAYOUT_FLAG_BOX 0x20
#define LAYOUT_FLAG_SHADOW 0x40

#define LAYOUT_ROW_SIZE 80

struct LayoutRow {
  UINT32 AreaId;
  UINT32 HorizontalAnchor;
  INT32 HorizontalOffset;
  UINT32 VerticalAnchor;
  INT32 VerticalOffset;
  UINT32 WidthKind;
  INT32 WidthValue;
  UINT32 HeightKind;
  INT32 HeightValue;
  UINT32 Flags;
  UINT32 Attribute[10];
};
static_assert(sizeof(LayoutRow) == LAYOUT_ROW_SIZE);

struct ScreenLayout {
  UINT32 TotalSize;
  UINT32 BodySize;
  LayoutRow Rows[1];
};

#define DEFAULT_LAYOUT_ROW_COUNT 5
#define DEFAULT_LAYOUT_TOTAL_SIZE 408
#define DEFAULT_LAYOUT_BODY_SIZE 400
static_assert(8 + DEFAULT_LAYOUT_ROW_COUNT * LAYOUT_ROW_SIZE == DEFAULT_LAYOUT_TOTAL_SIZE);

struct Form;

// Installs the driver's default layout on its handle unless somebody offers one already.
EFI_STATUS InstallDefaultLayout();
// The layout block for the form's style, or null.
const ScreenLayout *FindLayoutForForm(const Form *Shown);
// Fills the context's area rows and frame rectangles from the layout.
void ComputeAreas(const ScreenLayout *Layout);
// The frame rectangle of one row on the screen; EFI_UNSUPPORTED for an unknown anchor, with
// what is not yet computed left as it was.
EFI_STATUS ComputeFrame(const LayoutRow *Row, const ScreenRect *Screen, ScreenRect *Frame);
// Copies the rectangle; with a box frame each edge moves inward by one.
void ApplyFrame(UINT32 Flags, const ScreenRect *Frame, ScreenRect *Client);
// True when the form's style row holds the no-defaults layout GUID.
bool StyleRefusesDefaults(const Form *Shown);
// True when the layout in force has a row for the area.
bool HasArea(UINT32 AreaId);
// A service of the browser services protocol: the area's row and client rectangle.
EFI_STATUS EFIAPI GetAreaAttributes(UINT32 AreaId, VOID *Row, UINT32 *Rect);
// The context's record of an area, or null for an unknown id.
ScreenArea *AreaOf(UINT32 AreaId);
