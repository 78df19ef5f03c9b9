// The only ways in and out of a question's value: between its Statement and the edit side of a
// Storage, an EFI variable, the firmware clock or a value expression. Nothing here talks to
// the owning driver but the Retrieve Callback.
#pragma once

#include "model/form_model.h"

EFI_STATUS ReadQuestionValue(FormSet *Set, Form *Owner, Statement *Question);
EFI_STATUS WriteQuestionValue(FormSet *Set, Form *Owner, Statement *Question);

#define RULE_KIND_INCONSISTENT 0
#define RULE_KIND_NO_SUBMIT 1
// Runs the question's inconsistent-if (kind 0) or no-submit-if (kind 1) rules; the first that
// holds shows its message and gives EFI_NOT_READY.
EFI_STATUS CheckQuestionRules(FormSet *Set, Form *Owner, Statement *Question, UINTN Kind);

// ReadQuestionValue for every statement of the form, in order.
EFI_STATUS LoadFormValues(FormSet *Set, Form *Owner);

// Lets a driver supply a Callback question's value; EFI_ABORTED when it answers with the exit
// request.
EFI_STATUS RetrieveCallback(FormSet *Set, Statement *Question);
