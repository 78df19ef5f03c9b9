// Turns the bytes a terminal sends into EFI keys: xterm (SS3 and CSI forms, with modifier
// parameters), the Linux console, VT100 and VT220, and the VT100+ forms firmware consoles use.
// A lone Esc is told apart from the start of a sequence by the caller's timeout: Flush() is
// called when no byte followed within it.
#pragma once

#include <cstdint>
#include <deque>
#include <string>

#include "uefi/console.h"

namespace morvane::tools {

struct TerminalInput {
  enum class Kind { Key, Redraw };
  Kind What = Kind::Key;
  EFI_KEY_DATA Key = {};
};

class KeyDecoder {
public:
  void Feed(const std::string &Bytes);
  // The next complete input, if any.
  bool Next(TerminalInput *Input);
  // True while the bytes so far could still grow into a longer sequence.
  bool Pending() const { return !Buffer.empty(); }
  // No more bytes came: what is buffered is taken as it stands (a lone Esc is the Esc key).
  void Flush();

private:
  enum class Match { None, Partial, Complete };
  Match TryDecode(size_t *Used, TerminalInput *Input) const;
  Match DecodeEscape(size_t *Used, TerminalInput *Input) const;
  Match DecodeCsi(size_t *Used, TerminalInput *Input) const;
  Match DecodeUtf8(size_t *Used, TerminalInput *Input) const;

  std::string Buffer;
  std::deque<TerminalInput> Ready;
};

// The shift state of an xterm modifier parameter (2 shift, 3 alt, 5 control, ...).
uint32_t ShiftStateOfModifier(unsigned Modifier);

} // namespace morvane::tools
