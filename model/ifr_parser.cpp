#include "model/ifr_parser.h"

#include "core/browser_context.h"
#include "core/driver_state.h"
#include "core/hii_strings.h"
#include "dialogs/dialog.h"
#include "expression/expression.h"
#include "model/value_stack.h"
#include "storage/storage.h"
#include "support/guid.h"
#include "support/memory.h"
#include "support/print.h"
#include "support/string.h"

#include "support/poison.h"

bool ActionOnKeyOpen;

namespace {

struct ParserState {
  Form *CurrentForm;
  Statement *CurrentStatement;
  QuestionOption *CurrentOption;
  QuestionDefault *CurrentDefault;
  Expression *CurrentExpression;
  bool OptionScopeOpen;
  bool DefaultScopeOpen;
  bool OptionSuppressOpen;
  Expression *OptionSuppress;
  bool FormSuppressOpen;
  Expression *FormSuppress;
  bool GrayOutOpen;
  Expression *ScopeGrayOut;
  bool DisableOpen;
  bool DisableActive;
  UINT16 DisableDepth;
  bool OneOpcodeExpression;
  // Operators that came with no expression open (a warning-if inside a question, which the
  // browser does not act on) gather here, in no list, until the scope that holds them ends.
  Expression *Orphan;
  UINTN OrphanDepth;
  UINT32 StatementIndex;
  UINT32 OpcodeIndex;
};

ParserState Parser;
ValueStack ScopeStack;

// One opcode of the walk; every read is checked against Length by the handler first.
struct Opcode {
  const UINT8 *Bytes;
  UINT8 Code;
  UINT8 Length;
  bool Scope;

  bool Has(UINTN Size) const { return Length >= Size; }
  UINT8 U8(UINTN Offset) const { return Bytes[Offset]; }
  UINT16 U16(UINTN Offset) const { return ReadUnaligned16(Bytes + Offset); }
  UINT32 U32(UINTN Offset) const { return ReadUnaligned32(Bytes + Offset); }
  UINT64 U64(UINTN Offset) const { return ReadUnaligned64(Bytes + Offset); }
  EFI_GUID Guid(UINTN Offset) const {
    EFI_GUID Value;
    CopyBytes(&Value, Bytes + Offset, sizeof(Value));
    return Value;
  }
  // A value of up to 8 bytes from Offset; bytes beyond the opcode read as zero.
  void Value(UINTN Offset, HiiValue *Out) const {
    for (UINTN Index = 0; Index < sizeof(Out->Value); Index++) {
      Out->Value[Index] = Offset + Index < Length ? Bytes[Offset + Index] : 0;
    }
  }
};

constexpr UINTN QuestionHeaderEnd = 13;

// ---------------------------------------------------------------------------------------------
// Records

Expression *NewExpressionRecord() {
  Expression *Record = static_cast<Expression *>(AllocateZeroedPool(sizeof(Expression)));
  if (Record != nullptr) {
    Record->Signature = EXPRESSION_SIGNATURE;
    ListInit(&Record->OpcodeList);
  }
  return Record;
}

// A disable expression belongs to no list until it is evaluated and released; one that is still
// current when another takes its place, or when the walk ends, would otherwise be lost.
void DropPendingDisable() {
  Expression *Current = Parser.CurrentExpression;
  if (Current != nullptr && Current->ExpressionType == EXPRESSION_DISABLE_IF) {
    ReleaseExpression(Current);
    Parser.CurrentExpression = nullptr;
  }
}

void DropOrphan() {
  if (Parser.Orphan == nullptr) {
    return;
  }
  if (Parser.CurrentExpression == Parser.Orphan) {
    Parser.CurrentExpression = nullptr;
  }
  ReleaseExpression(Parser.Orphan);
  Parser.Orphan = nullptr;
}

// Opens the orphan expression for an operator that found nothing open; its scope, if it has
// one, is already on the stack, and the orphan lives until the scope around it ends.
EFI_STATUS OpenOrphan(const Opcode &Op) {
  if (Parser.Orphan == nullptr) {
    Parser.Orphan = NewExpressionRecord();
    if (Parser.Orphan == nullptr) {
      return EFI_OUT_OF_RESOURCES;
    }
    UINTN Depth = ValueStackDepth(&ScopeStack);
    Parser.OrphanDepth = Op.Scope && Depth > 0 ? Depth - 1 : Depth;
  }
  Parser.CurrentExpression = Parser.Orphan;
  return EFI_SUCCESS;
}

EFI_STATUS MakeExpression(UINT8 Kind, Expression **Out) {
  DropPendingDisable();
  // A one-opcode disable-if that another expression replaced has nothing left to finish.
  Parser.OneOpcodeExpression = false;
  Expression *Record = NewExpressionRecord();
  if (Record == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Record->ExpressionType = Kind;
  Parser.CurrentExpression = Record;
  *Out = Record;
  return EFI_SUCCESS;
}

Statement *NewStatementRecord(const Opcode &Op, FormSet *Set, Form *Owner) {
  if (Owner == nullptr || Parser.StatementIndex >= Set->StatementCapacity) {
    return nullptr;
  }
  Statement *Record = &Set->StatementSlots[Parser.StatementIndex++];
  ListInit(&Record->QuestionDefaultList);
  ListInit(&Record->QuestionOptionList);
  ListInit(&Record->InconsistentIfList);
  ListInit(&Record->NoSubmitIfList);
  Record->Signature = STATEMENT_SIGNATURE;
  Record->Opcode = Op.Code;
  Record->Prompt = Op.U16(2);
  Record->Help = Op.U16(4);
  if (Parser.FormSuppressOpen) {
    Record->SuppressCondition = Parser.FormSuppress;
  }
  if (Parser.GrayOutOpen) {
    Record->GrayOutCondition = Parser.ScopeGrayOut;
  }
  ListInsertTail(&Owner->StatementList, &Record->Link);
  return Record;
}

// Why a statement could not be made: outside a form, or out of slots.
EFI_STATUS StatementFailure(FormSet *Set) {
  return Parser.CurrentForm == nullptr ? EFI_INVALID_PARAMETER : EFI_OUT_OF_RESOURCES;
}

EFI_STATUS NewStatement(const Opcode &Op, FormSet *Set, Statement **Out) {
  *Out = NewStatementRecord(Op, Set, Parser.CurrentForm);
  return *Out == nullptr ? StatementFailure(Set) : EFI_SUCCESS;
}

Storage *FindStorage(FormSet *Set, EFI_VARSTORE_ID VarStoreId) {
  LIST_FOR_EACH(Link, &Set->StorageList) {
    Storage *Candidate = StorageFromLink(Link);
    if (Candidate->VarStoreId == VarStoreId) {
      return Candidate;
    }
  }
  return nullptr;
}

EFI_STATUS NewQuestionRecord(const Opcode &Op, FormSet *Set, Statement **Out) {
  EFI_STATUS Status = NewStatement(Op, Set, Out);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Statement *Question = *Out;
  Question->QuestionId = Op.U16(6);
  Question->VarStoreId = Op.U16(8);
  Question->VarStoreInfo = Op.U16(10);
  Question->QuestionFlags = Op.U8(12);
  Parser.CurrentStatement = Question;
  if (Question->VarStoreId == 0) {
    return EFI_SUCCESS;
  }
  Storage *Target = FindStorage(Set, Question->VarStoreId);
  if (Target == nullptr) {
    // Well-formed IFR declares a varstore before the questions that use it.
    return EFI_INVALID_PARAMETER;
  }
  Question->Storage = Target;
  if (Target->Kind == STORAGE_KIND_NAME_VALUE || Target->Kind == STORAGE_KIND_EFI_VARIABLE) {
    Question->ItemName = GetHiiString(Question->VarStoreInfo, Set->HiiHandle);
  }
  if (Target->Kind == STORAGE_KIND_NAME_VALUE) {
    NameValueNode *Node = static_cast<NameValueNode *>(AllocateZeroedPool(sizeof(NameValueNode)));
    if (Node == nullptr) {
      return EFI_OUT_OF_RESOURCES;
    }
    Node->Signature = NAME_VALUE_NODE_SIGNATURE;
    Node->NeverSent = Question->Opcode == EFI_IFR_PASSWORD_OP &&
                      (Question->QuestionFlags & EFI_IFR_FLAG_CALLBACK) != 0;
    Node->Name = StrDuplicate(Question->ItemName);
    Node->Value = static_cast<CHAR16 *>(AllocateZeroedPool(16));
    Node->EditValue = static_cast<CHAR16 *>(AllocateZeroedPool(16));
    ListInsertTail(&Target->NameValues, &Node->Link);
    if (Node->Value == nullptr || Node->EditValue == nullptr ||
        (Question->ItemName != nullptr && Node->Name == nullptr)) {
      return EFI_OUT_OF_RESOURCES;
    }
  }
  return EFI_SUCCESS;
}

void RequestValue(FormSet *Set, Statement *Question) {
  if (Question->Storage != nullptr) {
    AddRequestElement(Set, Question);
  }
}

// ---------------------------------------------------------------------------------------------
// Form-set objects

EFI_STATUS ParseFormSet(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(22)) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_GUID Guid = Op.Guid(2);
  if (!GuidIsEqual(&Guid, &Set->FormSetGuid)) {
    return EFI_INVALID_PARAMETER;
  }
  Set->FormSetTitle = Op.U16(18);
  Set->FormSetHelp = Op.U16(20);
  return EFI_SUCCESS;
}

EFI_STATUS ParseForm(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(6)) {
    return EFI_INVALID_PARAMETER;
  }
  Form *Record = static_cast<Form *>(AllocateZeroedPool(sizeof(Form)));
  if (Record == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Record->Signature = FORM_SIGNATURE;
  ListInit(&Record->ExpressionList);
  ListInit(&Record->StatementList);
  Record->FormId = Op.U16(2);
  Record->FormTitle = Op.U16(4);
  Record->FormTitleText = GetHiiString(Record->FormTitle, Set->HiiHandle);
  ListInsertTail(&Set->FormList, &Record->Link);
  Parser.CurrentForm = Record;
  return EFI_SUCCESS;
}

EFI_STATUS ParseBufferVarStore(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(23)) {
    return EFI_INVALID_PARAMETER;
  }
  UINTN NameLength = 0;
  while (22 + NameLength < Op.Length && Op.U8(22 + NameLength) != 0) {
    NameLength++;
  }
  if (22 + NameLength >= Op.Length) {
    return EFI_INVALID_PARAMETER;
  }
  Storage *Record = NewStorageRecord(Set);
  if (Record == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Record->Kind = STORAGE_KIND_BUFFER;
  Record->Guid = Op.Guid(2);
  Record->VarStoreId = Op.U16(18);
  Record->Size = Op.U16(20);
  if (Record->Size > 0) {
    Record->StoredCopy = static_cast<UINT8 *>(AllocateZeroedPool(Record->Size));
    Record->EditCopy = static_cast<UINT8 *>(AllocateZeroedPool(Record->Size));
    if (Record->StoredCopy == nullptr || Record->EditCopy == nullptr) {
      return EFI_OUT_OF_RESOURCES;
    }
  }
  Record->Name = static_cast<CHAR16 *>(AllocateZeroedPool((NameLength + 1) * sizeof(CHAR16)));
  if (Record->Name == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  for (UINTN Index = 0; Index < NameLength; Index++) {
    Record->Name[Index] = Op.U8(22 + Index);
  }
  BuildConfigHeader(Set, Record);
  return EFI_SUCCESS;
}

EFI_STATUS ParseNameValueVarStore(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(20)) {
    return EFI_INVALID_PARAMETER;
  }
  Storage *Record = NewStorageRecord(Set);
  if (Record == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Record->Kind = STORAGE_KIND_NAME_VALUE;
  Record->VarStoreId = Op.U16(2);
  Record->Guid = Op.Guid(4);
  BuildConfigHeader(Set, Record);
  return EFI_SUCCESS;
}

EFI_STATUS ParseEfiVarStore(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(24)) {
    return EFI_INVALID_PARAMETER;
  }
  Storage *Record = NewStorageRecord(Set);
  if (Record == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Record->Kind = STORAGE_KIND_EFI_VARIABLE;
  Record->VarStoreId = Op.U16(2);
  Record->Guid = Op.Guid(4);
  Record->Attributes = Op.U32(20);
  return EFI_SUCCESS;
}

EFI_STATUS ParseDefaultStore(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(6)) {
    return EFI_INVALID_PARAMETER;
  }
  DefaultStore *Record = static_cast<DefaultStore *>(AllocateZeroedPool(sizeof(DefaultStore)));
  if (Record == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Record->Signature = DEFAULT_STORE_SIGNATURE;
  Record->DefaultName = Op.U16(2);
  Record->DefaultId = Op.U16(4);
  ListInsertTail(&Set->DefaultStoreList, &Record->Link);
  return EFI_SUCCESS;
}

EFI_STATUS ParseImage(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(4)) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_IMAGE_ID ImageId = Op.U16(2);
  // The enclosing opcode is the one on top of the scope stack.
  UINT8 Enclosing = 0;
  HiiValue Top;
  if (!EFI_ERROR(PopValue(&ScopeStack, &Top))) {
    Enclosing = Top.Value[0];
    PushValue(&ScopeStack, &Top);
  }
  if (Enclosing == EFI_IFR_FORM_OP && Parser.CurrentForm != nullptr) {
    Parser.CurrentForm->FormImage = ImageId;
  } else if (Enclosing == EFI_IFR_ONE_OF_OPTION_OP && Parser.CurrentOption != nullptr) {
    Parser.CurrentOption->ImageId = ImageId;
  } else if (Enclosing == EFI_IFR_FORM_SET_OP) {
    Set->FormSetImage = ImageId;
  } else if (Parser.CurrentStatement != nullptr) {
    Parser.CurrentStatement->ImageId = ImageId;
  }
  return EFI_SUCCESS;
}

// Kinds that join the form's expression list need a form.
EFI_STATUS MakeFormExpression(UINT8 Kind, Expression **Out) {
  if (Parser.CurrentForm == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_STATUS Status = MakeExpression(Kind, Out);
  if (!EFI_ERROR(Status)) {
    ListInsertTail(&Parser.CurrentForm->ExpressionList, &(*Out)->Link);
  }
  return Status;
}

EFI_STATUS ParseRule(const Opcode &Op) {
  if (!Op.Has(3)) {
    return EFI_INVALID_PARAMETER;
  }
  Expression *Rule;
  EFI_STATUS Status = MakeFormExpression(EXPRESSION_RULE, &Rule);
  if (!EFI_ERROR(Status)) {
    Rule->RuleId = Op.U8(2);
  }
  return Status;
}

EFI_STATUS ParseValue() {
  Expression *Owner = nullptr;
  if (!Parser.DefaultScopeOpen && Parser.CurrentStatement == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Parser.DefaultScopeOpen && Parser.CurrentDefault == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_STATUS Status = MakeFormExpression(EXPRESSION_VALUE, &Owner);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Parser.DefaultScopeOpen) {
    Parser.CurrentDefault->ComputedValue = Owner;
  } else {
    Parser.CurrentStatement->ComputedValue = Owner;
  }
  return EFI_SUCCESS;
}

EFI_STATUS ParseSuppressIf() {
  Expression *Condition;
  EFI_STATUS Status = MakeFormExpression(EXPRESSION_SUPPRESS_IF, &Condition);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Parser.OptionScopeOpen) {
    Parser.OptionSuppress = Condition;
    Parser.OptionSuppressOpen = true;
  } else {
    Parser.FormSuppress = Condition;
    Parser.FormSuppressOpen = true;
  }
  return EFI_SUCCESS;
}

EFI_STATUS ParseGrayOutIf() {
  Expression *Condition;
  EFI_STATUS Status = MakeFormExpression(EXPRESSION_GRAY_OUT_IF, &Condition);
  if (!EFI_ERROR(Status)) {
    Parser.ScopeGrayOut = Condition;
    Parser.GrayOutOpen = true;
  }
  return Status;
}

EFI_STATUS ParseDisableIf(const FormSet *Set, UINT32 NextOffset) {
  Expression *Condition;
  EFI_STATUS Status = MakeExpression(EXPRESSION_DISABLE_IF, &Condition);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Parser.DisableOpen = true;
  Parser.DisableActive = false;
  Parser.OneOpcodeExpression =
      NextOffset + 1 < Set->IfrLength && (Set->IfrData[NextOffset + 1] & 0x80) == 0;
  return EFI_SUCCESS;
}

EFI_STATUS ParseQuestionRule(const Opcode &Op, UINT8 Kind) {
  if (!Op.Has(4)) {
    return EFI_INVALID_PARAMETER;
  }
  if (Parser.CurrentStatement == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Expression *Rule;
  EFI_STATUS Status = MakeExpression(Kind, &Rule);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Rule->Error = Op.U16(2);
  ListLink *List = Kind == EXPRESSION_NO_SUBMIT_IF ? &Parser.CurrentStatement->NoSubmitIfList
                                                   : &Parser.CurrentStatement->InconsistentIfList;
  ListInsertTail(List, &Rule->Link);
  return EFI_SUCCESS;
}

EFI_STATUS ParseGuid(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(18)) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_GUID Guid = Op.Guid(2);
  if (GuidIsEqual(&Guid, &gIfrVendorExtensionGuid)) {
    if (!Op.Has(19)) {
      return EFI_SUCCESS;
    }
    UINT8 Subcode = Op.U8(18);
    if (Subcode != VENDOR_EXTENSION_SUBCODE_CLASS && Subcode != VENDOR_EXTENSION_SUBCODE_SUBCLASS) {
      return EFI_SUCCESS;
    }
    if (!Op.Has(21)) {
      return EFI_INVALID_PARAMETER;
    }
    if (Subcode == VENDOR_EXTENSION_SUBCODE_CLASS) {
      Set->FormSetClass = Op.U16(19);
    } else {
      Set->FormSetSubClass = Op.U16(19);
    }
  } else if (GuidIsEqual(&Guid, &gActionKeyRangeBeginGuid)) {
    ActionOnKeyOpen = true;
  } else if (GuidIsEqual(&Guid, &gActionKeyRangeEndGuid)) {
    ActionOnKeyOpen = false;
  }
  return EFI_SUCCESS;
}

// ---------------------------------------------------------------------------------------------
// Expressions

// Evaluates a completed disable-if once and releases it: what it disables never enters the
// model.
EFI_STATUS FinishDisableExpression(FormSet *Set) {
  Expression *Condition = Parser.CurrentExpression;
  if (Condition == nullptr || Condition->ExpressionType != EXPRESSION_DISABLE_IF) {
    return EFI_SUCCESS;
  }
  Parser.CurrentExpression = nullptr;
  EFI_STATUS Status = EvaluateExpression(Set, Parser.CurrentForm, Condition);
  if (!EFI_ERROR(Status) && Condition->Result.Type != EFI_IFR_TYPE_BOOLEAN) {
    Status = EFI_INVALID_PARAMETER;
  }
  if (!EFI_ERROR(Status)) {
    Parser.DisableActive = HiiValueIsTrue(&Condition->Result);
  }
  ReleaseExpression(Condition);
  return Status;
}

EFI_STATUS ParseExpressionOpcode(FormSet *Set, const Opcode &Op) {
  if (Parser.CurrentExpression == nullptr) {
    EFI_STATUS Status = OpenOrphan(Op);
    if (EFI_ERROR(Status)) {
      return Status;
    }
  }
  if (Parser.OpcodeIndex >= Set->OpcodeCapacity) {
    return EFI_OUT_OF_RESOURCES;
  }
  UINTN Needed = 2;
  switch (Op.Code) {
  case EFI_IFR_EQ_ID_VAL_OP:
  case EFI_IFR_EQ_ID_ID_OP:
  case EFI_IFR_EQ_ID_VAL_LIST_OP:
  case EFI_IFR_UINT32_OP:
    Needed = 6;
    break;
  case EFI_IFR_RULE_REF_OP:
  case EFI_IFR_UINT8_OP:
  case EFI_IFR_TO_STRING_OP:
  case EFI_IFR_FIND_OP:
  case EFI_IFR_SPAN_OP:
    Needed = 3;
    break;
  case EFI_IFR_QUESTION_REF1_OP:
  case EFI_IFR_UINT16_OP:
  case EFI_IFR_STRING_REF1_OP:
    Needed = 4;
    break;
  case EFI_IFR_UINT64_OP:
    Needed = 10;
    break;
  case EFI_IFR_SECURITY_OP:
    Needed = 18;
    break;
  default:
    break;
  }
  if (!Op.Has(Needed)) {
    return EFI_INVALID_PARAMETER;
  }
  if (Op.Code == EFI_IFR_EQ_ID_VAL_LIST_OP && !Op.Has(6 + 2 * static_cast<UINTN>(Op.U16(4)))) {
    return EFI_INVALID_PARAMETER;
  }
  if (Op.Code == EFI_IFR_THIS_OP && Parser.CurrentStatement == nullptr) {
    return EFI_INVALID_PARAMETER;
  }

  ExpressionOpcode *Record = &Set->OpcodeSlots[Parser.OpcodeIndex++];
  Record->Signature = EXPRESSION_OPCODE_SIGNATURE;
  Record->Opcode = Op.Code;
  switch (Op.Code) {
  case EFI_IFR_EQ_ID_VAL_OP:
    Record->QuestionId = Op.U16(2);
    SetHiiValueNumber(&Record->Value, EFI_IFR_TYPE_NUM_SIZE_16, Op.U16(4));
    break;
  case EFI_IFR_EQ_ID_ID_OP:
    Record->QuestionId = Op.U16(2);
    Record->QuestionId2 = Op.U16(4);
    break;
  case EFI_IFR_EQ_ID_VAL_LIST_OP:
    Record->QuestionId = Op.U16(2);
    Record->ListLength = Op.U16(4);
    if (Record->ListLength > 0) {
      Record->ValueList =
          static_cast<UINT16 *>(AllocatePoolOf(Record->ListLength * sizeof(UINT16)));
      if (Record->ValueList == nullptr) {
        Record->ListLength = 0;
        return EFI_OUT_OF_RESOURCES;
      }
      for (UINT16 Index = 0; Index < Record->ListLength; Index++) {
        Record->ValueList[Index] = Op.U16(6 + 2 * static_cast<UINTN>(Index));
      }
    }
    break;
  case EFI_IFR_VERSION_OP:
    SetHiiValueNumber(&Record->Value, EFI_IFR_TYPE_NUM_SIZE_16, 0x0200);
    break;
  case EFI_IFR_RULE_REF_OP:
    Record->RuleId = Op.U8(2);
    break;
  case EFI_IFR_QUESTION_REF1_OP:
    Record->QuestionId = Op.U16(2);
    break;
  case EFI_IFR_UINT8_OP:
    SetHiiValueNumber(&Record->Value, EFI_IFR_TYPE_NUM_SIZE_8, Op.U8(2));
    break;
  case EFI_IFR_UINT16_OP:
    SetHiiValueNumber(&Record->Value, EFI_IFR_TYPE_NUM_SIZE_16, Op.U16(2));
    break;
  case EFI_IFR_UINT32_OP:
    SetHiiValueNumber(&Record->Value, EFI_IFR_TYPE_NUM_SIZE_32, Op.U32(2));
    break;
  case EFI_IFR_UINT64_OP:
    SetHiiValueNumber(&Record->Value, EFI_IFR_TYPE_NUM_SIZE_64, Op.U64(2));
    break;
  case EFI_IFR_TRUE_OP:
    SetHiiValueNumber(&Record->Value, EFI_IFR_TYPE_BOOLEAN, 1);
    break;
  case EFI_IFR_FALSE_OP:
    SetHiiValueNumber(&Record->Value, EFI_IFR_TYPE_BOOLEAN, 0);
    break;
  case EFI_IFR_TO_STRING_OP:
  case EFI_IFR_FIND_OP:
    Record->Format = Op.U8(2);
    break;
  case EFI_IFR_STRING_REF1_OP:
    SetHiiValueNumber(&Record->Value, EFI_IFR_TYPE_STRING, Op.U16(2));
    break;
  case EFI_IFR_QUESTION_REF3_OP:
    if (Op.Has(4)) {
      Record->DevicePath = Op.U16(2);
    }
    if (Op.Has(20)) {
      Record->Guid = Op.Guid(4);
    }
    break;
  case EFI_IFR_ZERO_OP:
    SetHiiValueNumber(&Record->Value, EFI_IFR_TYPE_NUM_SIZE_8, 0);
    break;
  case EFI_IFR_ONE_OP:
    SetHiiValueNumber(&Record->Value, EFI_IFR_TYPE_NUM_SIZE_8, 1);
    break;
  case EFI_IFR_ONES_OP:
    SetHiiValueNumber(&Record->Value, EFI_IFR_TYPE_NUM_SIZE_64, ~static_cast<UINT64>(0));
    break;
  case EFI_IFR_UNDEFINED_OP:
    SetHiiValueNumber(&Record->Value, EFI_IFR_TYPE_OTHER, 0);
    break;
  case EFI_IFR_THIS_OP:
    Record->QuestionId = Parser.CurrentStatement->QuestionId;
    break;
  case EFI_IFR_SPAN_OP:
    Record->Flags = Op.U8(2);
    break;
  case EFI_IFR_SECURITY_OP:
    Record->Guid = Op.Guid(2);
    break;
  default:
    break;
  }
  ListInsertTail(&Parser.CurrentExpression->OpcodeList, &Record->Link);

  if (Parser.OneOpcodeExpression) {
    Parser.OneOpcodeExpression = false;
    return FinishDisableExpression(Set);
  }
  return EFI_SUCCESS;
}

// ---------------------------------------------------------------------------------------------
// Statements and questions

EFI_STATUS ParseSubtitle(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(7)) {
    return EFI_INVALID_PARAMETER;
  }
  Form *Owner = Parser.CurrentForm;
  // Every subtitle but the first of a form gets a companion line with no prompt: a blank row.
  if (Owner != nullptr && !ListIsEmpty(&Owner->StatementList)) {
    Statement *Companion;
    EFI_STATUS Status = NewStatement(Op, Set, &Companion);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    Companion->Prompt = 0;
    Companion->Flags = Op.U8(6);
  }
  Statement *Subtitle;
  EFI_STATUS Status = NewStatement(Op, Set, &Subtitle);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Subtitle->Flags = Op.U8(6);
  Parser.CurrentStatement = Subtitle;
  return EFI_SUCCESS;
}

EFI_STATUS ParseText(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(8)) {
    return EFI_INVALID_PARAMETER;
  }
  Statement *Text;
  EFI_STATUS Status = NewStatement(Op, Set, &Text);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Text->TextTwo = Op.U16(6);
  Parser.CurrentStatement = Text;
  return EFI_SUCCESS;
}

EFI_STATUS ParseAction(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(QuestionHeaderEnd) || (Op.Length > QuestionHeaderEnd && !Op.Has(15))) {
    return EFI_INVALID_PARAMETER;
  }
  Statement *Action;
  EFI_STATUS Status = NewQuestionRecord(Op, Set, &Action);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Action->QuestionConfig = Op.Length > QuestionHeaderEnd ? Op.U16(13) : 0;
  Action->ActionOnKey = ActionOnKeyOpen ? 1 : 0;
  return EFI_SUCCESS;
}

EFI_STATUS ParseResetButton(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(15)) {
    return EFI_INVALID_PARAMETER;
  }
  Statement *Button;
  EFI_STATUS Status = NewQuestionRecord(Op, Set, &Button);
  if (!EFI_ERROR(Status)) {
    Button->DefaultId = Op.U16(13);
  }
  return Status;
}

EFI_STATUS ParseRef(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(QuestionHeaderEnd)) {
    return EFI_INVALID_PARAMETER;
  }
  Statement *Ref;
  EFI_STATUS Status = NewQuestionRecord(Op, Set, &Ref);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  // The bare question header is a reference too; it names no form and so leads nowhere.
  if (Op.Has(15)) {
    Ref->RefFormId = Op.U16(13);
  }
  if (Op.Has(17)) {
    Ref->RefQuestionId = Op.U16(15);
  }
  if (Op.Has(33)) {
    Ref->RefFormSetId = Op.Guid(17);
  }
  if (Op.Has(35)) {
    Ref->RefDevicePath = Op.U16(33);
  }
  return EFI_SUCCESS;
}

EFI_STATUS ParseNumericOrOneOf(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(14)) {
    return EFI_INVALID_PARAMETER;
  }
  UINT8 SizeCode = Op.U8(13) & EFI_IFR_NUMERIC_SIZE;
  static constexpr UINT8 Widths[] = {1, 2, 4, 8};
  UINT8 Width = Widths[SizeCode];
  if (!Op.Has(14 + 3 * static_cast<UINTN>(Width))) {
    return EFI_INVALID_PARAMETER;
  }
  Statement *Question;
  EFI_STATUS Status = NewQuestionRecord(Op, Set, &Question);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Question->Flags = Op.U8(13);
  auto Field = [&](UINTN Index) -> UINT64 {
    UINTN Offset = 14 + Index * Width;
    switch (Width) {
    case 1:
      return Op.U8(Offset);
    case 2:
      return Op.U16(Offset);
    case 4:
      return Op.U32(Offset);
    default:
      return Op.U64(Offset);
    }
  };
  Question->Minimum = Field(0);
  Question->Maximum = Field(1);
  Question->Step = Field(2);
  Question->Value.Type = SizeCode;
  Question->ValueBytes = Width;
  if (Op.Code == EFI_IFR_ONE_OF_OP && Op.Scope) {
    Parser.OptionScopeOpen = true;
  }
  RequestValue(Set, Question);
  return EFI_SUCCESS;
}

EFI_STATUS ParseCheckbox(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(14)) {
    return EFI_INVALID_PARAMETER;
  }
  Statement *Question;
  EFI_STATUS Status = NewQuestionRecord(Op, Set, &Question);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Question->Flags = Op.U8(13);
  Question->Value.Type = EFI_IFR_TYPE_BOOLEAN;
  Question->ValueBytes = 1;
  RequestValue(Set, Question);
  return EFI_SUCCESS;
}

EFI_STATUS ParseTextEntry(FormSet *Set, const Opcode &Op) {
  bool Password = Op.Code == EFI_IFR_PASSWORD_OP;
  if (!Op.Has(Password ? 17 : 16)) {
    return EFI_INVALID_PARAMETER;
  }
  Statement *Question;
  EFI_STATUS Status = NewQuestionRecord(Op, Set, &Question);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Password) {
    Question->Minimum = Op.U16(13);
    Question->Maximum = Op.U16(15);
  } else {
    Question->Minimum = Op.U8(13);
    Question->Maximum = Op.U8(14);
    Question->Flags = Op.U8(15);
  }
  Question->Value.Type = EFI_IFR_TYPE_STRING;
  // A password's maximum is a u16; its text in bytes is kept to what a u16 width holds.
  UINT64 Bytes = 2 * Question->Maximum;
  Question->ValueBytes = static_cast<UINT16>(Bytes > 0xFFFC ? 0xFFFC : Bytes);
  Question->ValueBuffer = static_cast<UINT8 *>(AllocateZeroedPool(Question->ValueBytes + 2));
  RequestValue(Set, Question);
  return EFI_SUCCESS;
}

EFI_STATUS ParseOrderedList(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(15)) {
    return EFI_INVALID_PARAMETER;
  }
  Statement *Question;
  EFI_STATUS Status = NewQuestionRecord(Op, Set, &Question);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Question->MaxContainers = Op.U8(13);
  Question->Flags = Op.U8(14);
  Question->ValueBytes = Question->MaxContainers;
  RequestValue(Set, Question);
  Question->Value.Type = EFI_IFR_TYPE_OTHER;
  if (Question->ValueBytes > 0) {
    Question->ValueBuffer = static_cast<UINT8 *>(AllocateZeroedPool(Question->ValueBytes));
  }
  if (Op.Scope) {
    Parser.OptionScopeOpen = true;
  }
  return EFI_SUCCESS;
}

EFI_STATUS ParseDateOrTime(FormSet *Set, const Opcode &Op) {
  if (!Op.Has(14)) {
    return EFI_INVALID_PARAMETER;
  }
  Statement *Question;
  EFI_STATUS Status = NewQuestionRecord(Op, Set, &Question);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  bool IsDate = Op.Code == EFI_IFR_DATE_OP;
  Question->Flags = Op.U8(13);
  Question->Value.Type = IsDate ? EFI_IFR_TYPE_DATE : EFI_IFR_TYPE_TIME;
  if ((Question->Flags & EFI_QF_DATE_STORAGE) != QF_DATE_STORAGE_NORMAL) {
    // The firmware clock is the storage.
    Question->Storage = nullptr;
    Question->ValueBytes = 0;
    return EFI_SUCCESS;
  }
  Question->ValueBytes = IsDate ? sizeof(EFI_HII_DATE) : TIME_STORAGE_WIDTH;
  RequestValue(Set, Question);
  return EFI_SUCCESS;
}

EFI_STATUS ParseRefresh(const Opcode &Op) {
  if (!Op.Has(3) || Parser.CurrentStatement == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Parser.CurrentStatement->RefreshInterval = Op.U8(2);
  return EFI_SUCCESS;
}

EFI_STATUS ParseOption(const Opcode &Op) {
  if (!Op.Has(6) || Parser.CurrentStatement == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  QuestionOption *Option =
      static_cast<QuestionOption *>(AllocateZeroedPool(sizeof(QuestionOption)));
  if (Option == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Option->Signature = QUESTION_OPTION_SIGNATURE;
  Option->Text = Op.U16(2);
  Option->Flags = Op.U8(4);
  Option->Value.Type = Op.U8(5);
  Op.Value(6, &Option->Value);
  NormalizeHiiValue(&Option->Value);
  if (Parser.OptionSuppressOpen) {
    Option->SuppressCondition = Parser.OptionSuppress;
  }
  ListInsertTail(&Parser.CurrentStatement->QuestionOptionList, &Option->Link);
  Parser.CurrentOption = Option;
  return EFI_SUCCESS;
}

EFI_STATUS ParseDefault(const Opcode &Op) {
  if (!Op.Has(5) || Parser.CurrentStatement == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  QuestionDefault *Default =
      static_cast<QuestionDefault *>(AllocateZeroedPool(sizeof(QuestionDefault)));
  if (Default == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Default->Signature = QUESTION_DEFAULT_SIGNATURE;
  Default->DefaultId = Op.U16(2);
  Default->Value.Type = Op.U8(4);
  Op.Value(5, &Default->Value);
  NormalizeHiiValue(&Default->Value);
  ListInsertTail(&Parser.CurrentStatement->QuestionDefaultList, &Default->Link);
  Parser.CurrentDefault = Default;
  if (Op.Scope) {
    Parser.DefaultScopeOpen = true;
  }
  return EFI_SUCCESS;
}

// ---------------------------------------------------------------------------------------------
// Scopes

EFI_STATUS ParseEnd(FormSet *Set, UINT32 Offset) {
  HiiValue Popped;
  EFI_STATUS Status = PopValue(&ScopeStack, &Popped);
  if (EFI_ERROR(Status)) {
    ClearValueStack(&ScopeStack);
    return Status;
  }
  UINT8 Closed = Popped.Value[0];
  if (Parser.Orphan != nullptr && ValueStackDepth(&ScopeStack) < Parser.OrphanDepth) {
    DropOrphan();
  }
  switch (Closed) {
  case EFI_IFR_FORM_SET_OP:
    Set->IfrLength = Offset;
    break;
  case EFI_IFR_FORM_OP:
    Parser.CurrentForm = nullptr;
    break;
  case EFI_IFR_ONE_OF_OPTION_OP:
    Parser.CurrentOption = nullptr;
    break;
  case EFI_IFR_ONE_OF_OP:
  case EFI_IFR_ORDERED_LIST_OP:
    Parser.OptionScopeOpen = false;
    break;
  case EFI_IFR_SUPPRESS_IF_OP:
    if (Parser.OptionScopeOpen) {
      Parser.OptionSuppressOpen = false;
    } else {
      Parser.FormSuppressOpen = false;
    }
    break;
  case EFI_IFR_GRAY_OUT_IF_OP:
    Parser.GrayOutOpen = false;
    break;
  case EFI_IFR_DISABLE_IF_OP:
    DropPendingDisable();
    Parser.DisableOpen = false;
    Parser.DisableActive = false;
    break;
  case EFI_IFR_DEFAULT_OP:
    Parser.DefaultScopeOpen = false;
    break;
  default:
    if (OpcodeIsOperator(Closed)) {
      Expression *Completed = Parser.CurrentExpression;
      if (Completed != nullptr && Completed->ExpressionType == EXPRESSION_DISABLE_IF) {
        return FinishDisableExpression(Set);
      }
      Parser.CurrentExpression = nullptr;
    }
    break;
  }
  return EFI_SUCCESS;
}

// While a disable-if that gave True is open, only scopes are tracked.
EFI_STATUS SkipDisabled(const Opcode &Op) {
  if (Op.Code == EFI_IFR_DISABLE_IF_OP) {
    Parser.DisableDepth++;
  } else if (Op.Code == EFI_IFR_END_OP) {
    HiiValue Popped;
    EFI_STATUS Status = PopValue(&ScopeStack, &Popped);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    if (Popped.Value[0] == EFI_IFR_DISABLE_IF_OP) {
      if (Parser.DisableDepth == 0) {
        Parser.DisableOpen = false;
        Parser.DisableActive = false;
      } else {
        Parser.DisableDepth--;
      }
    }
  }
  return EFI_SUCCESS;
}

EFI_STATUS DispatchOpcode(FormSet *Set, const Opcode &Op, UINT32 NextOffset) {
  switch (Op.Code) {
  case EFI_IFR_FORM_SET_OP:
    return ParseFormSet(Set, Op);
  case EFI_IFR_FORM_OP:
    return ParseForm(Set, Op);
  case EFI_IFR_VARSTORE_OP:
    return ParseBufferVarStore(Set, Op);
  case EFI_IFR_VARSTORE_NAME_VALUE_OP:
    return ParseNameValueVarStore(Set, Op);
  case EFI_IFR_VARSTORE_EFI_OP:
    return ParseEfiVarStore(Set, Op);
  case EFI_IFR_DEFAULTSTORE_OP:
    return ParseDefaultStore(Set, Op);
  case EFI_IFR_IMAGE_OP:
    return ParseImage(Set, Op);
  case EFI_IFR_RULE_OP:
    return ParseRule(Op);
  case EFI_IFR_VALUE_OP:
    return ParseValue();
  case EFI_IFR_SUPPRESS_IF_OP:
    return ParseSuppressIf();
  case EFI_IFR_GRAY_OUT_IF_OP:
    return ParseGrayOutIf();
  case EFI_IFR_DISABLE_IF_OP:
    return ParseDisableIf(Set, NextOffset);
  case EFI_IFR_NO_SUBMIT_IF_OP:
    return ParseQuestionRule(Op, EXPRESSION_NO_SUBMIT_IF);
  case EFI_IFR_INCONSISTENT_IF_OP:
    return ParseQuestionRule(Op, EXPRESSION_INCONSISTENT_IF);
  case EFI_IFR_GUID_OP:
    return ParseGuid(Set, Op);
  case EFI_IFR_END_OP:
    return ParseEnd(Set, NextOffset);
  case EFI_IFR_SUBTITLE_OP:
    return ParseSubtitle(Set, Op);
  case EFI_IFR_TEXT_OP:
    return ParseText(Set, Op);
  case EFI_IFR_ACTION_OP:
    return ParseAction(Set, Op);
  case EFI_IFR_RESET_BUTTON_OP:
    return ParseResetButton(Set, Op);
  case EFI_IFR_REF_OP:
    return ParseRef(Set, Op);
  case EFI_IFR_ONE_OF_OP:
  case EFI_IFR_NUMERIC_OP:
    return ParseNumericOrOneOf(Set, Op);
  case EFI_IFR_CHECKBOX_OP:
    return ParseCheckbox(Set, Op);
  case EFI_IFR_PASSWORD_OP:
  case EFI_IFR_STRING_OP:
    return ParseTextEntry(Set, Op);
  case EFI_IFR_ORDERED_LIST_OP:
    return ParseOrderedList(Set, Op);
  case EFI_IFR_DATE_OP:
  case EFI_IFR_TIME_OP:
    return ParseDateOrTime(Set, Op);
  case EFI_IFR_REFRESH_OP:
    return ParseRefresh(Op);
  case EFI_IFR_ONE_OF_OPTION_OP:
    return ParseOption(Op);
  case EFI_IFR_DEFAULT_OP:
    return ParseDefault(Op);
  default:
    // Unknown opcodes, LOCKED, VARSTORE_DEVICE and FORM_MAP among them, do nothing: a scope
    // they open was pushed, and their END pops it.
    return EFI_SUCCESS;
  }
}

void ReportParseFailure(FormSet *Set, UINT8 LastOpcode, EFI_STATUS Status) {
  CHAR16 Text[128] = {};
  FormatText(Text, sizeof(Text), u"Failed to parse OpCode: 0x%x", LastOpcode);
  ReportFormError(Set, Parser.CurrentForm, Text, Status);
}

} // namespace

void ResetParserState() {
  ZeroBytes(&Parser, sizeof(Parser));
  ZeroBytes(&ScopeStack, sizeof(ScopeStack));
  ActionOnKeyOpen = false;
}

bool OpcodeIsOperator(UINT8 Opcode) {
  return (Opcode >= 0x12 && Opcode <= 0x17) || Opcode == 0x20 || Opcode == 0x21 || Opcode == 0x28 ||
         (Opcode >= 0x2A && Opcode <= 0x59) || Opcode == 0x5E || Opcode == 0x60;
}

void TallyOpcodes(const FormSet *Set, UINT16 *StatementCount, UINT16 *OperatorCount) {
  UINT32 Statements = 0;
  UINT32 Operators = 0;
  UINT32 Offset = 0;
  while (Offset + 2 <= Set->IfrLength) {
    UINT8 Code = Set->IfrData[Offset];
    UINT8 Length = Set->IfrData[Offset + 1] & 0x7F;
    if (Length < 2 || Length > Set->IfrLength - Offset) {
      break;
    }
    if (OpcodeIsOperator(Code)) {
      Operators++;
    } else {
      Statements += Code == EFI_IFR_SUBTITLE_OP ? 2 : 1;
    }
    Offset += Length;
  }
  *StatementCount = static_cast<UINT16>(Statements > 0xFFFF ? 0xFFFF : Statements);
  *OperatorCount = static_cast<UINT16>(Operators > 0xFFFF ? 0xFFFF : Operators);
}

EFI_STATUS ReadFormSetOpcodes(FormSet *Set) {
  ZeroBytes(&Parser, sizeof(Parser));
  UINT16 StatementCount = 0;
  UINT16 OperatorCount = 0;
  TallyOpcodes(Set, &StatementCount, &OperatorCount);

  // At least one slot each, so an empty form set still allocates.
  Set->StatementSlots =
      static_cast<Statement *>(AllocateZeroedPool((StatementCount + 1) * sizeof(Statement)));
  Set->OpcodeSlots = static_cast<ExpressionOpcode *>(
      AllocateZeroedPool((OperatorCount + 1) * sizeof(ExpressionOpcode)));
  if (Set->StatementSlots == nullptr || Set->OpcodeSlots == nullptr) {
    ReportParseFailure(Set, 0, EFI_OUT_OF_RESOURCES);
    return EFI_OUT_OF_RESOURCES;
  }
  Set->StatementCapacity = StatementCount;
  Set->OpcodeCapacity = OperatorCount;

  ListInit(&Set->StorageList);
  ListInit(&Set->DefaultStoreList);
  ListInit(&Set->FormList);
  ClearValueStack(&ScopeStack);

  EFI_STATUS Status = EFI_SUCCESS;
  UINT8 LastOpcode = 0;
  UINT32 Offset = 0;
  while (Offset < Set->IfrLength) {
    UINT32 Remaining = Set->IfrLength - Offset;
    Opcode Op;
    Op.Bytes = Set->IfrData + Offset;
    Op.Code = Op.Bytes[0];
    LastOpcode = Op.Code;
    if (Remaining < 2) {
      Status = EFI_INVALID_PARAMETER;
      break;
    }
    Op.Length = Op.Bytes[1] & 0x7F;
    Op.Scope = (Op.Bytes[1] & 0x80) != 0;
    // A length below the header's would hold the walk in place or read past the opcode.
    if (Op.Length < 2 || Op.Length > Remaining) {
      Status = EFI_INVALID_PARAMETER;
      break;
    }
    Offset += Op.Length;

    if (Op.Scope) {
      HiiValue Entry = {};
      Entry.Value[0] = Op.Code;
      PushValue(&ScopeStack, &Entry);
    }

    if (Parser.DisableActive) {
      Status = SkipDisabled(Op);
      if (EFI_ERROR(Status)) {
        // A failed pop while skipping is returned at once, without a notice.
        DropPendingDisable();
        DropOrphan();
        return Status;
      }
      continue;
    }
    if (OpcodeIsOperator(Op.Code)) {
      Status = ParseExpressionOpcode(Set, Op);
    } else {
      Status = DispatchOpcode(Set, Op, Offset);
    }
    if (EFI_ERROR(Status)) {
      break;
    }
  }

  DropPendingDisable();
  DropOrphan();
  if (EFI_ERROR(Status)) {
    ReportParseFailure(Set, LastOpcode, Status);
  }
  return Status;
}
