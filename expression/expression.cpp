#include "expression/expression.h"

#include "core/browser_context.h"
#include "core/driver_state.h"
#include "core/hii_strings.h"
#include "core/user_access.h"
#include "expression/string_operators.h"
#include "model/value_stack.h"
#include "support/arith.h"
#include "support/efi_globals.h"
#include "support/guid.h"
#include "support/memory.h"
#include "support/string.h"

#include "support/poison.h"

EFI_UNICODE_COLLATION_PROTOCOL *CollationProtocol;

namespace {

ValueStack ExpressionStack;
UINT32 NestingDepth;

bool IsNumberLike(const HiiValue &Value) {
  return Value.Type <= EFI_IFR_TYPE_DATE;
}

EFI_STATUS PopBoolean(HiiValue *Value) {
  EFI_STATUS Status = PopValue(&ExpressionStack, Value);
  if (!EFI_ERROR(Status) && Value->Type != EFI_IFR_TYPE_BOOLEAN) {
    return EFI_INVALID_PARAMETER;
  }
  return Status;
}

EFI_STATUS PopNumberLike(HiiValue *Value) {
  EFI_STATUS Status = PopValue(&ExpressionStack, Value);
  if (!EFI_ERROR(Status) && !IsNumberLike(*Value)) {
    return EFI_INVALID_PARAMETER;
  }
  return Status;
}

void SetBoolean(HiiValue *Result, bool Value) {
  SetHiiValueNumber(Result, EFI_IFR_TYPE_BOOLEAN, Value ? 1 : 0);
}

// The question a reference names, as a value copy.
EFI_STATUS QuestionValue(FormSet *Set, Form *Shown, UINT16 QuestionId, HiiValue *Result) {
  Statement *Question = FindQuestionInFormSet(Set, Shown, QuestionId);
  if (Question == nullptr) {
    return EFI_NOT_FOUND;
  }
  *Result = Question->Value;
  return EFI_SUCCESS;
}

// The id popped for a question or string reference: a number type up to 16 bits of value.
EFI_STATUS PopReferenceId(UINT16 *Id) {
  HiiValue Value;
  EFI_STATUS Status = PopValue(&ExpressionStack, &Value);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Value.Type > EFI_IFR_TYPE_NUM_SIZE_64 || HiiValueNumber(&Value) > 0xFFFF) {
    return EFI_NOT_FOUND;
  }
  *Id = static_cast<UINT16>(HiiValueNumber(&Value));
  return EFI_SUCCESS;
}

EFI_STATUS ChangeCase(FormSet *Set, bool Upper, HiiValue *Result) {
  EFI_STATUS Status = EnsureCollation();
  if (EFI_ERROR(Status)) {
    return Status;
  }
  HiiValue Operand;
  Status = PopValue(&ExpressionStack, &Operand);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Operand.Type != EFI_IFR_TYPE_STRING) {
    return EFI_UNSUPPORTED;
  }
  CHAR16 *Text = GetHiiString(HiiValueStringId(&Operand), Set->HiiHandle);
  if (Text == nullptr) {
    return EFI_NOT_FOUND;
  }
  if (Upper) {
    CollationProtocol->StrUpr(CollationProtocol, Text);
  } else {
    CollationProtocol->StrLwr(CollationProtocol, Text);
  }
  EFI_STRING_ID NewId = NewHiiString(Text, Set->HiiHandle);
  FreePoolIfSet(Text);
  SetHiiValueNumber(Result, EFI_IFR_TYPE_STRING, NewId);
  return EFI_SUCCESS;
}

EFI_STATUS Compare(FormSet *Set, UINT8 Opcode, HiiValue *Result) {
  HiiValue Right;
  EFI_STATUS Status = PopValue(&ExpressionStack, &Right);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Right.Type > EFI_IFR_TYPE_BOOLEAN && Right.Type != EFI_IFR_TYPE_STRING) {
    return EFI_INVALID_PARAMETER;
  }
  HiiValue Left;
  Status = PopValue(&ExpressionStack, &Left);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  INTN Order = 0;
  Status = CompareHiiValues(&Left, &Right, Set->HiiHandle, &Order);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  bool Value = false;
  switch (Opcode) {
  case EFI_IFR_EQUAL_OP:
    Value = Order == 0;
    break;
  case EFI_IFR_NOT_EQUAL_OP:
    Value = Order != 0;
    break;
  case EFI_IFR_GREATER_THAN_OP:
    Value = Order > 0;
    break;
  case EFI_IFR_GREATER_EQUAL_OP:
    Value = Order >= 0;
    break;
  case EFI_IFR_LESS_THAN_OP:
    Value = Order < 0;
    break;
  default:
    Value = Order <= 0;
    break;
  }
  SetBoolean(Result, Value);
  return EFI_SUCCESS;
}

EFI_STATUS Arithmetic(UINT8 Opcode, HiiValue *Result) {
  HiiValue Right;
  EFI_STATUS Status = PopNumberLike(&Right);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  HiiValue Left;
  Status = PopNumberLike(&Left);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  UINT64 L = HiiValueNumber(&Left);
  UINT64 R = HiiValueNumber(&Right);
  UINT64 Value = 0;
  UINT32 Remainder = 0;
  switch (Opcode) {
  case EFI_IFR_BITWISE_AND_OP:
    Value = L & R;
    break;
  case EFI_IFR_BITWISE_OR_OP:
    Value = L | R;
    break;
  case EFI_IFR_ADD_OP:
    Value = L + R;
    break;
  case EFI_IFR_SUBTRACT_OP:
    Value = L - R;
    break;
  case EFI_IFR_SHIFT_LEFT_OP:
    Value = ShiftLeft64(L, R & 0x3F);
    break;
  case EFI_IFR_SHIFT_RIGHT_OP:
    Value = ShiftRight64(L, R & 0x3F);
    break;
  case EFI_IFR_MULTIPLY_OP:
    Value = Multiply64By32(L, static_cast<UINT32>(R));
    break;
  case EFI_IFR_DIVIDE_OP:
    Value = Divide64By32(L, static_cast<UINT32>(R), nullptr);
    break;
  default:
    Divide64By32(L, static_cast<UINT32>(R), &Remainder);
    Value = Remainder;
    break;
  }
  SetHiiValueNumber(Result, EFI_IFR_TYPE_NUM_SIZE_64, Value);
  return EFI_SUCCESS;
}

EFI_STATUS EvaluateRule(FormSet *Set, Form *Shown, UINT8 RuleId, HiiValue *Result) {
  Expression *Rule = FindRule(Shown, RuleId);
  if (Rule == nullptr) {
    return EFI_NOT_FOUND;
  }
  EFI_STATUS Status = EvaluateExpression(Set, Shown, Rule);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  *Result = Rule->Result;
  return EFI_SUCCESS;
}

EFI_STATUS PerformOpcode(FormSet *Set, Form *Shown, ExpressionOpcode *Op, HiiValue *Result) {
  switch (Op->Opcode) {
  case EFI_IFR_EQ_ID_VAL_OP: {
    Statement *Question = FindQuestionInFormSet(Set, Shown, Op->QuestionId);
    if (Question == nullptr) {
      return EFI_NOT_FOUND;
    }
    INTN Order = 0;
    EFI_STATUS Status = CompareHiiValues(&Question->Value, &Op->Value, nullptr, &Order);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    SetBoolean(Result, Order == 0);
    return EFI_SUCCESS;
  }
  case EFI_IFR_EQ_ID_ID_OP: {
    Statement *First = FindQuestionInFormSet(Set, Shown, Op->QuestionId);
    Statement *Second = FindQuestionInFormSet(Set, Shown, Op->QuestionId2);
    if (First == nullptr || Second == nullptr) {
      return EFI_NOT_FOUND;
    }
    INTN Order = 0;
    EFI_STATUS Status = CompareHiiValues(&First->Value, &Second->Value, Set->HiiHandle, &Order);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    SetBoolean(Result, Order == 0);
    return EFI_SUCCESS;
  }
  case EFI_IFR_EQ_ID_VAL_LIST_OP: {
    Statement *Question = FindQuestionInFormSet(Set, Shown, Op->QuestionId);
    if (Question == nullptr) {
      return EFI_NOT_FOUND;
    }
    UINT16 Low = static_cast<UINT16>(HiiValueNumber(&Question->Value));
    bool Found = false;
    for (UINT16 Index = 0; Index < Op->ListLength && !Found; Index++) {
      Found = Op->ValueList[Index] == Low;
    }
    SetBoolean(Result, Found);
    return EFI_SUCCESS;
  }
  case EFI_IFR_AND_OP:
  case EFI_IFR_OR_OP: {
    HiiValue Right;
    EFI_STATUS Status = PopBoolean(&Right);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    HiiValue Left;
    Status = PopBoolean(&Left);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    bool L = HiiValueIsTrue(&Left);
    bool R = HiiValueIsTrue(&Right);
    SetBoolean(Result, Op->Opcode == EFI_IFR_AND_OP ? (L && R) : (L || R));
    return EFI_SUCCESS;
  }
  case EFI_IFR_NOT_OP: {
    HiiValue Operand;
    EFI_STATUS Status = PopBoolean(&Operand);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    SetBoolean(Result, !HiiValueIsTrue(&Operand));
    return EFI_SUCCESS;
  }
  case EFI_IFR_TO_LOWER_OP:
  case EFI_IFR_TO_UPPER_OP:
    return ChangeCase(Set, Op->Opcode == EFI_IFR_TO_UPPER_OP, Result);
  case EFI_IFR_VERSION_OP:
  case EFI_IFR_UINT8_OP:
  case EFI_IFR_UINT16_OP:
  case EFI_IFR_UINT32_OP:
  case EFI_IFR_UINT64_OP:
  case EFI_IFR_TRUE_OP:
  case EFI_IFR_FALSE_OP:
  case EFI_IFR_ZERO_OP:
  case EFI_IFR_ONE_OP:
  case EFI_IFR_ONES_OP:
  case EFI_IFR_UNDEFINED_OP:
  case EFI_IFR_STRING_REF1_OP:
    *Result = Op->Value;
    return EFI_SUCCESS;
  case EFI_IFR_EQUAL_OP:
  case EFI_IFR_NOT_EQUAL_OP:
  case EFI_IFR_GREATER_THAN_OP:
  case EFI_IFR_GREATER_EQUAL_OP:
  case EFI_IFR_LESS_THAN_OP:
  case EFI_IFR_LESS_EQUAL_OP:
    return Compare(Set, Op->Opcode, Result);
  case EFI_IFR_BITWISE_AND_OP:
  case EFI_IFR_BITWISE_OR_OP:
  case EFI_IFR_ADD_OP:
  case EFI_IFR_SUBTRACT_OP:
  case EFI_IFR_SHIFT_LEFT_OP:
  case EFI_IFR_SHIFT_RIGHT_OP:
  case EFI_IFR_MULTIPLY_OP:
  case EFI_IFR_DIVIDE_OP:
  case EFI_IFR_MODULO_OP:
    return Arithmetic(Op->Opcode, Result);
  case EFI_IFR_BITWISE_NOT_OP: {
    HiiValue Operand;
    EFI_STATUS Status = PopNumberLike(&Operand);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    SetHiiValueNumber(Result, EFI_IFR_TYPE_NUM_SIZE_64, ~HiiValueNumber(&Operand));
    return EFI_SUCCESS;
  }
  case EFI_IFR_RULE_REF_OP:
    return EvaluateRule(Set, Shown, Op->RuleId, Result);
  case EFI_IFR_QUESTION_REF1_OP:
  case EFI_IFR_THIS_OP:
    return QuestionValue(Set, Shown, Op->QuestionId, Result);
  case EFI_IFR_QUESTION_REF3_OP:
    if (Op->DevicePath != 0) {
      SetHiiValueNumber(Result, EFI_IFR_TYPE_NUM_SIZE_8, 0);
      return EFI_SUCCESS;
    }
    [[fallthrough]];
  case EFI_IFR_QUESTION_REF2_OP: {
    UINT16 QuestionId = 0;
    EFI_STATUS Status = PopReferenceId(&QuestionId);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    return QuestionValue(Set, Shown, QuestionId, Result);
  }
  case EFI_IFR_STRING_REF2_OP: {
    UINT16 StringId = 0;
    EFI_STATUS Status = PopReferenceId(&StringId);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    CHAR16 *Text = GetHiiString(StringId, Set->HiiHandle);
    if (Text == nullptr) {
      StringId = NewHiiString(u"", Set->HiiHandle);
    }
    FreePoolIfSet(Text);
    SetHiiValueNumber(Result, EFI_IFR_TYPE_STRING, StringId);
    return EFI_SUCCESS;
  }
  case EFI_IFR_CONDITIONAL_OP: {
    HiiValue Third;
    HiiValue Second;
    HiiValue First;
    EFI_STATUS Status = PopValue(&ExpressionStack, &Third);
    if (!EFI_ERROR(Status)) {
      Status = PopValue(&ExpressionStack, &Second);
    }
    if (!EFI_ERROR(Status)) {
      Status = PopBoolean(&First);
    }
    if (EFI_ERROR(Status)) {
      return Status;
    }
    *Result = HiiValueIsTrue(&First) ? Third : Second;
    return EFI_SUCCESS;
  }
  case EFI_IFR_LENGTH_OP: {
    HiiValue Operand;
    EFI_STATUS Status = PopValue(&ExpressionStack, &Operand);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    if (Operand.Type != EFI_IFR_TYPE_STRING) {
      return EFI_INVALID_PARAMETER;
    }
    CHAR16 *Text = GetHiiString(HiiValueStringId(&Operand), Set->HiiHandle);
    if (Text == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    SetHiiValueNumber(Result, EFI_IFR_TYPE_NUM_SIZE_64, StrLength(Text));
    FreePoolIfSet(Text);
    return EFI_SUCCESS;
  }
  case EFI_IFR_DUP_OP: {
    EFI_STATUS Status = PopValue(&ExpressionStack, Result);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    return PushValue(&ExpressionStack, Result);
  }
  case EFI_IFR_SECURITY_OP:
    SetBoolean(Result, GuidIsEqual(&Op->Guid, &UserAccessLevel));
    return EFI_SUCCESS;
  case EFI_IFR_GET_OP:
  case EFI_IFR_SET_OP:
  case EFI_IFR_READ_OP:
  case EFI_IFR_WRITE_OP:
    // No fields of these are stored; their operands stay on the stack.
    return EFI_SUCCESS;
  case EFI_IFR_MATCH_OP:
  case EFI_IFR_TO_UINT_OP:
  case EFI_IFR_TO_STRING_OP:
  case EFI_IFR_TO_BOOLEAN_OP:
  case EFI_IFR_MID_OP:
  case EFI_IFR_FIND_OP:
  case EFI_IFR_TOKEN_OP:
  case EFI_IFR_SPAN_OP:
  case EFI_IFR_CATENATE_OP:
    return PerformStringOperator(Set, Op, &ExpressionStack, Result);
  default:
    return EFI_UNSUPPORTED;
  }
}

} // namespace

void ResetExpressionState() {
  ZeroBytes(&ExpressionStack, sizeof(ExpressionStack));
  NestingDepth = 0;
  CollationProtocol = nullptr;
}

EFI_STATUS EnsureCollation() {
  if (CollationProtocol != nullptr) {
    return EFI_SUCCESS;
  }
  EFI_STATUS Status = BootServices->LocateProtocol(&gEfiUnicodeCollation2ProtocolGuid, nullptr,
                                                   reinterpret_cast<VOID **>(&CollationProtocol));
  if (EFI_ERROR(Status)) {
    CollationProtocol = nullptr;
  }
  return Status;
}

EFI_STATUS CompareHiiValues(const HiiValue *Left, const HiiValue *Right, EFI_HII_HANDLE HiiHandle,
                            INTN *Result) {
  if (Left->Type >= EFI_IFR_TYPE_OTHER || Right->Type >= EFI_IFR_TYPE_OTHER) {
    return EFI_INVALID_PARAMETER;
  }
  if (Left->Type == EFI_IFR_TYPE_STRING || Right->Type == EFI_IFR_TYPE_STRING) {
    if (Left->Type != Right->Type) {
      return EFI_INVALID_PARAMETER;
    }
    EFI_STRING_ID LeftId = HiiValueStringId(Left);
    EFI_STRING_ID RightId = HiiValueStringId(Right);
    if (LeftId == 0 || RightId == 0) {
      return EFI_INVALID_PARAMETER;
    }
    if (LeftId == RightId) {
      *Result = 0;
      return EFI_SUCCESS;
    }
    if (HiiHandle == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    CHAR16 *LeftText = GetHiiString(LeftId, HiiHandle);
    CHAR16 *RightText = GetHiiString(RightId, HiiHandle);
    EFI_STATUS Status = EFI_INVALID_PARAMETER;
    if (LeftText != nullptr && RightText != nullptr) {
      *Result = StrCompare(LeftText, RightText);
      Status = EFI_SUCCESS;
    }
    FreePoolIfSet(LeftText);
    FreePoolIfSet(RightText);
    return Status;
  }
  INT64 Difference = static_cast<INT64>(HiiValueNumber(Left) - HiiValueNumber(Right));
  *Result = Difference < 0 ? -1 : (Difference > 0 ? 1 : 0);
  return EFI_SUCCESS;
}

EFI_STATUS EvaluateExpression(FormSet *Set, Form *Shown, Expression *Target) {
  ClearValueStack(&ExpressionStack);
  Target->Result.Type = EFI_IFR_TYPE_OTHER;
  // Rules that refer to themselves or to each other would recurse without end.
  if (Target->Evaluating != 0 || NestingDepth >= EXPRESSION_NESTING_LIMIT) {
    return EFI_INVALID_PARAMETER;
  }
  Target->Evaluating = 1;
  NestingDepth++;

  EFI_STATUS Status = EFI_SUCCESS;
  LIST_FOR_EACH(Link, &Target->OpcodeList) {
    ExpressionOpcode *Op = ExpressionOpcodeFromLink(Link);
    HiiValue Result;
    SetHiiValueNumber(&Result, EFI_IFR_TYPE_BOOLEAN, 0);
    Status = PerformOpcode(Set, Shown, Op, &Result);
    if (EFI_ERROR(Status)) {
      break;
    }
    Status = PushValue(&ExpressionStack, &Result);
    if (EFI_ERROR(Status)) {
      break;
    }
  }

  HiiValue Final;
  if (!EFI_ERROR(Status)) {
    Status = PopValue(&ExpressionStack, &Final);
  }
  if (!EFI_ERROR(Status)) {
    HiiValue Extra;
    Status = PopValue(&ExpressionStack, &Extra) == EFI_ACCESS_DENIED ? EFI_SUCCESS
                                                                     : EFI_INVALID_PARAMETER;
  }
  if (!EFI_ERROR(Status)) {
    Target->Result = Final;
  }
  NestingDepth--;
  Target->Evaluating = 0;
  return Status;
}
