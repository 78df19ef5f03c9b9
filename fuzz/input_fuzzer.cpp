// The program's other untrusted inputs: the bytes a terminal sends, decoded into keys with the
// Esc timeout falling anywhere, and package list files as --packages reads them, checked and
// then offered to the HII database. Nothing may crash, hang or leak.
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/fuzz_environment.h"
#include "tools/morvane/package_files.h"
#include "tools/terminal/key_decoder.h"

namespace {

void DecodeKeys(const uint8_t *Data, size_t Size) {
  morvane::tools::KeyDecoder Decoder;
  morvane::tools::TerminalInput Input;
  size_t Start = 0;
  // A byte 0xFF stands for "no byte came in time": the decoder is flushed there.
  for (size_t Index = 0; Index <= Size; Index++) {
    if (Index == Size || Data[Index] == 0xFF) {
      Decoder.Feed(std::string(reinterpret_cast<const char *>(Data + Start), Index - Start));
      while (Decoder.Next(&Input)) {
      }
      Decoder.Flush();
      while (Decoder.Next(&Input)) {
      }
      Start = Index + 1;
    }
  }
}

void CheckPackageList(morvane::fuzz::FuzzEnvironment &Environment, const uint8_t *Data,
                      size_t Size) {
  std::vector<UINT8> Bytes(Data, Data + Size);
  morvane::tools::PackageListSummary Summary;
  std::string Error;
  if (!morvane::tools::InspectPackageList(Bytes, &Summary, &Error)) {
    return;
  }
  // What passes the program's check goes to the database, as --packages does.
  if (EFI_HII_HANDLE Handle = Environment.Register(Bytes)) {
    Environment.Unregister(Handle);
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  static morvane::fuzz::FuzzEnvironment *Environment = new morvane::fuzz::FuzzEnvironment();
  if (Size == 0) {
    return 0;
  }
  // The first byte picks the input; the rest is the input.
  if (Data[0] & 1) {
    DecodeKeys(Data + 1, Size - 1);
  } else {
    CheckPackageList(*Environment, Data + 1, Size - 1);
  }
  return 0;
}
