#include "tools/morvane/options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdlib>
#include <iostream>
#include <stdexcept>

#include "host/kit/guid_text.h"

namespace morvane::tools {

namespace {

// The smallest console the browser accepts, and a bound well above any real terminal.
constexpr unsigned MinimumColumns = 80;
constexpr unsigned MinimumRows = 25;
constexpr unsigned MaximumCells = 1000;

} // namespace

bool ParseSize(const std::string &Text, unsigned *Columns, unsigned *Rows) {
  size_t Cross = Text.find_first_of("xX");
  if (Cross == std::string::npos || Cross == 0 || Cross + 1 >= Text.size()) {
    return false;
  }
  auto Number = [](const std::string &Digits, unsigned *Out) {
    if (Digits.empty() || Digits.size() > 4 ||
        Digits.find_first_not_of("0123456789") != std::string::npos) {
      return false;
    }
    *Out = static_cast<unsigned>(std::stoul(Digits));
    return *Out >= 1 && *Out <= MaximumCells;
  };
  return Number(Text.substr(0, Cross), Columns) && Number(Text.substr(Cross + 1), Rows);
}

bool ParseFormId(const std::string &Text, UINT16 *FormId) {
  // Decimal or 0x-hexadecimal, as form ids appear in IFR listings; no sign, no blanks.
  bool Hex = Text.size() > 2 && Text[0] == '0' && (Text[1] == 'x' || Text[1] == 'X');
  const char *First = Text.data() + (Hex ? 2 : 0);
  const char *Last = Text.data() + Text.size();
  uint16_t Value = 0;
  std::from_chars_result Result = std::from_chars(First, Last, Value, Hex ? 16 : 10);
  if (First == Last || Result.ec != std::errc() || Result.ptr != Last) {
    return false;
  }
  *FormId = Value;
  return true;
}

std::string DefaultVariablesFile() {
  const char *State = std::getenv("XDG_STATE_HOME");
  if (State != nullptr && State[0] == '/') {
    return std::string(State) + "/morvane/variables";
  }
  const char *Home = std::getenv("HOME");
  if (Home == nullptr || Home[0] == 0) {
    return "morvane-variables";
  }
  return std::string(Home) + "/.local/state/morvane/variables";
}

std::optional<int> ParseOptions(int Argc, char **Argv, ProgramOptions *Options) {
  CLI::App App("Morvane: the setup browser on a terminal. Without --keys it runs interactively; "
               "with a key script it runs headless and prints the screens.",
               "morvane");
  std::string FormSet;
  std::string Size;
  std::string Form;
  std::string Dump = "text";
  // A missing file is reported where the files are read, with the other file errors.
  App.add_option("--packages", Options->Packages, "HII package list files to show, one tab each");
  App.add_option("--formset", FormSet, "the form set GUID to show first");
  CLI::Option *FormOption =
      App.add_option("--form", Form, "the form id to show first (0: the first form)");
  App.add_option("--size", Size, "console size COLSxROWS, at least 80x25");
  App.add_option("--lang", Options->Language, "platform language, such as en-US or fr-FR");
  App.add_option("--vars", Options->VariablesFile,
                 "variables file (default: " + DefaultVariablesFile() + ")");
  App.add_option("--keys", Options->Keys, "key script file, or - for standard input: run headless");
  App.add_option("--dump", Dump, "what each headless dump shows: text, attr or both")
      ->check(CLI::IsMember({"text", "attr", "both"}));
  App.add_flag("--stats", Options->Stats, "report the bytes sent to the terminal for each key");
  try {
    App.parse(Argc, Argv);
  } catch (const CLI::ParseError &Error) {
    int Code = App.exit(Error);
    return Code == 0 ? ExitOk : ExitUsage;
  }

  if (!FormSet.empty()) {
    try {
      Options->FormSet = kit::ParseGuid(FormSet);
    } catch (const std::invalid_argument &) {
      std::cerr << "morvane: --formset: '" << FormSet
                << "' is not a GUID (8-4-4-4-12 hexadecimal digits)\n";
      return ExitUsage;
    }
  }
  if (FormOption->count() > 0 && !ParseFormId(Form, &Options->FormId)) {
    std::cerr << "morvane: --form: '" << Form << "' is not a form id (0 to 65535)\n";
    return ExitUsage;
  }
  if (!Size.empty()) {
    unsigned Columns = 0;
    unsigned Rows = 0;
    if (!ParseSize(Size, &Columns, &Rows)) {
      std::cerr << "morvane: --size: '" << Size << "' is not COLSxROWS (each from 1 to "
                << MaximumCells << ")\n";
      return ExitUsage;
    }
    if (Columns < MinimumColumns || Rows < MinimumRows) {
      std::cerr << "morvane: --size: the setup screen needs at least " << MinimumColumns << "x"
                << MinimumRows << "\n";
      return ExitUsage;
    }
    Options->Size = std::make_pair(Columns, Rows);
  }
  Options->Dump = Dump == "attr"   ? DumpMode::Attributes
                  : Dump == "both" ? DumpMode::Both
                                   : DumpMode::Text;
  return std::nullopt;
}

} // namespace morvane::tools
