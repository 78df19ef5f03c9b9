#include "core/browser_context.h"
#include "core/form_browser.h"
#include "support/guid.h"
#include "support/memory.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

Storage *FindCallbackStorage(FormSet *Set, const EFI_GUID *VariableGuid, const CHAR16 *ItemName,
                             EFI_STATUS *Status) {
  *Status = EFI_SUCCESS;
  if (VariableGuid == nullptr) {
    return StorageFromLink(ListFirst(&Set->StorageList));
  }
  LIST_FOR_EACH(Link, &Set->StorageList) {
    Storage *Candidate = StorageFromLink(Link);
    if (!GuidIsEqual(&Candidate->Guid, VariableGuid)) {
      continue;
    }
    if (Candidate->Kind != STORAGE_KIND_BUFFER) {
      return Candidate;
    }
    // A buffer storage needs its name too.
    if (ItemName == nullptr) {
      *Status = EFI_NOT_FOUND;
      return nullptr;
    }
    if (Candidate->Name != nullptr && StrCompare(Candidate->Name, ItemName) == 0) {
      return Candidate;
    }
  }
  *Status = EFI_NOT_FOUND;
  return nullptr;
}

EFI_STATUS ReadResults(Storage *Target, UINTN *ResultsDataSize, EFI_STRING ResultsData) {
  if (Target->ElementCount == 0) {
    return EFI_SUCCESS;
  }
  CHAR16 *Response = nullptr;
  EFI_STATUS Status = BuildConfigResponse(Target, &Response);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  // The response repeats the header; what follows it and its "&" is the body.
  UINTN HeaderLength = StrLength(Target->ConfigHdr);
  UINTN ResponseLength = StrLength(Response);
  const CHAR16 *Body = ResponseLength > HeaderLength ? Response + HeaderLength + 1 : u"";
  if (ResponseLength <= HeaderLength) {
    Body = u"";
  }
  UINTN Needed = (HeaderLength + StrLength(Body)) * sizeof(CHAR16) + 4;
  UINTN Offered = *ResultsDataSize;
  *ResultsDataSize = Needed;
  if (Offered < Needed) {
    FreePoolIfSet(Response);
    return EFI_BUFFER_TOO_SMALL;
  }
  if (ResultsData == nullptr) {
    FreePoolIfSet(Response);
    return EFI_INVALID_PARAMETER;
  }
  StrCopy(ResultsData, Target->ConfigHdr != nullptr ? Target->ConfigHdr : u"");
  StrAppend(ResultsData, u"&");
  StrAppend(ResultsData, Body);
  FreePoolIfSet(Response);
  return EFI_SUCCESS;
}

EFI_STATUS WriteResults(const CHAR16 *ResultsData, const EFI_GUID *VariableGuid,
                        const CHAR16 *ItemName) {
  CHAR16 *Working = StrDuplicate(ResultsData);
  if (Working == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  // One write reaches every copy of the varstore in the cache, not only the current one.
  if (VariableGuid != nullptr && ItemName != nullptr) {
    LIST_FOR_EACH(SetLink, &Browser->FormSetList) {
      FormSet *Set = FormSetFromLink(SetLink);
      LIST_FOR_EACH(Link, &Set->StorageList) {
        Storage *Candidate = StorageFromLink(Link);
        if (Candidate->Kind != STORAGE_KIND_BUFFER ||
            !GuidIsEqual(&Candidate->Guid, VariableGuid) || Candidate->Name == nullptr ||
            StrCompare(Candidate->Name, ItemName) != 0) {
          continue;
        }
        // The response is cut up in place; each storage gets a fresh copy.
        StrCopy(Working, ResultsData);
        ApplyConfigResponse(Candidate, Working);
        Set->CallbackWroteStorage = 1;
      }
    }
  }
  FreePoolIfSet(Working);
  return EFI_SUCCESS;
}

} // namespace

EFI_STATUS EFIAPI BrowserCallback(const EFI_FORM_BROWSER2_PROTOCOL *This, UINTN *ResultsDataSize,
                                  EFI_STRING ResultsData, BOOLEAN RetrieveData,
                                  const EFI_GUID *VariableGuid, const CHAR16 *VariableName) {
  if (ResultsDataSize == nullptr || (!RetrieveData && ResultsData == nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  if (Browser == nullptr || Browser->SendFormDepth == 0) {
    return EFI_NOT_READY;
  }
  UiSelection *Selection = Browser->Selection;
  FormSet *Set = Selection->FormSet;
  if (Set == nullptr || Set->StorageList.Forward == nullptr || ListIsEmpty(&Set->StorageList)) {
    return EFI_UNSUPPORTED;
  }
  EFI_STATUS Status;
  Storage *Target = FindCallbackStorage(Set, VariableGuid, VariableName, &Status);
  if (Target == nullptr) {
    return Status;
  }
  if (RetrieveData) {
    return ReadResults(Target, ResultsDataSize, ResultsData);
  }
  Status = WriteResults(ResultsData, VariableGuid, VariableName);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Selection->Form != nullptr) {
    Selection->Form->Modified = 1;
  }
  return EFI_SUCCESS;
}
