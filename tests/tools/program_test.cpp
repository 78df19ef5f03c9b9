// The morvane program run as a user's CI runs it: the built binary with a key script, its
// screens compared with reviewed files, its exit codes and messages, package list files written
// with the authoring kit, and the variables file across runs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "host/kit/kit.h"
#include "tests/tools/program_runner.h"

using morvane::test::ExpectMatchesFile;
using morvane::test::FileExists;
using morvane::test::ProgramResult;
using morvane::test::ReadFile;
using morvane::test::RunProgram;
using morvane::test::ScratchDirectory;
using testing::HasSubstr;
using testing::Not;

namespace kit = morvane::kit;

namespace {

constexpr const char *AdvancedFormSet = "821d8b77-246d-4e96-8e10-3467d56ab1ba";
constexpr const char *WidgetFormSet = "5b0f3d61-1f2c-4a8e-9d3b-7c4e2a1f0b01";
constexpr const char *GadgetFormSet = "5b0f3d61-1f2c-4a8e-9d3b-7c4e2a1f0b02";

// A user's form set as a tool would write it: a buffer varstore with a checkbox, a one-of and a
// number on the first form, and a reference to a second form.
std::vector<uint8_t> WidgetPackageList() {
  const EFI_GUID FormSet = kit::ParseGuid(WidgetFormSet);
  const EFI_GUID Store = kit::ParseGuid("5b0f3d61-1f2c-4a8e-9d3b-7c4e2a1f0b11");
  kit::Strings S;
  EFI_STRING_ID Title = S.Add(u"Widgets");
  S.Translate("fr-FR", Title, u"Gadgets \u00E0 ressort");
  EFI_STRING_ID Help = S.Add(u"Settings of the widget controller.");
  EFI_STRING_ID DetailsTitle = S.Add(u"Widget Details");

  kit::IfrWriter W;
  W.FormSet(FormSet, Title, Help, {}, true);
  W.VarStore(Store, 1, 8, "WidgetSetup");
  W.DefaultStore(S.Add(u"Standard Defaults"), EFI_HII_DEFAULT_CLASS_STANDARD);
  W.Form(1, Title, true);
  W.Subtitle(S.Add(u"Widget Controller"), 0, 0, true).End();
  W.Checkbox({S.Add(u"Enable Widget"), S.Add(u"Turns the widget on."), 0x100, 1, 0, 0},
             EFI_IFR_CHECKBOX_DEFAULT);
  W.OneOf({S.Add(u"Widget Colour"), S.Add(u"The colour of the widget's lamp."), 0x101, 1, 1, 0},
          EFI_IFR_NUMERIC_SIZE_1, 0, 2, 0, true);
  W.OneOfOption(S.Add(u"Red"), EFI_IFR_OPTION_DEFAULT, kit::IfrValue::U8(0));
  W.OneOfOption(S.Add(u"Green"), 0, kit::IfrValue::U8(1));
  W.OneOfOption(S.Add(u"Blue"), 0, kit::IfrValue::U8(2));
  W.End();
  W.Numeric({S.Add(u"Widget Count"), S.Add(u"How many widgets, 0 to 16."), 0x102, 1, 2, 0},
            EFI_IFR_NUMERIC_SIZE_1 | EFI_IFR_DISPLAY_UINT_DEC, 0, 16, 1, true);
  W.Default(EFI_HII_DEFAULT_CLASS_STANDARD, kit::IfrValue::U8(4));
  W.End();
  W.Ref({DetailsTitle, S.Add(u"Serial number and revision."), 0x103, 0, 0, 0}, 2);
  W.End();
  W.Form(2, DetailsTitle, true);
  W.Text(S.Add(u"Serial Number"), S.Add(u"Printed on the widget."), S.Add(u"WX-0042"));
  W.Text(S.Add(u"Revision"), S.Add(u"The board revision."), S.Add(u"C"));
  W.End();
  W.End();
  return kit::PackageListBuilder(FormSet).AddForms(W).AddStrings(S).Bytes();
}

std::vector<uint8_t> GadgetPackageList() {
  const EFI_GUID FormSet = kit::ParseGuid(GadgetFormSet);
  const EFI_GUID Store = kit::ParseGuid("5b0f3d61-1f2c-4a8e-9d3b-7c4e2a1f0b12");
  kit::Strings S;
  EFI_STRING_ID Title = S.Add(u"Gadgets");
  kit::IfrWriter W;
  W.FormSet(FormSet, Title, S.Add(u"Gadget options."), {}, true);
  W.VarStore(Store, 1, 2, "GadgetSetup");
  W.Form(1, Title, true);
  W.Checkbox({S.Add(u"Gadget Mode"), S.Add(u"Runs the gadget."), 0x200, 1, 0, 0});
  W.End();
  W.End();
  return kit::PackageListBuilder(FormSet).AddForms(W).AddStrings(S).Bytes();
}

class ProgramTest : public ::testing::Test {
protected:
  // A headless run on this test's variables file.
  ProgramResult Headless(const std::string &Script, std::vector<std::string> Arguments = {}) {
    std::string ScriptFile = Scratch.Write("keys.txt", Script);
    Arguments.insert(Arguments.begin(), {"--keys", ScriptFile, "--vars", Variables()});
    return RunProgram(Arguments);
  }
  std::string Variables() const { return Scratch.PathOf("variables"); }
  std::string Write(const std::string &Name, const std::vector<uint8_t> &Bytes) {
    return Scratch.Write(Name, std::vector<unsigned char>(Bytes.begin(), Bytes.end()));
  }

  ScratchDirectory Scratch;
};

// The lines of one dump: "=== screen <n> ... ===" up to the next header.
std::vector<std::string> DumpRows(const std::string &Out, unsigned Number) {
  std::vector<std::string> Rows;
  std::istringstream Lines(Out);
  std::string Line;
  bool Inside = false;
  std::string Header = "=== screen " + std::to_string(Number) + " ";
  while (std::getline(Lines, Line)) {
    if (Line.rfind("===", 0) == 0) {
      if (Inside) {
        break;
      }
      Inside = Line.rfind(Header, 0) == 0;
      continue;
    }
    if (Inside) {
      Rows.push_back(Line);
    }
  }
  return Rows;
}

// Cells of a dumped row: a wide character stands once for its two cells.
size_t Cells(const std::string &Row) {
  size_t Count = 0;
  for (size_t Index = 0; Index < Row.size();) {
    unsigned char Lead = static_cast<unsigned char>(Row[Index]);
    size_t Length = Lead < 0x80 ? 1 : Lead < 0xE0 ? 2 : Lead < 0xF0 ? 3 : 4;
    char32_t Code = Length == 1   ? Lead
                    : Length == 2 ? (Lead & 0x1F)
                    : Length == 3 ? (Lead & 0x0F)
                                  : (Lead & 0x07);
    for (size_t More = 1; More < Length; More++) {
      Code = (Code << 6) | (static_cast<unsigned char>(Row[Index + More]) & 0x3F);
    }
    bool Wide = (Code >= 0x1100 && Code <= 0x115F) || (Code >= 0x2E80 && Code <= 0xA4CF) ||
                (Code >= 0xAC00 && Code <= 0xD7A3) || (Code >= 0xF900 && Code <= 0xFAFF) ||
                (Code >= 0xFF00 && Code <= 0xFF60) || (Code >= 0xFFE0 && Code <= 0xFFE6);
    Count += Wide ? 2 : 1;
    Index += Length;
  }
  return Count;
}

std::string Row(const std::string &Out, unsigned Screen, unsigned Index) {
  std::vector<std::string> Rows = DumpRows(Out, Screen);
  return Index < Rows.size() ? Rows[Index] : "";
}

// The first row that holds Text, or empty.
std::string RowWith(const std::string &Out, unsigned Screen, const std::string &Text) {
  for (const std::string &Line : DumpRows(Out, Screen)) {
    if (Line.find(Text) != std::string::npos) {
      return Line;
    }
  }
  return "";
}

TEST_F(ProgramTest, SampleSubFormsAndEditors) {
  ProgramResult Run = Headless(R"(
# Advanced: the three sub-forms, back to the top form each time.
Right Enter screen
Esc Down Enter screen
Esc Down Enter screen
# CPU Configuration: the option pop-up of Performance Profile, then Performance chosen.
Esc Up Up Enter Down Down Enter screen
Down Enter screen
# Boot: the boot order pop-up.
Esc Right Right Enter screen Esc
# Security: the asset tag typed into its dialog.
Left Down Enter "A-17" screen Enter screen
# Main: the general help.
Left Left F1 screen Enter
)");
  EXPECT_EQ(Run.ExitCode, 3) << Run.Errors;
  ExpectMatchesFile("sample_forms", Run.Out);
}

// Time moves only by the script's waits, so two runs print the same screens.
TEST_F(ProgramTest, HeadlessRunsAreRepeatable) {
  const std::string Script = "wait 2500 screen wait 61000";
  ProgramResult First = Headless(Script);
  ProgramResult Second = Headless(Script);
  EXPECT_EQ(First.ExitCode, 3);
  EXPECT_EQ(First.Out, Second.Out);
  EXPECT_THAT(RowWith(First.Out, 1, "System Time"), HasSubstr("[00:00:02]"));
  EXPECT_THAT(RowWith(First.Out, 2, "System Time"), HasSubstr("[00:01:03]"));
}

TEST_F(ProgramTest, DumpFormats) {
  const std::string Script = "Right screen";
  ProgramResult Text = Headless(Script, {"--dump", "text"});
  ProgramResult Attributes = Headless(Script, {"--dump", "attr"});
  ProgramResult Both = Headless(Script, {"--dump", "both"});
  ExpectMatchesFile("dump_both", Both.Out);
  for (const ProgramResult *Run : {&Text, &Attributes, &Both}) {
    EXPECT_EQ(Run->ExitCode, 3) << Run->Errors;
  }

  // Both is the text dump with the attribute rows after each screen's text rows; attr alone is
  // the same without the text rows.
  std::string ExpectedText;
  std::string ExpectedAttributes;
  std::istringstream Lines(Both.Out);
  std::string Line;
  bool InAttributes = false;
  unsigned AttributeRows = 0;
  while (std::getline(Lines, Line)) {
    if (Line.rfind("=== attr ", 0) == 0) {
      InAttributes = true;
      ExpectedAttributes += Line + "\n";
      continue;
    }
    if (Line.rfind("===", 0) == 0) {
      InAttributes = false;
      ExpectedText += Line + "\n";
      ExpectedAttributes += Line + "\n";
      continue;
    }
    if (InAttributes) {
      ExpectedAttributes += Line + "\n";
      EXPECT_TRUE(std::regex_match(Line, std::regex("([0-9A-F]{2}){80}"))) << Line;
      AttributeRows++;
    } else {
      ExpectedText += Line + "\n";
    }
  }
  EXPECT_EQ(AttributeRows, 2u * 25u);
  EXPECT_EQ(Text.Out, ExpectedText);
  EXPECT_EQ(Attributes.Out, ExpectedAttributes);
  EXPECT_THAT(Both.Out, HasSubstr("=== screen 1 80x25 ===\n"));
  EXPECT_THAT(Both.Out, HasSubstr("=== attr 2 ===\n"));
}

// Japanese built-in strings: wide characters stand once for their two cells.
TEST_F(ProgramTest, JapaneseRowsKeepTheirWidth) {
  ProgramResult Run = Headless("", {"--lang", "ja-JP"});
  EXPECT_EQ(Run.ExitCode, 3) << Run.Errors;
  std::vector<std::string> Rows = DumpRows(Run.Out, 1);
  ASSERT_EQ(Rows.size(), 25u);
  bool AnyWide = false;
  for (const std::string &Line : Rows) {
    EXPECT_EQ(Cells(Line), 80u) << Line;
    AnyWide = AnyWide || Cells(Line) != Line.size();
  }
  EXPECT_TRUE(AnyWide) << Run.Out;
}

// Screens compared with reviewed files; every row of the first one fills the console.
TEST_F(ProgramTest, ScreensMatchTheReviewedFiles) {
  std::string Widgets = Write("widgets.hpk", WidgetPackageList());
  struct FileCase {
    const char *File;
    std::string Script;
    std::vector<std::string> Arguments;
    size_t Columns = 80, Rows = 25;
  } Cases[] = {
      {"sample_tabs", "screen Right screen Right screen Right screen Right", {}},
      {"lang_fr", "screen Right Enter", {"--lang", "fr-FR"}},
      {"size_100x30", "Right Down Enter", {"--size", "100x30"}, 100, 30},
      {"kit_package", "screen Down Down Down Enter", {"--packages", Widgets}},
  };
  for (const FileCase &Case : Cases) {
    std::remove(Variables().c_str()); // each run starts from the defaults
    ProgramResult Run = Headless(Case.Script, Case.Arguments);
    EXPECT_EQ(Run.ExitCode, 3) << Case.File << "\n" << Run.Errors;
    ExpectMatchesFile(Case.File, Run.Out);
    std::vector<std::string> Rows = DumpRows(Run.Out, 1);
    ASSERT_EQ(Rows.size(), Case.Rows) << Case.File;
    for (const std::string &Line : Rows) {
      EXPECT_EQ(Cells(Line), Case.Columns) << Case.File << ": " << Line;
    }
  }
}

// Tabs stand in the order of the files, the program's Exit page last.
TEST_F(ProgramTest, PackageFilesInTheOrderGiven) {
  std::string Widgets = Write("widgets.hpk", WidgetPackageList());
  std::string Gadgets = Write("gadgets.hpk", GadgetPackageList());
  struct OrderCase {
    std::vector<std::string> Files;
    std::vector<std::string> Tabs;
    std::string FirstPrompt;
  } Cases[] = {
      {{Widgets, Gadgets}, {"Widgets", "Gadgets", "Exit"}, "Enable Widget"},
      {{Gadgets, Widgets}, {"Gadgets", "Widgets", "Exit"}, "Gadget Mode"},
  };
  for (const OrderCase &Case : Cases) {
    std::vector<std::string> Arguments = {"--packages"};
    Arguments.insert(Arguments.end(), Case.Files.begin(), Case.Files.end());
    ProgramResult Run = Headless("screen Right Right", Arguments);
    EXPECT_EQ(Run.ExitCode, 3) << Run.Errors;
    std::string Tabs = Row(Run.Out, 1, 1);
    size_t Last = 0;
    for (const std::string &Tab : Case.Tabs) {
      size_t At = Tabs.find(Tab);
      ASSERT_NE(At, std::string::npos) << Tab << " in " << Tabs;
      EXPECT_GE(At, Last) << Tabs;
      Last = At;
    }
    EXPECT_THAT(Run.Out, HasSubstr(Case.FirstPrompt));
    // Two steps right is the Exit page.
    EXPECT_NE(RowWith(Run.Out, 2, "Save Changes and Exit"), "") << Run.Out;
  }
}

TEST_F(ProgramTest, FormSetAndForm) {
  std::string Widgets = Write("widgets.hpk", WidgetPackageList());
  std::string Gadgets = Write("gadgets.hpk", GadgetPackageList());
  struct StartCase {
    const char *Name;
    std::vector<std::string> Arguments;
    std::string Shown;
  } Cases[] = {
      {"second file's form set",
       {"--packages", Widgets, Gadgets, "--formset", GadgetFormSet},
       "Gadget Mode"},
      {"a form by id",
       {"--packages", Widgets, "--formset", WidgetFormSet, "--form", "2"},
       "WX-0042"},
      {"sample form set", {"--formset", AdvancedFormSet}, "CPU Configuration"},
      {"sample form", {"--formset", AdvancedFormSet, "--form", "2"}, "Hyper-Threading"},
      {"form id in hexadecimal",
       {"--formset", AdvancedFormSet, "--form", "0x2"},
       "Hyper-Threading"},
  };
  for (const StartCase &Case : Cases) {
    ProgramResult Run = Headless("", Case.Arguments);
    EXPECT_EQ(Run.ExitCode, 3) << Case.Name << "\n" << Run.Errors;
    EXPECT_NE(RowWith(Run.Out, 1, Case.Shown), "") << Case.Name << "\n" << Run.Out;
  }
  ProgramResult Unknown = Headless("", {"--formset", "00000000-1111-2222-3333-444444444444"});
  EXPECT_EQ(Unknown.ExitCode, 1);
  EXPECT_THAT(Unknown.Errors, HasSubstr("00000000-1111-2222-3333-444444444444"));
  EXPECT_EQ(Unknown.Out, "");
}

// How a headless run ends: its exit code and what it says on each stream.
TEST_F(ProgramTest, ExitCodesOfRuns) {
  struct RunCase {
    std::string Script;
    int Code;
    std::string Out, Errors;
  } Cases[] = {
      {"F10 Enter", 0, "=== exit EFI_SUCCESS request ", ""},
      {"Esc Down Enter", 0, "=== exit EFI_SUCCESS request 0 ===", ""}, // from the Exit page
      {"Right", 3, "=== waiting ===\n", ""},
      {"", 3, "=== waiting ===\n", ""},
      {"F10 Enter Down Down", 0, "=== exit ", "2 key(s) of the script were not used"},
      {"Down Sideways", 1, "", "line 1, column 6"},
  };
  for (const RunCase &Case : Cases) {
    ProgramResult Run = Headless(Case.Script);
    EXPECT_EQ(Run.ExitCode, Case.Code) << Case.Script << "\n" << Run.Errors;
    if (Case.Out.empty()) {
      EXPECT_EQ(Run.Out, "") << Case.Script;
    } else {
      EXPECT_THAT(Run.Out, HasSubstr(Case.Out)) << Case.Script;
    }
    EXPECT_THAT(Run.Errors, HasSubstr(Case.Errors)) << Case.Script;
  }
}

// Arguments the program refuses: nothing runs, and the message names what is wrong.
TEST_F(ProgramTest, RefusedArguments) {
  struct ArgumentCase {
    std::vector<std::string> Arguments;
    int Code;
    std::string Errors;
  } Cases[] = {
      {{"--colour"}, 2, "--colour"},
      {{"--size", "79x25"}, 2, "80x25"},
      {{"--size", "80by25"}, 2, "80by25"},
      {{"--size", "80x"}, 2, "COLSxROWS"},
      {{"--size", "1001x25"}, 2, "each from 1 to 1000"},
      {{"--dump", "html"}, 2, "--dump"},
      {{"--formset", "main"}, 2, "main"},
      {{"--form", "two"}, 2, "--form: 'two' is not a form id"},
      {{"--form", "70000"}, 2, "--form: '70000' is not a form id"},
      {{"--form", "-1"}, 2, "--form: '-1' is not a form id"},
      {{"--form", "2x"}, 2, "--form: '2x' is not a form id"},
      {{"--form", ""}, 2, "--form: '' is not a form id"},
      {{"--form", "0x"}, 2, "--form: '0x' is not a form id"},
      {{"--packages", "/nonexistent/forms.hpk"}, 1, "/nonexistent/forms.hpk"},
  };
  for (const ArgumentCase &Case : Cases) {
    ProgramResult Run = Headless("", Case.Arguments);
    std::string Name = testing::PrintToString(Case.Arguments);
    EXPECT_EQ(Run.ExitCode, Case.Code) << Name << "\n" << Run.Errors;
    EXPECT_EQ(Run.Out, "") << Name;
    EXPECT_THAT(Run.Errors, HasSubstr(Case.Errors)) << Name;
  }
}

TEST_F(ProgramTest, MissingKeyFile) {
  ProgramResult Run = RunProgram({"--keys", Scratch.PathOf("none.txt"), "--vars", Variables()});
  EXPECT_EQ(Run.ExitCode, 1);
  EXPECT_THAT(Run.Errors, HasSubstr(Scratch.PathOf("none.txt")));
  EXPECT_EQ(Run.Out, "");
}

TEST_F(ProgramTest, HelpIsNoError) {
  ProgramResult Run = RunProgram({"--help"});
  EXPECT_EQ(Run.ExitCode, 0);
  for (const char *Option :
       {"--packages", "--formset", "--form", "--size", "--lang", "--vars", "--keys", "--dump"}) {
    EXPECT_THAT(Run.Out, HasSubstr(Option));
  }
}

TEST_F(ProgramTest, KeysFromStandardInput) {
  ProgramResult Run = RunProgram({"--keys", "-", "--vars", Variables()}, "Right screen\n");
  EXPECT_EQ(Run.ExitCode, 3) << Run.Errors;
  EXPECT_NE(RowWith(Run.Out, 1, "Advanced Settings"), "") << Run.Out;
  ProgramResult Bad = RunProgram({"--keys", "-", "--vars", Variables()}, "Right\n\"open");
  EXPECT_EQ(Bad.ExitCode, 1);
  EXPECT_THAT(Bad.Errors, HasSubstr("standard input: line 2, column 1"));
}

// A script with an error names where it is, and nothing runs: no screen, no variables file.
TEST_F(ProgramTest, KeyScriptErrorsNameLineAndColumn) {
  struct ScriptCase {
    std::string Script;
    std::string Where;
  } Cases[] = {
      {"Down\n  Foo", "line 2, column 3"},     {"Down \"abc", "line 1, column 6"},
      {"# comment\nwait", "line 2, column 1"}, {"wait soon", "line 1, column 1"},
      {"Enter\n\n\tAlt-", "line 3, column 2"}, {"\"caf\u00e9\" Frobnicate", "line 1, column 8"},
  };
  for (const ScriptCase &Case : Cases) {
    ProgramResult Run = Headless(Case.Script);
    EXPECT_EQ(Run.ExitCode, 1) << Case.Script;
    EXPECT_THAT(Run.Errors, HasSubstr("keys.txt: " + Case.Where)) << Case.Script;
    EXPECT_EQ(Run.Out, "") << Case.Script;
    EXPECT_FALSE(FileExists(Variables())) << Case.Script;
  }
}

// A list with the bytes of a package and an END package, and a header that counts them.
std::vector<uint8_t> ListOf(const std::vector<uint8_t> &Packages) {
  std::vector<uint8_t> Bytes(16, 0xA5);
  uint32_t Length = static_cast<uint32_t>(20 + Packages.size());
  for (int Shift = 0; Shift < 32; Shift += 8) {
    Bytes.push_back(static_cast<uint8_t>(Length >> Shift));
  }
  Bytes.insert(Bytes.end(), Packages.begin(), Packages.end());
  return Bytes;
}

TEST_F(ProgramTest, MalformedPackageFilesAreRefused) {
  std::vector<uint8_t> Good = WidgetPackageList();
  const std::vector<uint8_t> End = {0x04, 0x00, 0x00, 0xDF};

  std::vector<uint8_t> LongHeader = Good;
  LongHeader[16] += 4;
  std::vector<uint8_t> PastTheEnd = ListOf({0xE8, 0x03, 0x00, 0x02, 1, 2, 3, 4});
  std::vector<uint8_t> NoEnd(Good.begin(), Good.end() - 4);
  NoEnd[16] -= 4;
  std::vector<uint8_t> Tail = Good;
  Tail.insert(Tail.end(), {1, 2, 3, 4});
  Tail[16] += 4;
  std::vector<uint8_t> Garbage;
  for (unsigned Index = 0; Index < 300; Index++) {
    Garbage.push_back(static_cast<uint8_t>(Index * 73 + 11));
  }
  std::vector<uint8_t> TinyPackage = ListOf({0x02, 0x00, 0x00, 0x02});
  std::vector<uint8_t> CutHeader = ListOf({0x08, 0x00});
  std::vector<uint8_t> NoForms = ListOf(End);

  struct BadCase {
    const char *Name;
    std::vector<uint8_t> Bytes;
    std::string Problem;
  } Cases[] = {
      {"empty", {}, "offset 0: 0 bytes are too few"},
      {"truncated", std::vector<uint8_t>(Good.begin(), Good.begin() + 12),
       "offset 0: 12 bytes are too few"},
      {"cut in the middle", std::vector<uint8_t>(Good.begin(), Good.begin() + Good.size() / 2),
       "offset 16: the header gives a length of " + std::to_string(Good.size())},
      {"wrong header length", LongHeader, "offset 16: the header gives a length of"},
      {"package past the end", PastTheEnd, "offset 20: a package of 1000 bytes runs past the end"},
      {"no end package", NoEnd, "offset " + std::to_string(NoEnd.size()) + ": the list has no end"},
      {"bytes after the end package", Tail,
       "offset " + std::to_string(Good.size() - 4) + ": the end package is followed"},
      {"garbage", Garbage, "offset 16: the header gives a length of"},
      {"package shorter than its header", TinyPackage, "offset 20: a package of type 0x2"},
      {"package header cut", CutHeader, "offset 20: a package header is cut short"},
      {"no form set", NoForms, "the package list has no form set"},
  };
  for (const BadCase &Case : Cases) {
    std::string File = Write("bad.hpk", Case.Bytes);
    ProgramResult Run = Headless("screen", {"--packages", File});
    EXPECT_EQ(Run.ExitCode, 1) << Case.Name << "\n" << Run.Errors;
    EXPECT_EQ(Run.Signal, 0) << Case.Name;
    EXPECT_THAT(Run.Errors, HasSubstr(File + ": " + Case.Problem)) << Case.Name;
    EXPECT_EQ(Run.Out, "") << Case.Name;
  }

  // The message names the file that is wrong, not the one before it.
  std::string Fine = Write("fine.hpk", Good);
  std::string Broken = Write("broken.hpk", NoEnd);
  ProgramResult Run = Headless("", {"--packages", Fine, Broken});
  EXPECT_EQ(Run.ExitCode, 1);
  EXPECT_THAT(Run.Errors, HasSubstr(Broken + ": offset"));
  EXPECT_THAT(Run.Errors, Not(HasSubstr(Fine + ":")));
}

// A list whose structure is sound but whose forms are not: the browser reports it; the program
// neither crashes nor hangs.
TEST_F(ProgramTest, BrokenFormsInASoundList) {
  kit::Strings S;
  EFI_STRING_ID Title = S.Add(u"Broken");
  const EFI_GUID FormSet = kit::ParseGuid(WidgetFormSet);
  kit::IfrWriter Opcodes;
  Opcodes.FormSet(FormSet, Title, Title, {}, true).Form(1, Title, true);
  Opcodes.RawBytes({0x06, 0x00, 0x01});
  std::vector<uint8_t> Bytes =
      kit::PackageListBuilder(FormSet).AddForms(Opcodes).AddStrings(S).Bytes();
  std::string File = Write("broken-ifr.hpk", Bytes);
  ProgramResult Run = Headless("Enter Enter screen", {"--packages", File});
  EXPECT_EQ(Run.Signal, 0);
  EXPECT_THAT(Run.ExitCode, testing::AnyOf(0, 3)) << Run.Errors;
  EXPECT_THAT(Run.Out, HasSubstr("=== screen 1 80x25 ==="));
}

// Hyper-Threading is on by default; a change left with "Discard Changes and Exit" is not kept,
// one saved is: the next run shows it off.
TEST_F(ProgramTest, SavedSettingsSurviveARestartAndDiscardedOnesDoNot) {
  const std::string Look = "Right Enter";
  ProgramResult Before = Headless(Look);
  EXPECT_THAT(RowWith(Before.Out, 1, "Hyper-Threading"), HasSubstr("Hyper-Threading            X"));

  // Esc on the top form leads to the Exit page; the warning's second button is "No".
  ProgramResult Discard = Headless("Right Enter Enter Esc Esc Down Enter Right Enter");
  EXPECT_EQ(Discard.ExitCode, 0) << Discard.Errors;
  EXPECT_THAT(Discard.Out, HasSubstr("=== exit EFI_SUCCESS request 0 ===")) << Discard.Out;
  EXPECT_THAT(RowWith(Headless(Look).Out, 1, "Hyper-Threading"), HasSubstr("X"));

  ProgramResult Save = Headless("Right Enter Enter F10 Enter");
  EXPECT_EQ(Save.ExitCode, 0) << Save.Errors;
  ASSERT_TRUE(FileExists(Variables()));

  ProgramResult After = Headless(Look);
  EXPECT_EQ(After.ExitCode, 3);
  EXPECT_THAT(RowWith(After.Out, 1, "Hyper-Threading"), Not(HasSubstr("X")));
  EXPECT_THAT(RowWith(After.Out, 1, "Virtualization"), HasSubstr("X"));
}

// The buffer varstores of a user's package list are kept in the variables file too.
TEST_F(ProgramTest, PackageFileSettingsSurviveARestart) {
  std::string File = Write("widgets.hpk", WidgetPackageList());
  ProgramResult Before = Headless("", {"--packages", File});
  EXPECT_THAT(RowWith(Before.Out, 1, "Enable Widget"), Not(HasSubstr("X")));
  EXPECT_THAT(RowWith(Before.Out, 1, "Widget Colour"), HasSubstr("[Red]"));

  ProgramResult Save = Headless("Enter Down Enter Down Down Enter F10 Enter", {"--packages", File});
  EXPECT_EQ(Save.ExitCode, 0) << Save.Errors << Save.Out;

  ProgramResult After = Headless("", {"--packages", File});
  EXPECT_THAT(RowWith(After.Out, 1, "Enable Widget"), HasSubstr("X"));
  EXPECT_THAT(RowWith(After.Out, 1, "Widget Colour"), HasSubstr("[Blue]"));
}

TEST_F(ProgramTest, CorruptVariablesFileIsRefusedAndKept) {
  ProgramResult Save = Headless("Right Enter Enter F10 Enter");
  ASSERT_EQ(Save.ExitCode, 0) << Save.Errors;
  std::string Valid = ReadFile(Variables());
  ASSERT_FALSE(Valid.empty());

  std::string FlippedPayload = Valid;
  FlippedPayload[FlippedPayload.size() - 1] ^= 0x40;
  struct CorruptCase {
    const char *Name;
    std::string Bytes;
  } Cases[] = {
      {"text", "this is not a variables file\n"},
      {"truncated", Valid.substr(0, Valid.size() - 3)},
      {"header only", Valid.substr(0, 24)},
      {"payload changed", FlippedPayload},
      {"one byte", "M"},
  };
  for (const CorruptCase &Case : Cases) {
    Scratch.Write("variables", Case.Bytes);
    ProgramResult Run = Headless("F10 Enter");
    EXPECT_EQ(Run.ExitCode, 1) << Case.Name;
    EXPECT_THAT(Run.Errors, HasSubstr(Variables())) << Case.Name;
    EXPECT_EQ(Run.Out, "") << Case.Name;
    EXPECT_EQ(ReadFile(Variables()), Case.Bytes) << Case.Name << ": the file was changed";
  }
}

// Without --vars the file lives under the user's state directory.
TEST_F(ProgramTest, DefaultVariablesFile) {
  struct PlaceCase {
    std::vector<std::string> Environment;
    std::string File;
  } Cases[] = {
      {{"XDG_STATE_HOME=" + Scratch.PathOf("state")}, Scratch.PathOf("state/morvane/variables")},
      {{"XDG_STATE_HOME=", "HOME=" + Scratch.PathOf("home")},
       Scratch.PathOf("home/.local/state/morvane/variables")},
  };
  for (const PlaceCase &Case : Cases) {
    std::string Script = Scratch.Write("keys.txt", "F10 Enter");
    ProgramResult Run = RunProgram({"--keys", Script}, {}, Case.Environment);
    EXPECT_EQ(Run.ExitCode, 0) << Run.Errors;
    EXPECT_TRUE(FileExists(Case.File)) << Case.File;
  }
}

} // namespace
