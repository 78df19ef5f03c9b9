// The file of non-volatile variables. Layout, all little-endian:
//   header: "MRVNVARS", u32 version (1), u32 variable count, u32 payload bytes,
//           u32 CRC-32 of the payload
//   payload, per variable: u32 attributes, u32 name bytes (with the terminator),
//           u32 data bytes, 16-byte GUID, UCS-2 name, data
// The file is replaced whole and atomically, so a reader sees the old or the new one.
#pragma once

#include <string>
#include <vector>

#include "uefi/base.h"

namespace morvane::host {

struct StoredVariable {
  std::u16string Name;
  EFI_GUID Guid;
  UINT32 Attributes;
  std::vector<UINT8> Data;
};

std::vector<UINT8> EncodeVariableFile(const std::vector<StoredVariable> &Variables);
// False with the reason when the bytes are not a whole, intact file of this format.
bool DecodeVariableFile(const std::vector<UINT8> &Bytes, std::vector<StoredVariable> *Variables,
                        std::string *Reason);

// Missing is true (and the result false) when there is no file at Path.
bool ReadWholeFile(const std::string &Path, std::vector<UINT8> *Bytes, bool *Missing,
                   std::string *Reason);
// Writes a temporary file beside Path, flushes it to disk and renames it over Path.
bool WriteFileAtomically(const std::string &Path, const std::vector<UINT8> &Bytes,
                         std::string *Reason);

} // namespace morvane::host
