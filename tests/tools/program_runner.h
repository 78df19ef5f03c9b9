// Runs the built morvane program as a user's CI would: arguments, standard input, and what it
// printed and how it ended. Also a scratch directory per test and the expected-output files.
#pragma once

#include <string>
#include <vector>

namespace morvane::test {

// The path of the program under test, given by the build.
const char *ProgramPath();

struct ProgramResult {
  // The exit code when the program exited, -1 when a signal ended it.
  int ExitCode = -1;
  int Signal = 0;
  std::string Out;
  std::string Errors;
};

// Runs the program with Arguments, Input on its standard input, and the environment of the test
// with Environment ("NAME=value", or "NAME=" to remove it) on top. A run that has not ended
// after several minutes is killed and fails the test.
ProgramResult RunProgram(const std::vector<std::string> &Arguments, const std::string &Input = {},
                         const std::vector<std::string> &Environment = {});

// A directory of its own, removed with everything in it at the end.
class ScratchDirectory {
public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory &) = delete;
  ScratchDirectory &operator=(const ScratchDirectory &) = delete;

  const std::string &Path() const { return Root; }
  std::string PathOf(const std::string &Name) const { return Root + "/" + Name; }
  // Writes the file and returns its path.
  std::string Write(const std::string &Name, const std::string &Bytes) const;
  std::string Write(const std::string &Name, const std::vector<unsigned char> &Bytes) const;

private:
  std::string Root;
};

std::string ReadFile(const std::string &Path);
bool FileExists(const std::string &Path);

// Compares Actual with tests/tools/expected/<Name>.txt; with MORVANE_UPDATE_SCREENS=1 in the
// environment the file is written instead, to be reviewed before it is committed.
void ExpectMatchesFile(const std::string &Name, const std::string &Actual);

} // namespace morvane::test
