// The fixture of the form model, parser, evaluator and storage tests: a browser brought to the
// state a SendForm prepares (display strings, screen, layout) by a form set of its own waiting
// at its first key, and form sets under test loaded beside it with LoadFormSet, inspected
// record by record, and released.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/form_set_cache.h"
#include "model/form_model.h"
#include "tests/browser/browser_fixture.h"

// IFR written by a chain of writer calls, as a function of the writer: IFR(True().Not()).
#define IFR(...) [&](kit::IfrWriter &W) { W.__VA_ARGS__; }

namespace morvane::test {

// The GUID of the form set under test, and of its package list.
inline EFI_GUID SetGuid() {
  return TestGuid(0x40);
}

// A form set's driver whose configuration services answer as a test scripts them, for the
// answers the config driver of the platform never gives (alternative configurations, no
// result, a driver that stops partway). With WithAccess false the handle has a device path
// and no config access protocol.
class ScriptedDriver {
public:
  ScriptedDriver(EFI_BOOT_SERVICES *BootServices, bool WithAccess);
  ~ScriptedDriver();
  ScriptedDriver(const ScriptedDriver &) = delete;
  ScriptedDriver &operator=(const ScriptedDriver &) = delete;

  EFI_HANDLE Handle() const { return Handle_; }

  // ExtractConfig: this status; on success this result (null with NoResult).
  EFI_STATUS ExtractStatus = EFI_SUCCESS;
  std::u16string ExtractResult;
  bool NoResult = false;
  std::vector<std::u16string> Requests;
  // RouteConfig: this status; Progress is left this many characters before the end.
  EFI_STATUS RouteStatus = EFI_SUCCESS;
  size_t LeftUntaken = 0;
  std::vector<std::u16string> Routed;

private:
  struct Record {
    EFI_HII_CONFIG_ACCESS_PROTOCOL Interface;
    ScriptedDriver *Owner;
  };
  static EFI_STATUS EFIAPI Extract(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                   const CHAR16 *Request, EFI_STRING *Progress,
                                   EFI_STRING *Results);
  static EFI_STATUS EFIAPI Route(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                 const CHAR16 *Configuration, EFI_STRING *Progress);
  static EFI_STATUS EFIAPI Callback(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                    EFI_BROWSER_ACTION Action, EFI_QUESTION_ID QuestionId,
                                    UINT8 Type, EFI_IFR_TYPE_VALUE *Value,
                                    EFI_BROWSER_ACTION_REQUEST *ActionRequest);

  EFI_BOOT_SERVICES *BootServices;
  Record Protocol;
  bool Access;
  EFI_HANDLE Handle_ = nullptr;
  std::vector<uint8_t> Path;
};

class ModelTest : public BrowserTest {
protected:
  // Sends a plain form set of its own and leaves it waiting, once per session.
  void StartHost();
  // A fresh platform and driver, for the next case of a table.
  void Renew();

  // Runs Body as driver code on a coroutine of its own. Every key wait is answered with Enter
  // and the screen at that moment is kept in Notices; a run that keeps waiting fails the test.
  EFI_STATUS RunDriver(const std::function<EFI_STATUS()> &Body, unsigned MaxWaits = 16);

  // Publishes the form set on a config driver of its own under SetGuid().
  PublishedFormSet &PublishSet(const kit::IfrWriter &Forms, const kit::Strings &Strings);

  // Registers the forms and strings on a driver handle of the test's own.
  EFI_HII_HANDLE PublishOn(EFI_HANDLE DriverHandle, const kit::IfrWriter &Forms,
                           const kit::Strings &Strings, const EFI_GUID &ListGuid);

  // LoadFormSet of the form set with that GUID on the handle, as a SendForm would (not linked
  // into the form-set list). The record comes back in Out on failure too.
  EFI_STATUS LoadSet(EFI_HII_HANDLE Handle, const EFI_GUID &Guid, FormSet **Out);
  // Publishes and loads; fails the test unless the load succeeds.
  FormSet *Load(const kit::IfrWriter &Forms, const kit::Strings &Strings);
  // A form set of SetGuid() with one form around Body; LoadForm publishes and loads it.
  kit::IfrWriter OneForm(kit::Strings &S, const std::function<void(kit::IfrWriter &)> &Body);
  FormSet *LoadForm(kit::Strings &S, const std::function<void(kit::IfrWriter &)> &Body);

  // An EFI variable of the platform, read whole and written.
  EFI_STATUS GetVariable(const char16_t *Name, const EFI_GUID &Guid, std::vector<UINT8> *Bytes,
                         UINT32 *Attributes = nullptr);
  EFI_STATUS SetVariable(const char16_t *Name, const EFI_GUID &Guid, UINT32 Attributes,
                         const std::vector<UINT8> &Bytes);

  // The allocation number the next block will get.
  UINTN PoolMark();
  // Blocks made since Mark and still held, but for the evaluator's and the parser's stacks,
  // which live as long as the driver: "size (#serial)" words, empty when none.
  std::string HeldSince(UINTN Mark);

  // Screens seen at the key waits of RunDriver, oldest first.
  std::vector<std::string> Notices;
  // True when some notice showed Text.
  bool NoticeShowed(const std::string &Text) const;

private:
  bool HostStarted = false;
};

// Records by position; null past the end.
Form *FormAt(FormSet *Set, size_t Index);
Statement *StatementAt(Form *Owner, size_t Index);
Storage *StorageAt(FormSet *Set, size_t Index);
QuestionOption *OptionAt(Statement *Question, size_t Index);
QuestionDefault *DefaultAt(Statement *Question, size_t Index);
Expression *ExpressionAt(ListLink *Head, size_t Index);
size_t CountOf(ListLink *Head);
// The first statement of the form set with that question id.
Statement *QuestionById(FormSet *Set, EFI_QUESTION_ID Id);

// The edit side (or the stored side) of the name-value node of that name; "(none)" without one.
std::u16string NodeText(Storage *Names, const std::u16string &Name, bool Stored = false);
// Bytes as configuration-string digits: memory order, two lower-case digits each.
std::u16string HexDigits(const void *Bytes, size_t Size);
// The ConfigHdr of a storage of that GUID and name on a driver with that device path.
std::u16string ConfigHeaderOf(const EFI_GUID &Guid, const std::u16string &Name,
                              const std::vector<uint8_t> &Path);

// A string of the form set's package in the current language; empty when it does not read.
std::u16string StringOf(FormSet *Set, EFI_STRING_ID Id);
std::u16string TextOf(const CHAR16 *Text);

// The eight value bytes as a number.
UINT64 NumberOf(const HiiValue &Value);
HiiValue MakeValue(UINT8 Type, UINT64 Number);

// The form set most model tests share, published by RichSetTest under SetGuid().
namespace rich {

inline const EFI_GUID BufferGuid = TestGuid(0x81);
inline const EFI_GUID NameValueGuid = TestGuid(0x82);
inline const EFI_GUID VariableGuid = TestGuid(0x83);
constexpr UINT32 VariableAttributes = EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;

// Question ids. Form 1 (Main) holds a question of every kind: on the 48-byte buffer Data (at
// the offsets noted), on the name-value storage, on the EFI variable Level, on the clock and on
// nothing. Form 2 holds questions without storage for the defaults, a second question with
// Number's id and a rule; form 3 a question whose value cannot be read.
enum : EFI_QUESTION_ID {
  Computed = 0x50, // u8 at 0, value of question Number
  Number = 0x11,   // u16 at 2; defaults 9 and 1; inconsistent at 5, no-submit at 6
  Day = 0x12,      // date at 4, grayed out
  Box = 0x10,      // checkbox at 9
  Choice = 0x16,   // one-of at 11, options 0 and 1 (the default), suppressed at 1, 2 or 3
  Watched = 0x60,  // checkbox at 10, Callback; manufacturing default true
  Clock = 0x13,    // time at 12, fourteen bytes
  Short = 0x14,    // string of 2 at 26
  Order = 0x15,    // ordered list of 2 at 30, options 1 and 2
  Asked = 0x61,    // string of 3 at 32, Callback
  Secret = 0x62,   // password of 2 at 38, Callback
  Speed = 0x20,    // u16 named Speed; defaults 0x12AB and 3
  Small = 0x21,    // u8 named Small; standard default 0x0F
  Label = 0x22,    // string of 10 named Label
  Pin = 0x24,      // password of 4 named Pin
  Level = 0x30,    // u16 in the variable Level; defaults 0x44 and 0x45
  RtcDate = 0x40,
  RtcTime = 0x41,
  WakeDate = 0x42,
  WakeTime = 0x43,
  Loose = 0x44,    // a date bound to nothing
  Twin = Number,   // form 2: u16 at 44
  Nameless = 0x23, // form 3: u16 whose name does not read; an inconsistent-if that cannot run
  Late = 0x31,     // form 3: u16 in the variable Level, after Nameless
};

} // namespace rich

// A model test over the shared form set. Its driver holds 0xA0 + offset in each byte of Data
// and the texts Speed=0042, Label=Named and Pin=1234; Set is released at the end of the test.
class RichSetTest : public ModelTest {
protected:
  void TearDown() override;

  kit::IfrWriter RichForms(kit::Strings &S);
  PublishedFormSet &PublishRich();
  // Publishes and loads it into Published, Set, Main, Data and Names.
  void LoadRich();

  Statement *Q(EFI_QUESTION_ID Id) { return QuestionById(Set, Id); }
  std::vector<UINT8> EditBytes(size_t Offset, size_t Count) {
    return std::vector<UINT8>(Data->EditCopy + Offset, Data->EditCopy + Offset + Count);
  }

  PublishedFormSet *Published = nullptr;
  FormSet *Set = nullptr;
  Form *Main = nullptr;
  Storage *Data = nullptr;
  Storage *Names = nullptr;
};

} // namespace morvane::test
