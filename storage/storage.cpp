#include "storage/storage.h"

#include "core/browser_context.h"
#include "model/form_model.h"
#include "support/device_path.h"
#include "support/memory.h"
#include "support/print.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

// Room for one request element: 29 characters and the terminator.
constexpr UINTN ElementBufferSize = 60;

NameValueNode *FindNamedNode(Storage *Target, const CHAR16 *Name) {
  if (Name == nullptr) {
    return nullptr;
  }
  LIST_FOR_EACH(Link, &Target->NameValues) {
    NameValueNode *Node = NameValueNodeFromLink(Link);
    if (Node->Name != nullptr && StrCompare(Node->Name, Name) == 0) {
      return Node;
    }
  }
  return nullptr;
}

} // namespace

Storage *NewStorageRecord(FormSet *Owner) {
  Storage *Record = static_cast<Storage *>(AllocateZeroedPool(sizeof(Storage)));
  if (Record == nullptr) {
    return nullptr;
  }
  Record->Signature = STORAGE_SIGNATURE;
  ListInit(&Record->NameValues);
  ListInsertTail(&Owner->StorageList, &Record->Link);
  return Record;
}

EFI_STATUS BuildConfigHeader(FormSet *Owner, Storage *Target) {
  UINTN Size = 0;
  EFI_STATUS Status =
      BuildConfigHdr(nullptr, &Size, &Target->Guid, Target->Name, Owner->DriverHandle);
  if (Status != EFI_BUFFER_TOO_SMALL) {
    return EFI_ERROR(Status) ? Status : EFI_DEVICE_ERROR;
  }
  CHAR16 *Header = static_cast<CHAR16 *>(AllocateZeroedPool(Size));
  if (Header == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Status = BuildConfigHdr(Header, &Size, &Target->Guid, Target->Name, Owner->DriverHandle);
  if (EFI_ERROR(Status)) {
    FreePoolIfSet(Header);
    return Status;
  }
  CHAR16 *Request = StrDuplicate(Header);
  if (Request == nullptr) {
    FreePoolIfSet(Header);
    return EFI_OUT_OF_RESOURCES;
  }
  FreePoolIfSet(Target->ConfigHdr);
  FreePoolIfSet(Target->ConfigRequest);
  Target->ConfigHdr = Header;
  Target->ConfigRequest = Request;
  Target->RequestRoom = 0;
  Target->RequestLength = static_cast<UINT32>(StrLength(Request));
  return EFI_SUCCESS;
}

EFI_STATUS AddRequestElement(FormSet *Owner, Statement *Question) {
  Storage *Target = Question->Storage;
  if (Target == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Target->Kind == STORAGE_KIND_EFI_VARIABLE) {
    return EFI_SUCCESS;
  }
  CHAR16 Element[ElementBufferSize / sizeof(CHAR16)];
  if (Target->Kind == STORAGE_KIND_BUFFER) {
    // The print engine's hexadecimal digits are upper case; the request's are lower case, and
    // only the digits are.
    CHAR16 Offset[20];
    CHAR16 Width[20];
    FormatText(Offset, sizeof(Offset), u"%x", Question->VarStoreInfo);
    FormatText(Width, sizeof(Width), u"%x", Question->ValueBytes);
    StrToLower(Offset);
    StrToLower(Width);
    FormatText(Element, ElementBufferSize, u"&OFFSET=%s&WIDTH=%s", Offset, Width);
  } else {
    FormatText(Element, ElementBufferSize, u"&%s", Question->ItemName);
  }
  // A password that the driver checks itself is never requested or sent through the storage.
  if (Question->Opcode == EFI_IFR_PASSWORD_OP &&
      (Question->QuestionFlags & EFI_IFR_FLAG_CALLBACK) != 0) {
    return EFI_SUCCESS;
  }
  if (Target->ConfigRequest == nullptr) {
    return EFI_NOT_READY;
  }
  UINTN ElementLength = StrLength(Element);
  if (Target->RequestRoom < ElementLength) {
    // Room grows with the text, at least 1024 characters at a time, so that a form set with
    // many questions copies its request a bounded number of times.
    UINT32 Growth = Target->RequestLength > 1024 ? Target->RequestLength : 1024;
    UINTN Capacity = static_cast<UINTN>(Target->RequestLength) + Target->RequestRoom + Growth + 1;
    CHAR16 *Grown = static_cast<CHAR16 *>(AllocateZeroedPool(Capacity * sizeof(CHAR16)));
    if (Grown == nullptr) {
      return EFI_OUT_OF_RESOURCES;
    }
    CopyBytes(Grown, Target->ConfigRequest, (Target->RequestLength + 1) * sizeof(CHAR16));
    FreePoolIfSet(Target->ConfigRequest);
    Target->ConfigRequest = Grown;
    Target->RequestRoom += Growth;
  }
  StrCopy(Target->ConfigRequest + Target->RequestLength, Element);
  Target->RequestLength += static_cast<UINT32>(ElementLength);
  Target->ElementCount++;
  Target->RequestRoom -= static_cast<UINT32>(ElementLength);
  return EFI_SUCCESS;
}

EFI_STATUS ReadNamedValue(Storage *Target, const CHAR16 *Name, CHAR16 **Text) {
  *Text = nullptr;
  NameValueNode *Node = FindNamedNode(Target, Name);
  if (Node == nullptr) {
    return EFI_NOT_FOUND;
  }
  *Text = StrDuplicate(Node->EditValue != nullptr ? Node->EditValue : u"");
  return *Text == nullptr ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
}

EFI_STATUS WriteNamedValue(Storage *Target, const CHAR16 *Name, const CHAR16 *Text) {
  NameValueNode *Node = FindNamedNode(Target, Name);
  if (Node == nullptr) {
    return EFI_NOT_FOUND;
  }
  return ReplaceString(&Node->EditValue, Text);
}

void CommitEdits(Storage *Target) {
  switch (Target->Kind) {
  case STORAGE_KIND_BUFFER:
    if (Target->StoredCopy != nullptr && Target->EditCopy != nullptr) {
      CopyBytes(Target->StoredCopy, Target->EditCopy, Target->Size);
    }
    break;
  case STORAGE_KIND_NAME_VALUE:
    LIST_FOR_EACH(Link, &Target->NameValues) {
      NameValueNode *Node = NameValueNodeFromLink(Link);
      ReplaceString(&Node->Value, Node->EditValue != nullptr ? Node->EditValue : u"");
    }
    break;
  default:
    break;
  }
}

EFI_STATUS BuildConfigResponse(Storage *Target, CHAR16 **Response) {
  *Response = nullptr;
  if (Target->Kind == STORAGE_KIND_BUFFER) {
    if (Target->ConfigRequest == nullptr) {
      return EFI_NOT_READY;
    }
    CHAR16 *Progress = nullptr;
    return HiiConfigRouting->BlockToConfig(HiiConfigRouting, Target->ConfigRequest,
                                           Target->EditCopy, Target->Size, Response, &Progress);
  }
  if (Target->Kind != STORAGE_KIND_NAME_VALUE) {
    return EFI_INVALID_PARAMETER;
  }
  if (Target->ConfigHdr == nullptr) {
    return EFI_NOT_READY;
  }
  UINTN Length = StrLength(Target->ConfigHdr);
  LIST_FOR_EACH(Link, &Target->NameValues) {
    NameValueNode *Node = NameValueNodeFromLink(Link);
    if (!Node->NeverSent) {
      Length += 2 + StrLength(Node->Name) + StrLength(Node->EditValue);
    }
  }
  CHAR16 *Text = static_cast<CHAR16 *>(AllocateZeroedPool((Length + 1) * sizeof(CHAR16)));
  if (Text == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  StrCopy(Text, Target->ConfigHdr);
  LIST_FOR_EACH(Link, &Target->NameValues) {
    NameValueNode *Node = NameValueNodeFromLink(Link);
    if (Node->NeverSent) {
      continue;
    }
    StrAppend(Text, u"&");
    StrAppend(Text, Node->Name != nullptr ? Node->Name : u"");
    StrAppend(Text, u"=");
    StrAppend(Text, Node->EditValue != nullptr ? Node->EditValue : u"");
  }
  *Response = Text;
  return EFI_SUCCESS;
}

EFI_STATUS ApplyConfigResponse(Storage *Target, CHAR16 *Response) {
  if (Target->Kind == STORAGE_KIND_BUFFER) {
    UINTN BlockSize = Target->Size;
    CHAR16 *Progress = nullptr;
    return HiiConfigRouting->ConfigToBlock(HiiConfigRouting, Response, Target->EditCopy, &BlockSize,
                                           &Progress);
  }
  if (Target->Kind != STORAGE_KIND_NAME_VALUE) {
    return EFI_INVALID_PARAMETER;
  }
  // Every name=value pair, the header's NAME and PATH among them, goes to WriteNamedValue;
  // names that no node bears fall away.
  CHAR16 *Cursor = Response;
  while (*Cursor != 0 && *Cursor != u'&') {
    Cursor++;
  }
  while (*Cursor == u'&') {
    CHAR16 *Name = Cursor + 1;
    CHAR16 *Equals = Name;
    while (*Equals != 0 && *Equals != u'=') {
      Equals++;
    }
    if (*Equals == 0) {
      return EFI_SUCCESS;
    }
    *Equals = 0;
    CHAR16 *Value = Equals + 1;
    CHAR16 *Next = Value;
    while (*Next != 0 && *Next != u'&') {
      Next++;
    }
    bool More = *Next == u'&';
    *Next = 0;
    WriteNamedValue(Target, Name, Value);
    if (!More) {
      break;
    }
    *Next = u'&';
    Cursor = Next;
  }
  return EFI_SUCCESS;
}

EFI_STATUS ReplaceString(CHAR16 **Slot, const CHAR16 *Text) {
  CHAR16 *Copy = StrDuplicate(Text);
  if (Copy == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  FreePoolIfSet(*Slot);
  *Slot = Copy;
  return EFI_SUCCESS;
}

EFI_STATUS AppendString(CHAR16 **Slot, const CHAR16 *Text) {
  if (*Slot == nullptr) {
    return ReplaceString(Slot, Text);
  }
  UINTN Size = StrSize(*Slot) + StrLength(Text) * sizeof(CHAR16);
  CHAR16 *Joined = static_cast<CHAR16 *>(AllocatePoolOf(Size));
  if (Joined == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  StrCopy(Joined, *Slot);
  StrAppend(Joined, Text);
  FreePoolIfSet(*Slot);
  *Slot = Joined;
  return EFI_SUCCESS;
}
