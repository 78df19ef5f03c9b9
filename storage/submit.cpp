#include "storage/submit.h"

#include "core/browser_context.h"
#include "storage/defaults.h"
#include "storage/question_value.h"
#include "support/memory.h"

#include "support/poison.h"

bool IsAnythingModified() {
  LIST_FOR_EACH(SetLink, &Browser->FormSetList) {
    FormSet *Set = FormSetFromLink(SetLink);
    LIST_FOR_EACH(FormLink, &Set->FormList) {
      if (FormFromLink(FormLink)->Modified) {
        return true;
      }
    }
  }
  return false;
}

EFI_STATUS CheckFormForSubmit(FormSet *Set, Form *Owner) {
  LIST_FOR_EACH(Link, &Owner->StatementList) {
    EFI_STATUS Status =
        CheckQuestionRules(Set, Owner, StatementFromLink(Link), RULE_KIND_NO_SUBMIT);
    if (EFI_ERROR(Status)) {
      return Status;
    }
  }
  return EFI_SUCCESS;
}

EFI_STATUS SubmitStorages(FormSet *Set) {
  bool AllCommitted = true;
  LIST_FOR_EACH(Link, &Set->StorageList) {
    Storage *Target = StorageFromLink(Link);
    if (Target->Kind == STORAGE_KIND_EFI_VARIABLE || Target->ElementCount == 0) {
      continue;
    }
    CHAR16 *Response = nullptr;
    EFI_STATUS Status = BuildConfigResponse(Target, &Response);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    if (Set->ConfigAccess == nullptr) {
      FreePoolIfSet(Response);
      CommitEdits(Target);
      continue;
    }
    CHAR16 *Progress = nullptr;
    Status = Set->ConfigAccess->RouteConfig(Set->ConfigAccess, Response, &Progress);
    if (EFI_ERROR(Status)) {
      ReportStorageFailure(Set, Target->Name, Status, true);
      FreePoolIfSet(Response);
      return Status;
    }
    if (Progress == nullptr) {
      // The driver said nothing of how far it got; the value is not known to be stored.
      AllCommitted = false;
    } else if (*Progress == 0) {
      CommitEdits(Target);
    } else {
      ReportStorageFailure(Set, Target->Name, EFI_SUCCESS, true);
      AllCommitted = false;
    }
    FreePoolIfSet(Response);
  }
  // Once the drivers hold every edit, the form set's forms no longer count as modified, so the
  // exit does not warn of unsaved changes after a save.
  if (AllCommitted) {
    LIST_FOR_EACH(Link, &Set->FormList) {
      FormFromLink(Link)->Modified = 0;
    }
  }
  return EFI_SUCCESS;
}

EFI_STATUS SubmitOneForm(FormSet *Set, Form *Owner) {
  EFI_STATUS Status = CheckFormForSubmit(Set, Owner);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  return SubmitStorages(Set);
}

EFI_STATUS SubmitAll() {
  EFI_STATUS Status = EFI_SUCCESS;
  LIST_FOR_EACH(SetLink, &Browser->FormSetList) {
    FormSet *Set = FormSetFromLink(SetLink);
    LIST_FOR_EACH(FormLink, &Set->FormList) {
      Status = CheckFormForSubmit(Set, FormFromLink(FormLink));
      if (EFI_ERROR(Status)) {
        return Status;
      }
    }
    Status = SubmitStorages(Set);
  }
  return Status;
}
