// The expression operators that work on strings: to-string, to-uint, to-boolean, catenate,
// match, find, mid, token and span. Strings live in the form set's string package: a string on
// the stack is a string id; results are new strings in that package.
#pragma once

#include "model/form_model.h"
#include "model/value_stack.h"

// Pops the operator's operands from Stack and fills Result; does not push.
EFI_STATUS PerformStringOperator(FormSet *Set, const ExpressionOpcode *Op, ValueStack *Stack,
                                 HiiValue *Result);

// Clears bit 5 of the code units "a" to "z", in place.
void UppercaseAscii(CHAR16 *String);
