#include "core/form_loop.h"

#include "core/form_actions.h"
#include "core/form_set_cache.h"
#include "core/hii_strings.h"
#include "dialogs/browser_services.h"
#include "editors/process_statement.h"
#include "expression/expression.h"
#include "screen/display_form.h"
#include "screen/keys.h"
#include "storage/question_value.h"
#include "support/efi_globals.h"
#include "support/guid.h"
#include "support/memory.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

// A question's value as it goes to a driver: the nine bytes of the HiiValue, inside the whole
// value union that the driver may write.
struct CallbackValue {
  UINT8 Type;
  EFI_IFR_TYPE_VALUE Value;
  EFI_STRING_ID TemporaryString;
};

bool IsStringQuestion(const Statement *Question) {
  return Question->Value.Type == EFI_IFR_TYPE_STRING;
}

void MakeCallbackValue(EFI_HII_HANDLE Handle, Statement *Question, CallbackValue *Out) {
  ZeroBytes(Out, sizeof(*Out));
  Out->Type = Question->Value.Type;
  CopyBytes(&Out->Value, Question->Value.Value, sizeof(Question->Value.Value));
  if (IsStringQuestion(Question)) {
    const CHAR16 *Text = Question->ValueBuffer != nullptr
                             ? reinterpret_cast<const CHAR16 *>(Question->ValueBuffer)
                             : u"";
    Out->TemporaryString = NewHiiString(Text, Handle);
    Out->Value.string = Out->TemporaryString;
  }
}

// The handle, not the form set: a reload during the Callback keeps the handle and frees the set.
void DropCallbackValue(EFI_HII_HANDLE Handle, CallbackValue *Value) {
  if (Value->TemporaryString != 0) {
    DeleteHiiString(Value->TemporaryString, Handle);
    Value->TemporaryString = 0;
  }
}

// Whether the live value differs from what the storage's edit side holds for the question.
bool ValueDiffersFromStorage(FormSet *Set, Form *Owner, Statement *Question) {
  Storage *Target = Question->Storage;
  UINT8 *Live = Question->ValueBuffer != nullptr ? Question->ValueBuffer : Question->Value.Value;
  UINTN Width = Question->ValueBytes;
  if (Question->ValueBuffer == nullptr && Width > sizeof(Question->Value.Value)) {
    Width = sizeof(EFI_HII_TIME);
  }
  switch (Target->Kind) {
  case STORAGE_KIND_BUFFER:
    if (Target->EditCopy == nullptr || Question->VarStoreInfo + Width > Target->Size) {
      return true;
    }
    return CompareBytes(Live, Target->EditCopy + Question->VarStoreInfo, Width) != 0;
  default: {
    // A variable that is not there yet differs from any value: the first change creates it.
    if (Target->Kind == STORAGE_KIND_EFI_VARIABLE) {
      UINTN Size = 0;
      if (Question->ItemName == nullptr ||
          RuntimeServices->GetVariable(Question->ItemName, &Target->Guid, nullptr, &Size,
                                       nullptr) != EFI_BUFFER_TOO_SMALL) {
        return true;
      }
    }
    // Name-value and variable storages have no edit side to compare with: read the stored
    // value into a scratch statement and compare the two.
    Statement Scratch = *Question;
    UINT8 Buffer[256];
    if (Question->ValueBuffer != nullptr) {
      if (Question->ValueBytes + 2u > sizeof(Buffer)) {
        return true;
      }
      ZeroBytes(Buffer, sizeof(Buffer));
      Scratch.ValueBuffer = Buffer;
    }
    Scratch.QuestionFlags = static_cast<UINT8>(Scratch.QuestionFlags & ~EFI_IFR_FLAG_CALLBACK);
    if (EFI_ERROR(ReadQuestionValue(Set, Owner, &Scratch))) {
      return true;
    }
    if (Question->ValueBuffer != nullptr) {
      return CompareBytes(Buffer, Question->ValueBuffer, Question->ValueBytes) != 0;
    }
    return CompareBytes(Scratch.Value.Value, Question->Value.Value, Width) != 0;
  }
  }
}

// The text behind a string id, back into the question's buffer after a Changing Callback.
EFI_STATUS TakeStringBack(FormSet *Set, Statement *Question, EFI_STRING_ID StringId) {
  CHAR16 *Text = GetHiiString(StringId, Set->HiiHandle);
  if (Text == nullptr) {
    return EFI_NOT_FOUND;
  }
  if (Question->ValueBuffer != nullptr) {
    UINTN Room = static_cast<UINTN>(Question->Maximum) * sizeof(CHAR16);
    if (Room > Question->ValueBytes) {
      Room = Question->ValueBytes;
    }
    ZeroBytes(Question->ValueBuffer, Question->ValueBytes + 2u);
    UINTN Size = StrLength(Text) * sizeof(CHAR16);
    CopyBytes(Question->ValueBuffer, Text, Size < Room ? Size : Room);
  }
  FreePoolIfSet(Text);
  return EFI_SUCCESS;
}

// After a Callback: when the form set the pass works on was reloaded (its records released), the
// pass goes on with the new records, the statement found again by its question id. False when
// there is nothing to go on with: the form set or the question is gone.
bool FollowReplacedFormSet(UiSelection *Selection, EFI_QUESTION_ID QuestionId, FormSet **Set,
                           Statement **Question) {
  if (Selection->FormSet == *Set) {
    return true;
  }
  *Set = Selection->FormSet;
  *Question = nullptr;
  if (*Set == nullptr || Selection->Form == nullptr) {
    // Released, or its form is gone: the form-set loop finds the selection's form set again.
    Selection->Statement = nullptr;
    if (Selection->Action == SELECTION_REFRESH_FORM) {
      Selection->Action = SELECTION_RELOAD_FORMSET;
    }
    return false;
  }
  *Question = FindQuestionInForm(*Set, Selection->Form, QuestionId);
  Selection->Statement = *Question;
  return *Question != nullptr;
}

// The Callback updated the form set's own packages: the form set is parsed and loaded again, and
// the pass goes on with the new records. The value the user gave, which the driver has seen, is
// carried over, so that it is still validated, written and announced as Changed.
bool ReloadKeepingValue(UiSelection *Selection, FormSet **Set, Statement **Question) {
  EFI_QUESTION_ID QuestionId = (*Question)->QuestionId;
  HiiValue Given = (*Question)->Value;
  UINTN GivenBytes = (*Question)->ValueBytes;
  UINT8 *GivenBuffer = nullptr;
  if ((*Question)->ValueBuffer != nullptr) {
    GivenBuffer = static_cast<UINT8 *>(AllocateCopy(GivenBytes, (*Question)->ValueBuffer));
  }
  FormSet *Slot = *Set;
  // A failed reload leaves the old records standing, and the pass goes on with them.
  bool Going = true;
  if (!EFI_ERROR(ReloadFormSet(&Slot, Selection, TRUE))) {
    Going = FollowReplacedFormSet(Selection, QuestionId, Set, Question);
    Statement *Fresh = *Question;
    if (Going && Fresh->ValueBytes == GivenBytes && Fresh->Value.Type == Given.Type) {
      Fresh->Value = Given;
      if (GivenBuffer != nullptr && Fresh->ValueBuffer != nullptr) {
        CopyBytes(Fresh->ValueBuffer, GivenBuffer, GivenBytes);
      }
    }
  }
  FreePoolIfSet(GivenBuffer);
  return Going;
}

// The work after the UI returned with a statement: Changing, validation, the write, Changed.
// Returns true when a Retrieve Callback is due with Pass.
bool ProcessSelectedStatement(UiSelection *Selection, CallbackValue *Pass) {
  Statement *Question = Selection->Statement;
  if (Question == nullptr) {
    return false;
  }
  FormSet *Set = Selection->FormSet;
  EFI_QUESTION_ID QuestionId = Question->QuestionId;
  bool RetrieveMark = false;
  bool Changed = false;
  UINT32 Action = Selection->Action;
  bool CallbackWanted = (Question->QuestionFlags & EFI_IFR_FLAG_CALLBACK) != 0 &&
                        (Action == SELECTION_REFRESH_FORM || Action == SELECTION_ACTION_QUESTION ||
                         Action == SELECTION_NESTED_EXIT);
  bool IsPassword = Question->Opcode == EFI_IFR_PASSWORD_OP;
  bool IsRef = Question->Opcode == EFI_IFR_REF_OP;

  if ((Question->QuestionFlags & EFI_IFR_FLAG_RESET_REQUIRED) != 0) {
    ResetRequired = 1;
  }
  FormPackageChanged = 0;

  EFI_HII_HANDLE Handle = Set->HiiHandle;
  if (CallbackWanted && !IsPassword && Set->ConfigAccess != nullptr) {
    MakeCallbackValue(Handle, Question, Pass);
    EFI_BROWSER_ACTION_REQUEST Request = EFI_BROWSER_ACTION_REQUEST_NONE;
    EFI_STATUS Status = InvokeCallback(Selection, Set, EFI_BROWSER_ACTION_CHANGING,
                                       Question->QuestionId, Pass->Type, &Pass->Value, &Request);
    if (Selection->FormSet != Set) {
      // A SendForm nested in the Callback reloaded the form set: the answer was about records
      // that are gone, and the new ones hold the values just loaded. The pass ends.
      DropCallbackValue(Handle, Pass);
      FollowReplacedFormSet(Selection, QuestionId, &Set, &Question);
      return false;
    }
    if (EditableWithStorage(Question)) {
      if (!EFI_ERROR(Status)) {
        Question->Value.Type = Pass->Type;
        CopyBytes(Question->Value.Value, &Pass->Value, sizeof(Question->Value.Value));
        if (IsStringQuestion(Question) &&
            EFI_ERROR(TakeStringBack(Set, Question, Pass->Value.string))) {
          DropCallbackValue(Handle, Pass);
          return false;
        }
      } else {
        ReadQuestionValue(Set, Selection->Form, Question);
      }
    } else if (IsRef) {
      if (Status == EFI_UNSUPPORTED || !EFI_ERROR(Status)) {
        RetrieveMark = true;
      } else {
        // The driver refused the navigation.
        PopSelection(Selection);
        Selection->Action = SELECTION_REFRESH_FORM;
      }
    }
    DropCallbackValue(Handle, Pass);

    if (FormPackageChanged) {
      bool OwnPackage = FormPackageChangedHandle == Set->HiiHandle;
      FormPackageChanged = 0;
      FormPackageChangedHandle = nullptr;
      if (OwnPackage && !ReloadKeepingValue(Selection, &Set, &Question)) {
        return false;
      }
    }
  }

  if (!IsPassword) {
    EFI_STATUS Status = CheckQuestionRules(Set, Selection->Form, Question, RULE_KIND_INCONSISTENT);
    if (!EditableWithStorage(Question)) {
      if (EFI_ERROR(Status) && IsRef) {
        PopSelection(Selection);
        Selection->Action = SELECTION_REFRESH_FORM;
        RetrieveMark = false;
      }
    } else if (EFI_ERROR(Status)) {
      ReadQuestionValue(Set, Selection->Form, Question);
    } else if ((Selection->Action == SELECTION_REFRESH_FORM ||
                Selection->Action == SELECTION_GOTO) &&
               ValueDiffersFromStorage(Set, Selection->Form, Question)) {
      Changed = !EFI_ERROR(WriteQuestionValue(Set, Selection->Form, Question));
    }
  }

  bool IsAction = Question->Opcode == EFI_IFR_ACTION_OP;
  if ((!EditableWithStorage(Question) || Changed) && !IsRef && !IsPassword &&
      (!IsAction || Selection->Action == SELECTION_ACTION_QUESTION) && CallbackWanted &&
      Set->ConfigAccess != nullptr) {
    CallbackValue Value;
    MakeCallbackValue(Handle, Question, &Value);
    EFI_BROWSER_ACTION_REQUEST Request = EFI_BROWSER_ACTION_REQUEST_NONE;
    InvokeCallback(Selection, Set, EFI_BROWSER_ACTION_CHANGED, Question->QuestionId, Value.Type,
                   &Value.Value, &Request);
    DropCallbackValue(Handle, &Value);
    HandleActionRequest(Selection, Request);
  }

  if (FormPackageChanged && Selection->Action == SELECTION_REFRESH_FORM) {
    Selection->Action = SELECTION_RELOAD_FORMSET;
  }
  if (IsAction && Selection->Action == SELECTION_ACTION_QUESTION) {
    Selection->Action = SELECTION_REFRESH_FORM;
  }
  return RetrieveMark;
}

} // namespace

bool EditableWithStorage(const Statement *Question) {
  return Question->QuestionId != 0 && Question->ComputedValue == nullptr &&
         Question->Storage != nullptr && (Question->QuestionFlags & EFI_IFR_FLAG_READ_ONLY) == 0;
}

EFI_STATUS InvokeCallback(UiSelection *Selection, FormSet *Set, EFI_BROWSER_ACTION Action,
                          EFI_QUESTION_ID QuestionId, UINT8 Type, EFI_IFR_TYPE_VALUE *Value,
                          EFI_BROWSER_ACTION_REQUEST *ActionRequest) {
  if (Action > EFI_BROWSER_ACTION_FORM_CLOSE || Selection == nullptr || Set == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Set->ConfigAccess == nullptr) {
    return EFI_UNSUPPORTED;
  }
  if (QuestionId == 0) {
    return EFI_INVALID_PARAMETER;
  }
  UiSelection *Kept = nullptr;
  // A Retrieve Callback cannot nest SendForm.
  if (Action != EFI_BROWSER_ACTION_RETRIEVE) {
    Kept = KeepSelection(Selection);
    if (Kept == nullptr) {
      return EFI_OUT_OF_RESOURCES;
    }
  }
  if (Selection->FormSet != nullptr) {
    Selection->FormSet->CallbackWroteStorage = 0;
  }
  Browser->Services->NextQuestionId = 0;
  Browser->CallbackAction = static_cast<UINT32>(Action);

  EFI_STATUS Status = Set->ConfigAccess->Callback(Set->ConfigAccess, Action, QuestionId, Type,
                                                  Value, ActionRequest);

  if (Kept != nullptr) {
    RestoreKeptSelection(Kept, Selection);
  }
  if (Browser->Services->NextQuestionId != 0) {
    Selection->QuestionId = Browser->Services->NextQuestionId;
    Browser->Services->NextQuestionId = 0;
  }
  Browser->CallbackAction = NO_CALLBACK_ACTION;
  return Status;
}

UINT16 ComputeFormStyle(FormSet *Set, Form *Shown) {
  if (Set->FormSetSubClass != 0) {
    return Set->FormSetSubClass;
  }
  LIST_FOR_EACH(Link, &Shown->StatementList) {
    Statement *Candidate = StatementFromLink(Link);
    // Help id 0 names no string: unreadable, which ends the search like any unreadable help.
    CHAR16 *Help = GetHiiString(Candidate->Help, Set->HiiHandle);
    bool HasText = Help == nullptr || Help[0] != 0;
    FreePoolIfSet(Help);
    if (HasText) {
      return 0;
    }
  }
  return 2;
}

EFI_STATUS EvaluateFormExpressions(FormSet *Set, Form *Shown) {
  LIST_FOR_EACH(Link, &Shown->ExpressionList) {
    Expression *Candidate = ExpressionFromLink(Link);
    if (Candidate->ExpressionType == EXPRESSION_INCONSISTENT_IF ||
        Candidate->ExpressionType == EXPRESSION_NO_SUBMIT_IF) {
      continue;
    }
    EFI_STATUS Status = EvaluateExpression(Set, Shown, Candidate);
    if (EFI_ERROR(Status)) {
      return Status;
    }
  }
  return EFI_SUCCESS;
}

void WipeFormPasswords(Form *Shown) {
  if (Shown == nullptr) {
    return;
  }
  LIST_FOR_EACH(Link, &Shown->StatementList) {
    Statement *Candidate = StatementFromLink(Link);
    if (Candidate->Opcode == EFI_IFR_PASSWORD_OP && Candidate->Maximum != 0 &&
        Candidate->ValueBuffer != nullptr) {
      ZeroBytes(Candidate->ValueBuffer, Candidate->ValueBytes);
    }
  }
}

namespace {

EFI_STATUS NotifyForm(FormSet *Set, Form *Shown, EFI_BROWSER_ACTION Action) {
  EFI_STATUS Status = EFI_SUCCESS;
  LIST_FOR_EACH(Link, &Shown->StatementList) {
    Statement *Candidate = StatementFromLink(Link);
    if ((Candidate->QuestionFlags & EFI_IFR_FLAG_CALLBACK) == 0) {
      continue;
    }
    EFI_BROWSER_ACTION_REQUEST Request = EFI_BROWSER_ACTION_REQUEST_NONE;
    Status = InvokeCallback(Browser->Selection, Set, Action, Candidate->QuestionId,
                            Candidate->Value.Type, nullptr, &Request);
  }
  return Status;
}

} // namespace

EFI_STATUS NotifyFormOpen(FormSet *Set, Form *Shown) {
  return NotifyForm(Set, Shown, EFI_BROWSER_ACTION_FORM_OPEN);
}

EFI_STATUS NotifyFormClose(FormSet *Set, Form *Shown) {
  return NotifyForm(Set, Shown, EFI_BROWSER_ACTION_FORM_CLOSE);
}

EFI_STATUS RunForm(UiSelection *Selection) {
  Form *Shown = FindForm(Selection->FormSet, Selection->FormId);
  if (Shown == nullptr) {
    return EFI_NOT_FOUND;
  }
  Selection->Form = Shown;
  NotifyFormOpen(Selection->FormSet, Shown);

  do {
    ResetRequired = 0;
    LoadDefaultsRequested = 0;
    FormSet *Set = Selection->FormSet;
    EFI_STATUS Status = LoadFormValues(Set, Selection->Form);
    if (EFI_ERROR(Status)) {
      PopSelection(Selection);
      return Status;
    }
    Selection->Form->FormStyle = ComputeFormStyle(Set, Selection->Form);
    Status = EvaluateFormExpressions(Set, Selection->Form);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    Status = DisplayForm(Selection);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    if (Selection->Action == SELECTION_EXIT) {
      return Status;
    }

    CallbackValue Pass = {};
    bool RetrieveDue = ProcessSelectedStatement(Selection, &Pass);
    if (Selection->Action == SELECTION_FORM_BACK) {
      PopSelection(Selection);
    }
    if (RetrieveDue && Selection->Statement != nullptr) {
      EFI_BROWSER_ACTION_REQUEST Request = EFI_BROWSER_ACTION_REQUEST_NONE;
      InvokeCallback(Selection, Selection->FormSet, EFI_BROWSER_ACTION_RETRIEVE,
                     Selection->Statement->QuestionId, Pass.Type, &Pass.Value, &Request);
    }
  } while (Selection->Action == SELECTION_REFRESH_FORM);

  if (Selection->FormSet != nullptr && Selection->Form != nullptr) {
    NotifyFormClose(Selection->FormSet, Selection->Form);
  }
  return EFI_SUCCESS;
}

EFI_STATUS RunFormSet(UiSelection *Selection) {
  ResetRequired = 0;
  LoadDefaultsRequested = 0;
  for (;;) {
    if (Selection->FormSet == nullptr ||
        !GuidIsEqual(&Selection->FormSet->FormSetGuid, &Selection->FormSetGuid)) {
      FormSet *Previous = Selection->FormSet;
      bool OnTab = false;
      LIST_FOR_EACH(Link, &Browser->MenuBarList) {
        MenuBarEntry *Entry = MenuBarEntryFromLink(Link);
        if (Entry->FormSet != nullptr &&
            GuidIsEqual(&Entry->FormSet->FormSetGuid, &Selection->FormSetGuid)) {
          OnTab = !EFI_ERROR(SwitchToMenuBarTab(Entry->Index));
          break;
        }
      }
      if (!OnTab) {
        FormSet *Found = FindFormSetByGuid(&Selection->FormSetGuid);
        if (Found != nullptr) {
          Selection->FormSet = Found;
          Selection->Handle = Found->HiiHandle;
        } else if (EFI_ERROR(LoadFormSetByProtocol(Selection))) {
          Selection->FormSet = Previous;
          if (Previous != nullptr) {
            Selection->Handle = Previous->HiiHandle;
          }
        }
      }
      if (Selection->FormSet == nullptr) {
        return EFI_NOT_FOUND;
      }
      Selection->FormSetGuid = Selection->FormSet->FormSetGuid;
    }

    EFI_STATUS Status = RunForm(Selection);
    if (EFI_ERROR(Status)) {
      WipeFormPasswords(Selection->Form);
      return Status;
    }
    if (Selection->Action != SELECTION_GOTO) {
      WipeFormPasswords(Selection->Form);
    }
    if (Selection->Action == SELECTION_NESTED_EXIT ||
        Selection->Action == SELECTION_RELOAD_FORMSET || Selection->Action == SELECTION_EXIT) {
      return EFI_SUCCESS;
    }
  }
}
