#include "tests/tools/virtual_terminal.h"

#include <vterm.h>

#include <stdexcept>

namespace morvane::test {

namespace {

int ColourIndex(const VTermColor &Colour, bool Foreground) {
  if (Foreground ? VTERM_COLOR_IS_DEFAULT_FG(&Colour) : VTERM_COLOR_IS_DEFAULT_BG(&Colour)) {
    return -1;
  }
  if (VTERM_COLOR_IS_INDEXED(&Colour)) {
    return Colour.indexed.idx;
  }
  // The program only sends palette colours; anything else is a fault worth seeing.
  return 1000;
}

void AppendUtf8(std::string &Out, char32_t Code) {
  if (Code < 0x80) {
    Out += static_cast<char>(Code);
  } else if (Code < 0x800) {
    Out += static_cast<char>(0xC0 | (Code >> 6));
    Out += static_cast<char>(0x80 | (Code & 0x3F));
  } else if (Code < 0x10000) {
    Out += static_cast<char>(0xE0 | (Code >> 12));
    Out += static_cast<char>(0x80 | ((Code >> 6) & 0x3F));
    Out += static_cast<char>(0x80 | (Code & 0x3F));
  } else {
    Out += static_cast<char>(0xF0 | (Code >> 18));
    Out += static_cast<char>(0x80 | ((Code >> 12) & 0x3F));
    Out += static_cast<char>(0x80 | ((Code >> 6) & 0x3F));
    Out += static_cast<char>(0x80 | (Code & 0x3F));
  }
}

} // namespace

VirtualTerminal::VirtualTerminal(unsigned Columns, unsigned Rows) : Columns(Columns), Rows(Rows) {
  Terminal = vterm_new(static_cast<int>(Rows), static_cast<int>(Columns));
  if (Terminal == nullptr) {
    throw std::runtime_error("vterm_new failed");
  }
  vterm_set_utf8(Terminal, 1);
  Screen = vterm_obtain_screen(Terminal);
  static const VTermScreenCallbacks Callbacks = {
      .settermprop = [](VTermProp Property, VTermValue *Value,
                        void *User) { return OnSetTermProp(Property, Value, User); },
      .bell = [](void *User) { return OnBell(User); },
      .sb_pushline = [](int Columns, const VTermScreenCell *Cells,
                        void *User) { return OnPushLine(Columns, Cells, User); },
  };
  vterm_screen_set_callbacks(Screen, &Callbacks, this);
  vterm_screen_enable_altscreen(Screen, 1);
  vterm_screen_reset(Screen, 1);
}

VirtualTerminal::~VirtualTerminal() {
  vterm_free(Terminal);
}

int VirtualTerminal::OnSetTermProp(int Property, void *Value, void *User) {
  auto *Self = static_cast<VirtualTerminal *>(User);
  const VTermValue *Given = static_cast<const VTermValue *>(Value);
  if (Property == VTERM_PROP_CURSORVISIBLE) {
    Self->CursorShown = Given->boolean != 0;
  } else if (Property == VTERM_PROP_ALTSCREEN) {
    Self->Alternate = Given->boolean != 0;
  }
  return 1;
}

int VirtualTerminal::OnPushLine(int, const void *, void *User) {
  static_cast<VirtualTerminal *>(User)->ScrolledOff++;
  return 1;
}

int VirtualTerminal::OnBell(void *User) {
  static_cast<VirtualTerminal *>(User)->BellCount++;
  return 1;
}

void VirtualTerminal::Feed(const std::string &Bytes) {
  vterm_input_write(Terminal, Bytes.data(), Bytes.size());
  vterm_screen_flush_damage(Screen);
}

VirtualTerminal::Cell VirtualTerminal::At(unsigned Column, unsigned Row) const {
  VTermScreenCell Raw{};
  VTermPos Position{static_cast<int>(Row), static_cast<int>(Column)};
  vterm_screen_get_cell(Screen, Position, &Raw);
  Cell Out;
  // libvterm marks the right half of a wide character with (uint32_t)-1.
  if (Raw.chars[0] == static_cast<uint32_t>(-1)) {
    Out.Width = 0;
  } else {
    Out.Character = Raw.chars[0];
    Out.Width = Raw.width;
  }
  Out.Foreground = ColourIndex(Raw.fg, true);
  Out.Background = ColourIndex(Raw.bg, false);
  return Out;
}

std::string VirtualTerminal::RowText(unsigned Row) const {
  std::string Text;
  for (unsigned Column = 0; Column < Columns; Column++) {
    Cell Shown = At(Column, Row);
    if (Shown.Width == 0) {
      continue;
    }
    AppendUtf8(Text, Shown.Character == 0 ? U' ' : Shown.Character);
  }
  return Text;
}

bool VirtualTerminal::Shows(const std::string &Text) const {
  for (unsigned Row = 0; Row < Rows; Row++) {
    if (RowText(Row).find(Text) != std::string::npos) {
      return true;
    }
  }
  return false;
}

unsigned VirtualTerminal::CursorColumn() const {
  VTermPos Position{};
  vterm_state_get_cursorpos(vterm_obtain_state(Terminal), &Position);
  return static_cast<unsigned>(Position.col);
}

unsigned VirtualTerminal::CursorRow() const {
  VTermPos Position{};
  vterm_state_get_cursorpos(vterm_obtain_state(Terminal), &Position);
  return static_cast<unsigned>(Position.row);
}

} // namespace morvane::test
