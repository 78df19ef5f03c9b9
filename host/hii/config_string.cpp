#include "host/hii/config_string.h"

#include <algorithm>

namespace morvane::host {

namespace {

constexpr std::u16string_view GUID_FIELD = u"GUID=";
constexpr std::u16string_view NAME_FIELD = u"&NAME=";
constexpr std::u16string_view PATH_FIELD = u"&PATH=";
constexpr std::u16string_view NEXT_CONFIG = u"&GUID=";
constexpr std::u16string_view OFFSET_FIELD = u"&OFFSET=";
constexpr std::u16string_view WIDTH_FIELD = u"&WIDTH=";
constexpr std::u16string_view VALUE_FIELD = u"&VALUE=";
constexpr std::u16string_view ALTCFG_FIELD = u"&ALTCFG=";
constexpr size_t GUID_DIGITS = 32;
constexpr size_t NUMBER_DIGIT_LIMIT = 16;

int HexValue(char16_t Digit) {
  if (Digit >= u'0' && Digit <= u'9') {
    return Digit - u'0';
  }
  if (Digit >= u'a' && Digit <= u'f') {
    return Digit - u'a' + 10;
  }
  if (Digit >= u'A' && Digit <= u'F') {
    return Digit - u'A' + 10;
  }
  return -1;
}

char16_t HexDigit(unsigned Value) {
  return u"0123456789abcdef"[Value & 0xF];
}

// Reads a configuration string left to right.
class Cursor {
public:
  Cursor(std::u16string_view Text, size_t Position) : Text(Text), Position(Position) {}

  size_t At() const { return Position; }
  bool AtEnd() const { return Position >= Text.size(); }

  bool Expect(std::u16string_view Literal) {
    if (Text.substr(Position, Literal.size()) != Literal) {
      return false;
    }
    Position += Literal.size();
    return true;
  }

  // Hex digits up to the next '&' or the end: at least one, all hex.
  bool Digits(std::u16string_view *Out) {
    size_t End = Text.find(u'&', Position);
    if (End == std::u16string_view::npos) {
      End = Text.size();
    }
    if (End == Position) {
      return false;
    }
    for (size_t Index = Position; Index < End; Index++) {
      if (HexValue(Text[Index]) < 0) {
        return false;
      }
    }
    *Out = Text.substr(Position, End - Position);
    Position = End;
    return true;
  }

  // Any characters up to the next '&' or the end, none at all included.
  void Field(std::u16string_view *Out) {
    size_t End = Text.find(u'&', Position);
    if (End == std::u16string_view::npos) {
      End = Text.size();
    }
    *Out = Text.substr(Position, End - Position);
    Position = End;
  }

  // A hex number that fits 64 bits.
  bool Number(uint64_t *Value) {
    std::u16string_view Found;
    if (!Digits(&Found)) {
      return false;
    }
    size_t Leading = Found.find_first_not_of(u'0');
    if (Leading != std::u16string_view::npos && Found.size() - Leading > NUMBER_DIGIT_LIMIT) {
      return false;
    }
    uint64_t Result = 0;
    for (char16_t Digit : Found) {
      Result = (Result << 4) | static_cast<uint64_t>(HexValue(Digit));
    }
    *Value = Result;
    return true;
  }

private:
  std::u16string_view Text;
  size_t Position;
};

// "&OFFSET=o&WIDTH=w" with a width above zero and o + w inside 64 bits.
bool OffsetAndWidth(Cursor &Reader, uint64_t *Offset, uint64_t *Width) {
  return Reader.Expect(OFFSET_FIELD) && Reader.Number(Offset) && Reader.Expect(WIDTH_FIELD) &&
         Reader.Number(Width) && *Width > 0 && *Offset + *Width > *Offset;
}

} // namespace

bool ParseConfigHeader(std::u16string_view Text, size_t Start, ConfigHeader *Header) {
  Cursor Reader(Text, Start);
  ConfigHeader Result;
  Result.Start = Start;
  if (!Reader.Expect(GUID_FIELD) || !Reader.Digits(&Result.Guid) ||
      Result.Guid.size() != GUID_DIGITS || !Reader.Expect(NAME_FIELD)) {
    return false;
  }
  // The name is hexadecimal UCS-2 in the published form; browsers also send it as plain text,
  // and a name-value storage sends none. Either is taken as written.
  Reader.Field(&Result.Name);
  if (!Reader.Expect(PATH_FIELD) || !Reader.Digits(&Result.Path) || Result.Path.size() % 2 != 0) {
    return false;
  }
  Result.End = Reader.At();
  *Header = Result;
  return true;
}

std::vector<size_t> ConfigSections(std::u16string_view Text) {
  std::vector<size_t> Starts = {0};
  for (size_t Found = Text.find(NEXT_CONFIG); Found != std::u16string_view::npos;
       Found = Text.find(NEXT_CONFIG, Found + 1)) {
    Starts.push_back(Found + 1);
  }
  return Starts;
}

bool HexPairsToBytes(std::u16string_view Digits, std::vector<uint8_t> *Bytes) {
  if (Digits.size() % 2 != 0) {
    return false;
  }
  std::vector<uint8_t> Result;
  for (size_t Index = 0; Index < Digits.size(); Index += 2) {
    int High = HexValue(Digits[Index]);
    int Low = HexValue(Digits[Index + 1]);
    if (High < 0 || Low < 0) {
      return false;
    }
    Result.push_back(static_cast<uint8_t>(High << 4 | Low));
  }
  *Bytes = std::move(Result);
  return true;
}

std::u16string BytesToHexPairs(const uint8_t *Bytes, size_t Size) {
  std::u16string Out;
  for (size_t Index = 0; Index < Size; Index++) {
    Out += HexDigit(Bytes[Index] >> 4);
    Out += HexDigit(Bytes[Index]);
  }
  return Out;
}

std::u16string NameToHex(std::u16string_view Name) {
  std::u16string Out;
  for (char16_t Unit : Name) {
    for (int Shift = 12; Shift >= 0; Shift -= 4) {
      Out += HexDigit(Unit >> Shift);
    }
  }
  return Out;
}

bool SameHex(std::u16string_view Left, std::u16string_view Right) {
  if (Left.size() != Right.size()) {
    return false;
  }
  for (size_t Index = 0; Index < Left.size(); Index++) {
    if (HexValue(Left[Index]) != HexValue(Right[Index]) || HexValue(Left[Index]) < 0) {
      return false;
    }
  }
  return true;
}

EFI_STATUS BlockToConfigText(std::u16string_view Request, const uint8_t *Block, size_t BlockSize,
                             std::u16string *Config, size_t *Progress) {
  ConfigHeader Header;
  if (!ParseConfigHeader(Request, 0, &Header)) {
    *Progress = 0;
    return EFI_INVALID_PARAMETER;
  }
  std::u16string Result(Request.substr(0, Header.End));
  Cursor Reader(Request, Header.End);
  while (!Reader.AtEnd()) {
    size_t Element = Reader.At();
    uint64_t Offset;
    uint64_t Width;
    if (!OffsetAndWidth(Reader, &Offset, &Width) || Offset > BlockSize ||
        Width > BlockSize - Offset) {
      *Progress = Element;
      return EFI_INVALID_PARAMETER;
    }
    Result += Request.substr(Element, Reader.At() - Element);
    Result += VALUE_FIELD;
    for (uint64_t Index = Width; Index > 0; Index--) {
      uint8_t Byte = Block[Offset + Index - 1];
      Result += HexDigit(Byte >> 4);
      Result += HexDigit(Byte);
    }
  }
  *Config = std::move(Result);
  *Progress = Request.size();
  return EFI_SUCCESS;
}

EFI_STATUS ConfigToBlockBytes(std::u16string_view Response, uint8_t *Block, size_t *BlockSize,
                              size_t *Progress) {
  struct Element {
    size_t Start;
    uint64_t Offset;
    uint64_t Width;
    std::u16string_view Value;
  };
  ConfigHeader Header;
  if (!ParseConfigHeader(Response, 0, &Header)) {
    *Progress = 0;
    return EFI_INVALID_PARAMETER;
  }
  // The block ends where the next configuration begins (a driver's alternative configurations
  // follow its current one), and a trailing "&", which a browser leaves when it cuts those off,
  // ends it too.
  Response = Response.substr(0, Response.find(NEXT_CONFIG, Header.End));
  if (Response.size() > Header.End && Response.back() == u'&') {
    Response.remove_suffix(1);
  }
  std::vector<Element> Elements;
  Cursor Reader(Response, Header.End);
  uint64_t Needed = 0;
  while (!Reader.AtEnd()) {
    Element Next{Reader.At(), 0, 0, {}};
    if (!OffsetAndWidth(Reader, &Next.Offset, &Next.Width) || !Reader.Expect(VALUE_FIELD) ||
        !Reader.Digits(&Next.Value) || Next.Value.size() > 2 * Next.Width) {
      *Progress = Next.Start;
      return EFI_INVALID_PARAMETER;
    }
    Needed = std::max(Needed, Next.Offset + Next.Width);
    Elements.push_back(Next);
  }
  for (const Element &Each : Elements) {
    if (Each.Offset + Each.Width > *BlockSize) {
      *Progress = Each.Start;
      *BlockSize = static_cast<size_t>(Needed);
      return EFI_BUFFER_TOO_SMALL;
    }
  }
  for (const Element &Each : Elements) {
    for (uint64_t Index = 0; Index < Each.Width; Index++) {
      Block[Each.Offset + Index] = 0;
    }
    // The last digit is the low nibble of the first byte.
    for (size_t Nibble = 0; Nibble < Each.Value.size(); Nibble++) {
      int Digit = HexValue(Each.Value[Each.Value.size() - 1 - Nibble]);
      Block[Each.Offset + Nibble / 2] |= static_cast<uint8_t>(Digit << (4 * (Nibble % 2)));
    }
  }
  *BlockSize = Needed == 0 ? 0 : static_cast<size_t>(Needed - 1);
  *Progress = Response.size();
  return EFI_SUCCESS;
}

EFI_STATUS AltConfigText(std::u16string_view Response, const std::u16string *Guid,
                         const std::u16string *Name, const std::u16string *Path,
                         std::optional<UINT16> AltCfgId, std::u16string *Result) {
  std::vector<size_t> Starts = ConfigSections(Response);
  for (size_t Index = 0; Index < Starts.size(); Index++) {
    size_t End = Index + 1 < Starts.size() ? Starts[Index + 1] - 1 : Response.size();
    std::u16string_view Section = Response.substr(Starts[Index], End - Starts[Index]);
    ConfigHeader Header;
    if (!ParseConfigHeader(Section, 0, &Header)) {
      return EFI_INVALID_PARAMETER;
    }
    if ((Guid != nullptr && !SameHex(Header.Guid, *Guid)) ||
        (Name != nullptr && !SameHex(Header.Name, *Name)) ||
        (Path != nullptr && !SameHex(Header.Path, *Path))) {
      continue;
    }
    Cursor Reader(Section, Header.End);
    std::optional<UINT16> SectionId;
    if (Reader.Expect(ALTCFG_FIELD)) {
      uint64_t Id;
      if (!Reader.Number(&Id) || Id > 0xFFFF) {
        return EFI_INVALID_PARAMETER;
      }
      SectionId = static_cast<UINT16>(Id);
    }
    if (SectionId != AltCfgId) {
      continue;
    }
    *Result =
        std::u16string(Section.substr(0, Header.End)) + std::u16string(Section.substr(Reader.At()));
    return EFI_SUCCESS;
  }
  return EFI_NOT_FOUND;
}

} // namespace morvane::host
