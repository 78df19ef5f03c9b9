#include "storage/question_value.h"

#include "core/browser_context.h"
#include "core/form_loop.h"
#include "core/hii_strings.h"
#include "data/builtin_strings.h"
#include "dialogs/message_box.h"
#include "expression/expression.h"
#include "screen/keys.h"
#include "support/efi_globals.h"
#include "support/hex.h"
#include "support/memory.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

// Where a question's value bytes live in the Statement, and how many the storage holds.
struct ValueBytesView {
  UINT8 *Bytes;
  UINTN Width;
};

ValueBytesView ValueView(Statement *Question) {
  if (Question->ValueBuffer != nullptr) {
    return {Question->ValueBuffer, Question->ValueBytes};
  }
  if (Question->ValueBytes > sizeof(Question->Value.Value)) {
    // A time takes more bytes in its storage than its three fields.
    UINTN Width =
        Question->ValueBytes < TIME_STORAGE_WIDTH ? Question->ValueBytes : TIME_STORAGE_WIDTH;
    return {Question->TimeStorage, Width};
  }
  return {Question->Value.Value, Question->ValueBytes};
}

// After a read into the wide storage view, the time's fields go to Value.
void TakeFromTimeStorage(Statement *Question, const ValueBytesView &View) {
  if (View.Bytes == Question->TimeStorage) {
    CopyBytes(Question->Value.Value, Question->TimeStorage, sizeof(EFI_HII_TIME));
  }
}

// Before a write from the wide storage view, the time's fields come from Value.
void PutIntoTimeStorage(Statement *Question, const ValueBytesView &View) {
  if (View.Bytes == Question->TimeStorage) {
    CopyBytes(Question->TimeStorage, Question->Value.Value, sizeof(EFI_HII_TIME));
  }
}

bool IsStringValue(const Statement *Question) {
  return Question->Value.Type == EFI_IFR_TYPE_STRING;
}

// A string value is text in the question's value buffer. A question without one (a number
// whose default was a string) has only the value's bytes, which are no text.
bool HoldsText(const Statement *Question) {
  return IsStringValue(Question) && Question->ValueBuffer != nullptr;
}

bool InsideBuffer(const Storage *Target, UINTN Offset, UINTN Width) {
  return Target->EditCopy != nullptr && Offset + Width <= Target->Size;
}

EFI_STATUS ReadClock(Statement *Question) {
  UINT8 Source = Question->Flags & EFI_QF_DATE_STORAGE;
  EFI_TIME Time = {};
  EFI_STATUS Status;
  if (Source == QF_DATE_STORAGE_TIME) {
    Status = RuntimeServices->GetTime(&Time, nullptr);
  } else if (Source == QF_DATE_STORAGE_WAKEUP) {
    BOOLEAN Enabled = FALSE;
    BOOLEAN Pending = FALSE;
    Status = RuntimeServices->GetWakeupTime(&Enabled, &Pending, &Time);
  } else {
    return EFI_SUCCESS;
  }
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Question->Opcode == EFI_IFR_DATE_OP) {
    WriteUnaligned16(Question->Value.Value, Time.Year);
    Question->Value.Value[2] = Time.Month;
    Question->Value.Value[3] = Time.Day;
  } else {
    Question->Value.Value[0] = Time.Hour;
    Question->Value.Value[1] = Time.Minute;
    Question->Value.Value[2] = Time.Second;
  }
  return EFI_SUCCESS;
}

EFI_STATUS WriteClock(Statement *Question) {
  UINT8 Source = Question->Flags & EFI_QF_DATE_STORAGE;
  if (Source != QF_DATE_STORAGE_TIME && Source != QF_DATE_STORAGE_WAKEUP) {
    return EFI_SUCCESS;
  }
  EFI_TIME Time = {};
  BOOLEAN Enabled = FALSE;
  BOOLEAN Pending = FALSE;
  EFI_STATUS Status = Source == QF_DATE_STORAGE_TIME
                          ? RuntimeServices->GetTime(&Time, nullptr)
                          : RuntimeServices->GetWakeupTime(&Enabled, &Pending, &Time);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  // Only the half the question shows changes; the rest of the time record stays.
  if (Question->Opcode == EFI_IFR_DATE_OP) {
    Time.Year = ReadUnaligned16(Question->Value.Value);
    Time.Month = Question->Value.Value[2];
    Time.Day = Question->Value.Value[3];
  } else {
    Time.Hour = Question->Value.Value[0];
    Time.Minute = Question->Value.Value[1];
    Time.Second = Question->Value.Value[2];
  }
  return Source == QF_DATE_STORAGE_TIME ? RuntimeServices->SetTime(&Time)
                                        : RuntimeServices->SetWakeupTime(TRUE, &Time);
}

EFI_STATUS ReadNameValueQuestion(Statement *Question, const ValueBytesView &View) {
  CHAR16 *Text = nullptr;
  EFI_STATUS Status = ReadNamedValue(Question->Storage, Question->ItemName, &Text);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (HoldsText(Question)) {
    // The buffer holds ValueBytes + 2 bytes: room for the text and its terminator.
    UINTN Room = View.Width / sizeof(CHAR16);
    UINTN Length = StrLength(Text);
    if (Length > Room) {
      Length = Room;
    }
    CHAR16 *Destination = reinterpret_cast<CHAR16 *>(View.Bytes);
    CopyBytes(Destination, Text, Length * sizeof(CHAR16));
    Destination[Length] = 0;
  } else {
    UINTN Size = View.Width;
    Status = HexTextToBytes(View.Bytes, &Size, Text, nullptr);
  }
  FreePoolIfSet(Text);
  return Status;
}

EFI_STATUS WriteNameValueQuestion(Statement *Question, const ValueBytesView &View) {
  CHAR16 *Text;
  if (HoldsText(Question)) {
    Text = StrDuplicate(reinterpret_cast<const CHAR16 *>(View.Bytes));
  } else {
    UINTN Size = 2 * View.Width + 1;
    Text = static_cast<CHAR16 *>(AllocateZeroedPool(Size * sizeof(CHAR16)));
    if (Text != nullptr) {
      BytesToHexText(Text, &Size, View.Bytes, View.Width);
    }
  }
  if (Text == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  EFI_STATUS Status = WriteNamedValue(Question->Storage, Question->ItemName, Text);
  FreePoolIfSet(Text);
  return Status;
}

} // namespace

EFI_STATUS RetrieveCallback(FormSet *Set, Statement *Question) {
  if ((Question->QuestionFlags & EFI_IFR_FLAG_CALLBACK) == 0 ||
      Question->Opcode == EFI_IFR_PASSWORD_OP) {
    return EFI_SUCCESS;
  }
  HiiValue Copy = Question->Value;
  bool IsString = IsStringValue(Question);
  if (IsString) {
    const CHAR16 *Text = Question->ValueBuffer != nullptr
                             ? reinterpret_cast<const CHAR16 *>(Question->ValueBuffer)
                             : u"";
    SetHiiValueNumber(&Copy, EFI_IFR_TYPE_STRING, NewHiiString(Text, Set->HiiHandle));
  }
  // A driver may write any member of the value union; give it the whole union.
  EFI_IFR_TYPE_VALUE Value = {};
  CopyBytes(&Value, Copy.Value, sizeof(Copy.Value));
  EFI_BROWSER_ACTION_REQUEST Request = EFI_BROWSER_ACTION_REQUEST_NONE;
  EFI_STATUS Status = InvokeCallback(Browser->Selection, Set, EFI_BROWSER_ACTION_RETRIEVE,
                                     Question->QuestionId, Copy.Type, &Value, &Request);
  if (IsString) {
    DeleteHiiString(HiiValueStringId(&Copy), Set->HiiHandle);
  }
  if (EFI_ERROR(Status)) {
    return Status;
  }
  CopyBytes(Copy.Value, &Value, sizeof(Copy.Value));
  Question->Value = Copy;
  return Request == EFI_BROWSER_ACTION_REQUEST_EXIT ? EFI_ABORTED : EFI_SUCCESS;
}

EFI_STATUS ReadQuestionValue(FormSet *Set, Form *Owner, Statement *Question) {
  if (Question->QuestionId == 0) {
    return EFI_SUCCESS;
  }
  if (Question->ComputedValue != nullptr) {
    EFI_STATUS Status = EvaluateExpression(Set, Owner, Question->ComputedValue);
    if (!EFI_ERROR(Status)) {
      Question->Value = Question->ComputedValue->Result;
    }
    return Status;
  }
  Storage *Target = Question->Storage;
  if (Target == nullptr) {
    if (Question->Opcode == EFI_IFR_DATE_OP || Question->Opcode == EFI_IFR_TIME_OP) {
      return ReadClock(Question);
    }
    return EFI_SUCCESS;
  }

  ValueBytesView View = ValueView(Question);
  if (Target->Kind == STORAGE_KIND_EFI_VARIABLE) {
    if (Question->ItemName != nullptr && View.Bytes != nullptr) {
      UINTN Size = View.Width;
      // A variable that does not exist leaves the value as it was.
      if (!EFI_ERROR(RuntimeServices->GetVariable(Question->ItemName, &Target->Guid, nullptr, &Size,
                                                  View.Bytes))) {
        TakeFromTimeStorage(Question, View);
      }
    }
    return EFI_SUCCESS;
  }

  EFI_STATUS Status;
  if (Target->Kind == STORAGE_KIND_NAME_VALUE) {
    Status = ReadNameValueQuestion(Question, View);
  } else if (!InsideBuffer(Target, Question->VarStoreInfo, View.Width) || View.Bytes == nullptr) {
    Status = EFI_INVALID_PARAMETER;
  } else {
    CopyBytes(View.Bytes, Target->EditCopy + Question->VarStoreInfo, View.Width);
    Status = EFI_SUCCESS;
  }
  if (EFI_ERROR(Status)) {
    return Status;
  }
  TakeFromTimeStorage(Question, View);
  Status = RetrieveCallback(Set, Question);
  return Status == EFI_UNSUPPORTED ? EFI_SUCCESS : Status;
}

EFI_STATUS WriteQuestionValue(FormSet *Set, Form *Owner, Statement *Question) {
  if (Question->QuestionId == 0 || Question->ComputedValue != nullptr) {
    return EFI_SUCCESS;
  }
  Storage *Target = Question->Storage;
  if (Target == nullptr) {
    if (Question->Opcode == EFI_IFR_DATE_OP || Question->Opcode == EFI_IFR_TIME_OP) {
      return WriteClock(Question);
    }
    return EFI_SUCCESS;
  }

  ValueBytesView View = ValueView(Question);
  PutIntoTimeStorage(Question, View);
  if (Target->Kind == STORAGE_KIND_EFI_VARIABLE) {
    if (Question->ItemName == nullptr || View.Bytes == nullptr) {
      return EFI_NOT_FOUND;
    }
    return RuntimeServices->SetVariable(Question->ItemName, &Target->Guid, Target->Attributes,
                                        View.Width, View.Bytes);
  }

  // A form set under load never counts as modified.
  Owner->Modified = Set->Loaded ? 1 : 0;
  if (Target->Kind == STORAGE_KIND_NAME_VALUE) {
    return WriteNameValueQuestion(Question, View);
  }
  if (!InsideBuffer(Target, Question->VarStoreInfo, View.Width) || View.Bytes == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  // A string edit reaches the buffer too, so that a save carries it to the driver.
  CopyBytes(Target->EditCopy + Question->VarStoreInfo, View.Bytes, View.Width);
  return EFI_SUCCESS;
}

EFI_STATUS CheckQuestionRules(FormSet *Set, Form *Owner, Statement *Question, UINTN Kind) {
  ListLink *Rules;
  if (Kind == RULE_KIND_INCONSISTENT) {
    Rules = &Question->InconsistentIfList;
  } else if (Kind == RULE_KIND_NO_SUBMIT) {
    Rules = &Question->NoSubmitIfList;
  } else {
    return EFI_UNSUPPORTED;
  }
  LIST_FOR_EACH(Link, Rules) {
    Expression *Rule = ExpressionFromLink(Link);
    EFI_STATUS Status = EvaluateExpression(Set, Owner, Rule);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    if (!HiiValueIsTrue(&Rule->Result)) {
      continue;
    }
    if (Rule->Error != 0) {
      CHAR16 *Text = GetHiiString(Rule->Error, Set->HiiHandle);
      CHAR16 *Continue = GetHiiString(STRING_CONTINUE, Browser->HiiHandle);
      const CHAR16 *Buttons[] = {Continue};
      ShowMessageBox(DisplayString(STRING_MESSAGE), Text, nullptr, 0xF4, 0, 1, 0, Buttons);
      FreePoolIfSet(Continue);
      FreePoolIfSet(Text);
    }
    return EFI_NOT_READY;
  }
  return EFI_SUCCESS;
}

EFI_STATUS LoadFormValues(FormSet *Set, Form *Owner) {
  LIST_FOR_EACH(Link, &Owner->StatementList) {
    EFI_STATUS Status = ReadQuestionValue(Set, Owner, StatementFromLink(Link));
    if (EFI_ERROR(Status)) {
      return Status;
    }
  }
  return EFI_SUCCESS;
}
