#include "tools/terminal/terminal_session.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "tools/terminal/renderer.h"

namespace morvane::tools {

namespace {

// State the signal handlers may touch: the self-pipe, and what a fatal signal must restore.
int SignalPipe[2] = {-1, -1};
int RestoreFd = -1;
struct termios SavedMode;
bool ModeSaved = false;
const char LeaveBytes[] = "\x1b[0m\x1b[?7h\x1b[?25h\x1b[?1049l";

constexpr int ForwardedSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGCONT, SIGWINCH};
constexpr int FatalSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};

void OnSignal(int Number) {
  int Saved = errno;
  unsigned char Byte = static_cast<unsigned char>(Number);
  if (SignalPipe[1] >= 0) {
    [[maybe_unused]] ssize_t Written = write(SignalPipe[1], &Byte, 1);
  }
  errno = Saved;
}

// A fatal signal cannot be deferred: restore with async-signal-safe calls, then die of it.
void OnFatalSignal(int Number) {
  if (RestoreFd >= 0) {
    [[maybe_unused]] ssize_t Written = write(RestoreFd, LeaveBytes, sizeof(LeaveBytes) - 1);
    if (ModeSaved) {
      tcsetattr(RestoreFd, TCSAFLUSH, &SavedMode);
    }
  }
  signal(Number, SIG_DFL);
  raise(Number);
}

void Install(int Number, void (*Handler)(int)) {
  struct sigaction Action = {};
  Action.sa_handler = Handler;
  sigemptyset(&Action.sa_mask);
  sigaction(Number, &Action, nullptr);
}

} // namespace

TerminalSession::TerminalSession(int Input, int Output) : InputFd(Input), OutputFd(Output) {
  if (!isatty(InputFd) || !isatty(OutputFd)) {
    Failure = "standard input and output must be a terminal (use --keys for a headless run)";
    return;
  }
  if (tcgetattr(InputFd, &SavedMode) != 0) {
    Failure = std::string("cannot read the terminal mode: ") + std::strerror(errno);
    return;
  }
  ModeSaved = true;
  if (pipe(SignalPipe) != 0) {
    Failure = std::string("cannot create a pipe: ") + std::strerror(errno);
    return;
  }
  for (int End : SignalPipe) {
    fcntl(End, F_SETFL, fcntl(End, F_GETFL) | O_NONBLOCK);
    fcntl(End, F_SETFD, FD_CLOEXEC);
  }
  RestoreFd = OutputFd;
  for (int Number : ForwardedSignals) {
    Install(Number, OnSignal);
  }
  for (int Number : FatalSignals) {
    Install(Number, OnFatalSignal);
  }
  EnterRawMode();
  Started = true;
}

TerminalSession::~TerminalSession() {
  Restore();
  for (int Number : ForwardedSignals) {
    signal(Number, SIG_DFL);
  }
  for (int Number : FatalSignals) {
    signal(Number, SIG_DFL);
  }
  for (int &End : SignalPipe) {
    if (End >= 0) {
      close(End);
      End = -1;
    }
  }
  RestoreFd = -1;
}

void TerminalSession::EnterRawMode() {
  struct termios Mode = SavedMode;
  Mode.c_iflag &= ~static_cast<tcflag_t>(BRKINT | ICRNL | INPCK | ISTRIP | IXON);
  Mode.c_oflag &= ~static_cast<tcflag_t>(OPOST);
  Mode.c_cflag |= CS8;
  // ISIG stays: Ctrl-C, Ctrl-\ and Ctrl-Z end or suspend the program as in any terminal
  // program, through the same signal handling that restores the terminal.
  Mode.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON | IEXTEN);
  Mode.c_cc[VMIN] = 0;
  Mode.c_cc[VTIME] = 0;
  tcsetattr(InputFd, TCSAFLUSH, &Mode);
  Write(Renderer::EnterSequence());
  Raw = true;
}

void TerminalSession::Restore() {
  if (!Raw) {
    return;
  }
  Write(Renderer::LeaveSequence());
  tcsetattr(InputFd, TCSAFLUSH, &SavedMode);
  Raw = false;
}

bool TerminalSession::Size(unsigned *Columns, unsigned *Rows) const {
  struct winsize Window = {};
  if (ioctl(OutputFd, TIOCGWINSZ, &Window) != 0 || Window.ws_col == 0) {
    return false;
  }
  *Columns = Window.ws_col;
  *Rows = Window.ws_row;
  return true;
}

void TerminalSession::Write(const std::string &Bytes) {
  size_t Done = 0;
  while (Done < Bytes.size()) {
    ssize_t Written = write(OutputFd, Bytes.data() + Done, Bytes.size() - Done);
    if (Written < 0) {
      if (errno == EINTR) {
        continue;
      }
      return;
    }
    Done += static_cast<size_t>(Written);
  }
}

void TerminalSession::HandleSignal(int Number, TerminalEvent *Event) {
  switch (Number) {
  case SIGTSTP:
    Restore();
    signal(SIGTSTP, SIG_DFL);
    raise(SIGTSTP);
    // The process stops here; SIGCONT continues it below.
    Install(SIGTSTP, OnSignal);
    EnterRawMode();
    *Event = TerminalEvent::Redraw;
    break;
  case SIGCONT:
    if (!Raw) {
      EnterRawMode();
    }
    *Event = TerminalEvent::Redraw;
    break;
  case SIGWINCH:
    *Event = TerminalEvent::Redraw;
    break;
  default:
    Signal = Number;
    *Event = TerminalEvent::Terminate;
    break;
  }
}

TerminalEvent TerminalSession::Wait(int TimeoutMilliseconds, std::string *Bytes) {
  struct pollfd Watched[2] = {{InputFd, POLLIN, 0}, {SignalPipe[0], POLLIN, 0}};
  int Ready = poll(Watched, 2, TimeoutMilliseconds);
  if (Ready <= 0) {
    return TerminalEvent::None;
  }
  TerminalEvent Event = TerminalEvent::None;
  if ((Watched[1].revents & POLLIN) != 0) {
    unsigned char Numbers[16];
    ssize_t Count = read(SignalPipe[0], Numbers, sizeof(Numbers));
    for (ssize_t Index = 0; Index < Count; Index++) {
      TerminalEvent FromSignal = TerminalEvent::None;
      HandleSignal(Numbers[Index], &FromSignal);
      if (FromSignal == TerminalEvent::Terminate || Event == TerminalEvent::None) {
        Event = FromSignal;
      }
    }
    if (Event == TerminalEvent::Terminate) {
      return Event;
    }
  }
  if ((Watched[0].revents & (POLLIN | POLLHUP | POLLERR | POLLNVAL)) != 0) {
    char Buffer[256];
    ssize_t Count = read(InputFd, Buffer, sizeof(Buffer));
    if (Count > 0) {
      Bytes->append(Buffer, static_cast<size_t>(Count));
      if (Event == TerminalEvent::None) {
        Event = TerminalEvent::Input;
      }
    } else if (Count < 0 && (errno == EINTR || errno == EAGAIN)) {
      // Nothing this time; the next wait reads it.
    } else if (Count < 0 || (Watched[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
      // The terminal is gone, whether it says so by a hang-up or by a read error: end as on
      // SIGHUP instead of polling a dead descriptor forever.
      Signal = SIGHUP;
      return TerminalEvent::Terminate;
    }
  }
  return Event;
}

} // namespace morvane::tools
