// The order of a one-of's or ordered list's options while they are picked: the values as they
// stood, and the list brought into that order with the shown options first. Shared by the
// pop-up list and by stepping.
#pragma once

#include "model/form_model.h"

struct OptionSnapshot {
  HiiValue *Values;
  UINT32 Count;
};

bool IsOrderedList(const Statement *Question);

// One-of: the value of each option in list order. Ordered list: one byte value for each
// container up to the first 0.
EFI_STATUS TakeOptionSnapshot(Statement *Question, OptionSnapshot *Snapshot);
void FreeOptionSnapshot(OptionSnapshot *Snapshot);

// Moves the options into snapshot order, shown ones to the head and suppressed ones to the
// tail; EFI_NOT_FOUND when a value has no option.
EFI_STATUS ReorderOptions(Statement *Question, const OptionSnapshot *Snapshot, UINT32 *ShownCount);

// The option at that place of the list, or null past its end.
QuestionOption *ShownOptionAt(Statement *Question, UINT32 Index);
