// The stack machine that runs the postfix program of an IFR expression. The only evaluator:
// the parser runs it for disable-if, the form loop for a form's expressions before each
// display, the value code for computed questions and validation rules.
#pragma once

#include "model/form_model.h"
#include "uefi/unicode_collation.h"

// Evaluates Target and leaves the outcome in its Result. Form is where questions are looked for
// first and rules at all. On failure Result.Type is EFI_IFR_TYPE_OTHER and the status says why.
EFI_STATUS EvaluateExpression(FormSet *Set, Form *Shown, Expression *Target);

// Compares two values: strings by text (equal ids at once), everything else as 64-bit numbers
// by the sign of their difference. EFI_INVALID_PARAMETER for an undefined or mixed pair, a
// string id of 0 or a text that does not resolve.
EFI_STATUS CompareHiiValues(const HiiValue *Left, const HiiValue *Right, EFI_HII_HANDLE HiiHandle,
                            INTN *Result);

extern EFI_UNICODE_COLLATION_PROTOCOL *CollationProtocol;
EFI_STATUS EnsureCollation();

// Nested evaluations (rule references, computed questions read during an evaluation) stop here.
#define EXPRESSION_NESTING_LIMIT 32
