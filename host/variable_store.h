// Variables of the runtime services. Non-volatile ones are kept in a file when the platform is
// given one: loaded at start and saved after every change. A file that cannot be read as a
// store is reported through LoadError() and then never written, so nothing the owner may want
// back is lost; the variables then live in memory only.
#pragma once

#include <string>
#include <vector>

#include "host/variable_file.h"
#include "uefi/system_table.h"

namespace morvane::host {

class VariableStore {
public:
  // Room for each class of variable (non-volatile, volatile) and for one variable's name and
  // data together.
  static constexpr UINT64 STORAGE_BYTES = 256 * 1024;
  static constexpr UINT64 MAXIMUM_VARIABLE_BYTES = 32 * 1024;

  // An empty File keeps everything in memory.
  explicit VariableStore(std::string File);

  EFI_STATUS Get(const CHAR16 *Name, const EFI_GUID *Guid, UINT32 *Attributes, UINTN *DataSize,
                 VOID *Data) const;
  EFI_STATUS Set(const CHAR16 *Name, const EFI_GUID *Guid, UINT32 Attributes, UINTN DataSize,
                 const VOID *Data);
  EFI_STATUS GetNextName(UINTN *NameSize, CHAR16 *Name, EFI_GUID *Guid) const;
  EFI_STATUS QueryInfo(UINT32 Attributes, UINT64 *MaximumStorage, UINT64 *RemainingStorage,
                       UINT64 *MaximumVariableSize) const;

  // "file: reason" when the file could not be loaded; empty otherwise.
  const std::string &LoadError() const { return LoadProblem; }
  // "file: reason" of the last save that failed; empty otherwise.
  const std::string &SaveError() const { return SaveProblem; }
  size_t Count() const { return Variables.size(); }

private:
  size_t Find(const CHAR16 *Name, const EFI_GUID &Guid) const;
  UINT64 Used(bool NonVolatile) const;
  bool Save();

  std::string File;
  std::vector<StoredVariable> Variables;
  std::string LoadProblem;
  std::string SaveProblem;
};

} // namespace morvane::host
