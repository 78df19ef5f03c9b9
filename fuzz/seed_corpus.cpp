// Writes the fuzz targets' seed inputs, made with the authoring kit, into a directory: form set
// bodies that reach every kind of opcode the parser reads.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "fuzz/fuzz_strings.h"
#include "host/kit/ifr_writer.h"
#include "host/kit/package_list_builder.h"
#include "host/kit/strings.h"

using morvane::kit::IfrValue;
using morvane::kit::IfrWriter;
using morvane::kit::QuestionHeader;

namespace {

const EFI_GUID SeedGuid = {
    0x73656564, 0x1111, 0x2222, {0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0x00}};
const EFI_GUID StoreGuid = {
    0x73746f72, 0x1111, 0x2222, {0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0x01}};

IfrWriter Browsable() {
  IfrWriter W;
  W.FormSet(SeedGuid, 1, 2, {}, true);
  W.Form(1, 3, true);
  W.Subtitle(4, 5, 0, true).End();
  W.Text(6, 7, 8);
  W.Subtitle(9, 10, 0, true).End();
  W.Ref({11, 12, 0x101, 0, 0, 0}, 2);
  W.Ref2({13, 14, 0x102, 0, 0, 0}, 2, 0x201);
  W.Ref3({15, 16, 0x103, 0, 0, 0}, 1, 0, SeedGuid);
  W.Ref4({17, 18, 0x104, 0, 0, 0}, 1, 0, SeedGuid, 19);
  W.End();
  W.Form(2, 20, true);
  W.Action({21, 22, 0x201, 0, 0, 0}, 23);
  W.Action({24, 25, 0x202, 0, 0, 0}, std::nullopt);
  W.End();
  W.End();
  return W;
}

IfrWriter Questions() {
  IfrWriter W;
  W.FormSet(SeedGuid, 1, 2, {}, true);
  W.VarStore(StoreGuid, 1, 64, "Setup");
  W.VarStoreNameValue(2, StoreGuid);
  W.VarStoreEfi(3, StoreGuid, 7, 2, "Var");
  W.DefaultStore(4, 0);
  W.DefaultStore(5, 1);
  W.Form(1, 3, true);
  W.OneOf({6, 7, 0x301, 1, 0, EFI_IFR_FLAG_CALLBACK}, EFI_IFR_NUMERIC_SIZE_1, 0, 3, 0, true);
  W.OneOfOption(8, EFI_IFR_OPTION_DEFAULT, IfrValue::U8(0));
  W.OneOfOption(9, 0, IfrValue::U8(1));
  W.End();
  W.Numeric({10, 11, 0x302, 1, 2, 0}, EFI_IFR_NUMERIC_SIZE_2 | EFI_IFR_DISPLAY_UINT_HEX, 0, 1000,
            10, true);
  W.Default(0, IfrValue::U16(100));
  W.Default(1, IfrValue::U16(200), true).Value(true).Uint16(300).End().End();
  W.End();
  W.Checkbox({12, 13, 0x303, 1, 4, 0}, EFI_IFR_CHECKBOX_DEFAULT);
  W.Password({14, 15, 0x304, 1, 6, EFI_IFR_FLAG_CALLBACK}, 2, 8);
  W.String({16, 17, 0x305, 1, 24, 0}, 0, 10);
  W.Date({18, 19, 0x306, 1, 44, 0});
  W.Time({20, 21, 0x307, 0, 0, 0}, QF_TIME_STORAGE_TIME);
  W.OrderedList({22, 23, 0x308, 1, 48, 0}, 3, 0, true);
  W.OneOfOption(24, 0, IfrValue::U8(1))
      .OneOfOption(25, 0, IfrValue::U8(2))
      .OneOfOption(26, 0, IfrValue::U8(3));
  W.End();
  W.Numeric({27, 28, 0x309, 2, 29, 0}, EFI_IFR_NUMERIC_SIZE_4, 0, 0xFFFF, 1);
  W.Numeric({30, 31, 0x30A, 3, 32, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 60, 1);
  W.ResetButton({33, 34, 0x30B, 0, 0, 0}, 0);
  W.Refresh(1);
  W.End();
  W.End();
  return W;
}

IfrWriter Conditions() {
  IfrWriter W;
  W.FormSet(SeedGuid, 1, 2, {}, true);
  W.VarStore(StoreGuid, 1, 16, "Setup");
  W.DisableIf(true).False();
  W.Form(1, 3, true);
  W.Rule(1, true).EqIdVal(0x401, 1).EqIdVal(0x402, 0).And().End();
  W.Checkbox({4, 5, 0x401, 1, 0, 0});
  W.Checkbox({6, 7, 0x402, 1, 1, 0});
  W.SuppressIf(true).RuleRef(1);
  W.GrayOutIf(true).QuestionRef1(0x401).Not();
  W.Numeric({8, 9, 0x403, 1, 2, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 100, 1, true);
  W.InconsistentIf(10, true).QuestionRef1(0x403).Uint8(50).GreaterThan().End();
  W.NoSubmitIf(11, true).QuestionRef1(0x403).Zero().Equal().End();
  W.End();
  W.End();
  W.End();
  W.DisableIf(true).True();
  W.Text(12, 13, 14);
  W.DisableIf(true).False().End();
  W.End();
  W.Numeric({15, 16, 0x404, 1, 3, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 10, 1, true);
  W.Value(true).QuestionRef1(0x403).Uint8(2).Divide().Uint8(3).Modulo().End();
  W.End();
  W.End();
  W.End();
  W.End();
  return W;
}

IfrWriter Operators() {
  IfrWriter W;
  W.FormSet(SeedGuid, 1, 2, {}, true);
  W.Guid(morvane::kit::IFR_VENDOR_EXTENSION_GUID, {morvane::kit::IFR_EXTEND_OP_CLASS, 1, 0});
  W.ExtensionSubclass(0);
  W.ActionKeyBegin();
  W.Form(1, 3, true);
  W.Action({4, 5, 0x501, 0, 0, 0}, 6);
  W.SuppressIf(true);
  W.StringRef1(7).ToUint().Uint64(31).Equal();
  W.StringRef1(8).StringRef1(9).Catenate().Length().Zero().GreaterThan().And();
  W.StringRef1(8).StringRef1(10).Uint8(0).Find(1).Ones().NotEqual().Or();
  W.StringRef1(8).Uint8(1).Uint8(3).Mid().StringRef1(11).Uint8(0).Token().Equal().Or();
  W.StringRef1(8).StringRef1(12).Uint8(0).Span(0).One().LessEqual().Or();
  W.Uint32(5).ToString(0).ToLower().ToUpper().StringRef1(13).Match().Or();
  W.True().Uint16(1).Uint16(2).Conditional().Uint16(2).Equal().Or();
  W.Version()
      .Dup()
      .BitwiseAnd()
      .BitwiseNot()
      .Ones()
      .ShiftLeft()
      .One()
      .ShiftRight()
      .Zero()
      .Equal()
      .Or();
  W.Text(14, 15, 16);
  W.End();
  W.End();
  W.ActionKeyEnd();
  W.End();
  return W;
}

} // namespace

// Seeds of the input fuzzer: a first byte that picks terminal bytes (odd) or a package list
// file (even), then the input.
void WriteInputSeeds(const std::filesystem::path &Directory) {
  std::filesystem::create_directories(Directory);
  const std::pair<const char *, std::string> Keys[] = {
      {"keys_xterm", "\x1b[A\x1b[B\x1b[1;5C\x1bOP\x1b[15~\x1b[24;2~\x1b[Z\r\t\x7f"},
      {"keys_vt100plus", "\x1b"
                         "1\x1b"
                         "0\x1b!\x1b@\x1bh\x1bk\x1b+\x1b-\x1b?\x1b/"},
      {"keys_linux", "\x1b[[A\x1b[[E\x1b[1~\x1b[4~\xffx\x1b\xff"},
      {"keys_utf8", "caf\xc3\xa9 \xe6\x97\xa5\xe6\x9c\xac \x1bx"},
  };
  for (const auto &[Name, Bytes] : Keys) {
    std::ofstream Out(Directory / Name, std::ios::binary);
    Out.put(1);
    Out.write(Bytes.data(), static_cast<std::streamsize>(Bytes.size()));
  }
  morvane::kit::Strings Text;
  Text.Add(u"Title");
  Text.Add(u"Help");
  std::vector<uint8_t> List =
      morvane::kit::PackageListBuilder(SeedGuid).AddForms(Browsable()).AddStrings(Text).Bytes();
  std::ofstream Out(Directory / "package_list", std::ios::binary);
  Out.put(0);
  Out.write(reinterpret_cast<const char *>(List.data()), static_cast<std::streamsize>(List.size()));
}

int main(int Argc, char **Argv) {
  if (Argc != 2 && Argc != 3) {
    std::fprintf(stderr, "usage: %s IFR-DIRECTORY [INPUT-DIRECTORY]\n", Argv[0]);
    return 2;
  }
  if (Argc == 3) {
    WriteInputSeeds(Argv[2]);
  }
  std::filesystem::create_directories(Argv[1]);
  const std::pair<const char *, IfrWriter> Seeds[] = {
      {"browsable", Browsable()},
      {"questions", Questions()},
      {"conditions", Conditions()},
      {"operators", Operators()},
  };
  for (const auto &[Name, Writer] : Seeds) {
    std::ofstream Out(std::filesystem::path(Argv[1]) / Name, std::ios::binary);
    Out.write(reinterpret_cast<const char *>(Writer.Bytes().data()),
              static_cast<std::streamsize>(Writer.Bytes().size()));
  }
  return 0;
}
