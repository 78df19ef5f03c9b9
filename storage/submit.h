// Edits stay in the edit side of each storage until they are submitted to the drivers, one
// form set at a time or all at once; every form in scope is checked against its no-submit-if
// rules first, and one failure stops the whole submit.
#pragma once

#include "model/form_model.h"

// True as soon as one form of one form set in the cache holds edits.
bool IsAnythingModified();
EFI_STATUS CheckFormForSubmit(FormSet *Set, Form *Owner);
EFI_STATUS SubmitStorages(FormSet *Set);
EFI_STATUS SubmitOneForm(FormSet *Set, Form *Owner);
EFI_STATUS SubmitAll();
