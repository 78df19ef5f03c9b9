#include "host/key_script.h"

#include <cctype>
#include <cstring>

#include "host/utf8.h"

namespace morvane::host {

namespace {
struct NamedKey {
  const char *Name;
  UINT16 ScanCode;
  CHAR16 Char;
  UINT32 Shift;
};

constexpr UINT32 SHIFTED = EFI_SHIFT_STATE_VALID | EFI_LEFT_SHIFT_PRESSED;

constexpr NamedKey NAMED_KEYS[] = {
    {"up", SCAN_UP, 0, 0},           {"down", SCAN_DOWN, 0, 0},
    {"left", SCAN_LEFT, 0, 0},       {"right", SCAN_RIGHT, 0, 0},
    {"home", SCAN_HOME, 0, 0},       {"end", SCAN_END, 0, 0},
    {"pgup", SCAN_PAGE_UP, 0, 0},    {"pgdn", SCAN_PAGE_DOWN, 0, 0},
    {"ins", SCAN_INSERT, 0, 0},      {"del", SCAN_DELETE, 0, 0},
    {"esc", SCAN_ESC, 0, 0},         {"enter", SCAN_NULL, CHAR_CARRIAGE_RETURN, 0},
    {"tab", SCAN_NULL, CHAR_TAB, 0}, {"backtab", SCAN_NULL, CHAR_TAB, SHIFTED},
    {"space", SCAN_NULL, u' ', 0},   {"backspace", SCAN_NULL, CHAR_BACKSPACE, 0},
    {"f1", SCAN_F1, 0, 0},           {"f2", SCAN_F2, 0, 0},
    {"f3", SCAN_F3, 0, 0},           {"f4", SCAN_F4, 0, 0},
    {"f5", SCAN_F5, 0, 0},           {"f6", SCAN_F6, 0, 0},
    {"f7", SCAN_F7, 0, 0},           {"f8", SCAN_F8, 0, 0},
    {"f9", SCAN_F9, 0, 0},           {"f10", SCAN_F10, 0, 0},
    {"f11", SCAN_F11, 0, 0},         {"f12", SCAN_F12, 0, 0},
};

bool IsSpace(char Char) {
  return Char == ' ' || Char == '\t' || Char == '\r' || Char == '\n';
}

std::string Lower(const std::string &Text) {
  std::string Out = Text;
  for (char &Char : Out) {
    Char = static_cast<char>(std::tolower(static_cast<unsigned char>(Char)));
  }
  return Out;
}

// Walks the text keeping the line and column of the next character.
class Cursor {
public:
  explicit Cursor(const std::string &Text) : Text(Text) {}

  bool AtEnd() const { return Offset >= Text.size(); }
  char Peek() const { return Text[Offset]; }
  UINT32 Line() const { return LineNumber; }
  UINT32 Column() const { return ColumnNumber; }
  size_t Position() const { return Offset; }

  void Advance() {
    char Char = Text[Offset++];
    if (Char == '\n') {
      LineNumber++;
      ColumnNumber = 1;
    } else if ((static_cast<unsigned char>(Char) & 0xC0) != 0x80) {
      ColumnNumber++;
    }
  }

  void SkipSpaceAndComments() {
    while (!AtEnd()) {
      if (IsSpace(Peek())) {
        Advance();
      } else if (Peek() == '#') {
        while (!AtEnd() && Peek() != '\n') {
          Advance();
        }
      } else {
        return;
      }
    }
  }

  std::string Word() {
    size_t Start = Offset;
    while (!AtEnd() && !IsSpace(Peek())) {
      Advance();
    }
    return Text.substr(Start, Offset - Start);
  }

private:
  const std::string &Text;
  size_t Offset = 0;
  UINT32 LineNumber = 1;
  UINT32 ColumnNumber = 1;
};

KeyScriptStep KeyStep(UINT16 ScanCode, CHAR16 Char, UINT32 Shift, UINT32 Line, UINT32 Column) {
  KeyScriptStep Step;
  Step.Type = KeyScriptStep::Kind::Key;
  Step.Key.Key.ScanCode = ScanCode;
  Step.Key.Key.UnicodeChar = Char;
  Step.Key.KeyState.KeyShiftState = Shift;
  Step.Line = Line;
  Step.Column = Column;
  return Step;
}

bool Fail(KeyScriptError *Error, UINT32 Line, UINT32 Column, std::string Message) {
  Error->Line = Line;
  Error->Column = Column;
  Error->Message = std::move(Message);
  return false;
}

// Reads "text" whose opening quote is at the cursor.
bool ParseString(Cursor &At, std::vector<KeyScriptStep> &Steps, KeyScriptError *Error,
                 const std::string &Text) {
  UINT32 Line = At.Line();
  UINT32 Column = At.Column();
  At.Advance();
  for (;;) {
    if (At.AtEnd() || At.Peek() == '\n') {
      return Fail(Error, Line, Column, "unterminated string");
    }
    UINT32 CharLine = At.Line();
    UINT32 CharColumn = At.Column();
    char Char = At.Peek();
    if (Char == '"') {
      At.Advance();
      return true;
    }
    if (Char == '\\') {
      At.Advance();
      if (At.AtEnd() || (At.Peek() != '"' && At.Peek() != '\\')) {
        return Fail(Error, CharLine, CharColumn, "unknown escape in string (only \\\" and \\\\)");
      }
    }
    size_t Offset = At.Position();
    CHAR16 Decoded = 0;
    if (!DecodeUtf8(Text, &Offset, &Decoded)) {
      return Fail(Error, At.Line(), At.Column(), "string is not valid UTF-8");
    }
    while (At.Position() < Offset) {
      At.Advance();
    }
    Steps.push_back(KeyStep(SCAN_NULL, Decoded, 0, CharLine, CharColumn));
  }
}

bool ParseNumber(const std::string &Word, UINT64 *Value) {
  if (Word.empty() || Word.size() > 12) {
    return false;
  }
  UINT64 Result = 0;
  for (char Char : Word) {
    if (Char < '0' || Char > '9') {
      return false;
    }
    Result = Result * 10 + static_cast<UINT64>(Char - '0');
  }
  *Value = Result;
  return true;
}
} // namespace

std::string KeyScriptError::Describe() const {
  return "line " + std::to_string(Line) + ", column " + std::to_string(Column) + ": " + Message;
}

bool ParseKeyScript(const std::string &Text, KeyScript *Script, KeyScriptError *Error) {
  Script->Steps.clear();
  std::vector<KeyScriptStep> Steps;
  Cursor At(Text);
  for (;;) {
    At.SkipSpaceAndComments();
    if (At.AtEnd()) {
      break;
    }
    UINT32 Line = At.Line();
    UINT32 Column = At.Column();
    if (At.Peek() == '"') {
      if (!ParseString(At, Steps, Error, Text)) {
        return false;
      }
      continue;
    }
    std::string Word = At.Word();
    std::string Name = Lower(Word);
    if (Name == "screen") {
      KeyScriptStep Step;
      Step.Type = KeyScriptStep::Kind::Screen;
      Step.Line = Line;
      Step.Column = Column;
      Steps.push_back(Step);
      continue;
    }
    if (Name == "wait") {
      At.SkipSpaceAndComments();
      KeyScriptStep Step;
      Step.Type = KeyScriptStep::Kind::Wait;
      Step.Line = Line;
      Step.Column = Column;
      if (At.AtEnd() || !ParseNumber(At.Word(), &Step.WaitMilliseconds)) {
        return Fail(Error, Line, Column, "wait needs a number of milliseconds");
      }
      Steps.push_back(Step);
      continue;
    }
    if (Name.rfind("alt-", 0) == 0) {
      size_t Offset = 4;
      CHAR16 Char = 0;
      if (Word.size() <= 4 || !DecodeUtf8(Word, &Offset, &Char) || Offset != Word.size()) {
        return Fail(Error, Line, Column, "Alt- takes exactly one character: '" + Word + "'");
      }
      Steps.push_back(
          KeyStep(SCAN_NULL, Char, EFI_SHIFT_STATE_VALID | EFI_LEFT_ALT_PRESSED, Line, Column));
      continue;
    }
    bool Known = false;
    for (const NamedKey &Key : NAMED_KEYS) {
      if (Name == Key.Name) {
        Steps.push_back(KeyStep(Key.ScanCode, Key.Char, Key.Shift, Line, Column));
        Known = true;
        break;
      }
    }
    if (!Known) {
      return Fail(Error, Line, Column, "unknown token '" + Word + "'");
    }
  }
  Script->Steps = std::move(Steps);
  return true;
}

} // namespace morvane::host
