// Key scripts: what a user types, as text. Tokens are separated by white space and '#' starts a
// comment to the end of the line (at the start of a token). Tokens, names case-insensitive:
//   Up Down Left Right Home End PgUp PgDn Ins Del Esc Enter Tab BackTab Space Backspace F1..F12
//   Alt-<c>      one character with the left Alt key held
//   "text"       each character typed; \" and \\ are the only escapes
//   screen       show the screen at this point
//   wait <ms>    let that much virtual time pass while the browser waits for a key
// Anything else is an error naming its line and column, and then nothing runs.
#pragma once

#include <string>
#include <vector>

#include "uefi/console.h"

namespace morvane::host {

struct KeyScriptStep {
  enum class Kind { Key, Screen, Wait };
  Kind Type = Kind::Key;
  EFI_KEY_DATA Key{};
  UINT64 WaitMilliseconds = 0;
  // Where the token starts, counting from 1; a column counts characters.
  UINT32 Line = 0;
  UINT32 Column = 0;
};

struct KeyScriptError {
  UINT32 Line = 0;
  UINT32 Column = 0;
  std::string Message;
  // "line L, column C: message"
  std::string Describe() const;
};

struct KeyScript {
  std::vector<KeyScriptStep> Steps;
};

// False, with the first error, when any token is unknown or malformed; Script is then empty.
bool ParseKeyScript(const std::string &Text, KeyScript *Script, KeyScriptError *Error);

} // namespace morvane::host
