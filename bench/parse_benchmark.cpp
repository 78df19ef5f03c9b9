// Parse and load of a generated form set of many questions with expressions, in nanoseconds per
// opcode, beside a bare walk of the same opcodes by their lengths. The time per opcode must stay
// flat as the form set grows: the parse is linear in the number of opcodes.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "core/driver_entry.h"
#include "core/form_set_cache.h"
#include "host/components/config_driver.h"
#include "host/hii/hii_services.h"
#include "host/kit/ifr_writer.h"
#include "host/kit/package_list_builder.h"
#include "host/platform.h"

namespace {

using morvane::kit::IfrValue;
using morvane::kit::IfrWriter;

const EFI_GUID BenchGuid = {
    0x62656e63, 0x6866, 0x4f72, {0x6d, 0x73, 0x65, 0x74, 0x00, 0x00, 0x00, 0x01}};
const EFI_GUID StoreGuid = {
    0x62656e63, 0x6866, 0x4f72, {0x6d, 0x73, 0x65, 0x74, 0x00, 0x00, 0x00, 0x02}};

// A form set of Count numeric questions on one buffer varstore, each greyed out by the value
// of the one before it and carrying a default; every tenth has a rule that bounds it.
struct Generated {
  std::vector<uint8_t> PackageList;
  std::vector<uint8_t> Opcodes;
  size_t OpcodeCount = 0;
};

Generated Generate(int Count) {
  morvane::kit::Strings Strings;
  EFI_STRING_ID Title = Strings.Add(u"Generated");
  EFI_STRING_ID Prompt = Strings.Add(u"Question");
  EFI_STRING_ID Help = Strings.Add(u"A generated question with a condition and a rule.");
  EFI_STRING_ID Error = Strings.Add(u"Too large.");
  IfrWriter W;
  W.FormSet(BenchGuid, Title, Help, {}, true);
  W.VarStore(StoreGuid, 1, static_cast<UINT16>(Count), "Bench");
  W.DefaultStore(Title, 0);
  W.Form(1, Title, true);
  for (int Index = 0; Index < Count; Index++) {
    EFI_QUESTION_ID Id = static_cast<EFI_QUESTION_ID>(Index + 1);
    W.GrayOutIf(true).EqIdVal(Id == 1 ? 1 : static_cast<EFI_QUESTION_ID>(Id - 1), 7);
    W.Numeric({Prompt, Help, Id, 1, static_cast<UINT16>(Index), 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 200,
              1, true);
    W.Default(0, IfrValue::U8(static_cast<UINT8>(Index % 100)));
    // Statement opcodes are counted in 16 bits: a rule on every tenth question keeps 10,000
    // questions inside that.
    if (Index % 10 == 0) {
      W.InconsistentIf(Error, true).QuestionRef1(Id).Uint8(150).GreaterThan().End();
    }
    W.End();
    W.End();
  }
  W.End();
  W.End();
  morvane::kit::PackageListBuilder List(BenchGuid);
  List.AddForms(W).AddStrings(Strings);
  Generated Out;
  Out.PackageList = List.Bytes();
  Out.Opcodes = W.Bytes();
  for (size_t Offset = 0; Offset + 1 < Out.Opcodes.size(); Out.OpcodeCount++) {
    Offset += Out.Opcodes[Offset + 1] & 0x7F;
  }
  return Out;
}

// The hosted platform, its HII services, a driver with the form set's varstore, and the
// entered browser; made once for the whole run.
struct Environment {
  std::unique_ptr<morvane::host::Platform> Platform;
  std::unique_ptr<morvane::host::HiiServices> Hii;
  std::unique_ptr<morvane::host::ConfigDriver> Driver;
  EFI_HII_DATABASE_PROTOCOL *Database = nullptr;

  Environment() {
    Platform = std::make_unique<morvane::host::Platform>();
    Hii = std::make_unique<morvane::host::HiiServices>(Platform->BootServices());
    EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing = nullptr;
    Platform->BootServices()->LocateProtocol(&gEfiHiiDatabaseProtocolGuid, nullptr,
                                             reinterpret_cast<VOID **>(&Database));
    Platform->BootServices()->LocateProtocol(&gEfiHiiConfigRoutingProtocolGuid, nullptr,
                                             reinterpret_cast<VOID **>(&Routing));
    Driver = std::make_unique<morvane::host::ConfigDriver>(Platform->BootServices(), Routing);
    if (EFI_ERROR(BrowserDriverEntry(Platform->ImageHandle(), Platform->SystemTable()))) {
      std::fprintf(stderr, "the driver did not enter\n");
      std::abort();
    }
  }

  EFI_HII_HANDLE Register(const Generated &FormSet, int Count) {
    Driver->AddBufferStorage(StoreGuid, u"Bench",
                             std::vector<uint8_t>(static_cast<size_t>(Count), 0));
    EFI_HII_HANDLE Handle = nullptr;
    Database->NewPackageList(
        Database, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(FormSet.PackageList.data()),
        Driver->Handle(), &Handle);
    return Handle;
  }
};

Environment &Shared() {
  static Environment *Instance = new Environment();
  return *Instance;
}

void BM_LoadFormSet(benchmark::State &State) {
  int Count = static_cast<int>(State.range(0));
  Generated FormSet = Generate(Count);
  EFI_HII_HANDLE Handle = Shared().Register(FormSet, Count);
  for (auto _ : State) {
    ::FormSet *Loaded = nullptr;
    EFI_STATUS Status = LoadFormSet(Handle, nullptr, &Loaded, FALSE);
    if (EFI_ERROR(Status)) {
      State.SkipWithError("the form set did not load");
    }
    ReleaseFormSet(Loaded);
  }
  Shared().Database->RemovePackageList(Shared().Database, Handle);
  State.SetItemsProcessed(State.iterations() * static_cast<int64_t>(FormSet.OpcodeCount));
  State.counters["ns_per_opcode"] =
      benchmark::Counter(static_cast<double>(State.iterations() * FormSet.OpcodeCount),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  State.counters["opcodes"] = static_cast<double>(FormSet.OpcodeCount);
  State.SetComplexityN(static_cast<int64_t>(FormSet.OpcodeCount));
}

void BM_BareWalk(benchmark::State &State) {
  Generated FormSet = Generate(static_cast<int>(State.range(0)));
  const std::vector<uint8_t> &Opcodes = FormSet.Opcodes;
  for (auto _ : State) {
    size_t Seen = 0;
    uint32_t Sum = 0;
    for (size_t Offset = 0; Offset + 1 < Opcodes.size(); Seen++) {
      Sum += Opcodes[Offset];
      Offset += Opcodes[Offset + 1] & 0x7F;
    }
    benchmark::DoNotOptimize(Sum);
    benchmark::DoNotOptimize(Seen);
  }
  State.SetItemsProcessed(State.iterations() * static_cast<int64_t>(FormSet.OpcodeCount));
  State.counters["ns_per_opcode"] =
      benchmark::Counter(static_cast<double>(State.iterations() * FormSet.OpcodeCount),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  State.SetComplexityN(static_cast<int64_t>(FormSet.OpcodeCount));
}

BENCHMARK(BM_LoadFormSet)
    ->Arg(1250)
    ->Arg(2500)
    ->Arg(5000)
    ->Arg(10000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);
BENCHMARK(BM_BareWalk)
    ->Arg(1250)
    ->Arg(2500)
    ->Arg(5000)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond)
    ->Complexity(benchmark::oN);

} // namespace

BENCHMARK_MAIN();
