#include "editors/option_order.h"

#include "core/beep.h"
#include "dialogs/browser_services.h"
#include "editors/editors.h"
#include "editors/process_statement.h"
#include "expression/expression.h"
#include "support/memory.h"

#include "support/poison.h"

namespace {

UINT32 OrderedEntryCount(const Statement *Question) {
  if (Question->ValueBuffer == nullptr) {
    return 0;
  }
  UINT32 Limit = Question->MaxContainers < Question->ValueBytes ? Question->MaxContainers
                                                                : Question->ValueBytes;
  UINT32 Count = 0;
  while (Count < Limit && Question->ValueBuffer[Count] != 0) {
    Count++;
  }
  return Count;
}

} // namespace

bool IsOrderedList(const Statement *Question) {
  return Question->Opcode == EFI_IFR_ORDERED_LIST_OP;
}

EFI_STATUS TakeOptionSnapshot(Statement *Question, OptionSnapshot *Snapshot) {
  *Snapshot = {};
  UINT32 Count = 0;
  if (IsOrderedList(Question)) {
    Count = OrderedEntryCount(Question);
  } else {
    LIST_FOR_EACH(Link, &Question->QuestionOptionList) {
      Count++;
    }
  }
  if (Count == 0) {
    return EFI_SUCCESS;
  }
  Snapshot->Values = static_cast<HiiValue *>(AllocateZeroedPool(Count * sizeof(HiiValue)));
  if (Snapshot->Values == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Snapshot->Count = Count;
  if (IsOrderedList(Question)) {
    for (UINT32 Index = 0; Index < Count; Index++) {
      SetHiiValueNumber(&Snapshot->Values[Index], EFI_IFR_TYPE_NUM_SIZE_8,
                        Question->ValueBuffer[Index]);
    }
  } else {
    UINT32 Index = 0;
    LIST_FOR_EACH(Link, &Question->QuestionOptionList) {
      Snapshot->Values[Index++] = OptionFromLink(Link)->Value;
    }
  }
  return EFI_SUCCESS;
}

void FreeOptionSnapshot(OptionSnapshot *Snapshot) {
  FreePoolIfSet(Snapshot->Values);
  *Snapshot = {};
}

EFI_STATUS ReorderOptions(Statement *Question, const OptionSnapshot *Snapshot, UINT32 *ShownCount) {
  UINT32 Shown = 0;
  for (UINT32 Index = Snapshot->Count; Index > 0; Index--) {
    QuestionOption *Option = FindOptionByValue(Question, &Snapshot->Values[Index - 1]);
    if (Option == nullptr) {
      return EFI_NOT_FOUND;
    }
    ListRemove(&Option->Link);
    if (!OptionIsSuppressed(Option)) {
      ListInsertHead(&Question->QuestionOptionList, &Option->Link);
      Shown++;
    } else {
      ListInsertTail(&Question->QuestionOptionList, &Option->Link);
    }
  }
  // An option named twice in the value moved twice but leads the list once: the count is
  // the run of shown options at the head, so no walk of it can go past them.
  UINT32 Leading = 0;
  LIST_FOR_EACH(Link, &Question->QuestionOptionList) {
    if (Leading == Shown || OptionIsSuppressed(OptionFromLink(Link))) {
      break;
    }
    Leading++;
  }
  *ShownCount = Leading;
  return EFI_SUCCESS;
}

QuestionOption *ShownOptionAt(Statement *Question, UINT32 Index) {
  UINT32 Position = 0;
  LIST_FOR_EACH(Link, &Question->QuestionOptionList) {
    if (Position++ == Index) {
      return OptionFromLink(Link);
    }
  }
  return nullptr;
}

EFI_STATUS StepOption(UiSelection *Selection, MenuLine *Line) {
  (void)Selection;
  Statement *Question = Line->Statement;
  OptionSnapshot Snapshot;
  EFI_STATUS Status = TakeOptionSnapshot(Question, &Snapshot);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  UINT32 ShownCount = 0;
  Status = ReorderOptions(Question, &Snapshot, &ShownCount);
  FreeOptionSnapshot(&Snapshot);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (ShownCount == 0) {
    // Nothing to step to: the value stays.
    return EFI_SUCCESS;
  }
  UINT32 Index = 0;
  for (UINT32 Position = 0; Position < ShownCount; Position++) {
    INTN Order = 1;
    QuestionOption *Option = ShownOptionAt(Question, Position);
    if (!EFI_ERROR(CompareHiiValues(&Option->Value, &Question->Value, nullptr, &Order)) &&
        Order == 0) {
      Index = Position;
      break;
    }
  }
  const EFI_INPUT_KEY &Key = BrowserServices.LastKey.Key;
  if (Key.UnicodeChar == u'+' || Key.ScanCode == SCAN_DOWN || Key.ScanCode == SCAN_F6) {
    Index = Index == ShownCount - 1 ? 0 : Index + 1;
  } else if (Key.UnicodeChar == u'-' || Key.ScanCode == SCAN_UP || Key.ScanCode == SCAN_F5) {
    Index = Index == 0 ? ShownCount - 1 : Index - 1;
  }
  Question->Value = ShownOptionAt(Question, Index)->Value;
  return EFI_SUCCESS;
}
