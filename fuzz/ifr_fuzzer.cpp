// Arbitrary bytes as the IFR of a form package: found in the package list, parsed, every
// expression evaluated, and released. Nothing may crash, hang or leak.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "core/browser_context.h"
#include "core/form_set_cache.h"
#include "expression/expression.h"
#include "fuzz/fuzz_environment.h"
#include "fuzz/fuzz_strings.h"
#include "host/kit/package_list_builder.h"

namespace {

const EFI_GUID FuzzListGuid = {
    0x66757a7a, 0x6966, 0x4472, {0x69, 0x66, 0x72, 0x31, 0x00, 0x00, 0x00, 0x01}};

void EvaluateEverything(FormSet *Set) {
  LIST_FOR_EACH(FormLink, &Set->FormList) {
    Form *Shown = FormFromLink(FormLink);
    LIST_FOR_EACH(Link, &Shown->ExpressionList) {
      EvaluateExpression(Set, Shown, ExpressionFromLink(Link));
    }
    LIST_FOR_EACH(StatementLink, &Shown->StatementList) {
      Statement *Question = StatementFromLink(StatementLink);
      LIST_FOR_EACH(Link, &Question->InconsistentIfList) {
        EvaluateExpression(Set, Shown, ExpressionFromLink(Link));
      }
      LIST_FOR_EACH(Link, &Question->NoSubmitIfList) {
        EvaluateExpression(Set, Shown, ExpressionFromLink(Link));
      }
    }
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  static morvane::fuzz::FuzzEnvironment *Environment = new morvane::fuzz::FuzzEnvironment();
  // A form package's length field has 24 bits.
  if (Size > 0xFFFF00) {
    return 0;
  }
  morvane::kit::PackageListBuilder List(FuzzListGuid);
  List.AddForms(std::vector<uint8_t>(Data, Data + Size));
  List.AddStrings(morvane::fuzz::FuzzStrings());
  EFI_HII_HANDLE Handle = Environment->Register(List.Bytes());
  if (Handle == nullptr) {
    return 0;
  }
  FormSet *Set = nullptr;
  EFI_STATUS Status = LoadFormSet(Handle, nullptr, &Set, FALSE);
  if (!EFI_ERROR(Status)) {
    Set->Loaded = 1;
    EvaluateEverything(Set);
  }
  ReleaseFormSet(Set);
  Environment->Unregister(Handle);
  return 0;
}
