// The bytes terminals send for each key, whole and in pieces, and what the decoder makes of
// sequences it does not know.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/terminal/key_decoder.h"

using morvane::tools::KeyDecoder;
using morvane::tools::ShiftStateOfModifier;
using morvane::tools::TerminalInput;

namespace {

constexpr UINT32 Valid = EFI_SHIFT_STATE_VALID;
constexpr UINT32 Shift = Valid | EFI_LEFT_SHIFT_PRESSED;
constexpr UINT32 Alt = Valid | EFI_LEFT_ALT_PRESSED;
constexpr UINT32 Control = Valid | EFI_LEFT_CONTROL_PRESSED;

struct Expected {
  UINT16 Scan = SCAN_NULL;
  CHAR16 Char = 0;
  UINT32 State = 0;
};

// Esc before a digit, which a "\x1b1" literal would take as part of the escape.
const std::string Esc = "\x1b";

struct KeyCase {
  const char *Name;
  std::string Bytes;
  Expected Key;
};

Expected ScanKey(UINT16 Scan, UINT32 State = 0) {
  return {Scan, 0, State};
}
Expected CharKey(CHAR16 Char, UINT32 State = 0) {
  return {SCAN_NULL, Char, State};
}

const KeyCase KeyCases[] = {
    // xterm, normal cursor mode (CSI) and application mode (SS3).
    {"csi up", "\x1b[A", ScanKey(SCAN_UP)},
    {"csi down", "\x1b[B", ScanKey(SCAN_DOWN)},
    {"csi right", "\x1b[C", ScanKey(SCAN_RIGHT)},
    {"csi left", "\x1b[D", ScanKey(SCAN_LEFT)},
    {"csi home", "\x1b[H", ScanKey(SCAN_HOME)},
    {"csi end", "\x1b[F", ScanKey(SCAN_END)},
    {"ss3 up", "\x1bOA", ScanKey(SCAN_UP)},
    {"ss3 down", "\x1bOB", ScanKey(SCAN_DOWN)},
    {"ss3 right", "\x1bOC", ScanKey(SCAN_RIGHT)},
    {"ss3 left", "\x1bOD", ScanKey(SCAN_LEFT)},
    {"ss3 home", "\x1bOH", ScanKey(SCAN_HOME)},
    {"ss3 end", "\x1bOF", ScanKey(SCAN_END)},
    // VT100 PF1 to PF4, also xterm's F1 to F4.
    {"ss3 f1", "\x1bOP", ScanKey(SCAN_F1)},
    {"ss3 f2", "\x1bOQ", ScanKey(SCAN_F2)},
    {"ss3 f3", "\x1bOR", ScanKey(SCAN_F3)},
    {"ss3 f4", "\x1bOS", ScanKey(SCAN_F4)},
    // VT220 editing keypad and function keys (xterm sends the same).
    {"vt220 find", "\x1b[1~", ScanKey(SCAN_HOME)},
    {"vt220 insert", "\x1b[2~", ScanKey(SCAN_INSERT)},
    {"vt220 remove", "\x1b[3~", ScanKey(SCAN_DELETE)},
    {"vt220 select", "\x1b[4~", ScanKey(SCAN_END)},
    {"vt220 prior", "\x1b[5~", ScanKey(SCAN_PAGE_UP)},
    {"vt220 next", "\x1b[6~", ScanKey(SCAN_PAGE_DOWN)},
    {"rxvt home", "\x1b[7~", ScanKey(SCAN_HOME)},
    {"rxvt end", "\x1b[8~", ScanKey(SCAN_END)},
    {"tilde f1", "\x1b[11~", ScanKey(SCAN_F1)},
    {"tilde f2", "\x1b[12~", ScanKey(SCAN_F2)},
    {"tilde f3", "\x1b[13~", ScanKey(SCAN_F3)},
    {"tilde f4", "\x1b[14~", ScanKey(SCAN_F4)},
    {"tilde f5", "\x1b[15~", ScanKey(SCAN_F5)},
    {"tilde f6", "\x1b[17~", ScanKey(SCAN_F6)},
    {"tilde f7", "\x1b[18~", ScanKey(SCAN_F7)},
    {"tilde f8", "\x1b[19~", ScanKey(SCAN_F8)},
    {"tilde f9", "\x1b[20~", ScanKey(SCAN_F9)},
    {"tilde f10", "\x1b[21~", ScanKey(SCAN_F10)},
    {"tilde f11", "\x1b[23~", ScanKey(SCAN_F11)},
    {"tilde f12", "\x1b[24~", ScanKey(SCAN_F12)},
    // The Linux console's F1 to F5.
    {"linux f1", "\x1b[[A", ScanKey(SCAN_F1)},
    {"linux f2", "\x1b[[B", ScanKey(SCAN_F2)},
    {"linux f3", "\x1b[[C", ScanKey(SCAN_F3)},
    {"linux f4", "\x1b[[D", ScanKey(SCAN_F4)},
    {"linux f5", "\x1b[[E", ScanKey(SCAN_F5)},
    // xterm modifier parameters: 2 shift, 3 alt, 5 control, 8 all three.
    {"shift up", "\x1b[1;2A", ScanKey(SCAN_UP, Shift)},
    {"control right", "\x1b[1;5C", ScanKey(SCAN_RIGHT, Control)},
    {"alt left", "\x1b[1;3D", ScanKey(SCAN_LEFT, Alt)},
    {"all home", "\x1b[1;8H",
     ScanKey(SCAN_HOME,
             Valid | EFI_LEFT_SHIFT_PRESSED | EFI_LEFT_ALT_PRESSED | EFI_LEFT_CONTROL_PRESSED)},
    {"control page up", "\x1b[5;5~", ScanKey(SCAN_PAGE_UP, Control)},
    {"shift f5", "\x1b[15;2~", ScanKey(SCAN_F5, Shift)},
    {"shift f1 csi", "\x1b[1;2P", ScanKey(SCAN_F1, Shift)},
    {"shift f1 ss3", "\x1bO2P", ScanKey(SCAN_F1, Shift)},
    {"modifier 1 is none", "\x1b[1;1A", ScanKey(SCAN_UP)},
    {"shift tab", "\x1b[Z", CharKey(CHAR_TAB, Shift)},
    // VT100+ as firmware consoles send it.
    {"vt100+ f1", Esc + "1", ScanKey(SCAN_F1)},
    {"vt100+ f2", Esc + "2", ScanKey(SCAN_F2)},
    {"vt100+ f3", Esc + "3", ScanKey(SCAN_F3)},
    {"vt100+ f4", Esc + "4", ScanKey(SCAN_F4)},
    {"vt100+ f5", Esc + "5", ScanKey(SCAN_F5)},
    {"vt100+ f6", Esc + "6", ScanKey(SCAN_F6)},
    {"vt100+ f7", Esc + "7", ScanKey(SCAN_F7)},
    {"vt100+ f8", Esc + "8", ScanKey(SCAN_F8)},
    {"vt100+ f9", Esc + "9", ScanKey(SCAN_F9)},
    {"vt100+ f10", Esc + "0", ScanKey(SCAN_F10)},
    {"vt100+ f11", "\x1b!", ScanKey(SCAN_F11)},
    {"vt100+ f12", "\x1b@", ScanKey(SCAN_F12)},
    {"vt100+ home", "\x1bh", ScanKey(SCAN_HOME)},
    {"vt100+ end", "\x1bk", ScanKey(SCAN_END)},
    {"vt100+ insert", "\x1b+", ScanKey(SCAN_INSERT)},
    {"vt100+ delete", "\x1b-", ScanKey(SCAN_DELETE)},
    {"vt100+ page up", "\x1b?", ScanKey(SCAN_PAGE_UP)},
    {"vt100+ page down", "\x1b/", ScanKey(SCAN_PAGE_DOWN)},
    // Alt sends Esc before the character; h and k are taken by VT100+ above.
    {"alt x", "\x1bx", CharKey(u'x', Alt)},
    {"alt upper x", "\x1bX", CharKey(u'X', Alt)},
    {"alt upper h", "\x1bH", CharKey(u'H', Alt)},
    {"alt j", "\x1bj", CharKey(u'j', Alt)},
    {"alt space", "\x1b ", CharKey(u' ', Alt)},
    // The keypad in application mode.
    {"keypad enter", "\x1bOM", CharKey(CHAR_CARRIAGE_RETURN)},
    {"keypad 0", "\x1bOp", CharKey(u'0')},
    {"keypad 9", "\x1bOy", CharKey(u'9')},
    {"keypad plus", "\x1bOk", CharKey(u'+')},
    {"keypad minus", "\x1bOm", CharKey(u'-')},
    {"keypad star", "\x1bOj", CharKey(u'*')},
    {"keypad slash", "\x1bOo", CharKey(u'/')},
    {"keypad dot", "\x1bOn", CharKey(u'.')},
    // Single bytes.
    {"carriage return", "\r", CharKey(CHAR_CARRIAGE_RETURN)},
    {"line feed", "\n", CharKey(CHAR_CARRIAGE_RETURN)},
    {"tab", "\t", CharKey(CHAR_TAB)},
    {"delete byte", "\x7f", CharKey(CHAR_BACKSPACE)},
    {"control h", "\x08", CharKey(CHAR_BACKSPACE)},
    {"letter", "a", CharKey(u'a')},
    {"space", " ", CharKey(u' ')},
    {"tilde", "~", CharKey(u'~')},
    {"plus", "+", CharKey(u'+')},
    // UTF-8, and a character beyond the console's plane.
    {"two bytes", "\xc3\xa9", CharKey(0x00E9)},
    {"three bytes", "\xe6\x97\xa5", CharKey(0x65E5)},
    {"hangul", "\xed\x95\x9c", CharKey(0xD55C)},
    {"four bytes", "\xf0\x9f\x98\x80", CharKey(0xFFFD)},
};

std::vector<TerminalInput> Drain(KeyDecoder &Decoder) {
  std::vector<TerminalInput> Inputs;
  TerminalInput Input;
  while (Decoder.Next(&Input)) {
    Inputs.push_back(Input);
  }
  return Inputs;
}

void ExpectKey(const TerminalInput &Input, const Expected &Key, const std::string &Context) {
  EXPECT_EQ(Input.What, TerminalInput::Kind::Key) << Context;
  EXPECT_EQ(Input.Key.Key.ScanCode, Key.Scan) << Context;
  EXPECT_EQ(Input.Key.Key.UnicodeChar, Key.Char) << Context;
  EXPECT_EQ(Input.Key.KeyState.KeyShiftState, Key.State) << Context;
  EXPECT_EQ(Input.Key.KeyState.KeyToggleState, 0) << Context;
}

// A sequence can arrive split anywhere; nothing comes out until it is whole (split 0: whole).
TEST(KeyDecoderTest, EverySequenceWholeAndInTwoPieces) {
  for (const KeyCase &Case : KeyCases) {
    for (size_t Split = 0; Split < Case.Bytes.size(); Split++) {
      std::string Context = std::string(Case.Name) + " split at " + std::to_string(Split);
      KeyDecoder Decoder;
      if (Split > 0) {
        Decoder.Feed(Case.Bytes.substr(0, Split));
        EXPECT_TRUE(Drain(Decoder).empty()) << Context;
        EXPECT_TRUE(Decoder.Pending()) << Context;
      }
      Decoder.Feed(Case.Bytes.substr(Split));
      std::vector<TerminalInput> Inputs = Drain(Decoder);
      ASSERT_EQ(Inputs.size(), 1u) << Context;
      ExpectKey(Inputs[0], Case.Key, Context);
      EXPECT_FALSE(Decoder.Pending()) << Context;
    }
  }
}

// All the sequences one after the other, in one read and byte by byte.
TEST(KeyDecoderTest, EverySequenceAmongOthers) {
  std::string All;
  for (const KeyCase &Case : KeyCases) {
    All += Case.Bytes;
  }
  for (bool Bytewise : {false, true}) {
    KeyDecoder Decoder;
    for (size_t At = 0; At < All.size(); At += Bytewise ? 1 : All.size()) {
      Decoder.Feed(All.substr(At, Bytewise ? 1 : All.size()));
    }
    std::vector<TerminalInput> Inputs = Drain(Decoder);
    ASSERT_EQ(Inputs.size(), std::size(KeyCases)) << Bytewise;
    for (size_t Index = 0; Index < Inputs.size(); Index++) {
      ExpectKey(Inputs[Index], KeyCases[Index].Key, KeyCases[Index].Name);
    }
  }
}

// What stands in the buffer when no byte follows within the Esc timeout.
TEST(KeyDecoderTest, FlushTakesWhatIsBufferedAsItStands) {
  struct FlushCase {
    const char *Name;
    std::string Bytes;
    std::vector<Expected> Keys;
  } Cases[] = {
      {"lone esc", "\x1b", {ScanKey(SCAN_ESC)}},
      {"esc esc", "\x1b\x1b", {ScanKey(SCAN_ESC), ScanKey(SCAN_ESC)}},
      {"esc then a sequence", "\x1b\x1b[A", {ScanKey(SCAN_ESC), ScanKey(SCAN_UP)}},
      {"esc then enter", "\x1b\r", {ScanKey(SCAN_ESC), CharKey(CHAR_CARRIAGE_RETURN)}},
      {"alt bracket", "\x1b[", {CharKey(u'[', Alt)}},
      {"alt upper o", "\x1bO", {CharKey(u'O', Alt)}},
      // An unfinished control sequence is not typed into the form.
      {"cut csi", "\x1b[1;5", {}},
      {"cut ss3", "\x1bO5", {}},
      {"cut utf-8", "\xe6\x97", {}},
      {"keys then esc", "ab\x1b", {CharKey(u'a'), CharKey(u'b'), ScanKey(SCAN_ESC)}},
      {"nothing pending", "", {}},
      {"a whole sequence", "\x1b[A", {ScanKey(SCAN_UP)}},
  };
  for (const FlushCase &Case : Cases) {
    KeyDecoder Decoder;
    Decoder.Feed(Case.Bytes);
    Decoder.Flush();
    EXPECT_FALSE(Decoder.Pending()) << Case.Name;
    std::vector<TerminalInput> Inputs = Drain(Decoder);
    ASSERT_EQ(Inputs.size(), Case.Keys.size()) << Case.Name;
    for (size_t Index = 0; Index < Inputs.size(); Index++) {
      ExpectKey(Inputs[Index], Case.Keys[Index], Case.Name);
    }
    // The decoder is clean afterwards.
    Decoder.Feed("z");
    Inputs = Drain(Decoder);
    ASSERT_EQ(Inputs.size(), 1u) << Case.Name;
    ExpectKey(Inputs[0], CharKey(u'z'), Case.Name);
  }
}

// Bytes that are no key are dropped without taking the keys after them along.
TEST(KeyDecoderTest, UnknownAndBrokenInputIsDropped) {
  struct DropCase {
    const char *Name;
    std::string Bytes;
  } Cases[] = {
      {"unknown tilde number", "\x1b[99~"},
      {"unknown csi final", "\x1b[M"},
      {"private csi", "\x1b[?1;2c"},
      {"csi with intermediate", "\x1b[1 q"},
      {"linux final out of range", "\x1b[[F"},
      {"unknown ss3 final", "\x1bOz"},
      {"overlong csi", "\x1b[" + std::string(40, '1') + "~"},
      {"stray continuation byte", "\xa9"},
      {"lead without continuation", "\xc3"},
      {"overlong encoding", "\xc0\xaf"},
      {"encoded surrogate", "\xed\xa0\x80"},
      {"invalid lead", "\xff"},
      {"control a", "\x01"},
      {"control c", "\x03"},
      {"nul", std::string(1, '\0')},
  };
  for (const DropCase &Case : Cases) {
    for (bool Bytewise : {false, true}) {
      std::string Context = std::string(Case.Name) + (Bytewise ? " byte by byte" : "");
      KeyDecoder Decoder;
      std::string Bytes = Case.Bytes + "q";
      if (Bytewise) {
        for (char Byte : Bytes) {
          Decoder.Feed(std::string(1, Byte));
        }
      } else {
        Decoder.Feed(Bytes);
      }
      std::vector<TerminalInput> Inputs = Drain(Decoder);
      ASSERT_EQ(Inputs.size(), 1u) << Context;
      ExpectKey(Inputs[0], CharKey(u'q'), Context);
      EXPECT_FALSE(Decoder.Pending()) << Context;
    }
  }
}

TEST(KeyDecoderTest, ControlLAsksForARedraw) {
  KeyDecoder Decoder;
  Decoder.Feed("a\x0c"
               "b");
  std::vector<TerminalInput> Inputs = Drain(Decoder);
  ASSERT_EQ(Inputs.size(), 3u);
  ExpectKey(Inputs[0], CharKey(u'a'), "before");
  EXPECT_EQ(Inputs[1].What, TerminalInput::Kind::Redraw);
  ExpectKey(Inputs[2], CharKey(u'b'), "after");
}

TEST(KeyDecoderTest, ShiftStateOfEachModifierParameter) {
  struct ModifierCase {
    unsigned Modifier;
    UINT32 State;
  } Cases[] = {
      {0, 0},
      {1, 0},
      {2, Shift},
      {3, Alt},
      {4, Valid | EFI_LEFT_SHIFT_PRESSED | EFI_LEFT_ALT_PRESSED},
      {5, Control},
      {6, Valid | EFI_LEFT_SHIFT_PRESSED | EFI_LEFT_CONTROL_PRESSED},
      {9, Valid | EFI_LEFT_LOGO_PRESSED},
  };
  for (const ModifierCase &Case : Cases) {
    EXPECT_EQ(ShiftStateOfModifier(Case.Modifier), Case.State) << Case.Modifier;
  }
}

} // namespace
