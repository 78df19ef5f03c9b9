// morvane: the setup browser on a terminal, on the built-in sample platform or on the user's own
// HII package lists; interactive, or headless with a key script for CI.
#include <algorithm>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <unistd.h>

#include "host/key_script.h"
#include "host/kit/guid_text.h"
#include "sample/sample_platform.h"
#include "tools/morvane/headless.h"
#include "tools/morvane/interactive.h"
#include "tools/morvane/options.h"
#include "tools/morvane/package_files.h"
#include "tools/session/browser_session.h"

using namespace morvane;
using namespace morvane::tools;

namespace {

bool ReadScript(const std::string &Source, std::string *Text, std::string *Error) {
  std::ostringstream Buffer;
  if (Source == "-") {
    Buffer << std::cin.rdbuf();
  } else {
    std::ifstream File(Source);
    if (!File) {
      *Error = Source + ": cannot be opened";
      return false;
    }
    Buffer << File.rdbuf();
  }
  *Text = Buffer.str();
  return true;
}

// The interactive clock starts at the local time of day; headless runs keep the platform's
// fixed start so their screens do not depend on when they ran.
EFI_TIME LocalTime() {
  std::time_t Now = std::time(nullptr);
  std::tm Local{};
  localtime_r(&Now, &Local);
  EFI_TIME Time{};
  Time.Year = static_cast<UINT16>(Local.tm_year + 1900);
  Time.Month = static_cast<UINT8>(Local.tm_mon + 1);
  Time.Day = static_cast<UINT8>(Local.tm_mday);
  Time.Hour = static_cast<UINT8>(Local.tm_hour);
  Time.Minute = static_cast<UINT8>(Local.tm_min);
  Time.Second = static_cast<UINT8>(std::min(Local.tm_sec, 59));
  Time.TimeZone = EFI_UNSPECIFIED_TIMEZONE;
  return Time;
}

int Fail(const std::string &Message) {
  std::cerr << "morvane: " << Message << "\n";
  return ExitError;
}

// The handles whose package lists hold the form set: SendForm looks for a given form set GUID in
// every handle it is passed, so only those may go with it.
std::vector<EFI_HII_HANDLE> HandlesWithFormSet(EFI_HII_DATABASE_PROTOCOL *Database,
                                               const std::vector<EFI_HII_HANDLE> &Handles,
                                               const EFI_GUID &FormSet) {
  std::vector<EFI_HII_HANDLE> Found;
  for (EFI_HII_HANDLE Handle : Handles) {
    for (const EFI_GUID &Guid : FormSetGuidsOf(Database, Handle)) {
      if (kit::SameGuid(Guid, FormSet)) {
        Found.push_back(Handle);
        break;
      }
    }
  }
  return Found;
}

int Run(const ProgramOptions &Options, TerminalSession *Terminal) {
  // A message printed on the alternate screen would vanish with it: the terminal is given back
  // before any message.
  auto Stop = [Terminal](const std::string &Message) {
    if (Terminal != nullptr) {
      Terminal->Restore();
    }
    return Fail(Message);
  };

  // The script is checked before anything is built, so a bad one leaves no trace.
  host::KeyScript Script;
  if (Options.Keys) {
    std::string Text;
    std::string Error;
    if (!ReadScript(*Options.Keys, &Text, &Error)) {
      return Fail("key script: " + Error);
    }
    host::KeyScriptError Problem;
    if (!host::ParseKeyScript(Text, &Script, &Problem)) {
      std::string Source = *Options.Keys == "-" ? "standard input" : *Options.Keys;
      return Fail("key script " + Source + ": " + Problem.Describe());
    }
  }

  SessionOptions Settings;
  unsigned Columns = 80;
  unsigned Rows = 25;
  if (Terminal != nullptr) {
    unsigned TerminalColumns = 0;
    unsigned TerminalRows = 0;
    if (!Terminal->Size(&TerminalColumns, &TerminalRows)) {
      TerminalColumns = 80;
      TerminalRows = 25;
    }
    Columns = Options.Size ? Options.Size->first : TerminalColumns;
    Rows = Options.Size ? Options.Size->second : TerminalRows;
    if (TerminalColumns < Columns || TerminalRows < Rows) {
      return Stop("the terminal is " + std::to_string(TerminalColumns) + "x" +
                  std::to_string(TerminalRows) + "; the setup screen needs " +
                  std::to_string(std::max(Columns, 80u)) + "x" +
                  std::to_string(std::max(Rows, 25u)) + " (enlarge it or use a smaller --size)");
    }
    if (Columns < 80 || Rows < 25) {
      return Stop("the terminal is " + std::to_string(Columns) + "x" + std::to_string(Rows) +
                  "; the setup screen needs at least 80x25 (enlarge it)");
    }
  } else if (Options.Size) {
    Columns = Options.Size->first;
    Rows = Options.Size->second;
  }
  Settings.Platform.Columns = Columns;
  Settings.Platform.Rows = Rows;
  if (Terminal != nullptr) {
    Settings.Platform.StartTime = LocalTime();
  }
  Settings.Language = Options.Language;
  std::string Variables =
      Options.VariablesFile.empty() ? DefaultVariablesFile() : Options.VariablesFile;
  if (Options.VariablesFile.empty()) {
    std::error_code Ignored;
    std::filesystem::create_directories(std::filesystem::path(Variables).parent_path(), Ignored);
  }
  Settings.Platform.VariableStoreFile = Variables;

  BrowserSession Session(Settings);
  const std::string &LoadError = Session.Platform().Variables().LoadError();
  if (!LoadError.empty()) {
    return Stop("variables: " + LoadError +
                " (the file is left as it is; choose another with --vars)");
  }
  if (EFI_ERROR(Session.EntryStatus()) || Session.FormBrowser() == nullptr) {
    return Stop("the browser driver did not start: " + StatusName(Session.EntryStatus()));
  }

  SendFormRequest Request;
  Request.FormSetGuid = Options.FormSet;
  Request.FormId = Options.FormId;
  std::unique_ptr<sample::SamplePlatform> Sample;
  std::unique_ptr<PackageFiles> Files;
  if (Options.Packages.empty()) {
    Sample = std::make_unique<sample::SamplePlatform>(Session.Platform().SystemTable());
    if (!Sample->Ok()) {
      return Stop("the sample platform could not be built");
    }
    Request.Handles = Sample->Handles();
  } else {
    Files = std::make_unique<PackageFiles>(Session.Platform().SystemTable(),
                                           Session.Hii().Database(), Session.Hii().ConfigRouting());
    std::string Error;
    if (!Files->Load(Options.Packages, &Error)) {
      return Stop(Error);
    }
    Request.Handles = Files->Handles();
  }
  if (Options.FormSet) {
    Request.Handles =
        HandlesWithFormSet(Session.Hii().Database(), Request.Handles, *Options.FormSet);
    if (Request.Handles.empty()) {
      return Stop("--formset: none of the form sets shown has the GUID " +
                  kit::GuidText(*Options.FormSet));
    }
  }

  int Code;
  if (Terminal == nullptr) {
    Code = RunHeadless(Session, Request, Script, Options.Dump, std::cout, std::cerr);
  } else {
    Code = RunInteractive(*Terminal, Session, Request, Options.Stats, std::cerr);
  }
  const std::string &SaveError = Session.Platform().Variables().SaveError();
  if (!SaveError.empty()) {
    std::cerr << "morvane: variables were not saved: " << SaveError << "\n";
    if (Code == ExitOk) {
      Code = ExitError;
    }
  }
  return Code;
}

} // namespace

int main(int Argc, char **Argv) {
  ProgramOptions Options;
  if (std::optional<int> Code = ParseOptions(Argc, Argv, &Options)) {
    return *Code;
  }
  try {
    if (Options.Keys) {
      return Run(Options, nullptr);
    }
    TerminalSession Terminal(STDIN_FILENO, STDOUT_FILENO);
    if (!Terminal.Ok()) {
      return Fail(Terminal.Error());
    }
    int Code = Run(Options, &Terminal);
    Terminal.Restore();
    if (int Signal = Terminal.PendingSignal()) {
      // Ended by a signal: die of it, as the shell expects, now the terminal is restored.
      std::signal(Signal, SIG_DFL);
      std::raise(Signal);
    }
    return Code;
  } catch (const std::exception &Error) {
    return Fail(Error.what());
  }
}
