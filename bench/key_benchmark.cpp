// What one key costs: the browser's work from a Down arrow to the next key wait on a long form
// (movement, the repaint of the options in view, the help text), and the bytes and time the
// terminal renderer needs to carry the change to a real terminal. Both must stay flat as the
// form grows: a key touches a page of options, not the whole form.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "core/external_protocols.h"
#include "host/components/config_driver.h"
#include "host/kit/kit.h"
#include "tools/session/browser_session.h"
#include "tools/terminal/renderer.h"

namespace {

using morvane::kit::IfrWriter;
using morvane::kit::Strings;

const EFI_GUID FormSetGuid = {
    0x62656e63, 0x6b65, 0x7973, {0x6d, 0x6f, 0x72, 0x76, 0x00, 0x00, 0x00, 0x01}};

// A tab with Count checkboxes on one buffer varstore.
std::vector<uint8_t> LongForm(int Count, EFI_STRING_ID *Title, EFI_STRING_ID *Help) {
  Strings S;
  *Title = S.Add(u"Long");
  *Help = S.Add(u"A long form");
  EFI_STRING_ID ItemHelp = S.Add(u"Turns a setting on or off. The help text runs over a few rows.");
  IfrWriter W;
  W.FormSet(FormSetGuid, *Title, *Help, {}, true);
  W.VarStore(FormSetGuid, 1, static_cast<UINT16>(Count), "Long");
  W.Form(1, *Title, true);
  for (int Index = 0; Index < Count; Index++) {
    W.Checkbox({S.Add(u"Setting " + std::u16string(1, u'A' + Index % 26)), ItemHelp,
                static_cast<EFI_QUESTION_ID>(Index + 1), 1, static_cast<UINT16>(Index), 0});
  }
  W.End().End();
  return morvane::kit::PackageListBuilder(FormSetGuid).AddForms(W).AddStrings(S).Bytes();
}

morvane::tools::ScreenFrame FrameOf(const morvane::host::TextScreen &Screen) {
  morvane::tools::ScreenFrame Frame;
  Frame.Columns = Screen.Columns();
  Frame.Rows = Screen.Rows();
  for (unsigned Row = 0; Row < Frame.Rows; Row++) {
    for (unsigned Column = 0; Column < Frame.Columns; Column++) {
      const morvane::host::ScreenCell &Cell = Screen.Cell(Column, Row);
      Frame.Cells.push_back({Cell.Char, static_cast<uint8_t>(Cell.Attribute), Cell.Continuation});
    }
  }
  return Frame;
}

// The browser waiting on the long form; each iteration presses Down (Up at the end, so the
// highlight keeps moving and the form keeps scrolling) and runs to the next wait.
void BM_KeyRoundTrip(benchmark::State &State) {
  const int Count = static_cast<int>(State.range(0));
  morvane::tools::BrowserSession Session;
  morvane::host::ConfigDriver Driver(Session.Platform().BootServices(),
                                     Session.Hii().ConfigRouting());
  Driver.AddBufferStorage(FormSetGuid, u"Long", std::vector<uint8_t>(Count, 0));
  EFI_STRING_ID Title = 0;
  EFI_STRING_ID Help = 0;
  EFI_HII_HANDLE Handle = Session.AddPackageList(LongForm(Count, &Title, &Help), Driver.Handle());
  morvane::tools::SendFormRequest Request;
  Request.Handles = {Handle};
  std::unique_ptr<morvane::host::DriverRun> Run = Session.StartSendForm(Request);
  Run->Resume();
  morvane::tools::Renderer Terminal;
  Terminal.Render(FrameOf(Session.Platform().Screen()));
  int Position = 0;
  bool Down = true;
  size_t Bytes = 0;
  for (auto _ : State) {
    if (Position == Count - 1) {
      Down = false;
    } else if (Position == 0) {
      Down = true;
    }
    Position += Down ? 1 : -1;
    Session.Platform().Keyboard().PushKey(Down ? SCAN_DOWN : SCAN_UP, 0);
    Run->Resume();
    Bytes += Terminal.Render(FrameOf(Session.Platform().Screen())).size();
  }
  State.counters["terminal_bytes_per_key"] =
      benchmark::Counter(static_cast<double>(Bytes), benchmark::Counter::kAvgIterations);
  State.SetItemsProcessed(State.iterations());
}
BENCHMARK(BM_KeyRoundTrip)->Arg(20)->Arg(200)->Arg(2000)->Unit(benchmark::kMicrosecond);

// The renderer alone: a full frame, then a frame with one changed cell.
void BM_RenderOneChangedCell(benchmark::State &State) {
  morvane::tools::ScreenFrame Frame;
  Frame.Columns = 80;
  Frame.Rows = 25;
  Frame.Cells.resize(80 * 25);
  for (size_t Index = 0; Index < Frame.Cells.size(); Index++) {
    Frame.Cells[Index].Character = static_cast<char16_t>(u'A' + Index % 26);
    Frame.Cells[Index].Attribute = static_cast<uint8_t>(0x10 + Index % 7);
  }
  morvane::tools::Renderer Terminal;
  Terminal.Render(Frame);
  size_t Bytes = 0;
  size_t Cell = 0;
  for (auto _ : State) {
    Cell = (Cell + 37) % Frame.Cells.size();
    Frame.Cells[Cell].Character = Frame.Cells[Cell].Character == u'*' ? u'#' : u'*';
    Bytes += Terminal.Render(Frame).size();
  }
  State.counters["bytes_per_frame"] =
      benchmark::Counter(static_cast<double>(Bytes), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_RenderOneChangedCell);

} // namespace
