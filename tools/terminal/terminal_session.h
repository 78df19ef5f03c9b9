// The real terminal while the browser runs on it: raw mode, the alternate screen, the cursor
// hidden and autowrap off, all restored in reverse order on every way out: normal exit, error,
// the terminating signals (restore, then re-raise) and the fatal ones. SIGTSTP restores the
// terminal before the stop and SIGCONT takes it back; SIGWINCH asks for a redraw. Signal
// handlers only write to a self-pipe, but for the fatal signals, which cannot wait.
#pragma once

#include <string>

namespace morvane::tools {

enum class TerminalEvent { None, Input, Redraw, Terminate };

class TerminalSession {
public:
  // Takes the terminal on Input/Output (file descriptors). Fails with a message when they are
  // not a terminal.
  TerminalSession(int Input, int Output);
  ~TerminalSession();
  TerminalSession(const TerminalSession &) = delete;
  TerminalSession &operator=(const TerminalSession &) = delete;

  bool Ok() const { return Started; }
  const std::string &Error() const { return Failure; }

  // The terminal's size in cells.
  bool Size(unsigned *Columns, unsigned *Rows) const;
  // Writes all of Bytes to the terminal.
  void Write(const std::string &Bytes);
  // Waits up to TimeoutMilliseconds for input or a signal. Input bytes are appended to Bytes.
  TerminalEvent Wait(int TimeoutMilliseconds, std::string *Bytes);
  // The signal that asked the program to end, to be re-raised after the restore.
  int PendingSignal() const { return Signal; }
  // Leaves the terminal as it was found; safe to call twice.
  void Restore();

private:
  void EnterRawMode();
  void HandleSignal(int Number, TerminalEvent *Event);

  int InputFd;
  int OutputFd;
  bool Started = false;
  bool Raw = false;
  int Signal = 0;
  std::string Failure;
};

} // namespace morvane::tools
