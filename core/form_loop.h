// The two loops between SendForm and the screen. The form-set loop brings the selection onto
// the right form set; the form loop shows a form, waits for the UI's decision, and runs what a
// question's change asks for: the driver's Callbacks, validation, the write into the edit side
// of the storage. Every driver Callback goes through InvokeCallback, which is also what makes a
// nested SendForm safe.
#pragma once

#include "core/browser_context.h"
#include "core/selection_stack.h"

EFI_STATUS RunFormSet(UiSelection *Selection);
EFI_STATUS RunForm(UiSelection *Selection);

// Calls the form set's driver. The live selection is kept aside and put back afterwards, so a
// SendForm nested in the Callback cannot disturb it.
EFI_STATUS InvokeCallback(UiSelection *Selection, FormSet *Set, EFI_BROWSER_ACTION Action,
                          EFI_QUESTION_ID QuestionId, UINT8 Type, EFI_IFR_TYPE_VALUE *Value,
                          EFI_BROWSER_ACTION_REQUEST *ActionRequest);

// The style that picks the form's layout.
UINT16 ComputeFormStyle(FormSet *Set, Form *Shown);
// Evaluates the form's gray-out, suppress, value and rule expressions.
EFI_STATUS EvaluateFormExpressions(FormSet *Set, Form *Shown);
// Zeroes the text of the form's password questions.
void WipeFormPasswords(Form *Shown);
EFI_STATUS NotifyFormOpen(FormSet *Set, Form *Shown);
EFI_STATUS NotifyFormClose(FormSet *Set, Form *Shown);

// True for a question with an id, a storage, no value expression and no read-only flag.
bool EditableWithStorage(const Statement *Question);
