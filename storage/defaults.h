// Defaults and the load of a form set's values from its driver: a question gets its value from
// its own default records, then from the driver's stored values, then from its first option or
// minimum when nothing else says.
#pragma once

#include "model/form_model.h"

// Sets the question's value from default store DefaultId; EFI_NOT_FOUND when nothing gives one.
EFI_STATUS FindQuestionDefault(FormSet *Set, Form *Owner, Statement *Question, UINT16 DefaultId);
// Applies a default store to every question of the form that has a default.
EFI_STATUS ApplyFormDefaults(FormSet *Set, Form *Owner, UINT16 DefaultId);
// Every form of every form set in the cache; EFI_UNSUPPORTED in a layout without a menu bar.
EFI_STATUS ApplyDefaultsEverywhere(UINT16 DefaultId);
// Fills the edit side of a storage from its driver.
EFI_STATUS FetchStorage(FormSet *Set, Storage *Target);
// The warning box for a storage the driver would not give or take.
void ReportStorageFailure(FormSet *Set, const CHAR16 *Name, EFI_STATUS Status, bool IsSave);
