#include "model/form_model.h"

#include "storage/question_value.h"

#include "support/poison.h"

void NormalizeHiiValue(HiiValue *Value) {
  UINTN Keep;
  switch (Value->Type) {
  case EFI_IFR_TYPE_NUM_SIZE_8:
  case EFI_IFR_TYPE_BOOLEAN:
    Keep = 1;
    break;
  case EFI_IFR_TYPE_NUM_SIZE_16:
    Keep = 2;
    break;
  case EFI_IFR_TYPE_TIME:
    Keep = 3;
    break;
  case EFI_IFR_TYPE_NUM_SIZE_32:
  case EFI_IFR_TYPE_DATE:
    Keep = 4;
    break;
  default:
    return;
  }
  for (UINTN Index = Keep; Index < sizeof(Value->Value); Index++) {
    Value->Value[Index] = 0;
  }
}

Statement *FindQuestionInForm(FormSet *Set, Form *Shown, EFI_QUESTION_ID QuestionId) {
  if (QuestionId == 0 || Shown == nullptr) {
    return nullptr;
  }
  LIST_FOR_EACH(Link, &Shown->StatementList) {
    Statement *Question = StatementFromLink(Link);
    if (Question->QuestionId != QuestionId) {
      continue;
    }
    if (Set != nullptr && Set->Loaded && Set->CallbackWroteStorage &&
        Question->Storage != nullptr && Question->Storage->Kind != STORAGE_KIND_EFI_VARIABLE) {
      ReadQuestionValue(Set, Shown, Question);
    }
    return Question;
  }
  return nullptr;
}

Statement *FindQuestionInFormSet(FormSet *Set, Form *Shown, EFI_QUESTION_ID QuestionId) {
  Statement *Question = FindQuestionInForm(Set, Shown, QuestionId);
  if (Question != nullptr || Set == nullptr) {
    return Question;
  }
  LIST_FOR_EACH(Link, &Set->FormList) {
    Form *Candidate = FormFromLink(Link);
    Question = FindQuestionInForm(Set, Candidate, QuestionId);
    if (Question != nullptr) {
      return Question;
    }
  }
  return nullptr;
}

Expression *FindRule(Form *Shown, UINT8 RuleId) {
  if (Shown == nullptr) {
    return nullptr;
  }
  LIST_FOR_EACH(Link, &Shown->ExpressionList) {
    Expression *Rule = ExpressionFromLink(Link);
    if (Rule->ExpressionType == EXPRESSION_RULE && Rule->RuleId == RuleId) {
      return Rule;
    }
  }
  return nullptr;
}
