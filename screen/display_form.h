// Painting of everything on the setup screen that is not an option line: title, menu bar of
// tabs, frames of body and help, the form's own title, the item help, the scroll bar and the
// footer with its key hints. DisplayForm chooses the layout, paints, and runs the menu loop.
#pragma once

#include "core/browser_context.h"

// Repaint flags passed to the painters.
#define PAINT_CHANGED 0
#define PAINT_ALL 1

EFI_STATUS DisplayForm(UiSelection *Selection);
EFI_STATUS PaintTitle(UiSelection *Selection, UINT32 Repaint);
EFI_STATUS PaintMenuBar(UiSelection *Selection, UINT32 Repaint);
EFI_STATUS PaintFooter(UiSelection *Selection, UINT32 Repaint);
EFI_STATUS PaintFormBody(UiSelection *Selection, UINT32 Repaint);
EFI_STATUS PaintHelp(UiSelection *Selection);
void UpdateScrollBar(UiSelection *Selection);
// The form shown when SendFormDepth is 1 and no selection is saved; every other is a sub-form.
bool IsTopForm();
