#include "host/variable_store.h"

#include <cstring>

namespace morvane::host {

namespace {
constexpr UINT32 SUPPORTED_ATTRIBUTES =
    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;
constexpr UINT32 UNSUPPORTED_ATTRIBUTES = EFI_VARIABLE_HARDWARE_ERROR_RECORD |
                                          EFI_VARIABLE_AUTHENTICATED_WRITE_ACCESS |
                                          EFI_VARIABLE_TIME_BASED_AUTHENTICATED_WRITE_ACCESS;
// Bookkeeping each variable costs in the store besides its name and data.
constexpr UINT64 RECORD_OVERHEAD = 28;

UINT64 Footprint(const StoredVariable &Variable) {
  return RECORD_OVERHEAD + (Variable.Name.size() + 1) * 2 + Variable.Data.size();
}

bool NameEquals(const std::u16string &Stored, const CHAR16 *Name) {
  size_t Index = 0;
  for (; Index < Stored.size(); Index++) {
    if (Name[Index] != Stored[Index]) {
      return false;
    }
  }
  return Name[Index] == 0;
}
} // namespace

VariableStore::VariableStore(std::string File) : File(std::move(File)) {
  if (this->File.empty()) {
    return;
  }
  std::vector<UINT8> Bytes;
  bool Missing = false;
  std::string Reason;
  if (!ReadWholeFile(this->File, &Bytes, &Missing, &Reason)) {
    if (!Missing) {
      LoadProblem = this->File + ": " + Reason;
    }
    return;
  }
  std::vector<StoredVariable> Loaded;
  if (!DecodeVariableFile(Bytes, &Loaded, &Reason)) {
    LoadProblem = this->File + ": " + Reason;
    return;
  }
  Variables = std::move(Loaded);
}

size_t VariableStore::Find(const CHAR16 *Name, const EFI_GUID &Guid) const {
  for (size_t Index = 0; Index < Variables.size(); Index++) {
    if (std::memcmp(&Variables[Index].Guid, &Guid, sizeof(EFI_GUID)) == 0 &&
        NameEquals(Variables[Index].Name, Name)) {
      return Index;
    }
  }
  return Variables.size();
}

UINT64 VariableStore::Used(bool NonVolatile) const {
  UINT64 Total = 0;
  for (const StoredVariable &Variable : Variables) {
    if (((Variable.Attributes & EFI_VARIABLE_NON_VOLATILE) != 0) == NonVolatile) {
      Total += Footprint(Variable);
    }
  }
  return Total;
}

bool VariableStore::Save() {
  if (File.empty() || !LoadProblem.empty()) {
    return true;
  }
  std::vector<StoredVariable> Persistent;
  for (const StoredVariable &Variable : Variables) {
    if ((Variable.Attributes & EFI_VARIABLE_NON_VOLATILE) != 0) {
      Persistent.push_back(Variable);
    }
  }
  std::string Reason;
  if (!WriteFileAtomically(File, EncodeVariableFile(Persistent), &Reason)) {
    SaveProblem = File + ": " + Reason;
    return false;
  }
  SaveProblem.clear();
  return true;
}

EFI_STATUS VariableStore::Get(const CHAR16 *Name, const EFI_GUID *Guid, UINT32 *Attributes,
                              UINTN *DataSize, VOID *Data) const {
  if (Name == nullptr || Guid == nullptr || DataSize == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  size_t Index = Find(Name, *Guid);
  if (Name[0] == 0 || Index == Variables.size()) {
    return EFI_NOT_FOUND;
  }
  const StoredVariable &Variable = Variables[Index];
  if (Attributes != nullptr) {
    *Attributes = Variable.Attributes;
  }
  if (*DataSize < Variable.Data.size()) {
    *DataSize = Variable.Data.size();
    return EFI_BUFFER_TOO_SMALL;
  }
  if (Data == nullptr && !Variable.Data.empty()) {
    return EFI_INVALID_PARAMETER;
  }
  if (!Variable.Data.empty()) {
    std::memcpy(Data, Variable.Data.data(), Variable.Data.size());
  }
  *DataSize = Variable.Data.size();
  return EFI_SUCCESS;
}

EFI_STATUS VariableStore::Set(const CHAR16 *Name, const EFI_GUID *Guid, UINT32 Attributes,
                              UINTN DataSize, const VOID *Data) {
  if (Name == nullptr || Guid == nullptr || Name[0] == 0 || (DataSize != 0 && Data == nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  bool Append = (Attributes & EFI_VARIABLE_APPEND_WRITE) != 0;
  UINT32 Kind = Attributes & ~static_cast<UINT32>(EFI_VARIABLE_APPEND_WRITE);
  if ((Kind & UNSUPPORTED_ATTRIBUTES) != 0) {
    return EFI_UNSUPPORTED;
  }
  if ((Kind & ~SUPPORTED_ATTRIBUTES) != 0 || ((Kind & EFI_VARIABLE_RUNTIME_ACCESS) != 0 &&
                                              (Kind & EFI_VARIABLE_BOOTSERVICE_ACCESS) == 0)) {
    return EFI_INVALID_PARAMETER;
  }
  size_t Index = Find(Name, *Guid);
  bool Exists = Index != Variables.size();
  std::vector<StoredVariable> Before = Variables;

  if (Kind == 0 || (DataSize == 0 && !Append)) {
    if (!Exists) {
      return EFI_NOT_FOUND;
    }
    if (Kind != 0 && Kind != Variables[Index].Attributes) {
      return EFI_INVALID_PARAMETER;
    }
    bool Persistent = (Variables[Index].Attributes & EFI_VARIABLE_NON_VOLATILE) != 0;
    Variables.erase(Variables.begin() + static_cast<std::ptrdiff_t>(Index));
    if (Persistent && !Save()) {
      Variables = std::move(Before);
      return EFI_DEVICE_ERROR;
    }
    return EFI_SUCCESS;
  }
  if ((Kind & EFI_VARIABLE_BOOTSERVICE_ACCESS) == 0) {
    return EFI_INVALID_PARAMETER;
  }
  if (Exists && Variables[Index].Attributes != Kind) {
    return EFI_INVALID_PARAMETER;
  }
  if (Append && DataSize == 0) {
    return EFI_SUCCESS;
  }
  StoredVariable Updated;
  if (Exists) {
    Updated = Variables[Index];
  } else {
    Updated.Name = Name;
    Updated.Guid = *Guid;
    Updated.Attributes = Kind;
  }
  const UINT8 *Bytes = static_cast<const UINT8 *>(Data);
  if (!Append) {
    Updated.Data.clear();
  }
  Updated.Data.insert(Updated.Data.end(), Bytes, Bytes + DataSize);
  bool NonVolatile = (Kind & EFI_VARIABLE_NON_VOLATILE) != 0;
  UINT64 Others = Used(NonVolatile) - (Exists ? Footprint(Variables[Index]) : 0);
  if (Footprint(Updated) - RECORD_OVERHEAD > MAXIMUM_VARIABLE_BYTES ||
      Others + Footprint(Updated) > STORAGE_BYTES) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (Exists) {
    Variables[Index] = std::move(Updated);
  } else {
    Variables.push_back(std::move(Updated));
  }
  if (NonVolatile && !Save()) {
    Variables = std::move(Before);
    return EFI_DEVICE_ERROR;
  }
  return EFI_SUCCESS;
}

EFI_STATUS VariableStore::GetNextName(UINTN *NameSize, CHAR16 *Name, EFI_GUID *Guid) const {
  if (NameSize == nullptr || Name == nullptr || Guid == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  UINTN Capacity = *NameSize / sizeof(CHAR16);
  UINTN Length = 0;
  while (Length < Capacity && Name[Length] != 0) {
    Length++;
  }
  if (Length == Capacity) {
    return EFI_INVALID_PARAMETER;
  }
  size_t Next = 0;
  if (Length != 0) {
    size_t Index = Find(Name, *Guid);
    if (Index == Variables.size()) {
      return EFI_INVALID_PARAMETER;
    }
    Next = Index + 1;
  }
  if (Next >= Variables.size()) {
    return EFI_NOT_FOUND;
  }
  const StoredVariable &Variable = Variables[Next];
  UINTN Needed = (Variable.Name.size() + 1) * sizeof(CHAR16);
  if (*NameSize < Needed) {
    *NameSize = Needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(Name, Variable.Name.c_str(), Needed);
  *Guid = Variable.Guid;
  *NameSize = Needed;
  return EFI_SUCCESS;
}

EFI_STATUS VariableStore::QueryInfo(UINT32 Attributes, UINT64 *MaximumStorage,
                                    UINT64 *RemainingStorage, UINT64 *MaximumVariableSize) const {
  if (MaximumStorage == nullptr || RemainingStorage == nullptr || MaximumVariableSize == nullptr ||
      Attributes == 0) {
    return EFI_INVALID_PARAMETER;
  }
  if ((Attributes & UNSUPPORTED_ATTRIBUTES) != 0) {
    return EFI_UNSUPPORTED;
  }
  if ((Attributes & ~(SUPPORTED_ATTRIBUTES | EFI_VARIABLE_APPEND_WRITE)) != 0 ||
      ((Attributes & EFI_VARIABLE_RUNTIME_ACCESS) != 0 &&
       (Attributes & EFI_VARIABLE_BOOTSERVICE_ACCESS) == 0)) {
    return EFI_INVALID_PARAMETER;
  }
  *MaximumStorage = STORAGE_BYTES;
  *RemainingStorage = STORAGE_BYTES - Used((Attributes & EFI_VARIABLE_NON_VOLATILE) != 0);
  *MaximumVariableSize = MAXIMUM_VARIABLE_BYTES;
  return EFI_SUCCESS;
}

} // namespace morvane::host
