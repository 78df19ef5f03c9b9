#include "tools/terminal/key_decoder.h"

namespace morvane::tools {

namespace {

constexpr char Escape = 0x1B;
// A control sequence longer than this is garbage, not a key; its rest is skipped.
constexpr size_t MaximumSequence = 16;
// Modifier and key numbers of real sequences have a few digits.
constexpr unsigned MaximumParameter = 1000;

TerminalInput KeyInput(UINT16 Scan, CHAR16 Character, UINT32 Shift = 0) {
  TerminalInput Input;
  Input.Key.Key.ScanCode = Scan;
  Input.Key.Key.UnicodeChar = Character;
  Input.Key.KeyState.KeyShiftState = Shift;
  return Input;
}

constexpr UINT32 AltState = EFI_SHIFT_STATE_VALID | EFI_LEFT_ALT_PRESSED;
constexpr UINT32 ShiftState = EFI_SHIFT_STATE_VALID | EFI_LEFT_SHIFT_PRESSED;

// Two-byte escape forms: the VT100+ function and editing keys of firmware consoles.
struct ShortForm {
  char Second;
  UINT16 Scan;
};
constexpr ShortForm Vt100PlusForms[] = {
    {'1', SCAN_F1},      {'2', SCAN_F2},        {'3', SCAN_F3},     {'4', SCAN_F4},
    {'5', SCAN_F5},      {'6', SCAN_F6},        {'7', SCAN_F7},     {'8', SCAN_F8},
    {'9', SCAN_F9},      {'0', SCAN_F10},       {'!', SCAN_F11},    {'@', SCAN_F12},
    {'h', SCAN_HOME},    {'k', SCAN_END},       {'+', SCAN_INSERT}, {'-', SCAN_DELETE},
    {'?', SCAN_PAGE_UP}, {'/', SCAN_PAGE_DOWN},
};

// Final bytes shared by SS3 and CSI forms.
struct FinalForm {
  char Final;
  UINT16 Scan;
};
constexpr FinalForm FinalForms[] = {
    {'A', SCAN_UP},  {'B', SCAN_DOWN}, {'C', SCAN_RIGHT}, {'D', SCAN_LEFT}, {'H', SCAN_HOME},
    {'F', SCAN_END}, {'P', SCAN_F1},   {'Q', SCAN_F2},    {'R', SCAN_F3},   {'S', SCAN_F4},
};

// The numbers of "CSI n ~" forms (VT220 and xterm editing and function keys).
struct TildeForm {
  unsigned Number;
  UINT16 Scan;
};
constexpr TildeForm TildeForms[] = {
    {1, SCAN_HOME},      {2, SCAN_INSERT}, {3, SCAN_DELETE}, {4, SCAN_END},  {5, SCAN_PAGE_UP},
    {6, SCAN_PAGE_DOWN}, {7, SCAN_HOME},   {8, SCAN_END},    {11, SCAN_F1},  {12, SCAN_F2},
    {13, SCAN_F3},       {14, SCAN_F4},    {15, SCAN_F5},    {17, SCAN_F6},  {18, SCAN_F7},
    {19, SCAN_F8},       {20, SCAN_F9},    {21, SCAN_F10},   {23, SCAN_F11}, {24, SCAN_F12},
};

// The Linux console's "CSI [ A" to "CSI [ E" for F1 to F5.
constexpr UINT16 LinuxFunctionKeys[] = {SCAN_F1, SCAN_F2, SCAN_F3, SCAN_F4, SCAN_F5};

// The keypad in application mode: "SS3 j" to "SS3 y" stand for these characters.
constexpr char KeypadCharacters[] = "*+,-./0123456789";

bool IsParameterByte(unsigned char Byte) {
  return Byte >= 0x30 && Byte <= 0x3F;
}
bool IsIntermediateByte(unsigned char Byte) {
  return Byte >= 0x20 && Byte <= 0x2F;
}
bool IsFinalByte(unsigned char Byte) {
  return Byte >= 0x40 && Byte <= 0x7E;
}

UINT16 ScanOfFinal(char Final) {
  for (const FinalForm &Form : FinalForms) {
    if (Form.Final == Final) {
      return Form.Scan;
    }
  }
  return SCAN_NULL;
}

// False for a byte that is no key: the C0 controls but those a keyboard sends for its keys.
bool SingleByteInput(unsigned char Byte, TerminalInput *Input) {
  switch (Byte) {
  case 0x0D:
  case 0x0A:
    *Input = KeyInput(SCAN_NULL, CHAR_CARRIAGE_RETURN);
    return true;
  case 0x09:
    *Input = KeyInput(SCAN_NULL, CHAR_TAB);
    return true;
  case 0x7F:
  case 0x08:
    *Input = KeyInput(SCAN_NULL, CHAR_BACKSPACE);
    return true;
  case 0x0C:
    *Input = TerminalInput();
    Input->What = TerminalInput::Kind::Redraw;
    return true;
  default:
    if (Byte < 0x20) {
      return false;
    }
    *Input = KeyInput(SCAN_NULL, Byte);
    return true;
  }
}

} // namespace

uint32_t ShiftStateOfModifier(unsigned Modifier) {
  if (Modifier <= 1) {
    return 0;
  }
  unsigned Bits = Modifier - 1;
  uint32_t State = EFI_SHIFT_STATE_VALID;
  if (Bits & 1) {
    State |= EFI_LEFT_SHIFT_PRESSED;
  }
  if (Bits & 2) {
    State |= EFI_LEFT_ALT_PRESSED;
  }
  if (Bits & 4) {
    State |= EFI_LEFT_CONTROL_PRESSED;
  }
  if (Bits & 8) {
    State |= EFI_LEFT_LOGO_PRESSED;
  }
  return State;
}

KeyDecoder::Match KeyDecoder::DecodeUtf8(size_t *Used, TerminalInput *Input) const {
  unsigned char Lead = static_cast<unsigned char>(Buffer[0]);
  size_t Length = 0;
  uint32_t Smallest = 0;
  if (Lead >= 0xC2 && Lead <= 0xDF) {
    Length = 2;
    Smallest = 0x80;
  } else if (Lead >= 0xE0 && Lead <= 0xEF) {
    Length = 3;
    Smallest = 0x800;
  } else if (Lead >= 0xF0 && Lead <= 0xF4) {
    Length = 4;
    Smallest = 0x10000;
  } else {
    // A stray continuation byte, or a lead byte no valid character starts with.
    *Used = 1;
    return Match::None;
  }
  uint32_t Code = Lead & (0x7F >> Length);
  for (size_t Index = 1; Index < Length; Index++) {
    if (Index >= Buffer.size()) {
      return Match::Partial;
    }
    unsigned char Byte = static_cast<unsigned char>(Buffer[Index]);
    if ((Byte & 0xC0) != 0x80) {
      *Used = Index;
      return Match::None;
    }
    Code = (Code << 6) | (Byte & 0x3F);
  }
  *Used = Length;
  // Overlong forms, surrogates and the C1 controls are no characters a keyboard types.
  if (Code < Smallest || Code > 0x10FFFF || (Code >= 0xD800 && Code <= 0xDFFF) ||
      (Code >= 0x80 && Code <= 0x9F)) {
    return Match::None;
  }
  // The console has no characters beyond the basic plane.
  *Input = KeyInput(SCAN_NULL, static_cast<CHAR16>(Code > 0xFFFF ? 0xFFFD : Code));
  return Match::Complete;
}

KeyDecoder::Match KeyDecoder::DecodeCsi(size_t *Used, TerminalInput *Input) const {
  // Buffer holds ESC [ ...
  if (Buffer.size() < 3) {
    return Match::Partial;
  }
  if (Buffer[2] == '[') {
    if (Buffer.size() < 4) {
      return Match::Partial;
    }
    char Final = Buffer[3];
    *Used = 4;
    if (Final >= 'A' && Final <= 'E') {
      *Input = KeyInput(LinuxFunctionKeys[Final - 'A'], 0);
      return Match::Complete;
    }
    return Match::None;
  }
  unsigned Parameters[2] = {0, 0};
  // The parameter the digits go to: the number of ';' so far.
  size_t Current = 0;
  // Private markers and intermediate bytes belong to replies and modes, not to keys.
  bool Foreign = false;
  for (size_t Index = 2; Index < Buffer.size(); Index++) {
    if (Index >= MaximumSequence) {
      *Used = Index;
      return Match::TooLong;
    }
    unsigned char Byte = static_cast<unsigned char>(Buffer[Index]);
    if (Byte >= '0' && Byte <= '9') {
      if (Current < 2 && Parameters[Current] < MaximumParameter) {
        Parameters[Current] = Parameters[Current] * 10 + (Byte - '0');
      }
      continue;
    }
    if (Byte == ';') {
      Current++;
      continue;
    }
    if (IsParameterByte(Byte) || IsIntermediateByte(Byte)) {
      Foreign = true;
      continue;
    }
    if (!IsFinalByte(Byte)) {
      // A control character cuts the sequence short; it is read on its own.
      *Used = Index;
      return Match::None;
    }
    *Used = Index + 1;
    if (Foreign) {
      return Match::None;
    }
    UINT32 Shift = Current >= 1 ? ShiftStateOfModifier(Parameters[1]) : 0;
    if (Byte == '~') {
      for (const TildeForm &Form : TildeForms) {
        if (Form.Number == Parameters[0]) {
          *Input = KeyInput(Form.Scan, 0, Shift);
          return Match::Complete;
        }
      }
      return Match::None;
    }
    if (Byte == 'Z') {
      *Input = KeyInput(SCAN_NULL, CHAR_TAB, ShiftState);
      return Match::Complete;
    }
    UINT16 Scan = ScanOfFinal(static_cast<char>(Byte));
    if (Scan == SCAN_NULL) {
      return Match::None;
    }
    *Input = KeyInput(Scan, 0, Shift);
    return Match::Complete;
  }
  return Match::Partial;
}

KeyDecoder::Match KeyDecoder::DecodeSs3(size_t *Used, TerminalInput *Input) const {
  // Buffer holds ESC O ...; xterm may put a modifier between "O" and the final byte.
  size_t At = 2;
  unsigned Modifier = 0;
  while (At < Buffer.size() && Buffer[At] >= '0' && Buffer[At] <= '9' && At < 4) {
    Modifier = Modifier * 10 + (Buffer[At] - '0');
    At++;
  }
  if (At >= Buffer.size()) {
    return Match::Partial;
  }
  unsigned char Final = static_cast<unsigned char>(Buffer[At]);
  if (!IsFinalByte(Final)) {
    *Used = At;
    return Match::None;
  }
  *Used = At + 1;
  if (UINT16 Scan = ScanOfFinal(static_cast<char>(Final)); Scan != SCAN_NULL) {
    *Input = KeyInput(Scan, 0, ShiftStateOfModifier(Modifier));
    return Match::Complete;
  }
  if (Final == 'M') {
    *Input = KeyInput(SCAN_NULL, CHAR_CARRIAGE_RETURN);
    return Match::Complete;
  }
  if (Final >= 'j' && Final <= 'y') {
    *Input = KeyInput(SCAN_NULL, static_cast<CHAR16>(KeypadCharacters[Final - 'j']));
    return Match::Complete;
  }
  return Match::None;
}

KeyDecoder::Match KeyDecoder::DecodeEscape(size_t *Used, TerminalInput *Input) const {
  if (Buffer.size() < 2) {
    return Match::Partial;
  }
  char Second = Buffer[1];
  if (Second == '[') {
    return DecodeCsi(Used, Input);
  }
  if (Second == 'O') {
    return DecodeSs3(Used, Input);
  }
  for (const ShortForm &Form : Vt100PlusForms) {
    if (Form.Second == Second) {
      *Used = 2;
      *Input = KeyInput(Form.Scan, 0);
      return Match::Complete;
    }
  }
  unsigned char Byte = static_cast<unsigned char>(Second);
  if (Byte >= 0x20 && Byte < 0x7F) {
    *Used = 2;
    *Input = KeyInput(SCAN_NULL, Byte, AltState);
    return Match::Complete;
  }
  // Esc followed by anything else is the Esc key; the rest is read on its own.
  *Used = 1;
  *Input = KeyInput(SCAN_ESC, 0);
  return Match::Complete;
}

KeyDecoder::Match KeyDecoder::TryDecode(size_t *Used, TerminalInput *Input) const {
  if (Buffer.empty()) {
    return Match::Partial;
  }
  unsigned char Byte = static_cast<unsigned char>(Buffer[0]);
  if (Byte == Escape) {
    return DecodeEscape(Used, Input);
  }
  if (Byte >= 0x80) {
    return DecodeUtf8(Used, Input);
  }
  *Used = 1;
  return SingleByteInput(Byte, Input) ? Match::Complete : Match::None;
}

void KeyDecoder::Decode() {
  while (!Buffer.empty()) {
    if (Skipping) {
      unsigned char Byte = static_cast<unsigned char>(Buffer[0]);
      if (IsParameterByte(Byte) || IsIntermediateByte(Byte)) {
        Buffer.erase(0, 1);
        continue;
      }
      Skipping = false;
      if (IsFinalByte(Byte)) {
        Buffer.erase(0, 1);
        continue;
      }
    }
    size_t Used = 0;
    TerminalInput Input;
    Match Result = TryDecode(&Used, &Input);
    if (Result == Match::Partial) {
      return;
    }
    if (Result == Match::Complete) {
      Ready.push_back(Input);
    } else if (Result == Match::TooLong) {
      Skipping = true;
    }
    Buffer.erase(0, Used > 0 ? Used : 1);
  }
}

void KeyDecoder::Feed(const std::string &Bytes) {
  Buffer += Bytes;
  Decode();
}

void KeyDecoder::Flush() {
  // Decode() leaves only an unfinished sequence or character behind.
  if (Buffer.size() == 1 && Buffer[0] == Escape) {
    Ready.push_back(KeyInput(SCAN_ESC, 0));
  } else if (Buffer.size() == 2 && Buffer[0] == Escape) {
    Ready.push_back(KeyInput(SCAN_NULL, static_cast<unsigned char>(Buffer[1]), AltState));
  }
  Buffer.clear();
  Skipping = false;
}

bool KeyDecoder::Next(TerminalInput *Input) {
  if (Ready.empty()) {
    return false;
  }
  *Input = Ready.front();
  Ready.pop_front();
  return true;
}

} // namespace morvane::tools
