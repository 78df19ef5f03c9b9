// The form sets that the running SendForm calls have loaded: how the IFR of a form set is
// found in its package list, and how a form set is loaded, found, reloaded and released.
#pragma once

#include "core/browser_context.h"

// The first record with that handle and GUID that has Loaded set.
bool FindLoadedFormSet(EFI_HII_HANDLE Handle, const EFI_GUID *Guid, FormSet **Found);
// The first record with that GUID, loaded or not; null for a null GUID.
FormSet *FindFormSetByGuid(const EFI_GUID *Guid);
// The form with that id; id 0 gives the first form.
Form *FindForm(FormSet *Set, EFI_FORM_ID FormId);

// Copies the IFR of the first matching form set out of the handle's package list: any form set
// for a null or all-zero Guid (whose GUID then goes into Guid), else one with that GUID or of
// that class. Length and Data describe the form set and the rest of its package.
EFI_STATUS FindFormSetInPackages(EFI_HII_HANDLE Handle, EFI_GUID *Guid, UINT32 *Length,
                                 UINT8 **Data);

// Makes, fills and parses a FormSet, then gives it its initial values. With AddToList it joins
// FormSetList at once. Loaded and the tab link are the caller's to set. On failure the record,
// when one was made, is returned in Out for the caller to report and release.
EFI_STATUS LoadFormSet(EFI_HII_HANDLE Handle, const EFI_GUID *Guid, FormSet **Out,
                       BOOLEAN AddToList);
// Links the form set to the first tab of its handle.
void LinkFormSetToMenuBar(FormSet *Set);
// Releases every loaded record of the handle that the running SendForm call loaded.
EFI_STATUS ReleaseFormSets(EFI_HII_HANDLE Handle);
// Parses and loads a form set afresh in place of the one in Slot.
EFI_STATUS ReloadFormSet(FormSet **Slot, UiSelection *Selection, BOOLEAN AddToList);
// Reloads every form set of the cache, keeping their order.
EFI_STATUS ReloadAllFormSets(UiSelection *Selection);
// Loads the form set of the page provider whose protocol GUID the selection names.
EFI_STATUS LoadFormSetByProtocol(UiSelection *Selection);
// Releases the form sets that LoadFormSetByProtocol made in calls deeper than the running one;
// every call does it as it ends.
void ReleaseDetachedFormSets();
void ResetFormSetCacheState();
