// The saved copies of UiSelection: the stack that records how the user got to the form shown
// (a reference pushes, the way back pops), and the copies that InvokeCallback keeps while a
// driver runs. A reload or release of a form set re-points or drops every copy that names it,
// so no saved selection outlives the records it points at.
#pragma once

#include "core/browser_context.h"

// A pool copy of the selection goes on top of the stack; the caller stores TopRow first.
EFI_STATUS PushSelection(UiSelection *Selection);
// Takes the top copy back over the live selection, with Action telling whether the form set
// changed. EFI_NOT_FOUND, and no change, with an empty stack.
EFI_STATUS PopSelection(UiSelection *Selection);
// Frees every copy on the stack.
void FreeSelectionStack();

// A pool copy of the selection, held aside while a Callback runs; null when out of memory.
UiSelection *KeepSelection(const UiSelection *Selection);
// Puts a kept copy back over the live selection and frees it.
void RestoreKeptSelection(UiSelection *Kept, UiSelection *Selection);

// Old has been replaced by Fresh, or released when Fresh is null. Every saved copy and the live
// selection that name Old are re-pointed at Fresh and its form of the same id; without Fresh,
// stacked copies are dropped and kept copies and the live selection lose their records.
void RepointSelections(FormSet *Old, FormSet *Fresh);

void ResetSelectionState();
