#include "core/selection_stack.h"

#include "core/form_set_cache.h"
#include "support/memory.h"

#include "support/poison.h"

// The copies InvokeCallback holds while drivers run, newest first; nested Callbacks each add one.
static ListLink KeptSelections;

namespace {

void RepointCopy(UiSelection *Copy, FormSet *Old, FormSet *Fresh) {
  if (Copy->FormSet != Old) {
    return;
  }
  Copy->FormSet = Fresh;
  Copy->Form = Fresh != nullptr ? FindForm(Fresh, Copy->FormId) : nullptr;
  // Statements and menu lines belong to the old records; the form loop finds them again.
  Copy->Statement = nullptr;
  Copy->MenuOption = nullptr;
}

} // namespace

EFI_STATUS PushSelection(UiSelection *Selection) {
  UiSelection *Copy = static_cast<UiSelection *>(AllocateCopy(sizeof(UiSelection), Selection));
  if (Copy == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  ListInsertHead(&Browser->SelectionStack, &Copy->Link);
  return EFI_SUCCESS;
}

EFI_STATUS PopSelection(UiSelection *Selection) {
  if (ListIsEmpty(&Browser->SelectionStack)) {
    return EFI_NOT_FOUND;
  }
  ListLink *Link = ListFirst(&Browser->SelectionStack);
  UiSelection *Top = SelectionFromLink(Link);
  Top->Action =
      Top->Handle != Selection->Handle ? SELECTION_RELOAD_FORMSET : SELECTION_REFRESH_FORM;
  ListRemove(Link);
  CopyBytes(Selection, Top, sizeof(UiSelection));
  FreePoolIfSet(Top);
  return EFI_SUCCESS;
}

void FreeSelectionStack() {
  while (!ListIsEmpty(&Browser->SelectionStack)) {
    ListLink *Link = ListFirst(&Browser->SelectionStack);
    ListRemove(Link);
    FreePoolIfSet(SelectionFromLink(Link));
  }
}

UiSelection *KeepSelection(const UiSelection *Selection) {
  UiSelection *Kept = static_cast<UiSelection *>(AllocateCopy(sizeof(UiSelection), Selection));
  if (Kept != nullptr) {
    ListInsertHead(&KeptSelections, &Kept->Link);
  }
  return Kept;
}

void RestoreKeptSelection(UiSelection *Kept, UiSelection *Selection) {
  ListRemove(&Kept->Link);
  CopyBytes(Selection, Kept, sizeof(UiSelection));
  FreePoolIfSet(Kept);
}

void RepointSelections(FormSet *Old, FormSet *Fresh) {
  if (Old == nullptr) {
    return;
  }
  ListLink *Link = ListFirst(&Browser->SelectionStack);
  while (!ListIsHead(&Browser->SelectionStack, Link)) {
    ListLink *Next = ListNext(&Browser->SelectionStack, Link);
    UiSelection *Copy = SelectionFromLink(Link);
    if (Copy->FormSet == Old && Fresh == nullptr) {
      // A way back into a released form set leads nowhere: the next copy takes its place.
      ListRemove(Link);
      FreePoolIfSet(Copy);
    } else {
      RepointCopy(Copy, Old, Fresh);
    }
    Link = Next;
  }
  LIST_FOR_EACH(Kept, &KeptSelections) {
    RepointCopy(SelectionFromLink(Kept), Old, Fresh);
  }
  if (Browser->Selection != nullptr && Browser->Selection->FormSet == Old) {
    RepointCopy(Browser->Selection, Old, Fresh);
  }
}

void ResetSelectionState() {
  ListInit(&KeptSelections);
}
