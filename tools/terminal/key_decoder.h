// Turns the bytes a terminal sends into EFI keys: xterm (SS3 and CSI forms, with modifier
// parameters), the Linux console, VT100 and VT220, and the VT100+ forms firmware consoles use.
// A lone Esc is told apart from the start of a sequence by the caller's timeout: Flush() is
// called when no byte followed within it.
//
// Esc followed by a character is Alt with that character, except where VT100+ gives the pair a
// meaning: Esc 0-9, !, @ are F1-F12 and Esc h, k, +, -, ?, / are Home, End, Insert, Delete,
// Page Up and Page Down. A firmware console has no other way to send those keys; the one Alt
// key of the browser this hides, Alt-h for help, has F1 beside it.
// Sequences the decoder does not know, malformed UTF-8 and control characters that are no key
// are dropped rather than typed into a form.
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
  // No more bytes came: what is buffered is taken as it stands. A lone Esc is the Esc key, Esc
  // and "[" or "O" are Alt with that character, and an unfinished sequence is dropped.
  void Flush();

private:
  // TooLong: a control sequence past any key's length, whose rest is to be skipped.
  enum class Match { None, Partial, Complete, TooLong };
  void Decode();
  Match TryDecode(size_t *Used, TerminalInput *Input) const;
  Match DecodeEscape(size_t *Used, TerminalInput *Input) const;
  Match DecodeCsi(size_t *Used, TerminalInput *Input) const;
  Match DecodeSs3(size_t *Used, TerminalInput *Input) const;
  Match DecodeUtf8(size_t *Used, TerminalInput *Input) const;

  std::string Buffer;
  std::deque<TerminalInput> Ready;
  // The rest of an overlong control sequence is being skipped, up to its final byte.
  bool Skipping = false;
};

// The shift state of an xterm modifier parameter (2 shift, 3 alt, 5 control, ...).
uint32_t ShiftStateOfModifier(unsigned Modifier);

} // namespace morvane::tools
