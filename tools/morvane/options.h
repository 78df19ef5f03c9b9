// The morvane command line. The options and the headless output are a public contract: users'
// CI scripts rely on them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "uefi/base.h"

namespace morvane::tools {

enum class DumpMode { Text, Attributes, Both };

struct ProgramOptions {
  std::vector<std::string> Packages;
  std::optional<EFI_GUID> FormSet;
  UINT16 FormId = 0;
  // Columns and rows; empty means the terminal's size, or 80x25 headless.
  std::optional<std::pair<unsigned, unsigned>> Size;
  std::string Language;
  // Empty means the default file under the user's state directory.
  std::string VariablesFile;
  // A key script file, or "-" for standard input; set means a headless run.
  std::optional<std::string> Keys;
  DumpMode Dump = DumpMode::Text;
  bool Stats = false;
};

// Exit codes of the program.
inline constexpr int ExitOk = 0;
inline constexpr int ExitError = 1;
inline constexpr int ExitUsage = 2;
inline constexpr int ExitWaiting = 3;

// Parses the command line. Returns nothing when the program is to run; otherwise the exit code
// after the message (usage or help) has been printed.
std::optional<int> ParseOptions(int Argc, char **Argv, ProgramOptions *Options);

// A form id in decimal or 0x-hexadecimal; false when malformed or above 65535.
bool ParseFormId(const std::string &Text, UINT16 *FormId);

// "COLSxROWS"; false when malformed or out of range.
bool ParseSize(const std::string &Text, unsigned *Columns, unsigned *Rows);

// The default variables file: $XDG_STATE_HOME/morvane/variables, or
// ~/.local/state/morvane/variables.
std::string DefaultVariablesFile();

} // namespace morvane::tools
