#include "host/hii/scsu_decode.h"

namespace morvane::host {

namespace {

// Single-byte mode tags.
constexpr uint8_t SQ0 = 0x01;
constexpr uint8_t SQ7 = 0x08;
constexpr uint8_t SDX = 0x0B;
constexpr uint8_t SQU = 0x0E;
constexpr uint8_t SCU = 0x0F;
constexpr uint8_t SC0 = 0x10;
constexpr uint8_t SC7 = 0x17;
constexpr uint8_t SD0 = 0x18;
constexpr uint8_t SD7 = 0x1F;
// Unicode mode tags.
constexpr uint8_t UC0 = 0xE0;
constexpr uint8_t UC7 = 0xE7;
constexpr uint8_t UD0 = 0xE8;
constexpr uint8_t UD7 = 0xEF;
constexpr uint8_t UQU = 0xF0;
constexpr uint8_t UDX = 0xF1;
constexpr uint8_t URS = 0xF2;

constexpr uint32_t STATIC_WINDOWS[8] = {0x0000, 0x0080, 0x0100, 0x0300,
                                        0x2000, 0x2080, 0x2100, 0x3000};
constexpr uint32_t INITIAL_DYNAMIC_WINDOWS[8] = {0x0080, 0x00C0, 0x0400, 0x0600,
                                                 0x0900, 0x3040, 0x30A0, 0xFF00};

// The window offset a define tag's byte selects; false for the reserved values.
bool WindowOffset(uint8_t Selector, uint32_t *Offset) {
  static constexpr uint32_t SPECIAL[] = {0x00C0, 0x0250, 0x0370, 0x0530, 0x3040, 0x30A0, 0xFF60};
  if (Selector >= 0x01 && Selector <= 0x67) {
    *Offset = Selector * 0x80u;
    return true;
  }
  if (Selector >= 0x68 && Selector <= 0xA7) {
    *Offset = Selector * 0x80u + 0xAC00u;
    return true;
  }
  if (Selector >= 0xF9) {
    *Offset = SPECIAL[Selector - 0xF9];
    return true;
  }
  return false;
}

class Decoder {
public:
  Decoder(const uint8_t *Bytes, size_t Size) : Bytes(Bytes), Size(Size) {
    for (int Index = 0; Index < 8; Index++) {
      Dynamic[Index] = INITIAL_DYNAMIC_WINDOWS[Index];
    }
  }

  EFI_STATUS Run(size_t *Consumed, std::u16string *Text) {
    while (!Ended) {
      EFI_STATUS Status = Unicode ? StepUnicode() : StepSingleByte();
      if (EFI_ERROR(Status)) {
        return Status;
      }
    }
    *Consumed = Offset;
    *Text = std::move(Output);
    return EFI_SUCCESS;
  }

private:
  bool Next(uint8_t *Byte) {
    if (Offset >= Size) {
      return false;
    }
    *Byte = Bytes[Offset++];
    return true;
  }

  void Emit(uint32_t CodePoint) {
    if (CodePoint == 0) {
      Ended = true;
    } else if (CodePoint >= 0x10000) {
      CodePoint -= 0x10000;
      Output += static_cast<char16_t>(0xD800 + (CodePoint >> 10));
      Output += static_cast<char16_t>(0xDC00 + (CodePoint & 0x3FF));
    } else {
      Output += static_cast<char16_t>(CodePoint);
    }
  }

  EFI_STATUS QuoteUnit() {
    uint8_t High;
    uint8_t Low;
    if (!Next(&High) || !Next(&Low)) {
      return EFI_INVALID_PARAMETER;
    }
    Emit(static_cast<uint32_t>(High << 8 | Low));
    return EFI_SUCCESS;
  }

  EFI_STATUS Define(int Window) {
    uint8_t Selector;
    uint32_t WindowStart;
    if (!Next(&Selector) || !WindowOffset(Selector, &WindowStart)) {
      return EFI_INVALID_PARAMETER;
    }
    Dynamic[Window] = WindowStart;
    Active = Window;
    return EFI_SUCCESS;
  }

  EFI_STATUS DefineExtended() {
    uint8_t High;
    uint8_t Low;
    if (!Next(&High) || !Next(&Low)) {
      return EFI_INVALID_PARAMETER;
    }
    Active = High >> 5;
    Dynamic[Active] = 0x10000 + ((static_cast<uint32_t>(High & 0x1F) << 8) | Low) * 0x80;
    return EFI_SUCCESS;
  }

  EFI_STATUS StepSingleByte() {
    uint8_t Byte;
    if (!Next(&Byte)) {
      return EFI_INVALID_PARAMETER;
    }
    if (Byte >= 0x80) {
      Emit(Dynamic[Active] + (Byte - 0x80));
    } else if (Byte == 0x00 || Byte == 0x09 || Byte == 0x0A || Byte == 0x0D || Byte >= 0x20) {
      Emit(Byte);
    } else if (Byte >= SQ0 && Byte <= SQ7) {
      uint8_t Quoted;
      if (!Next(&Quoted)) {
        return EFI_INVALID_PARAMETER;
      }
      int Window = Byte - SQ0;
      Emit(Quoted < 0x80 ? STATIC_WINDOWS[Window] + Quoted : Dynamic[Window] + (Quoted - 0x80));
    } else if (Byte == SDX) {
      return DefineExtended();
    } else if (Byte == SQU) {
      return QuoteUnit();
    } else if (Byte == SCU) {
      Unicode = true;
    } else if (Byte >= SC0 && Byte <= SC7) {
      Active = Byte - SC0;
    } else if (Byte >= SD0 && Byte <= SD7) {
      return Define(Byte - SD0);
    } else {
      return EFI_INVALID_PARAMETER; // 0x0C is reserved
    }
    return EFI_SUCCESS;
  }

  EFI_STATUS StepUnicode() {
    uint8_t Byte;
    if (!Next(&Byte)) {
      return EFI_INVALID_PARAMETER;
    }
    if (Byte >= UC0 && Byte <= UC7) {
      Active = Byte - UC0;
      Unicode = false;
      return EFI_SUCCESS;
    }
    if (Byte >= UD0 && Byte <= UD7) {
      Unicode = false;
      return Define(Byte - UD0);
    }
    if (Byte == UQU) {
      return QuoteUnit();
    }
    if (Byte == UDX) {
      Unicode = false;
      return DefineExtended();
    }
    if (Byte == URS) {
      return EFI_INVALID_PARAMETER;
    }
    uint8_t Low;
    if (!Next(&Low)) {
      return EFI_INVALID_PARAMETER;
    }
    Emit(static_cast<uint32_t>(Byte << 8 | Low));
    return EFI_SUCCESS;
  }

  const uint8_t *Bytes;
  size_t Size;
  size_t Offset = 0;
  bool Unicode = false;
  bool Ended = false;
  int Active = 0;
  uint32_t Dynamic[8];
  std::u16string Output;
};

} // namespace

EFI_STATUS ScsuDecode(const uint8_t *Bytes, size_t Size, size_t *Consumed, std::u16string *Text) {
  return Decoder(Bytes, Size).Run(Consumed, Text);
}

} // namespace morvane::host
