#include "editors/editors.h"

#include "support/poison.h"

// The interactive editors arrive with their own pieces of work. Until then a selected one-of,
// ordered list, number, date, time, string or password keeps its value: the editor reports
// EFI_UNSUPPORTED and leaves the selection's Action alone, so nothing is stored.

EFI_STATUS ShowOptionPopUp(UiSelection *Selection, MenuLine *Option) {
  return EFI_UNSUPPORTED;
}

EFI_STATUS StepOption(UiSelection *Selection, MenuLine *Option) {
  return EFI_UNSUPPORTED;
}

EFI_STATUS EditNumber(UiSelection *Selection, MenuLine *Option) {
  return EFI_UNSUPPORTED;
}

EFI_STATUS EditText(UiSelection *Selection, MenuLine *Option) {
  return EFI_UNSUPPORTED;
}
