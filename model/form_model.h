// The in-memory records of one HII form set: FormSet, Form, Statement, QuestionOption,
// QuestionDefault, DefaultStore, Expression and ExpressionOpcode, with the value record
// HiiValue. The parser builds them in one walk; the form-set cache owns them; everybody else
// reads them. Records are zero-filled when made, so a field that nothing sets reads as zero.
#pragma once

#include "storage/storage.h"
#include "support/list.h"
#include "support/memory.h"
#include "support/signature.h"
#include "uefi/hii.h"

#define FORM_SET_SIGNATURE Signature32('F', 'B', 'F', 'S')
#define FORM_SIGNATURE Signature32('F', 'F', 'R', 'M')
#define STATEMENT_SIGNATURE Signature32('F', 'S', 'T', 'A')
#define QUESTION_OPTION_SIGNATURE Signature32('Q', 'O', 'P', 'T')
#define QUESTION_DEFAULT_SIGNATURE Signature32('Q', 'D', 'F', 'T')
#define DEFAULT_STORE_SIGNATURE Signature32('F', 'D', 'F', 'S')
#define EXPRESSION_SIGNATURE Signature32('F', 'E', 'X', 'P')
#define EXPRESSION_OPCODE_SIGNATURE Signature32('E', 'X', 'O', 'P')

// A typed value: a type byte and eight value bytes with no gap, copied as nine bytes.
#pragma pack(push, 1)
struct HiiValue {
  UINT8 Type;
  UINT8 Value[8];
};
#pragma pack(pop)
static_assert(sizeof(HiiValue) == 9);

// The eight value bytes as one little-endian number.
inline UINT64 HiiValueNumber(const HiiValue *Value) {
  return ReadUnaligned64(Value->Value);
}
inline void SetHiiValueNumber(HiiValue *Value, UINT8 Type, UINT64 Number) {
  Value->Type = Type;
  for (int Index = 0; Index < 8; Index++) {
    Value->Value[Index] = static_cast<UINT8>(Number >> (8 * Index));
  }
}
// The string id of a string value.
inline EFI_STRING_ID HiiValueStringId(const HiiValue *Value) {
  return ReadUnaligned16(Value->Value);
}
// True for a boolean whose first byte is set; expressions of the boolean kinds are read so.
inline bool HiiValueIsTrue(const HiiValue *Value) {
  return Value->Value[0] != 0;
}

// Clears the value bytes above the width of Type, so two values compare as 64-bit numbers.
void NormalizeHiiValue(HiiValue *Value);

struct Form;
struct FormSet;
struct MenuBarEntry;
struct Expression;

// Expression kinds.
#define EXPRESSION_INCONSISTENT_IF 0
#define EXPRESSION_NO_SUBMIT_IF 1
#define EXPRESSION_GRAY_OUT_IF 2
#define EXPRESSION_SUPPRESS_IF 3
#define EXPRESSION_DISABLE_IF 4
#define EXPRESSION_VALUE 5
#define EXPRESSION_RULE 6

struct ExpressionOpcode {
  UINT32 Signature;
  ListLink Link;
  UINT8 Opcode;
  UINT8 Format;
  UINT8 Flags;
  UINT8 RuleId;
  HiiValue Value;
  UINT16 QuestionId;
  UINT16 QuestionId2;
  UINT16 ListLength;
  UINT16 *ValueList; // owned pool copy
  EFI_STRING_ID DevicePath;
  EFI_GUID Guid;
};

struct Expression {
  UINT32 Signature;
  ListLink Link;
  UINT8 ExpressionType;
  UINT8 RuleId;
  EFI_STRING_ID Error;
  HiiValue Result;
  ListLink OpcodeList;
  // Nested evaluations of this expression in progress: a rule that refers to itself is
  // refused instead of exhausting the stack.
  UINT8 Evaluating;
};

struct QuestionOption {
  UINT32 Signature;
  ListLink Link;
  EFI_STRING_ID Text;
  UINT8 Flags;
  HiiValue Value;
  EFI_IMAGE_ID ImageId;
  UINT32 PopUpIndex;
  UINT16 PopUpColumn;
  UINT16 PopUpRow;
  UINT16 PopUpWidth;
  Expression *SuppressCondition;
};

struct QuestionDefault {
  UINT32 Signature;
  ListLink Link;
  UINT16 DefaultId;
  HiiValue Value;
  Expression *ComputedValue;
};

struct DefaultStore {
  UINT32 Signature;
  ListLink Link;
  UINT16 DefaultId;
  EFI_STRING_ID DefaultName;
};

// The width, in bytes, that a time with plain storage takes in its storage.
#define TIME_STORAGE_WIDTH 14

struct Statement {
  UINT32 Signature;
  ListLink Link;
  UINT8 Opcode;
  EFI_STRING_ID Prompt;
  EFI_STRING_ID Help;
  EFI_STRING_ID TextTwo;
  EFI_QUESTION_ID QuestionId;
  EFI_VARSTORE_ID VarStoreId;
  struct Storage *Storage;
  UINT16 VarStoreInfo;
  UINT16 ValueBytes;
  UINT8 QuestionFlags;
  CHAR16 *ItemName;
  HiiValue Value;
  UINT8 *ValueBuffer;
  UINT8 Flags;
  UINT8 MaxContainers;
  EFI_STRING_ID QuestionConfig;
  UINT8 ActionOnKey;
  UINT64 Minimum;
  UINT64 Maximum;
  UINT64 Step;
  UINT16 DefaultId;
  EFI_FORM_ID RefFormId;
  EFI_QUESTION_ID RefQuestionId;
  EFI_GUID RefFormSetId;
  EFI_STRING_ID RefDevicePath;
  Expression *ComputedValue;
  ListLink QuestionDefaultList;
  ListLink QuestionOptionList;
  EFI_IMAGE_ID ImageId;
  UINT8 RefreshInterval;
  ListLink InconsistentIfList;
  ListLink NoSubmitIfList;
  Expression *GrayOutCondition;
  Expression *SuppressCondition;
  // A time stored in a buffer or variable takes more bytes there than its three fields; the
  // surplus is kept here between a read and a write so neither runs past Value.
  UINT8 TimeStorage[TIME_STORAGE_WIDTH];
};

struct Form {
  UINT32 Signature;
  ListLink Link;
  EFI_FORM_ID FormId;
  EFI_STRING_ID FormTitle;
  CHAR16 *FormTitleText;
  EFI_IMAGE_ID FormImage;
  ListLink ExpressionList;
  ListLink StatementList;
  UINT8 Modified;
  UINT16 FormStyle;
  UINT16 PromptColumnWidth;
  UINT16 ValueColumnWidth;
};

struct FormSet {
  UINT32 Signature;
  ListLink Link;
  struct MenuBarEntry *MenuBarEntry;
  UINT8 Loaded;
  EFI_HII_HANDLE HiiHandle;
  EFI_HANDLE DriverHandle;
  EFI_HII_CONFIG_ACCESS_PROTOCOL *ConfigAccess;
  UINT32 IfrLength;
  UINT8 *IfrData;
  EFI_GUID FormSetGuid;
  EFI_STRING_ID FormSetTitle;
  EFI_STRING_ID FormSetHelp;
  UINT16 FormSetClass;
  UINT16 FormSetSubClass;
  EFI_IMAGE_ID FormSetImage;
  Statement *StatementSlots;
  ExpressionOpcode *OpcodeSlots;
  ListLink StorageList;
  ListLink DefaultStoreList;
  UINT8 CallbackWroteStorage;
  ListLink FormList;
  // Sizes of the two slot arrays, so no slot is handed out past them.
  UINT32 StatementCapacity;
  UINT32 OpcodeCapacity;
  // The SendForm depth whose call loaded this record: a nested call that names an outer call's
  // handle must not release the outer call's record at its end.
  UINT32 LoadDepth;
};

// Record accessors from list links.
inline FormSet *FormSetFromLink(ListLink *Link) {
  return LIST_RECORD(Link, FormSet, Link);
}
inline Form *FormFromLink(ListLink *Link) {
  return LIST_RECORD(Link, Form, Link);
}
inline Statement *StatementFromLink(ListLink *Link) {
  return LIST_RECORD(Link, Statement, Link);
}
inline QuestionOption *OptionFromLink(ListLink *Link) {
  return LIST_RECORD(Link, QuestionOption, Link);
}
inline QuestionDefault *DefaultFromLink(ListLink *Link) {
  return LIST_RECORD(Link, QuestionDefault, Link);
}
inline DefaultStore *DefaultStoreFromLink(ListLink *Link) {
  return LIST_RECORD(Link, DefaultStore, Link);
}
inline Expression *ExpressionFromLink(ListLink *Link) {
  return LIST_RECORD(Link, Expression, Link);
}
inline ExpressionOpcode *ExpressionOpcodeFromLink(ListLink *Link) {
  return LIST_RECORD(Link, ExpressionOpcode, Link);
}

// True when the option's suppress-if held at the last evaluation.
inline bool OptionIsSuppressed(const QuestionOption *Option) {
  return Option->SuppressCondition != nullptr && HiiValueIsTrue(&Option->SuppressCondition->Result);
}

// Look-ups. They return pointers into the model or null, and own nothing.

// The first statement of the form with that question id; null for id 0. When a driver has
// written into a storage through BrowserCallback since its last Callback began, the question's
// value is read again from its storage first.
Statement *FindQuestionInForm(FormSet *Set, Form *Shown, EFI_QUESTION_ID QuestionId);
// The form first, then every form of the form set in order.
Statement *FindQuestionInFormSet(FormSet *Set, Form *Shown, EFI_QUESTION_ID QuestionId);
// The first rule of that id in the form; rules are not shared between forms.
Expression *FindRule(Form *Shown, UINT8 RuleId);

// Release, in the order that keeps every pointer valid until its owner goes. Null is a no-op.
void ReleaseExpression(Expression *Target);
void ReleaseStatement(Statement *Target);
void ReleaseForm(Form *Target);
void ReleaseFormSet(FormSet *Target);
