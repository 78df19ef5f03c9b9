// A growable stack of HiiValue entries: the parser's scope stack and the expression stack are
// two instances, each for the driver's whole life.
#pragma once

#include "model/form_model.h"

struct ValueStack {
  HiiValue *Base;
  HiiValue *Top;
  HiiValue *End;
};

// Grows by this many entries at a time.
#define VALUE_STACK_GROWTH 256

// Top goes back to Base; the allocation stays.
void ClearValueStack(ValueStack *Stack);
// EFI_OUT_OF_RESOURCES, with the stack as it was, when it cannot grow.
EFI_STATUS PushValue(ValueStack *Stack, const HiiValue *Value);
// EFI_ACCESS_DENIED when the stack is empty.
EFI_STATUS PopValue(ValueStack *Stack, HiiValue *Value);
// Entries on the stack.
UINTN ValueStackDepth(const ValueStack *Stack);
