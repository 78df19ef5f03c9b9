#include "tools/morvane/headless.h"

#include "host/key_script_runner.h"

namespace morvane::tools {

void DumpScreen(const host::TextScreen &Screen, unsigned Number, DumpMode Mode, std::ostream &Out) {
  Out << "=== screen " << Number << " " << Screen.Columns() << "x" << Screen.Rows() << " ===\n";
  if (Mode != DumpMode::Attributes) {
    for (const std::string &Row : Screen.TextRows()) {
      Out << Row << "\n";
    }
  }
  if (Mode != DumpMode::Text) {
    Out << "=== attr " << Number << " ===\n";
    for (const std::string &Row : Screen.AttributeRows()) {
      Out << Row << "\n";
    }
  }
}

int RunHeadless(BrowserSession &Session, const SendFormRequest &Request,
                const host::KeyScript &Script, DumpMode Mode, std::ostream &Out,
                std::ostream &Errors) {
  std::unique_ptr<host::DriverRun> Run = Session.StartSendForm(Request);
  host::TextScreen &Screen = Session.Platform().Screen();
  unsigned Dumps = 0;
  host::KeyScriptOutcome Outcome = host::RunKeyScript(
      *Run, Script, [&](const host::KeyScriptStep &) { DumpScreen(Screen, ++Dumps, Mode, Out); });
  DumpScreen(Screen, ++Dumps, Mode, Out);
  if (Outcome.KeysUnused > 0) {
    Errors << "morvane: " << Outcome.KeysUnused
           << " key(s) of the script were not used: the browser had returned\n";
  }
  switch (Outcome.State) {
  case host::DriverRun::State::Finished:
    Out << "=== exit " << StatusName(Outcome.Status) << " request "
        << static_cast<unsigned>(Session.LastActionRequest()) << " ===\n";
    return ExitOk;
  case host::DriverRun::State::ResetRequested:
    Out << "=== reset ===\n";
    return ExitOk;
  default:
    Out << "=== waiting ===\n";
    return ExitWaiting;
  }
}

} // namespace morvane::tools
