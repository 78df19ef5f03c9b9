// The interactive program in a pseudo-terminal, as a user has it: it takes the terminal, draws
// the setup screen, reads keys, and gives the terminal back as it found it on every way out.
// Waits are generous and only guard against a hang; nothing is timed.
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

#include "tests/tools/program_runner.h"
#include "tests/tools/virtual_terminal.h"

using morvane::test::ProgramPath;
using morvane::test::ScratchDirectory;
using morvane::test::VirtualTerminal;

namespace {

constexpr int PatienceMilliseconds = 60 * 1000;
const std::string EnterBytes = "\x1b[?1049h";
const std::string LeaveBytes = "\x1b[?1049l";
const std::string F10 = "\x1b[21~";

class PseudoTerminalRun {
public:
  // With Controlling, the terminal is the program's controlling terminal in a session of its
  // own, so the terminal's signal keys reach it; without, job-control signals sent by the test
  // can stop it.
  PseudoTerminalRun(unsigned Columns, unsigned Rows, const std::vector<std::string> &Arguments,
                    bool Controlling = false)
      : Screen(Columns, Rows) {
    winsize Size{};
    Size.ws_col = static_cast<unsigned short>(Columns);
    Size.ws_row = static_cast<unsigned short>(Rows);
    if (openpty(&Master, &Slave, nullptr, nullptr, &Size) != 0) {
      ADD_FAILURE() << "openpty: " << std::strerror(errno);
      return;
    }
    fcntl(Master, F_SETFD, FD_CLOEXEC);
    fcntl(Slave, F_SETFD, FD_CLOEXEC);
    tcgetattr(Slave, &Before);
    std::vector<std::string> Words = {ProgramPath()};
    Words.insert(Words.end(), Arguments.begin(), Arguments.end());
    std::vector<char *> Argv;
    for (std::string &Word : Words) {
      Argv.push_back(Word.data());
    }
    Argv.push_back(nullptr);
    Child = fork();
    if (Child == 0) {
      // A process group of its own in the test's session: job control signals then stop it,
      // which they would not do to a group orphaned by a new session.
      if (Controlling) {
        setsid();
        ioctl(Slave, TIOCSCTTY, 0);
      } else {
        setpgid(0, 0);
      }
      rlimit NoCore{0, 0};
      setrlimit(RLIMIT_CORE, &NoCore);
      dup2(Slave, STDIN_FILENO);
      dup2(Slave, STDOUT_FILENO);
      dup2(Slave, STDERR_FILENO);
      execv(Argv[0], Argv.data());
      _exit(127);
    }
  }

  ~PseudoTerminalRun() {
    if (Child > 0 && !Ended) {
      kill(Child, SIGKILL);
      waitpid(Child, nullptr, 0);
    }
    if (Master >= 0) {
      close(Master);
    }
    if (Slave >= 0) {
      close(Slave);
    }
  }

  // Reads what the program writes until Done holds; false when it did not within the patience.
  template <typename Predicate>
  bool ReadUntil(Predicate Done) {
    for (int Waited = 0; Waited < PatienceMilliseconds; Waited += 50) {
      Drain(50);
      if (Done()) {
        return true;
      }
    }
    return false;
  }
  bool WaitForText(const std::string &Text) {
    return ReadUntil([&] { return Screen.Shows(Text); });
  }

  void Send(const std::string &Bytes) {
    ASSERT_EQ(write(Master, Bytes.data(), Bytes.size()), static_cast<ssize_t>(Bytes.size()));
  }

  // Waits for the program to end, reading its output meanwhile.
  bool WaitForEnd() {
    bool Done = ReadUntil([&] {
      if (!Ended && waitpid(Child, &Status, WNOHANG) == Child) {
        Ended = true;
      }
      return Ended;
    });
    Drain(0);
    return Done;
  }
  bool WaitForStop() {
    return ReadUntil([&] {
      int Stopped = 0;
      return waitpid(Child, &Stopped, WNOHANG | WUNTRACED) == Child && WIFSTOPPED(Stopped);
    });
  }

  termios Now() const {
    termios Mode{};
    tcgetattr(Slave, &Mode);
    return Mode;
  }
  bool InRawMode() const {
    termios Mode = Now();
    return (Mode.c_lflag & (ICANON | ECHO)) == 0;
  }
  void ExpectModesAsBefore() const {
    termios After = Now();
    EXPECT_EQ(After.c_iflag, Before.c_iflag);
    EXPECT_EQ(After.c_oflag, Before.c_oflag);
    EXPECT_EQ(After.c_cflag, Before.c_cflag);
    EXPECT_EQ(After.c_lflag, Before.c_lflag);
    EXPECT_EQ(After.c_cc[VMIN], Before.c_cc[VMIN]);
    EXPECT_EQ(After.c_cc[VTIME], Before.c_cc[VTIME]);
  }
  // The terminal was left: the leave sequence follows the last enter sequence.
  void ExpectLeft() const {
    size_t Entered = Output.rfind(EnterBytes);
    size_t Left = Output.rfind(LeaveBytes);
    ASSERT_NE(Entered, std::string::npos);
    ASSERT_NE(Left, std::string::npos) << "the alternate screen was never left";
    EXPECT_GT(Left, Entered);
    EXPECT_FALSE(Screen.AlternateScreen());
    EXPECT_TRUE(Screen.CursorVisible());
  }

  pid_t Pid() const { return Child; }
  int ExitCode() const { return Ended && WIFEXITED(Status) ? WEXITSTATUS(Status) : -1; }
  int Signal() const { return Ended && WIFSIGNALED(Status) ? WTERMSIG(Status) : 0; }
  // As when the terminal emulator goes away: no one holds either side any more.
  void HangUp() {
    close(Master);
    close(Slave);
    Master = -1;
    Slave = -1;
  }

  VirtualTerminal Screen;
  std::string Output;

private:
  void Drain(int TimeoutMilliseconds) {
    if (Master < 0) {
      if (TimeoutMilliseconds > 0) {
        usleep(static_cast<useconds_t>(TimeoutMilliseconds) * 1000);
      }
      return;
    }
    pollfd Watched{Master, POLLIN, 0};
    while (poll(&Watched, 1, TimeoutMilliseconds) > 0 && (Watched.revents & POLLIN) != 0) {
      char Buffer[8192];
      ssize_t Count = read(Master, Buffer, sizeof(Buffer));
      if (Count <= 0) {
        break;
      }
      std::string Bytes(Buffer, static_cast<size_t>(Count));
      Output += Bytes;
      Screen.Feed(Bytes);
      TimeoutMilliseconds = 0;
    }
  }

  int Master = -1;
  int Slave = -1;
  pid_t Child = -1;
  termios Before{};
  bool Ended = false;
  int Status = 0;
};

class TerminalSessionTest : public ::testing::Test {
protected:
  std::vector<std::string> Arguments(std::vector<std::string> More = {}) {
    More.insert(More.begin(), {"--vars", Scratch.PathOf("variables")});
    return More;
  }
  ScratchDirectory Scratch;
};

TEST_F(TerminalSessionTest, DrawsReadsKeysAndGivesTheTerminalBack) {
  PseudoTerminalRun Run(80, 25, Arguments());
  ASSERT_TRUE(Run.WaitForText("Morvane Setup")) << Run.Output;
  EXPECT_TRUE(Run.Screen.AlternateScreen());
  EXPECT_FALSE(Run.Screen.CursorVisible());
  EXPECT_TRUE(Run.InRawMode());
  EXPECT_TRUE(Run.Screen.Shows("System Date"));

  Run.Send("\x1b[C");
  ASSERT_TRUE(Run.WaitForText("Advanced Settings"));
  Run.Send("\r");
  ASSERT_TRUE(Run.WaitForText("Hyper-Threading"));
  // The VT100+ keys of firmware consoles reach the browser as well: Esc 0 is F10.
  Run.Send("\x1b"
           "0");
  ASSERT_TRUE(Run.WaitForText("Save configuration changes and exit now?"));
  // A lone Esc closes the question once the decoder has waited for more.
  Run.Send("\x1b");
  ASSERT_TRUE(Run.ReadUntil([&] { return !Run.Screen.Shows("exit now?"); }));
  Run.Send(F10);
  ASSERT_TRUE(Run.WaitForText("exit now?"));
  Run.Send("\r");
  ASSERT_TRUE(Run.WaitForEnd());
  EXPECT_EQ(Run.ExitCode(), 0);
  Run.ExpectModesAsBefore();
  Run.ExpectLeft();
  // Said on the normal screen, after the terminal was given back.
  EXPECT_TRUE(Run.Screen.Shows("setup ended: EFI_SUCCESS"));
}

// Each way of being told to end, by a signal or by the terminal's own key for it (Ctrl-C,
// Ctrl-\, which need the terminal to be the controlling one): the terminal is restored, then the
// program dies of the signal as the shell expects.
TEST_F(TerminalSessionTest, EndingSignalsRestoreThenReRaise) {
  const std::pair<int, std::string> Ways[] = {
      {SIGTERM, ""}, {SIGINT, ""},  {SIGHUP, ""},     {SIGQUIT, ""},
      {SIGSEGV, ""}, {SIGABRT, ""}, {SIGINT, "\x03"}, {SIGQUIT, "\x1c"},
  };
  for (const auto &[Number, Key] : Ways) {
    SCOPED_TRACE(std::string(strsignal(Number)) + (Key.empty() ? "" : " by its key"));
    PseudoTerminalRun Run(80, 25, Arguments(), !Key.empty());
    ASSERT_TRUE(Run.WaitForText("Morvane Setup"));
    ASSERT_TRUE(Run.InRawMode());
    if (Key.empty()) {
      kill(Run.Pid(), Number);
    } else {
      Run.Send(Key);
    }
    ASSERT_TRUE(Run.WaitForEnd());
    EXPECT_EQ(Run.Signal(), Number);
    Run.ExpectModesAsBefore();
    Run.ExpectLeft();
  }
}

TEST_F(TerminalSessionTest, StopAndContinue) {
  PseudoTerminalRun Run(80, 25, Arguments());
  ASSERT_TRUE(Run.WaitForText("Morvane Setup"));
  kill(Run.Pid(), SIGTSTP);
  ASSERT_TRUE(Run.WaitForStop());
  // Stopped, the shell has its terminal back.
  Run.ReadUntil([&] { return !Run.Screen.AlternateScreen(); });
  Run.ExpectModesAsBefore();
  Run.ExpectLeft();

  kill(Run.Pid(), SIGCONT);
  ASSERT_TRUE(Run.ReadUntil([&] { return Run.Screen.AlternateScreen(); }));
  ASSERT_TRUE(Run.WaitForText("Morvane Setup"));
  EXPECT_TRUE(Run.InRawMode());
  Run.Send(F10);
  ASSERT_TRUE(Run.WaitForText("exit now?"));
  Run.Send("\r");
  ASSERT_TRUE(Run.WaitForEnd());
  EXPECT_EQ(Run.ExitCode(), 0);
  Run.ExpectModesAsBefore();
  Run.ExpectLeft();
}

// A key the browser refuses (F2 has no use on a form) rings the terminal's bell; Ctrl-L and
// SIGWINCH draw the whole screen again, over whatever the terminal lost.
TEST_F(TerminalSessionTest, BellAndRedrawOnRequest) {
  PseudoTerminalRun Run(80, 25, Arguments());
  ASSERT_TRUE(Run.WaitForText("Morvane Setup"));
  EXPECT_EQ(Run.Screen.Bells(), 0u);
  Run.Send("\x1bOQ");
  EXPECT_TRUE(Run.ReadUntil([&] { return Run.Screen.Bells() > 0; }));
  for (int Way = 0; Way < 2; Way++) {
    Run.Screen.Feed("\x1b[2J");
    ASSERT_FALSE(Run.Screen.Shows("Morvane Setup"));
    if (Way == 0) {
      Run.Send("\x0c");
    } else {
      kill(Run.Pid(), SIGWINCH);
    }
    ASSERT_TRUE(Run.WaitForText("Morvane Setup")) << (Way == 0 ? "Ctrl-L" : "SIGWINCH");
    EXPECT_TRUE(Run.Screen.Shows("System Date"));
  }
  kill(Run.Pid(), SIGTERM);
  ASSERT_TRUE(Run.WaitForEnd());
}

// A terminal that goes away ends the program as a hang-up would.
TEST_F(TerminalSessionTest, TerminalGoneEndsTheProgram) {
  PseudoTerminalRun Run(80, 25, Arguments());
  ASSERT_TRUE(Run.WaitForText("Morvane Setup"));
  Run.HangUp();
  ASSERT_TRUE(Run.WaitForEnd()) << "the program went on without its terminal";
  EXPECT_EQ(Run.Signal(), SIGHUP);
}

TEST_F(TerminalSessionTest, TooSmallTerminalIsRefusedClearly) {
  struct SizeCase {
    unsigned Columns;
    unsigned Rows;
    std::vector<std::string> More;
    std::string Message;
  } Cases[] = {
      {60, 20, {}, "the terminal is 60x20"},
      {80, 25, {"--size", "100x30"}, "the terminal is 80x25"},
  };
  for (const SizeCase &Case : Cases) {
    PseudoTerminalRun Run(Case.Columns, Case.Rows, Arguments(Case.More));
    ASSERT_TRUE(Run.WaitForEnd());
    EXPECT_EQ(Run.ExitCode(), 1);
    EXPECT_TRUE(Run.Screen.Shows(Case.Message)) << Run.Output;
    Run.ExpectModesAsBefore();
    EXPECT_FALSE(Run.Screen.AlternateScreen());
  }
}

TEST_F(TerminalSessionTest, StatisticsOfBytesPerKey) {
  PseudoTerminalRun Run(80, 25, Arguments({"--stats"}));
  ASSERT_TRUE(Run.WaitForText("Morvane Setup"));
  Run.Send("\x1b[B");
  ASSERT_TRUE(Run.ReadUntil([&] { return Run.Screen.Shows("The time of the"); }));
  Run.Send(F10);
  ASSERT_TRUE(Run.WaitForText("exit now?"));
  Run.Send("\r");
  ASSERT_TRUE(Run.WaitForEnd());
  EXPECT_TRUE(Run.Screen.Shows("3 keys")) << Run.Output;
  EXPECT_TRUE(Run.Screen.Shows("per key")) << Run.Output;
}

} // namespace
