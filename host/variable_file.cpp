#include "host/variable_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "host/crc32.h"

namespace morvane::host {

namespace {
constexpr char MAGIC[8] = {'M', 'R', 'V', 'N', 'V', 'A', 'R', 'S'};
constexpr UINT32 VERSION = 1;
constexpr size_t HEADER_SIZE = 24;
constexpr size_t RECORD_HEADER_SIZE = 28;

void Put32(std::vector<UINT8> &Out, UINT32 Value) {
  for (int Shift = 0; Shift < 32; Shift += 8) {
    Out.push_back(static_cast<UINT8>(Value >> Shift));
  }
}

void Put16(std::vector<UINT8> &Out, UINT16 Value) {
  Out.push_back(static_cast<UINT8>(Value));
  Out.push_back(static_cast<UINT8>(Value >> 8));
}

UINT32 Get32(const UINT8 *Bytes) {
  return static_cast<UINT32>(Bytes[0]) | (static_cast<UINT32>(Bytes[1]) << 8) |
         (static_cast<UINT32>(Bytes[2]) << 16) | (static_cast<UINT32>(Bytes[3]) << 24);
}

UINT16 Get16(const UINT8 *Bytes) {
  return static_cast<UINT16>(Bytes[0] | (Bytes[1] << 8));
}

void PutGuid(std::vector<UINT8> &Out, const EFI_GUID &Guid) {
  Put32(Out, Guid.Data1);
  Put16(Out, Guid.Data2);
  Put16(Out, Guid.Data3);
  Out.insert(Out.end(), Guid.Data4, Guid.Data4 + 8);
}

EFI_GUID GetGuid(const UINT8 *Bytes) {
  EFI_GUID Guid;
  Guid.Data1 = Get32(Bytes);
  Guid.Data2 = Get16(Bytes + 4);
  Guid.Data3 = Get16(Bytes + 6);
  std::memcpy(Guid.Data4, Bytes + 8, 8);
  return Guid;
}

std::string SystemError(const char *What) {
  return std::string(What) + ": " + std::strerror(errno);
}
} // namespace

std::vector<UINT8> EncodeVariableFile(const std::vector<StoredVariable> &Variables) {
  std::vector<UINT8> Payload;
  for (const StoredVariable &Variable : Variables) {
    Put32(Payload, Variable.Attributes);
    Put32(Payload, static_cast<UINT32>((Variable.Name.size() + 1) * 2));
    Put32(Payload, static_cast<UINT32>(Variable.Data.size()));
    PutGuid(Payload, Variable.Guid);
    for (char16_t Unit : Variable.Name) {
      Put16(Payload, Unit);
    }
    Put16(Payload, 0);
    Payload.insert(Payload.end(), Variable.Data.begin(), Variable.Data.end());
  }
  std::vector<UINT8> File(MAGIC, MAGIC + sizeof(MAGIC));
  Put32(File, VERSION);
  Put32(File, static_cast<UINT32>(Variables.size()));
  Put32(File, static_cast<UINT32>(Payload.size()));
  Put32(File, Crc32(Payload.data(), Payload.size()));
  File.insert(File.end(), Payload.begin(), Payload.end());
  return File;
}

bool DecodeVariableFile(const std::vector<UINT8> &Bytes, std::vector<StoredVariable> *Variables,
                        std::string *Reason) {
  if (Bytes.size() < HEADER_SIZE) {
    *Reason = "truncated header (" + std::to_string(Bytes.size()) + " bytes)";
    return false;
  }
  if (std::memcmp(Bytes.data(), MAGIC, sizeof(MAGIC)) != 0) {
    *Reason = "not a variable store (bad magic)";
    return false;
  }
  UINT32 Version = Get32(&Bytes[8]);
  if (Version != VERSION) {
    *Reason = "unsupported version " + std::to_string(Version);
    return false;
  }
  UINT32 Count = Get32(&Bytes[12]);
  UINT32 PayloadSize = Get32(&Bytes[16]);
  if (Bytes.size() - HEADER_SIZE != PayloadSize) {
    *Reason = "payload of " + std::to_string(Bytes.size() - HEADER_SIZE) +
              " bytes where the header promises " + std::to_string(PayloadSize);
    return false;
  }
  const UINT8 *Payload = Bytes.data() + HEADER_SIZE;
  if (Crc32(Payload, PayloadSize) != Get32(&Bytes[20])) {
    *Reason = "checksum mismatch";
    return false;
  }
  std::vector<StoredVariable> Parsed;
  size_t Offset = 0;
  for (UINT32 Index = 0; Index < Count; Index++) {
    std::string Which = "variable " + std::to_string(Index) + ": ";
    if (PayloadSize - Offset < RECORD_HEADER_SIZE) {
      *Reason = Which + "record header past the end";
      return false;
    }
    const UINT8 *Record = Payload + Offset;
    StoredVariable Variable;
    Variable.Attributes = Get32(Record);
    UINT32 NameBytes = Get32(Record + 4);
    UINT32 DataBytes = Get32(Record + 8);
    Variable.Guid = GetGuid(Record + 12);
    Offset += RECORD_HEADER_SIZE;
    if (NameBytes < 4 || NameBytes % 2 != 0 || PayloadSize - Offset < NameBytes ||
        PayloadSize - Offset - NameBytes < DataBytes) {
      *Reason = Which + "sizes run past the end";
      return false;
    }
    for (UINT32 Unit = 0; Unit + 1 < NameBytes / 2; Unit++) {
      CHAR16 Char = Get16(Payload + Offset + Unit * 2);
      if (Char == 0) {
        *Reason = Which + "name has an embedded terminator";
        return false;
      }
      Variable.Name += Char;
    }
    if (Get16(Payload + Offset + NameBytes - 2) != 0) {
      *Reason = Which + "name is not terminated";
      return false;
    }
    Offset += NameBytes;
    Variable.Data.assign(Payload + Offset, Payload + Offset + DataBytes);
    Offset += DataBytes;
    Parsed.push_back(std::move(Variable));
  }
  if (Offset != PayloadSize) {
    *Reason = "bytes left after the last variable";
    return false;
  }
  *Variables = std::move(Parsed);
  return true;
}

bool ReadWholeFile(const std::string &Path, std::vector<UINT8> *Bytes, bool *Missing,
                   std::string *Reason) {
  *Missing = false;
  int File = open(Path.c_str(), O_RDONLY | O_CLOEXEC);
  if (File < 0) {
    *Missing = errno == ENOENT;
    *Reason = SystemError("cannot open");
    return false;
  }
  Bytes->clear();
  UINT8 Chunk[65536];
  for (;;) {
    ssize_t Read = read(File, Chunk, sizeof(Chunk));
    if (Read < 0 && errno == EINTR) {
      continue;
    }
    if (Read < 0) {
      *Reason = SystemError("cannot read");
      close(File);
      return false;
    }
    if (Read == 0) {
      break;
    }
    Bytes->insert(Bytes->end(), Chunk, Chunk + Read);
  }
  close(File);
  return true;
}

bool WriteFileAtomically(const std::string &Path, const std::vector<UINT8> &Bytes,
                         std::string *Reason) {
  std::string Temporary = Path + ".tmp." + std::to_string(getpid());
  int File = open(Temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (File < 0) {
    *Reason = SystemError("cannot create the temporary file");
    return false;
  }
  size_t Written = 0;
  while (Written < Bytes.size()) {
    ssize_t Step = write(File, Bytes.data() + Written, Bytes.size() - Written);
    if (Step < 0 && errno == EINTR) {
      continue;
    }
    if (Step <= 0) {
      *Reason = SystemError("cannot write the temporary file");
      close(File);
      unlink(Temporary.c_str());
      return false;
    }
    Written += static_cast<size_t>(Step);
  }
  if (fsync(File) != 0) {
    *Reason = SystemError("cannot flush the temporary file");
    close(File);
    unlink(Temporary.c_str());
    return false;
  }
  close(File);
  if (rename(Temporary.c_str(), Path.c_str()) != 0) {
    *Reason = SystemError("cannot replace the store");
    unlink(Temporary.c_str());
    return false;
  }
  // The rename itself reaches the disk with the directory.
  std::string Directory = Path.find('/') == std::string::npos
                              ? std::string(".")
                              : Path.substr(0, std::max<size_t>(Path.rfind('/'), 1));
  int DirectoryFile = open(Directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (DirectoryFile >= 0) {
    fsync(DirectoryFile);
    close(DirectoryFile);
  }
  return true;
}

} // namespace morvane::host
