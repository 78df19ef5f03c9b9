#include "tests/tools/program_runner.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace morvane::test {

namespace {

// Far beyond any run of the tests, even on a loaded machine under the sanitizers; only a hang
// reaches it.
constexpr int GiveUpMilliseconds = 5 * 60 * 1000;

std::vector<std::string> MergedEnvironment(const std::vector<std::string> &Changes) {
  std::vector<std::string> Merged;
  for (char **Entry = environ; *Entry != nullptr; Entry++) {
    Merged.emplace_back(*Entry);
  }
  for (const std::string &Change : Changes) {
    std::string Name = Change.substr(0, Change.find('=') + 1);
    std::erase_if(Merged, [&](const std::string &Entry) { return Entry.rfind(Name, 0) == 0; });
    if (Change.size() > Name.size()) {
      Merged.push_back(Change);
    }
  }
  return Merged;
}

} // namespace

const char *ProgramPath() {
  return MORVANE_PROGRAM;
}

ProgramResult RunProgram(const std::vector<std::string> &Arguments, const std::string &Input,
                         const std::vector<std::string> &Environment) {
  ProgramResult Result;
  int In[2];
  int Out[2];
  int Err[2];
  if (pipe2(In, O_CLOEXEC) != 0 || pipe2(Out, O_CLOEXEC) != 0 || pipe2(Err, O_CLOEXEC) != 0) {
    ADD_FAILURE() << "pipe: " << std::strerror(errno);
    return Result;
  }
  std::vector<std::string> Words = {ProgramPath()};
  Words.insert(Words.end(), Arguments.begin(), Arguments.end());
  std::vector<char *> Argv;
  for (std::string &Word : Words) {
    Argv.push_back(Word.data());
  }
  Argv.push_back(nullptr);
  std::vector<std::string> Variables = MergedEnvironment(Environment);
  std::vector<char *> Envp;
  for (std::string &Variable : Variables) {
    Envp.push_back(Variable.data());
  }
  Envp.push_back(nullptr);

  pid_t Child = fork();
  if (Child < 0) {
    ADD_FAILURE() << "fork: " << std::strerror(errno);
    return Result;
  }
  if (Child == 0) {
    dup2(In[0], STDIN_FILENO);
    dup2(Out[1], STDOUT_FILENO);
    dup2(Err[1], STDERR_FILENO);
    execve(Argv[0], Argv.data(), Envp.data());
    _exit(127);
  }
  close(In[0]);
  close(Out[1]);
  close(Err[1]);
  // A program that stops reading its input must not kill the test with SIGPIPE.
  signal(SIGPIPE, SIG_IGN);

  size_t Written = 0;
  int InputFd = In[1];
  if (Input.empty()) {
    close(InputFd);
    InputFd = -1;
  }
  int Waited = 0;
  bool OutOpen = true;
  bool ErrOpen = true;
  while (OutOpen || ErrOpen) {
    pollfd Watched[3] = {{OutOpen ? Out[0] : -1, POLLIN, 0},
                         {ErrOpen ? Err[0] : -1, POLLIN, 0},
                         {InputFd, POLLOUT, 0}};
    int Ready = poll(Watched, 3, 1000);
    if (Ready < 0 && errno != EINTR) {
      break;
    }
    if (Ready <= 0) {
      Waited += 1000;
      if (Waited >= GiveUpMilliseconds) {
        kill(Child, SIGKILL);
        ADD_FAILURE() << "the program did not end; killed";
        break;
      }
      continue;
    }
    char Buffer[65536];
    for (int Index = 0; Index < 2; Index++) {
      if ((Watched[Index].revents & (POLLIN | POLLHUP)) == 0) {
        continue;
      }
      ssize_t Count = read(Watched[Index].fd, Buffer, sizeof(Buffer));
      if (Count > 0) {
        (Index == 0 ? Result.Out : Result.Errors).append(Buffer, static_cast<size_t>(Count));
      } else if (Count == 0 || errno != EINTR) {
        (Index == 0 ? OutOpen : ErrOpen) = false;
      }
    }
    if (InputFd >= 0 && (Watched[2].revents & (POLLOUT | POLLERR | POLLHUP)) != 0) {
      ssize_t Count = write(InputFd, Input.data() + Written, Input.size() - Written);
      if (Count > 0) {
        Written += static_cast<size_t>(Count);
      }
      if (Count < 0 || Written == Input.size()) {
        close(InputFd);
        InputFd = -1;
      }
    }
  }
  if (InputFd >= 0) {
    close(InputFd);
  }
  close(Out[0]);
  close(Err[0]);
  int Status = 0;
  while (waitpid(Child, &Status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(Status)) {
    Result.ExitCode = WEXITSTATUS(Status);
  } else if (WIFSIGNALED(Status)) {
    Result.Signal = WTERMSIG(Status);
  }
  return Result;
}

ScratchDirectory::ScratchDirectory() {
  std::string Template = std::filesystem::temp_directory_path().string() + "/morvane-test-XXXXXX";
  if (mkdtemp(Template.data()) == nullptr) {
    throw std::runtime_error("mkdtemp: " + std::string(std::strerror(errno)));
  }
  Root = Template;
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code Ignored;
  std::filesystem::remove_all(Root, Ignored);
}

std::string ScratchDirectory::Write(const std::string &Name, const std::string &Bytes) const {
  std::string Path = PathOf(Name);
  std::ofstream File(Path, std::ios::binary | std::ios::trunc);
  File << Bytes;
  if (!File) {
    throw std::runtime_error("cannot write " + Path);
  }
  return Path;
}

std::string ScratchDirectory::Write(const std::string &Name,
                                    const std::vector<unsigned char> &Bytes) const {
  return Write(Name, std::string(Bytes.begin(), Bytes.end()));
}

std::string ReadFile(const std::string &Path) {
  std::ifstream File(Path, std::ios::binary);
  std::ostringstream Text;
  Text << File.rdbuf();
  return Text.str();
}

bool FileExists(const std::string &Path) {
  return std::filesystem::exists(Path);
}

void ExpectMatchesFile(const std::string &Name, const std::string &Actual) {
  std::string Path = std::string(MORVANE_EXPECTED_DIR) + "/" + Name + ".txt";
  const char *Update = std::getenv("MORVANE_UPDATE_SCREENS");
  if (Update != nullptr && std::string(Update) == "1") {
    std::ofstream(Path, std::ios::binary | std::ios::trunc) << Actual;
    return;
  }
  if (!FileExists(Path)) {
    ADD_FAILURE() << Path << " is missing (run with MORVANE_UPDATE_SCREENS=1 to write it, then "
                  << "review it)\n"
                  << Actual;
    return;
  }
  EXPECT_EQ(ReadFile(Path), Actual) << "the output differs from " << Path;
}

} // namespace morvane::test
