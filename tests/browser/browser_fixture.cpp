#include "tests/browser/browser_fixture.h"

#include "core/browser_context.h"
#include "core/external_protocols.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "host/key_script.h"
#include "host/key_script_runner.h"

#ifndef MORVANE_SOURCE_DIR
#error "MORVANE_SOURCE_DIR names the source tree, where the expected screens live"
#endif

namespace morvane::test {

void BrowserTest::SetUp() {
  Restart(tools::SessionOptions());
}

void BrowserTest::TearDown() {
  Current.reset();
  Published.clear();
  Session.reset();
}

void BrowserTest::Restart(const tools::SessionOptions &Options) {
  Current.reset();
  Published.clear();
  Session.reset();
  RefreshHandle = nullptr;
  Session = std::make_unique<tools::BrowserSession>(Options);
}

PublishedFormSet &BrowserTest::Publish(const kit::IfrWriter &Forms, const kit::Strings &Strings,
                                       const EFI_GUID &ListGuid) {
  auto Entry = std::make_unique<PublishedFormSet>();
  Entry->Driver = std::make_unique<host::ConfigDriver>(Boot(), Session->Hii().ConfigRouting());
  std::vector<UINT8> Bytes =
      kit::PackageListBuilder(ListGuid).AddForms(Forms).AddStrings(Strings).Bytes();
  EFI_STATUS Status = EFI_SUCCESS;
  Entry->Handle = Session->AddPackageList(Bytes, Entry->Driver->Handle(), &Status);
  EXPECT_EQ(Status, EFI_SUCCESS) << "the HII database refused the test's package list";
  Published.push_back(std::move(Entry));
  return *Published.back();
}

PublishedFormSet &BrowserTest::PublishTab(const kit::IfrWriter &Forms, const kit::Strings &Strings,
                                          const EFI_GUID &ListGuid, const EFI_GUID &Page,
                                          EFI_STRING_ID Title, EFI_STRING_ID Help) {
  PublishedFormSet &Entry = Publish(Forms, Strings, ListGuid);
  Entry.Page = std::make_unique<host::PageProvider>(Boot(), Page, Title, Help, Entry.Handle);
  return Entry;
}

PublishedFormSet &BrowserTest::Publish(const FormSetBuilder &Set) {
  PublishedFormSet &Entry = Publish(Set.Closed(), Set.Strings, Set.Guid);
  for (const FormSetBuilder::Storage &Store : Set.Stores) {
    Entry.Driver->AddBufferStorage(Store.Guid, Store.Name, Store.Bytes);
  }
  return Entry;
}

PublishedFormSet &BrowserTest::PublishTab(const FormSetBuilder &Set, const EFI_GUID &Page) {
  PublishedFormSet &Entry = Publish(Set);
  Entry.Page =
      std::make_unique<host::PageProvider>(Boot(), Page, Set.Title, Set.Help, Entry.Handle);
  return Entry;
}

host::DriverRun &BrowserTest::Send(const tools::SendFormRequest &Request) {
  Current.reset();
  Baseline = Host().Pool().Snapshot();
  BaselineSerial = Host().Pool().Allocations() + 1;
  Current = Session->StartSendForm(Request);
  Current->Resume();
  return *Current;
}

host::DriverRun &BrowserTest::Send(std::vector<EFI_HII_HANDLE> Handles) {
  tools::SendFormRequest Request;
  Request.Handles = std::move(Handles);
  return Send(Request);
}

void BrowserTest::SendAndWait(std::vector<EFI_HII_HANDLE> Handles) {
  Send(std::move(Handles));
  ASSERT_TRUE(Waiting()) << (Finished() ? "SendForm returned\n" : "") << ScreenText();
}

host::DriverRun::State BrowserTest::Type(const std::string &Script) {
  host::KeyScript Parsed;
  host::KeyScriptError Error;
  if (!host::ParseKeyScript(Script, &Parsed, &Error)) {
    ADD_FAILURE() << "key script: " << Error.Describe();
    return Current->CurrentState();
  }
  // The run is already at its first wait; RunKeyScript resumes a waiting run harmlessly.
  host::KeyScriptOutcome Outcome = host::RunKeyScript(*Current, Parsed, nullptr);
  return Outcome.State;
}

bool BrowserTest::Waiting() const {
  return Current != nullptr && Current->CurrentState() == host::DriverRun::State::Waiting;
}

bool BrowserTest::Finished() const {
  return Current != nullptr && Current->Finished();
}

std::vector<std::string> BrowserTest::ScreenRows() {
  return Host().Screen().TextRows();
}

std::vector<std::string> BrowserTest::AttributeRows() {
  return Host().Screen().AttributeRows();
}

std::string BrowserTest::Row(unsigned Index) {
  std::vector<std::string> Rows = ScreenRows();
  return Index < Rows.size() ? Rows[Index] : std::string();
}

std::string BrowserTest::ScreenText() {
  std::string Out;
  for (const std::string &Line : ScreenRows()) {
    Out += Line + "\n";
  }
  return Out;
}

std::string ScreenFileText(const std::vector<std::string> &Text,
                           const std::vector<std::string> &Attributes) {
  std::string Out = "--- text\n";
  for (const std::string &Line : Text) {
    Out += Line + "|\n";
  }
  Out += "--- attributes\n";
  for (const std::string &Line : Attributes) {
    Out += Line + "\n";
  }
  return Out;
}

BROWSER_SERVICES_PROTOCOL *LocateServices(EFI_BOOT_SERVICES *Boot) {
  EFI_GUID Guid = gBrowserServicesProtocolGuid;
  VOID *Interface = nullptr;
  if (EFI_ERROR(Boot->LocateProtocol(&Guid, nullptr, &Interface))) {
    return nullptr;
  }
  return static_cast<BROWSER_SERVICES_PROTOCOL *>(Interface);
}

void ExpectScreenFile(const std::string &Directory, const std::string &Name,
                      const std::string &Actual) {
  std::string Path = std::string(MORVANE_SOURCE_DIR) + "/" + Directory + "/" + Name + ".txt";
  const char *Update = std::getenv("MORVANE_UPDATE_SCREENS");
  if (Update != nullptr && std::string(Update) == "1") {
    std::ofstream(Path, std::ios::binary) << Actual;
    return;
  }
  std::ifstream File(Path, std::ios::binary);
  if (!File) {
    ADD_FAILURE() << "no expected screen " << Path
                  << " (run with MORVANE_UPDATE_SCREENS=1 to write it, then review it)\n"
                  << Actual;
    return;
  }
  std::stringstream Expected;
  Expected << File.rdbuf();
  EXPECT_EQ(Expected.str(), Actual) << "screen " << Name << " differs from " << Path;
}

bool BrowserTest::Shows(const std::string &Text) {
  return ScreenText().find(Text) != std::string::npos;
}

void BrowserTest::MoveTo(EFI_QUESTION_ID Question, int Limit) {
  // Down first, so a question below is reached without scrolling back to the top.
  for (bool FromTop : {false, true}) {
    if (FromTop) {
      Type("Home");
    }
    for (int Step = 0; Step < Limit && Highlighted() != Question; Step++) {
      Type("Down");
    }
    if (Highlighted() == Question) {
      return;
    }
  }
  ASSERT_EQ(Highlighted(), Question) << ScreenText();
}

void BrowserTest::SaveAndLeave() {
  Type("F10 Enter");
  ASSERT_TRUE(Finished()) << ScreenText();
}

EFI_QUESTION_ID BrowserTest::Highlighted() {
  Statement *Current = Browser->Selection->Statement;
  return Current != nullptr ? Current->QuestionId : 0;
}

Statement *BrowserTest::Question(EFI_QUESTION_ID Id) {
  LIST_FOR_EACH(Link, &Browser->Selection->Form->StatementList) {
    Statement *Each = StatementFromLink(Link);
    if (Each->QuestionId == Id) {
      return Each;
    }
  }
  return nullptr;
}

void BrowserTest::SetPlatformLanguage(const char *Code) {
  EFI_GUID Global = gEfiGlobalVariableGuid;
  ASSERT_EQ(Host().RuntimeServices()->SetVariable(const_cast<CHAR16 *>(u"PlatformLang"), &Global,
                                                  EFI_VARIABLE_NON_VOLATILE |
                                                      EFI_VARIABLE_BOOTSERVICE_ACCESS |
                                                      EFI_VARIABLE_RUNTIME_ACCESS,
                                                  std::strlen(Code) + 1, const_cast<char *>(Code)),
            EFI_SUCCESS);
}

std::string BrowserTest::PlatformLanguage() {
  char Buffer[64] = {};
  UINTN Size = sizeof(Buffer) - 1;
  EFI_GUID Global = gEfiGlobalVariableGuid;
  if (EFI_ERROR(Host().RuntimeServices()->GetVariable(const_cast<CHAR16 *>(u"PlatformLang"),
                                                      &Global, nullptr, &Size, Buffer))) {
    return "(none)";
  }
  return Buffer;
}

void BrowserTest::SignalRefresh() {
  EFI_GUID Refresh = gRefreshNotifyProtocolGuid;
  EFI_STATUS Status = RefreshHandle == nullptr
                          ? Boot()->InstallProtocolInterface(&RefreshHandle, &Refresh,
                                                             EFI_NATIVE_INTERFACE, &RefreshMarker)
                          : Boot()->ReinstallProtocolInterface(RefreshHandle, &Refresh,
                                                               &RefreshMarker, &RefreshMarker);
  ASSERT_EQ(Status, EFI_SUCCESS);
}

void BrowserTest::ExpectScreen(const std::string &Name) {
  ExpectScreenFile("tests/browser/screens", Name, ScreenFileText(ScreenRows(), AttributeRows()));
}

std::string BrowserTest::OutstandingSinceSend() {
  std::string Out;
  for (const host::PoolAllocator::BlockInfo &Block :
       Host().Pool().OutstandingSince(BaselineSerial)) {
    Out += std::to_string(Block.Size) + " (#" + std::to_string(Block.Serial) + ") ";
  }
  return Out;
}

void BrowserTest::ExpectNothingLeftSinceSend() {
  constexpr UINTN LayoutRecordBytes = 408;
  constexpr UINTN StackGrowthBytes = 256 * 9;
  std::string Unexpected;
  for (const host::PoolAllocator::BlockInfo &Block :
       Host().Pool().OutstandingSince(BaselineSerial)) {
    if (Block.Size != LayoutRecordBytes && Block.Size % StackGrowthBytes != 0) {
      Unexpected += std::to_string(Block.Size) + " (#" + std::to_string(Block.Serial) + ") ";
    }
  }
  EXPECT_EQ(Unexpected, "") << "blocks not given back: sizes and allocation numbers";
  EXPECT_EQ(Host().Pool().BadFrees(), 0u);
}

FormSetBuilder::FormSetBuilder(const EFI_GUID &SetGuid, std::u16string TitleText,
                               std::optional<std::u16string> HelpText)
    : Guid(SetGuid) {
  Title = Strings.Add(std::move(TitleText));
  Help = HelpText.has_value() ? Strings.Add(std::move(*HelpText)) : 0;
  FormSet(Guid, Title, Help, {}, true);
}

kit::QuestionHeader FormSetBuilder::Question(std::u16string Prompt, std::u16string Help,
                                             EFI_QUESTION_ID Id, EFI_VARSTORE_ID Store,
                                             UINT16 Offset, UINT8 Flags) {
  EFI_STRING_ID PromptId = StringId(std::move(Prompt));
  return {PromptId, StringId(std::move(Help)), Id, Store, Offset, Flags};
}

kit::QuestionHeader FormSetBuilder::NamedQuestion(std::u16string Prompt, std::u16string Help,
                                                  EFI_QUESTION_ID Id, EFI_VARSTORE_ID Store,
                                                  std::u16string Name, UINT8 Flags) {
  kit::QuestionHeader Header = Question(std::move(Prompt), std::move(Help), Id, Store, 0, Flags);
  Header.VarStoreInfo = StringId(std::move(Name));
  return Header;
}

void FormSetBuilder::Options(const std::vector<std::pair<std::u16string, UINT8>> &Choices) {
  for (const auto &[Text, Value] : Choices) {
    OneOfOption(StringId(Text), 0, kit::IfrValue::U8(Value));
  }
}

FormSetBuilder &FormSetBuilder::Form(EFI_FORM_ID Id, std::optional<std::u16string> FormTitle) {
  while (OpenScopes() > 1) {
    End();
  }
  Form(Id, FormTitle.has_value() ? StringId(std::move(*FormTitle)) : Title, true);
  return *this;
}

kit::IfrWriter FormSetBuilder::Closed() const {
  kit::IfrWriter Copy = *this;
  for (unsigned Open = OpenScopes(); Open > 0; Open--) {
    Copy.End();
  }
  return Copy;
}

// Each opcode's second byte holds its length in the low seven bits and the scope bit on top.
unsigned FormSetBuilder::OpenScopes() const {
  const std::vector<uint8_t> &Opcodes = Bytes();
  unsigned Open = 0;
  for (size_t At = 0; At + 1 < Opcodes.size() && (Opcodes[At + 1] & 0x7F) != 0;
       At += Opcodes[At + 1] & 0x7F) {
    if (Opcodes[At] == EFI_IFR_END_OP) {
      Open -= Open > 0 ? 1 : 0;
    }
    Open += (Opcodes[At + 1] & 0x80) != 0 ? 1 : 0;
  }
  return Open;
}

FormSetBuilder &FormSetBuilder::BufferStore(const EFI_GUID &StoreGuid, EFI_VARSTORE_ID Id,
                                            const std::string &Name, std::vector<uint8_t> Bytes) {
  VarStore(StoreGuid, Id, static_cast<UINT16>(Bytes.size()), Name);
  Stores.push_back({StoreGuid, std::u16string(Name.begin(), Name.end()), std::move(Bytes)});
  return *this;
}

EFI_GUID TestGuid(UINT8 Last) {
  return {0x5a1c0e77, 0x2b4d, 0x4c61, {0x8e, 0x03, 0x71, 0x92, 0x4a, 0x6d, 0xb0, Last}};
}

} // namespace morvane::test
