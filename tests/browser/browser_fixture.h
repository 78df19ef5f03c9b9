// The fixture of every test that runs the driver: a fresh hosted platform with the HII services
// and the standard layouts, the driver freshly entered, form sets written with the authoring
// kit and published on drivers of their own, SendForm run on a coroutine and typed into with
// key scripts, and screens compared with expected screens kept under tests/.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "dialogs/browser_services.h"
#include "host/components/config_driver.h"
#include "host/components/pages.h"
#include "host/kit/kit.h"
#include "host/pool.h"
#include "model/form_model.h"
#include "tools/session/browser_session.h"

namespace morvane::test {

// A form set published for a test: its driver, HII handle and page provider (when it is a tab).
struct PublishedFormSet {
  std::unique_ptr<host::ConfigDriver> Driver;
  EFI_HII_HANDLE Handle = nullptr;
  std::unique_ptr<host::PageProvider> Page;
};

// A form set written the short way: an IFR writer that keeps its strings beside it. It opens
// the form set at once (title and help are strings 1 and 2), heads a question in one call, and
// remembers the buffer stores it declares with the bytes their driver starts with, which
// BrowserTest::Publish hands to the driver. Forms need no End: Form ends the form before it,
// and Closed (so Publish) ends whatever is still open, the form set included.
class FormSetBuilder : public kit::IfrWriter {
public:
  // Without help text the form set's help id is 0.
  FormSetBuilder(const EFI_GUID &Guid, std::u16string Title,
                 std::optional<std::u16string> Help = u"Help");

  EFI_STRING_ID StringId(std::u16string Text) { return Strings.Add(std::move(Text)); }
  // A question header whose prompt and help are new strings, in that order.
  kit::QuestionHeader Question(std::u16string Prompt, std::u16string Help, EFI_QUESTION_ID Id,
                               EFI_VARSTORE_ID Store = 0, UINT16 Offset = 0, UINT8 Flags = 0);
  // A question on a name/value or variable store: its value's name is a third new string.
  kit::QuestionHeader NamedQuestion(std::u16string Prompt, std::u16string Help, EFI_QUESTION_ID Id,
                                    EFI_VARSTORE_ID Store, std::u16string Name, UINT8 Flags = 0);
  // One-of options of one byte each, without flags.
  void Options(const std::vector<std::pair<std::u16string, UINT8>> &Choices);
  // An action question whose Callback the driver hears, with its configuration string.
  void ActionWithCallback(std::u16string Prompt, std::u16string Help, EFI_QUESTION_ID Id,
                          std::u16string Config = u"Go") {
    kit::QuestionHeader Header =
        Question(std::move(Prompt), std::move(Help), Id, 0, 0, EFI_IFR_FLAG_CALLBACK);
    Action(Header, StringId(std::move(Config)));
  }

  // A buffer varstore as large as Bytes, under the form set's GUID unless another is given;
  // the published driver starts with Bytes in it.
  FormSetBuilder &BufferStore(EFI_VARSTORE_ID Id, const std::string &Name,
                              std::vector<uint8_t> Bytes) {
    return BufferStore(Guid, Id, Name, std::move(Bytes));
  }
  FormSetBuilder &BufferStore(const EFI_GUID &StoreGuid, EFI_VARSTORE_ID Id,
                              const std::string &Name, std::vector<uint8_t> Bytes);

  // Ends what is open down to the form set, then opens a form titled as the form set or with a
  // title of its own.
  using kit::IfrWriter::Form;
  FormSetBuilder &Form(EFI_FORM_ID Id = 1, std::optional<std::u16string> FormTitle = {});
  // The opcodes with every scope still open ended.
  kit::IfrWriter Closed() const;

  struct Storage {
    EFI_GUID Guid;
    std::u16string Name;
    std::vector<uint8_t> Bytes;
  };

  EFI_GUID Guid;
  kit::Strings Strings;
  EFI_STRING_ID Title = 0;
  EFI_STRING_ID Help = 0;
  std::vector<Storage> Stores;

private:
  unsigned OpenScopes() const;
};

class BrowserTest : public ::testing::Test {
protected:
  // Starts with the default options; a test that needs others calls Restart first.
  void SetUp() override;
  void TearDown() override;
  // A new platform and a newly entered driver with these options; what was published is gone.
  void Restart(const tools::SessionOptions &Options);

  host::Platform &Host() { return Session->Platform(); }
  EFI_BOOT_SERVICES *Boot() { return Host().BootServices(); }
  EFI_FORM_BROWSER2_PROTOCOL *FormBrowser() { return Session->FormBrowser(); }

  // Registers the forms and strings on a new config driver's handle. With a page GUID the
  // form set also becomes a tab through a page provider under that GUID (title and help are
  // the form set's string ids given).
  PublishedFormSet &Publish(const kit::IfrWriter &Forms, const kit::Strings &Strings,
                            const EFI_GUID &ListGuid);
  PublishedFormSet &PublishTab(const kit::IfrWriter &Forms, const kit::Strings &Strings,
                               const EFI_GUID &ListGuid, const EFI_GUID &Page, EFI_STRING_ID Title,
                               EFI_STRING_ID Help);
  // A builder's form set, in a package list of its GUID, on a driver that holds its buffer
  // stores; as a tab, under the form set's title and help.
  PublishedFormSet &Publish(const FormSetBuilder &Set);
  PublishedFormSet &PublishTab(const FormSetBuilder &Set, const EFI_GUID &Page);

  // SendForm on a coroutine, run to its first key wait (or to its end).
  host::DriverRun &Send(const tools::SendFormRequest &Request);
  host::DriverRun &Send(std::vector<EFI_HII_HANDLE> Handles);
  host::DriverRun &Run() { return *Current; }
  // Send, and fail the test unless the run stops at a key wait.
  void SendAndWait(std::vector<EFI_HII_HANDLE> Handles);
  // Types a key script (see host/key_script.h) into the current run; fails the test on a
  // script that does not parse. Returns the run's state afterwards.
  host::DriverRun::State Type(const std::string &Script);
  bool Waiting() const;
  bool Finished() const;

  // The screen as UTF-8 rows, and as rows of attribute pairs.
  std::vector<std::string> ScreenRows();
  std::vector<std::string> AttributeRows();
  std::string Row(unsigned Index);
  // The text row and attribute row of one screen line, for a quick look in a failure message.
  std::string ScreenText();

  // Whether the screen shows Text anywhere.
  bool Shows(const std::string &Text);
  // The question the highlight stands on, 0 for none; the question of the shown form with id Id.
  EFI_QUESTION_ID Highlighted();
  // Moves the highlight down to the question, from the top if it lies above; fails if not
  // reached.
  void MoveTo(EFI_QUESTION_ID Question, int Limit = 40);
  // Leaves through F10 and the confirmation; fails unless SendForm has returned.
  void SaveAndLeave();
  Statement *Question(EFI_QUESTION_ID Id);

  // The PlatformLang variable as a driver sets it, and as it stands ("(none)" when unset).
  void SetPlatformLanguage(const char *Code);
  std::string PlatformLanguage();
  // Installs the refresh notify protocol, or reinstalls it once installed, as a driver does to
  // ask the browser to repaint.
  void SignalRefresh();

  // Compares the screen (text, then attributes) with tests/browser/screens/<Name>.txt. With the
  // environment variable MORVANE_UPDATE_SCREENS=1 the file is written instead.
  void ExpectScreen(const std::string &Name);

  // The blocks allocated since Send that are still outstanding, as "size (#serial)" words.
  std::string OutstandingSinceSend();

  // Fails the test unless every block allocated since Send has been given back, but for those
  // that live as long as the driver: the default layout record installed by the first SendForm
  // (408 bytes), and the parser's scope stack and the evaluator's stack (256 entries of 9 bytes,
  // and 256 more at each growth).
  void ExpectNothingLeftSinceSend();

  // Allocation counts when Send began, for "SendForm gave back all it took".
  host::PoolSnapshot Baseline;
  UINTN BaselineSerial = 0;
  std::unique_ptr<tools::BrowserSession> Session;
  std::vector<std::unique_ptr<PublishedFormSet>> Published;
  std::unique_ptr<host::DriverRun> Current;
  EFI_HANDLE RefreshHandle = nullptr;
  UINT32 RefreshMarker = 0;
};

// The expected-screen file format, exposed for the morvane program's tests.
std::string ScreenFileText(const std::vector<std::string> &Text,
                           const std::vector<std::string> &Attributes);

// Compares a screen with the expected file Directory/Name.txt under the source tree, or writes
// the file when MORVANE_UPDATE_SCREENS=1.
void ExpectScreenFile(const std::string &Directory, const std::string &Name,
                      const std::string &Actual);

// The driver's browser services protocol, or null when it is not installed.
BROWSER_SERVICES_PROTOCOL *LocateServices(EFI_BOOT_SERVICES *Boot);

// A GUID that differs from the base in its last byte; handy for many form sets in one test.
EFI_GUID TestGuid(UINT8 Last);

} // namespace morvane::test
