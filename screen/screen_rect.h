// Rectangles of the screen in cells, all edges inclusive, and the record of one screen area.
#pragma once

#include "uefi/base.h"

struct ScreenRect {
  UINT32 Left;
  UINT32 Right;
  UINT32 Top;
  UINT32 Bottom;
};

struct LayoutRow;

// One of the five areas of the screen: the frame is what the layout row yields, the client
// the frame less its border. A null Row means the layout has no such area.
struct ScreenArea {
  ScreenRect Client;
  ScreenRect Frame;
  const LayoutRow *Row;
};
