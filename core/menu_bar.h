// The tabs of the menu bar: one for each handle that a page provider of the page list names,
// in page-list order.
#pragma once

#include "uefi/hii.h"

EFI_STATUS BuildMenuBar(EFI_HII_HANDLE *Handles, UINTN HandleCount);
void ReleaseMenuBar();
