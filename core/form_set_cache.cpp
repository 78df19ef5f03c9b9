#include "core/form_set_cache.h"

#include "core/menu_bar.h"
#include "core/selection_stack.h"
#include "dialogs/dialog.h"
#include "model/ifr_parser.h"
#include "storage/defaults.h"
#include "support/efi_globals.h"
#include "support/guid.h"
#include "support/memory.h"

#include "support/poison.h"

// Form sets loaded through a page provider's protocol belong to no call's list; they are
// kept here and released when the call that loaded them ends.
static ListLink DetachedFormSets;

namespace {

// The class GUID count of a form-set opcode, and where its class GUIDs begin.
constexpr UINTN FormSetClassCountOffset = 22;
constexpr UINTN FormSetClassGuidsOffset = 23;

bool FormSetMatches(const UINT8 *Op, UINTN Length, const EFI_GUID *Guid) {
  if (Guid == nullptr || IsNullGuid(Guid)) {
    return true;
  }
  if (Length >= 18 && CompareBytes(Op + 2, Guid, sizeof(EFI_GUID)) == 0) {
    return true;
  }
  if (Length <= FormSetClassCountOffset) {
    return false;
  }
  UINT8 ClassCount = Op[FormSetClassCountOffset];
  if (ClassCount == 0) {
    return GuidIsEqual(Guid, &gEfiHiiPlatformSetupFormsetGuid);
  }
  for (UINTN Index = 0; Index < ClassCount; Index++) {
    UINTN Offset = FormSetClassGuidsOffset + Index * sizeof(EFI_GUID);
    if (Offset + sizeof(EFI_GUID) > Length) {
      break;
    }
    if (CompareBytes(Op + Offset, Guid, sizeof(EFI_GUID)) == 0) {
      return true;
    }
  }
  return false;
}

// Finds the first matching form-set opcode in one form package.
bool FindInFormPackage(const UINT8 *Package, UINT32 PackageLength, EFI_GUID *Guid, UINT32 *Length,
                       const UINT8 **Start) {
  UINT32 Offset = sizeof(EFI_HII_PACKAGE_HEADER);
  while (Offset + 2 <= PackageLength) {
    const UINT8 *Op = Package + Offset;
    UINT8 OpLength = Op[1] & 0x7F;
    if (OpLength < 2 || OpLength > PackageLength - Offset) {
      return false;
    }
    if (Op[0] == EFI_IFR_FORM_SET_OP && FormSetMatches(Op, OpLength, Guid)) {
      if (Guid != nullptr && OpLength >= 18) {
        // The record takes the opcode's GUID, also when a class GUID found it, so that the
        // parse accepts it.
        CopyBytes(Guid, Op + 2, sizeof(EFI_GUID));
      }
      *Length = PackageLength - Offset;
      *Start = Op;
      return true;
    }
    Offset += OpLength;
  }
  return false;
}

void RemoveFromList(FormSet *Set) {
  if (Set->Link.Forward != nullptr) {
    ListRemove(&Set->Link);
    Set->Link.Forward = nullptr;
    Set->Link.Back = nullptr;
  }
}

bool IsDetached(const FormSet *Set) {
  LIST_FOR_EACH(Link, &DetachedFormSets) {
    if (FormSetFromLink(Link) == Set) {
      return true;
    }
  }
  return false;
}

// The record that stands for Set once it is gone: another loaded record of the same handle
// that is still in the list, with the same GUID when SameGuid is asked for.
FormSet *OtherRecordOfHandle(const FormSet *Set, bool SameGuid) {
  LIST_FOR_EACH(Link, &Browser->FormSetList) {
    FormSet *Candidate = FormSetFromLink(Link);
    if (Candidate != Set && Candidate->Loaded && Candidate->HiiHandle == Set->HiiHandle &&
        (!SameGuid || GuidIsEqual(&Candidate->FormSetGuid, &Set->FormSetGuid))) {
      return Candidate;
    }
  }
  return nullptr;
}

// Defaults first, then the driver's values: a default stays only where the driver gives none.
void InitializeFormSetValues(FormSet *Set) {
  LIST_FOR_EACH(Link, &Set->FormList) {
    Form *Owner = FormFromLink(Link);
    Owner->Modified = 0;
    EFI_STATUS Status = ApplyFormDefaults(Set, Owner, EFI_HII_DEFAULT_CLASS_STANDARD);
    if (EFI_ERROR(Status)) {
      ReportFormError(Set, Owner, u"Failed to extract default values.", Status);
    }
  }
  LIST_FOR_EACH(Link, &Set->StorageList) {
    Storage *Target = StorageFromLink(Link);
    if (!EFI_ERROR(FetchStorage(Set, Target))) {
      CommitEdits(Target);
    }
  }
}

} // namespace

bool FindLoadedFormSet(EFI_HII_HANDLE Handle, const EFI_GUID *Guid, FormSet **Found) {
  LIST_FOR_EACH(Link, &Browser->FormSetList) {
    FormSet *Candidate = FormSetFromLink(Link);
    if (Candidate->HiiHandle == Handle && Candidate->Loaded &&
        GuidIsEqual(&Candidate->FormSetGuid, Guid)) {
      *Found = Candidate;
      return true;
    }
  }
  *Found = nullptr;
  return false;
}

FormSet *FindFormSetByGuid(const EFI_GUID *Guid) {
  if (Guid == nullptr) {
    return nullptr;
  }
  LIST_FOR_EACH(Link, &Browser->FormSetList) {
    FormSet *Candidate = FormSetFromLink(Link);
    if (GuidIsEqual(&Candidate->FormSetGuid, Guid)) {
      return Candidate;
    }
  }
  return nullptr;
}

Form *FindForm(FormSet *Set, EFI_FORM_ID FormId) {
  if (Set == nullptr || Set->FormList.Forward == nullptr || ListIsEmpty(&Set->FormList)) {
    return nullptr;
  }
  if (FormId == 0) {
    return FormFromLink(ListFirst(&Set->FormList));
  }
  LIST_FOR_EACH(Link, &Set->FormList) {
    Form *Candidate = FormFromLink(Link);
    if (Candidate->FormId == FormId) {
      return Candidate;
    }
  }
  return nullptr;
}

EFI_STATUS FindFormSetInPackages(EFI_HII_HANDLE Handle, EFI_GUID *Guid, UINT32 *Length,
                                 UINT8 **Data) {
  UINTN Size = 0;
  EFI_STATUS Status = HiiDatabase->ExportPackageLists(HiiDatabase, Handle, &Size, nullptr);
  if (Status != EFI_BUFFER_TOO_SMALL) {
    return EFI_ERROR(Status) ? Status : EFI_NOT_FOUND;
  }
  UINT8 *Export = static_cast<UINT8 *>(AllocatePoolOf(Size));
  if (Export == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Status = HiiDatabase->ExportPackageLists(HiiDatabase, Handle, &Size,
                                           reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Export));
  if (EFI_ERROR(Status)) {
    FreePoolIfSet(Export);
    return Status;
  }

  // The list header says how long the list is; trust it only within what was exported.
  UINT32 ListLength =
      Size >= sizeof(EFI_HII_PACKAGE_LIST_HEADER)
          ? ReadUnaligned32(Export + offsetof(EFI_HII_PACKAGE_LIST_HEADER, PackageLength))
          : 0;
  if (ListLength > Size) {
    ListLength = static_cast<UINT32>(Size);
  }
  Status = EFI_NOT_FOUND;
  UINT32 Offset = sizeof(EFI_HII_PACKAGE_LIST_HEADER);
  while (Offset + sizeof(EFI_HII_PACKAGE_HEADER) <= ListLength) {
    UINT32 Header = ReadUnaligned32(Export + Offset);
    UINT32 PackageLength = Header & 0x00FFFFFF;
    UINT8 Type = static_cast<UINT8>(Header >> 24);
    if (PackageLength < sizeof(EFI_HII_PACKAGE_HEADER) || PackageLength > ListLength - Offset) {
      break;
    }
    const UINT8 *Start = nullptr;
    UINT32 FoundLength = 0;
    if (Type == EFI_HII_PACKAGE_FORMS &&
        FindInFormPackage(Export + Offset, PackageLength, Guid, &FoundLength, &Start)) {
      *Data = static_cast<UINT8 *>(AllocateCopy(FoundLength, Start));
      *Length = FoundLength;
      Status = *Data == nullptr ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
      break;
    }
    if (Type == EFI_HII_PACKAGE_END) {
      break;
    }
    Offset += PackageLength;
  }
  FreePoolIfSet(Export);
  return Status;
}

EFI_STATUS LoadFormSet(EFI_HII_HANDLE Handle, const EFI_GUID *Guid, FormSet **Out,
                       BOOLEAN AddToList) {
  *Out = nullptr;
  FormSet *Set = static_cast<FormSet *>(AllocateZeroedPool(sizeof(FormSet)));
  if (Set == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  *Out = Set;
  Set->Signature = FORM_SET_SIGNATURE;
  Set->HiiHandle = Handle;
  if (Guid != nullptr && !IsNullGuid(Guid)) {
    Set->FormSetGuid = *Guid;
  }
  if (AddToList) {
    ListInsertTail(&Browser->FormSetList, &Set->Link);
  }
  EFI_STATUS Status =
      FindFormSetInPackages(Handle, &Set->FormSetGuid, &Set->IfrLength, &Set->IfrData);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Status = HiiDatabase->GetPackageListHandle(HiiDatabase, Handle, &Set->DriverHandle);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (EFI_ERROR(BootServices->HandleProtocol(Set->DriverHandle, &gEfiHiiConfigAccessProtocolGuid,
                                             reinterpret_cast<VOID **>(&Set->ConfigAccess)))) {
    Set->ConfigAccess = nullptr;
  }
  Status = ReadFormSetOpcodes(Set);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  InitializeFormSetValues(Set);
  return EFI_SUCCESS;
}

void LinkFormSetToMenuBar(FormSet *Set) {
  LIST_FOR_EACH(Link, &Browser->MenuBarList) {
    MenuBarEntry *Entry = MenuBarEntryFromLink(Link);
    if (Entry->Handle == Set->HiiHandle) {
      Set->MenuBarEntry = Entry;
      Entry->FormSet = Set;
      return;
    }
  }
}

EFI_STATUS ReleaseFormSets(EFI_HII_HANDLE Handle) {
  EFI_STATUS Status = EFI_NOT_FOUND;
  ListLink *Link = ListFirst(&Browser->FormSetList);
  while (!ListIsHead(&Browser->FormSetList, Link)) {
    ListLink *Next = ListNext(&Browser->FormSetList, Link);
    FormSet *Candidate = FormSetFromLink(Link);
    if (Candidate->Loaded && Candidate->HiiHandle == Handle &&
        Candidate->LoadDepth == Browser->SendFormDepth) {
      ListRemove(Link);
      // A nested call that named an outer call's handle loaded a record of its own and took
      // the tab; the tab goes back to the outer call's record.
      if (Candidate->MenuBarEntry != nullptr && Candidate->MenuBarEntry->FormSet == Candidate) {
        Candidate->MenuBarEntry->FormSet = nullptr;
        if (FormSet *Outer = OtherRecordOfHandle(Candidate, false)) {
          LinkFormSetToMenuBar(Outer);
        }
      }
      RepointSelections(Candidate, OtherRecordOfHandle(Candidate, true));
      ReleaseFormSet(Candidate);
      Status = EFI_SUCCESS;
    }
    Link = Next;
  }
  return Status;
}

EFI_STATUS ReloadFormSet(FormSet **Slot, UiSelection *Selection, BOOLEAN AddToList) {
  if (Slot == nullptr || *Slot == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  FormSet *Old = *Slot;
  bool Detached = IsDetached(Old);
  RemoveFromList(Old);
  FormSet *Fresh = nullptr;
  EFI_STATUS Status = LoadFormSet(Old->HiiHandle, &Old->FormSetGuid, &Fresh, FALSE);
  if (EFI_ERROR(Status)) {
    ReleaseFormSet(Fresh);
    // The old record is still good; keep it where it was so the end of the call releases it.
    if (Detached) {
      ListInsertTail(&DetachedFormSets, &Old->Link);
    } else if (AddToList) {
      ListInsertTail(&Browser->FormSetList, &Old->Link);
    }
    return Status;
  }
  if (GuidIsEqual(&Fresh->FormSetGuid, &Selection->FormSetGuid)) {
    Selection->FormSet = Fresh;
    Selection->Form = FindForm(Fresh, Selection->FormId);
    Selection->Statement = nullptr;
  }
  Fresh->LoadDepth = Old->LoadDepth;
  if (Old->MenuBarEntry != nullptr && Old->MenuBarEntry->FormSet == Old) {
    Old->MenuBarEntry->FormSet = nullptr;
  }
  if (Detached) {
    // A page provider's form set stays outside the list and is never counted as loaded.
    ListInsertTail(&DetachedFormSets, &Fresh->Link);
  } else {
    if (AddToList) {
      ListInsertTail(&Browser->FormSetList, &Fresh->Link);
      LinkFormSetToMenuBar(Fresh);
    }
    Fresh->Loaded = 1;
  }
  RepointSelections(Old, Fresh);
  ReleaseFormSet(Old);
  *Slot = Fresh;
  return EFI_SUCCESS;
}

EFI_STATUS ReloadAllFormSets(UiSelection *Selection) {
  ListLink Reloaded;
  ListInit(&Reloaded);
  EFI_STATUS Result = EFI_SUCCESS;
  while (!ListIsEmpty(&Browser->FormSetList)) {
    FormSet *Set = FormSetFromLink(ListFirst(&Browser->FormSetList));
    FormSet *Slot = Set;
    EFI_STATUS Status = ReloadFormSet(&Slot, Selection, FALSE);
    if (EFI_ERROR(Status)) {
      // A failed reload leaves the old record, which is already out of the list.
      Result = Status;
    }
    ListInsertTail(&Reloaded, &Slot->Link);
    LinkFormSetToMenuBar(Slot);
  }
  while (!ListIsEmpty(&Reloaded)) {
    ListLink *Link = ListFirst(&Reloaded);
    ListRemove(Link);
    ListInsertTail(&Browser->FormSetList, Link);
  }
  return Result;
}

EFI_STATUS LoadFormSetByProtocol(UiSelection *Selection) {
  PAGE_PROVIDER_PROTOCOL *Provider = nullptr;
  EFI_STATUS Status = BootServices->LocateProtocol(&Selection->FormSetGuid, nullptr,
                                                   reinterpret_cast<VOID **>(&Provider));
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Provider == nullptr) {
    return EFI_NOT_FOUND;
  }
  FormSet *Existing = nullptr;
  if (FindLoadedFormSet(Provider->Handle, &Selection->FormSetGuid, &Existing)) {
    return EFI_ALREADY_STARTED;
  }
  FormSet *Loaded = nullptr;
  Status = LoadFormSet(Provider->Handle, nullptr, &Loaded, FALSE);
  if (EFI_ERROR(Status)) {
    ReleaseFormSet(Loaded);
    return Status;
  }
  Loaded->LoadDepth = Browser->SendFormDepth;
  ListInsertTail(&DetachedFormSets, &Loaded->Link);
  Selection->FormSet = Loaded;
  Selection->Handle = Loaded->HiiHandle;
  return EFI_SUCCESS;
}

void ReleaseDetachedFormSets() {
  ListLink *Link = ListFirst(&DetachedFormSets);
  while (!ListIsHead(&DetachedFormSets, Link)) {
    ListLink *Next = ListNext(&DetachedFormSets, Link);
    FormSet *Candidate = FormSetFromLink(Link);
    if (Candidate->LoadDepth > Browser->SendFormDepth) {
      ListRemove(Link);
      RepointSelections(Candidate, nullptr);
      ReleaseFormSet(Candidate);
    }
    Link = Next;
  }
}

void ResetFormSetCacheState() {
  ListInit(&DetachedFormSets);
}
