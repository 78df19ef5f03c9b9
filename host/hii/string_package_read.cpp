#include "host/hii/byte_reader.h"
#include "host/hii/scsu_decode.h"
#include "host/hii/string_package.h"

namespace morvane::host {

namespace {

constexpr uint32_t LAST_STRING_ID = 0xFFFF;

class BlockReader {
public:
  BlockReader(const uint8_t *Bytes, size_t Size, StringPackage *Out)
      : Bytes(Bytes), Size(Size), Out(Out) {}

  EFI_STATUS Run(size_t Offset) {
    this->Offset = Offset;
    for (;;) {
      uint8_t Type;
      if (!ReadField(Bytes, Size, this->Offset, &Type)) {
        return EFI_INVALID_PARAMETER; // no END block
      }
      if (Type == EFI_HII_SIBT_END) {
        return EFI_SUCCESS;
      }
      EFI_STATUS Status = Block(Type);
      if (EFI_ERROR(Status)) {
        return Status;
      }
    }
  }

private:
  EFI_STATUS Block(uint8_t Type) {
    size_t At = Offset;
    switch (Type) {
    case EFI_HII_SIBT_STRING_SCSU:
    case EFI_HII_SIBT_STRING_SCSU_FONT:
    case EFI_HII_SIBT_STRINGS_SCSU:
    case EFI_HII_SIBT_STRINGS_SCSU_FONT:
    case EFI_HII_SIBT_STRING_UCS2:
    case EFI_HII_SIBT_STRING_UCS2_FONT:
    case EFI_HII_SIBT_STRINGS_UCS2:
    case EFI_HII_SIBT_STRINGS_UCS2_FONT:
      return Texts(Type);
    case EFI_HII_SIBT_DUPLICATE: {
      uint16_t Original;
      if (!ReadField(Bytes, Size, At + 1, &Original)) {
        return EFI_INVALID_PARAMETER;
      }
      Offset = At + 3;
      // A duplicate of an id without text gives no text either.
      auto Found = Out->Entries.find(Original);
      if (Found != Out->Entries.end()) {
        StringEntry Copy = Found->second;
        return Assign(std::move(Copy));
      }
      return Skip(1);
    }
    case EFI_HII_SIBT_SKIP1: {
      uint8_t Count;
      if (!ReadField(Bytes, Size, At + 1, &Count)) {
        return EFI_INVALID_PARAMETER;
      }
      Offset = At + 2;
      return Skip(Count);
    }
    case EFI_HII_SIBT_SKIP2: {
      uint16_t Count;
      if (!ReadField(Bytes, Size, At + 1, &Count)) {
        return EFI_INVALID_PARAMETER;
      }
      Offset = At + 3;
      return Skip(Count);
    }
    case EFI_HII_SIBT_EXT1:
      return Extended(1, EFI_HII_SIBT_EXT1_HEADER_SIZE);
    case EFI_HII_SIBT_EXT2:
      return Extended(2, EFI_HII_SIBT_EXT2_HEADER_SIZE);
    case EFI_HII_SIBT_EXT4:
      return Extended(4, EFI_HII_SIBT_EXT4_HEADER_SIZE);
    default:
      return EFI_INVALID_PARAMETER; // a block of unknown type has no length to step over
    }
  }

  // Every text block: an optional font id, an optional u16 count, then the texts.
  EFI_STATUS Texts(uint8_t Type) {
    bool Scsu = Type <= EFI_HII_SIBT_STRINGS_SCSU_FONT;
    uint8_t Variant = Type - (Scsu ? EFI_HII_SIBT_STRING_SCSU : EFI_HII_SIBT_STRING_UCS2);
    bool HasFont = (Variant & 1) != 0;
    bool Several = (Variant & 2) != 0;
    size_t At = Offset + 1;
    std::optional<UINT8> FontId;
    if (HasFont) {
      uint8_t Font;
      if (!ReadField(Bytes, Size, At, &Font)) {
        return EFI_INVALID_PARAMETER;
      }
      FontId = Font;
      At++;
    }
    uint16_t Count = 1;
    if (Several) {
      if (!ReadField(Bytes, Size, At, &Count)) {
        return EFI_INVALID_PARAMETER;
      }
      At += 2;
    }
    for (uint32_t Index = 0; Index < Count; Index++) {
      StringEntry Entry{{}, FontId};
      size_t Used = 0;
      EFI_STATUS Status = Scsu ? ScsuDecode(Bytes + At, Size - At, &Used, &Entry.Text)
                               : Ucs2(At, &Used, &Entry.Text);
      if (EFI_ERROR(Status)) {
        return Status;
      }
      At += Used;
      Status = Assign(std::move(Entry));
      if (EFI_ERROR(Status)) {
        return Status;
      }
    }
    Offset = At;
    return EFI_SUCCESS;
  }

  EFI_STATUS Ucs2(size_t At, size_t *Used, std::u16string *Text) {
    for (size_t Cursor = At;; Cursor += 2) {
      uint16_t Unit;
      if (!ReadField(Bytes, Size, Cursor, &Unit)) {
        return EFI_INVALID_PARAMETER;
      }
      if (Unit == 0) {
        *Used = Cursor + 2 - At;
        return EFI_SUCCESS;
      }
      *Text += static_cast<char16_t>(Unit);
    }
  }

  EFI_STATUS Extended(size_t LengthWidth, size_t HeaderSize) {
    uint8_t Kind;
    uint64_t Length;
    if (!ReadField(Bytes, Size, Offset + 1, &Kind) ||
        !ReadLittleEndian(Bytes, Size, Offset + 2, LengthWidth, &Length) || Length < HeaderSize ||
        Length > Size - Offset) {
      return EFI_INVALID_PARAMETER;
    }
    if (Kind == EFI_HII_SIBT_FONT && LengthWidth == 2) {
      Out->FontBlocks.emplace_back(Bytes + Offset, Bytes + Offset + Length);
    }
    Offset += Length;
    return EFI_SUCCESS;
  }

  EFI_STATUS Assign(StringEntry Entry) {
    if (Out->NextId > LAST_STRING_ID) {
      return EFI_INVALID_PARAMETER;
    }
    Out->Entries[static_cast<EFI_STRING_ID>(Out->NextId)] = std::move(Entry);
    Out->NextId++;
    return EFI_SUCCESS;
  }

  EFI_STATUS Skip(uint32_t Count) {
    if (Count > LAST_STRING_ID + 1 - Out->NextId) {
      return EFI_INVALID_PARAMETER;
    }
    Out->NextId += Count;
    return EFI_SUCCESS;
  }

  const uint8_t *Bytes;
  size_t Size;
  StringPackage *Out;
  size_t Offset = 0;
};

} // namespace

EFI_STATUS ReadStringPackage(const uint8_t *Package, size_t Size, StringPackage *Out) {
  uint32_t LengthAndType;
  uint32_t HeaderSize;
  uint32_t StringInfoOffset;
  if (Package == nullptr || Out == nullptr || !ReadField(Package, Size, 0, &LengthAndType)) {
    return EFI_INVALID_PARAMETER;
  }
  size_t Length = LengthAndType & 0xFFFFFF;
  if ((LengthAndType >> 24) != EFI_HII_PACKAGE_STRINGS || Length > Size ||
      Length < STRING_PACKAGE_FIXED_HEADER || !ReadField(Package, Length, 4, &HeaderSize) ||
      !ReadField(Package, Length, 8, &StringInfoOffset) || HeaderSize > Length ||
      StringInfoOffset < HeaderSize || StringInfoOffset > Length) {
    return EFI_INVALID_PARAMETER;
  }

  StringPackage Result;
  for (size_t Index = 0; Index < Result.LanguageWindow.size(); Index++) {
    ReadField(Package, Length, 12 + 2 * Index, &Result.LanguageWindow[Index]);
  }
  ReadField(Package, Length, 44, &Result.LanguageName);
  // The language and its NUL lie inside the header.
  size_t Cursor = STRING_PACKAGE_FIXED_HEADER;
  while (Cursor < HeaderSize && Package[Cursor] != 0) {
    Result.Language += static_cast<char>(Package[Cursor++]);
  }
  if (Cursor >= HeaderSize || Result.Language.empty()) {
    return EFI_INVALID_PARAMETER;
  }

  EFI_STATUS Status = BlockReader(Package, Length, &Result).Run(StringInfoOffset);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  *Out = std::move(Result);
  return EFI_SUCCESS;
}

} // namespace morvane::host
