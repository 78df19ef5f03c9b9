// A Storage is the browser's picture of one varstore of a form set: questions are bound to it,
// their edits collect in it, and it talks to the owning driver in configuration strings.
//
//   <ConfigHdr>   GUID=<32 header digits>&NAME=<name as plain text>&PATH=<device path digits>
//   request       kind 0: &OFFSET=<hex>&WIDTH=<hex> per question; kind 1: &<name>; kind 2: none
//   <ConfigResp>  kind 0: BlockToConfig of the request and EditCopy; kind 1: &<name>=<value>...
#pragma once

#include "support/list.h"
#include "support/signature.h"
#include "uefi/hii.h"

#define STORAGE_SIGNATURE Signature32('F', 'S', 'T', 'G')
#define NAME_VALUE_NODE_SIGNATURE Signature32('N', 'V', 'S', 'T')

#define STORAGE_KIND_BUFFER 0
#define STORAGE_KIND_NAME_VALUE 1
#define STORAGE_KIND_EFI_VARIABLE 2

// One question's value in a name-value storage. Value and EditValue start as 16 zero bytes,
// so they read as empty strings.
struct NameValueNode {
  UINT32 Signature;
  ListLink Link;
  CHAR16 *Name;
  CHAR16 *Value;
  CHAR16 *EditValue;
  // The node of a password that its driver checks through Callbacks: its value is never sent
  // through the storage, so responses leave the node out.
  UINT8 NeverSent;
};

struct Storage {
  UINT32 Signature;
  ListLink Link;
  UINT8 Kind;
  EFI_VARSTORE_ID VarStoreId;
  EFI_GUID Guid;
  CHAR16 *Name;
  UINT16 Size;
  UINT8 *StoredCopy;
  UINT8 *EditCopy;
  ListLink NameValues;
  UINT32 Attributes;
  CHAR16 *ConfigHdr;
  CHAR16 *ConfigRequest;
  UINT32 ElementCount;
  UINT32 RequestRoom;
  // Characters in ConfigRequest, so an element is appended without walking the text.
  UINT32 RequestLength;
};

inline Storage *StorageFromLink(ListLink *Link) {
  return LIST_RECORD(Link, Storage, Link);
}
inline NameValueNode *NameValueNodeFromLink(ListLink *Link) {
  return LIST_RECORD(Link, NameValueNode, Link);
}

struct FormSet;
struct Statement;

// A zero-filled record appended to the form set's StorageList; null when memory ran out.
Storage *NewStorageRecord(FormSet *Owner);
// Fills ConfigHdr from the form set's driver handle, the storage's GUID and name, and starts
// ConfigRequest as a copy of it.
EFI_STATUS BuildConfigHeader(FormSet *Owner, Storage *Target);
// Adds the question's element to ConfigRequest of its storage.
EFI_STATUS AddRequestElement(FormSet *Owner, Statement *Question);

// A pool copy of the EditValue of the first node named exactly Name.
EFI_STATUS ReadNamedValue(Storage *Target, const CHAR16 *Name, CHAR16 **Text);
// Replaces the EditValue of the first node named exactly Name.
EFI_STATUS WriteNamedValue(Storage *Target, const CHAR16 *Name, const CHAR16 *Text);
// The edit side becomes the stored side: the driver holds these values now.
void CommitEdits(Storage *Target);
// The <ConfigResp> of the edit side, owned by the caller.
EFI_STATUS BuildConfigResponse(Storage *Target, CHAR16 **Response);
// Takes a driver's <ConfigResp> into the edit side. The text is cut up in place.
EFI_STATUS ApplyConfigResponse(Storage *Target, CHAR16 *Response);

// Frees what Slot points to and stores a copy of Text.
EFI_STATUS ReplaceString(CHAR16 **Slot, const CHAR16 *Text);
// Appends Text to the string in Slot, reallocating it.
EFI_STATUS AppendString(CHAR16 **Slot, const CHAR16 *Text);
