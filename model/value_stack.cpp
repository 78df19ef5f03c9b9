#include "model/value_stack.h"

#include "support/memory.h"

#include "support/poison.h"

namespace {

EFI_STATUS GrowValueStack(ValueStack *Stack) {
  UINTN Used = static_cast<UINTN>(Stack->Top - Stack->Base);
  UINTN Capacity = static_cast<UINTN>(Stack->End - Stack->Base);
  UINTN NewCapacity = Stack->Top == nullptr ? VALUE_STACK_GROWTH : Capacity + VALUE_STACK_GROWTH;
  HiiValue *Grown = static_cast<HiiValue *>(AllocatePoolOf(NewCapacity * sizeof(HiiValue)));
  if (Grown == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (Stack->Base != nullptr) {
    CopyBytes(Grown, Stack->Base, Used * sizeof(HiiValue));
    FreePoolIfSet(Stack->Base);
  }
  Stack->Base = Grown;
  Stack->Top = Grown + Used;
  Stack->End = Grown + NewCapacity;
  return EFI_SUCCESS;
}

} // namespace

void ClearValueStack(ValueStack *Stack) {
  Stack->Top = Stack->Base;
}

EFI_STATUS PushValue(ValueStack *Stack, const HiiValue *Value) {
  if (Stack->Top == Stack->End) {
    EFI_STATUS Status = GrowValueStack(Stack);
    if (EFI_ERROR(Status)) {
      return Status;
    }
  }
  CopyBytes(Stack->Top, Value, sizeof(HiiValue));
  Stack->Top++;
  return EFI_SUCCESS;
}

EFI_STATUS PopValue(ValueStack *Stack, HiiValue *Value) {
  if (Stack->Top == Stack->Base) {
    return EFI_ACCESS_DENIED;
  }
  Stack->Top--;
  CopyBytes(Value, Stack->Top, sizeof(HiiValue));
  return EFI_SUCCESS;
}

UINTN ValueStackDepth(const ValueStack *Stack) {
  return static_cast<UINTN>(Stack->Top - Stack->Base);
}
