#include "storage/defaults.h"

#include "core/browser_context.h"
#include "dialogs/message_box.h"
#include "expression/expression.h"
#include "screen/layout.h"
#include "storage/question_value.h"
#include "support/memory.h"
#include "support/print.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

UINT8 OptionDefaultFlag(UINT16 DefaultId) {
  return DefaultId == EFI_HII_DEFAULT_CLASS_STANDARD ? EFI_IFR_OPTION_DEFAULT
                                                     : EFI_IFR_OPTION_DEFAULT_MFG;
}

UINT8 CheckboxDefaultFlag(UINT16 DefaultId) {
  return DefaultId == EFI_HII_DEFAULT_CLASS_STANDARD ? EFI_IFR_CHECKBOX_DEFAULT
                                                     : EFI_IFR_CHECKBOX_DEFAULT_MFG;
}

bool IsStandardOrManufacturing(UINT16 DefaultId) {
  return DefaultId == EFI_HII_DEFAULT_CLASS_STANDARD ||
         DefaultId == EFI_HII_DEFAULT_CLASS_MANUFACTURING;
}

bool IsOrderedListBuffer(const Statement *Question, const HiiValue *Value) {
  return Question->Opcode == EFI_IFR_ORDERED_LIST_OP && Value->Type == EFI_IFR_TYPE_BUFFER &&
         Question->ValueBuffer != nullptr;
}

EFI_STATUS DefaultFromRecords(FormSet *Set, Form *Owner, Statement *Question, UINT16 DefaultId,
                              bool *Found) {
  *Found = false;
  LIST_FOR_EACH(Link, &Question->QuestionDefaultList) {
    QuestionDefault *Default = DefaultFromLink(Link);
    if (Default->DefaultId != DefaultId) {
      continue;
    }
    *Found = true;
    if (Default->ComputedValue == nullptr) {
      Question->Value = Default->Value;
      if (IsOrderedListBuffer(Question, &Default->Value)) {
        // The record's bytes are the containers in their order, the rest of the list empty: a
        // request for defaults writes the list from here, not from Value.
        UINTN Bytes = Question->ValueBytes < sizeof(Default->Value.Value)
                          ? Question->ValueBytes
                          : sizeof(Default->Value.Value);
        ZeroBytes(Question->ValueBuffer, Question->ValueBytes);
        CopyBytes(Question->ValueBuffer, Default->Value.Value, Bytes);
      }
      return EFI_SUCCESS;
    }
    EFI_STATUS Status = EvaluateExpression(Set, Owner, Default->ComputedValue);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    if (Question->Opcode == EFI_IFR_CHECKBOX_OP) {
      SetHiiValueNumber(&Question->Value, Question->Value.Type,
                        HiiValueIsTrue(&Default->ComputedValue->Result) ? 1 : 0);
    } else {
      Question->Value = Default->ComputedValue->Result;
    }
    return EFI_SUCCESS;
  }
  return EFI_SUCCESS;
}

// An ordered list's value is the whole order: with no default record it takes its shown options
// in their order, also when an option carries a default flag (one value, not an order). Value
// carries the first containers too, for the paint that copies a list's default from there.
void FillWithShownOptions(Statement *Question) {
  if (Question->ValueBuffer == nullptr) {
    return;
  }
  ZeroBytes(Question->ValueBuffer, Question->ValueBytes);
  UINTN Limit = Question->MaxContainers < Question->ValueBytes ? Question->MaxContainers
                                                               : Question->ValueBytes;
  UINTN Count = 0;
  LIST_FOR_EACH(Link, &Question->QuestionOptionList) {
    QuestionOption *Option = OptionFromLink(Link);
    if (Count < Limit && !OptionIsSuppressed(Option)) {
      Question->ValueBuffer[Count++] = Option->Value.Value[0];
    }
  }
  UINTN Head = Count < sizeof(Question->Value.Value) ? Count : sizeof(Question->Value.Value);
  ZeroBytes(Question->Value.Value, sizeof(Question->Value.Value));
  CopyBytes(Question->Value.Value, Question->ValueBuffer, Head);
}

// What a question starts with when a form set loads and nothing else gives it a value.
EFI_STATUS LoadFallback(Statement *Question) {
  switch (Question->Opcode) {
  case EFI_IFR_ONE_OF_OP:
    if (!ListIsEmpty(&Question->QuestionOptionList)) {
      Question->Value = OptionFromLink(ListFirst(&Question->QuestionOptionList))->Value;
    }
    return EFI_SUCCESS;
  case EFI_IFR_NUMERIC_OP:
    SetHiiValueNumber(&Question->Value, Question->Value.Type, Question->Minimum);
    return EFI_SUCCESS;
  case EFI_IFR_ORDERED_LIST_OP:
    FillWithShownOptions(Question);
    return EFI_SUCCESS;
  default:
    return EFI_NOT_FOUND;
  }
}

} // namespace

EFI_STATUS FindQuestionDefault(FormSet *Set, Form *Owner, Statement *Question, UINT16 DefaultId) {
  if (Question->QuestionId == 0) {
    return EFI_NOT_FOUND;
  }
  bool Found = false;
  EFI_STATUS Status = DefaultFromRecords(Set, Owner, Question, DefaultId, &Found);
  if (Found) {
    return Status;
  }
  if (IsStandardOrManufacturing(DefaultId)) {
    LIST_FOR_EACH(Link, &Question->QuestionOptionList) {
      QuestionOption *Option = OptionFromLink(Link);
      if ((Option->Flags & OptionDefaultFlag(DefaultId)) == 0) {
        continue;
      }
      if (Question->Opcode == EFI_IFR_ORDERED_LIST_OP) {
        FillWithShownOptions(Question);
      } else {
        CopyBytes(Question->Value.Value, Option->Value.Value, sizeof(Question->Value.Value));
      }
      return EFI_SUCCESS;
    }
    if (Question->Opcode == EFI_IFR_CHECKBOX_OP) {
      SetHiiValueNumber(&Question->Value, Question->Value.Type,
                        (Question->Flags & CheckboxDefaultFlag(DefaultId)) != 0 ? 1 : 0);
      return EFI_SUCCESS;
    }
  }
  if (DefaultId > EFI_HII_DEFAULT_CLASS_MANUFACTURING) {
    return EFI_SUCCESS;
  }
  // A user's request for defaults does not invent a value.
  if (Set->Loaded) {
    return EFI_NOT_FOUND;
  }
  return LoadFallback(Question);
}

EFI_STATUS ApplyFormDefaults(FormSet *Set, Form *Owner, UINT16 DefaultId) {
  LIST_FOR_EACH(Link, &Owner->StatementList) {
    Statement *Question = StatementFromLink(Link);
    if (EFI_ERROR(FindQuestionDefault(Set, Owner, Question, DefaultId))) {
      continue;
    }
    // A question on an EFI variable takes the default in its value only.
    if (Question->Storage == nullptr || Question->Storage->Kind == STORAGE_KIND_EFI_VARIABLE) {
      continue;
    }
    WriteQuestionValue(Set, Owner, Question);
    if (Set->Loaded) {
      RetrieveCallback(Set, Question);
    }
  }
  return EFI_SUCCESS;
}

EFI_STATUS ApplyDefaultsEverywhere(UINT16 DefaultId) {
  if (!HasArea(AREA_MENU_BAR)) {
    return EFI_UNSUPPORTED;
  }
  LIST_FOR_EACH(SetLink, &Browser->FormSetList) {
    FormSet *Set = FormSetFromLink(SetLink);
    LIST_FOR_EACH(FormLink, &Set->FormList) {
      Form *Owner = FormFromLink(FormLink);
      Owner->Modified = 0;
      ApplyFormDefaults(Set, Owner, DefaultId);
      Owner->Modified = 1;
    }
  }
  return EFI_SUCCESS;
}

EFI_STATUS FetchStorage(FormSet *Set, Storage *Target) {
  if (Target->Kind == STORAGE_KIND_EFI_VARIABLE) {
    return EFI_SUCCESS;
  }
  if (Set->ConfigAccess == nullptr) {
    return EFI_NOT_FOUND;
  }
  if (Target->ElementCount == 0 || Target->ConfigRequest == nullptr) {
    return EFI_SUCCESS;
  }
  CHAR16 *Progress = nullptr;
  CHAR16 *Result = nullptr;
  EFI_STATUS Status = Set->ConfigAccess->ExtractConfig(Set->ConfigAccess, Target->ConfigRequest,
                                                       &Progress, &Result);
  if (EFI_ERROR(Status)) {
    ReportStorageFailure(Set, Target->Name, Status, false);
    return Status;
  }
  if (Result == nullptr) {
    return EFI_NOT_FOUND;
  }
  // The browser does not read a driver's alternative configurations.
  CHAR16 *Alternative = StrFind(Result, u"ALTCFG");
  if (Alternative != nullptr) {
    *Alternative = 0;
  }
  Status = ApplyConfigResponse(Target, Result);
  if (EFI_ERROR(Status)) {
    ReportStorageFailure(Set, Target->Name, Status, false);
  }
  FreePoolIfSet(Result);
  return Status;
}

void ReportStorageFailure(FormSet *Set, const CHAR16 *Name, EFI_STATUS Status, bool IsSave) {
  CHAR16 *First = static_cast<CHAR16 *>(AllocateZeroedPool(1024));
  CHAR16 *Second = static_cast<CHAR16 *>(AllocateZeroedPool(1024));
  if (First != nullptr && Second != nullptr) {
    FormatText(First, 1024, u"Formset %g", &Set->FormSetGuid);
    FormatText(Second, 1024,
               IsSave ? u"Failed to save storage: %s. Status: 0x%x."
                      : u"Failed to load storage: %s. Status: 0x%x.",
               Name, StatusCode32(Status));
    const CHAR16 *Lines[] = {First, Second};
    ShowSimpleMessageBox(nullptr, MESSAGE_TYPE_WARNING, 2, Lines, MESSAGE_BUTTON_OK,
                         MESSAGE_BUTTON_OK);
  }
  FreePoolIfSet(First);
  FreePoolIfSet(Second);
}
