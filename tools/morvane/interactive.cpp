#include "tools/morvane/interactive.h"

#include <algorithm>
#include <chrono>

#include "tools/terminal/key_decoder.h"
#include "tools/terminal/renderer.h"

namespace morvane::tools {

namespace {

// How long a lone Esc waits for the rest of a sequence.
constexpr int EscapeTimeoutMilliseconds = 30;
// How often the browser's timers get real time while no key comes.
constexpr int TickMilliseconds = 100;

ScreenFrame FrameOf(const host::TextScreen &Screen) {
  ScreenFrame Frame;
  Frame.Columns = Screen.Columns();
  Frame.Rows = Screen.Rows();
  Frame.Cells.resize(static_cast<size_t>(Frame.Columns) * Frame.Rows);
  for (unsigned Row = 0; Row < Frame.Rows; Row++) {
    for (unsigned Column = 0; Column < Frame.Columns; Column++) {
      const host::ScreenCell &Cell = Screen.Cell(Column, Row);
      ScreenCell &Out = Frame.Cells[Row * Frame.Columns + Column];
      Out.Character = Cell.Char;
      Out.Attribute = static_cast<uint8_t>(Cell.Attribute);
      Out.Continuation = Cell.Continuation;
    }
  }
  Frame.CursorVisible = Screen.CursorVisible();
  Frame.CursorColumn = Screen.CursorColumn();
  Frame.CursorRow = Screen.CursorRow();
  return Frame;
}

struct ByteStats {
  size_t Keys = 0;
  size_t Bytes = 0;
  size_t Largest = 0;
  size_t FirstFrame = 0;
};

} // namespace

int RunInteractive(TerminalSession &Terminal, BrowserSession &Session,
                   const SendFormRequest &Request, bool Stats, std::ostream &Errors) {
  host::Platform &Host = Session.Platform();
  if (host::SpeakerDevice *Speaker = Host.Speaker()) {
    Speaker->SetBeepHook(
        [&Terminal](UINTN Count) { Terminal.Write(std::string(std::min<UINTN>(Count, 3), '\a')); });
  }
  Renderer Screen;
  KeyDecoder Decoder;
  ByteStats Counted;
  bool FirstFrame = true;
  auto Draw = [&](bool AfterKey) {
    std::string Bytes = Screen.Render(FrameOf(Host.Screen()));
    Terminal.Write(Bytes);
    if (FirstFrame) {
      Counted.FirstFrame = Bytes.size();
      FirstFrame = false;
    } else if (AfterKey) {
      Counted.Bytes += Bytes.size();
      Counted.Largest = std::max(Counted.Largest, Bytes.size());
    }
  };

  std::unique_ptr<host::DriverRun> Run = Session.StartSendForm(Request);
  host::DriverRun::State State = Run->Resume();
  auto Last = std::chrono::steady_clock::now();
  bool Terminated = false;
  while (State == host::DriverRun::State::Waiting) {
    Draw(Counted.Keys > 0);
    std::string Bytes;
    TerminalEvent Event =
        Terminal.Wait(Decoder.Pending() ? EscapeTimeoutMilliseconds : TickMilliseconds, &Bytes);
    if (Event == TerminalEvent::Terminate) {
      Terminated = true;
      break;
    }
    if (Event == TerminalEvent::Redraw) {
      Screen.Invalidate();
    }
    if (Event == TerminalEvent::None && Decoder.Pending()) {
      Decoder.Flush();
    }
    Decoder.Feed(Bytes);
    auto Now = std::chrono::steady_clock::now();
    UINT64 Elapsed = std::chrono::duration_cast<std::chrono::microseconds>(Now - Last).count();
    Last = Now;
    if (Elapsed > 0) {
      // Real time reaches the browser's timers (the clock on the Main page, refresh questions).
      Run->AddWaitBudget(Elapsed);
      State = Run->Resume();
    }
    TerminalInput Input;
    while (State == host::DriverRun::State::Waiting && Decoder.Next(&Input)) {
      if (Input.What == TerminalInput::Kind::Redraw) {
        Screen.Invalidate();
        continue;
      }
      Host.Keyboard().Push(Input.Key);
      Counted.Keys++;
      State = Run->Resume();
      Draw(true);
    }
  }
  Terminal.Restore();
  if (Stats) {
    Errors << "morvane: first frame " << Counted.FirstFrame << " bytes; " << Counted.Keys
           << " keys, " << Counted.Bytes << " bytes after them";
    if (Counted.Keys > 0) {
      Errors << " (" << Counted.Bytes / Counted.Keys << " per key on average, largest "
             << Counted.Largest << ")";
    }
    Errors << "\n";
  }
  if (Terminated) {
    return ExitError;
  }
  if (State == host::DriverRun::State::Finished) {
    Errors << "morvane: setup ended: " << StatusName(Run->Status()) << ", action request "
           << static_cast<unsigned>(Session.LastActionRequest()) << "\n";
  }
  return ExitOk;
}

} // namespace morvane::tools
