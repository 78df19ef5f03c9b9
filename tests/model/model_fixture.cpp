#include "tests/model/model_fixture.h"

#include <algorithm>
#include <cstring>

#include "core/hii_strings.h"
#include "model/value_stack.h"
#include "storage/storage.h"
#include "tests/common/text.h"
#include "uefi/device_path.h"

namespace morvane::test {

namespace {
// Each scripted driver's device path differs in the vendor GUID's last byte.
UINT8 NextScriptedPath = 1;
} // namespace

ScriptedDriver::ScriptedDriver(EFI_BOOT_SERVICES *Services, bool WithAccess)
    : BootServices(Services), Access(WithAccess) {
  Protocol.Interface = {Extract, Route, Callback};
  Protocol.Owner = this;
  VENDOR_DEVICE_PATH Vendor = {};
  Vendor.Header.Type = HARDWARE_DEVICE_PATH;
  Vendor.Header.SubType = HW_VENDOR_DP;
  Vendor.Header.Length[0] = sizeof(VENDOR_DEVICE_PATH);
  Vendor.Guid = TestGuid(NextScriptedPath++);
  const uint8_t *Start = reinterpret_cast<const uint8_t *>(&Vendor);
  Path.assign(Start, Start + sizeof(Vendor));
  Path.insert(Path.end(), {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, 4, 0});
  if (Access) {
    BootServices->InstallMultipleProtocolInterfaces(&Handle_, &gEfiDevicePathProtocolGuid,
                                                    Path.data(), &gEfiHiiConfigAccessProtocolGuid,
                                                    &Protocol.Interface, nullptr);
  } else {
    BootServices->InstallMultipleProtocolInterfaces(&Handle_, &gEfiDevicePathProtocolGuid,
                                                    Path.data(), nullptr);
  }
}

ScriptedDriver::~ScriptedDriver() {
  if (Access) {
    BootServices->UninstallMultipleProtocolInterfaces(Handle_, &gEfiDevicePathProtocolGuid,
                                                      Path.data(), &gEfiHiiConfigAccessProtocolGuid,
                                                      &Protocol.Interface, nullptr);
  } else {
    BootServices->UninstallMultipleProtocolInterfaces(Handle_, &gEfiDevicePathProtocolGuid,
                                                      Path.data(), nullptr);
  }
}

EFI_STATUS EFIAPI ScriptedDriver::Extract(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                          const CHAR16 *Request, EFI_STRING *Progress,
                                          EFI_STRING *Results) {
  ScriptedDriver *Owner = reinterpret_cast<const Record *>(This)->Owner;
  Owner->Requests.push_back(U16(Request));
  *Progress = const_cast<EFI_STRING>(Request);
  *Results = nullptr;
  if (EFI_ERROR(Owner->ExtractStatus) || Owner->NoResult) {
    return Owner->ExtractStatus;
  }
  UINTN Size = (Owner->ExtractResult.size() + 1) * sizeof(CHAR16);
  VOID *Copy = nullptr;
  if (EFI_ERROR(Owner->BootServices->AllocatePool(EfiBootServicesData, Size, &Copy))) {
    return EFI_OUT_OF_RESOURCES;
  }
  std::memcpy(Copy, Owner->ExtractResult.c_str(), Size);
  *Results = static_cast<EFI_STRING>(Copy);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ScriptedDriver::Route(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                        const CHAR16 *Configuration, EFI_STRING *Progress) {
  ScriptedDriver *Owner = reinterpret_cast<const Record *>(This)->Owner;
  std::u16string Text = U16(Configuration);
  Owner->Routed.push_back(Text);
  size_t Taken = Text.size() - std::min(Owner->LeftUntaken, Text.size());
  *Progress = const_cast<EFI_STRING>(Configuration) + Taken;
  return Owner->RouteStatus;
}

EFI_STATUS EFIAPI ScriptedDriver::Callback(const EFI_HII_CONFIG_ACCESS_PROTOCOL *,
                                           EFI_BROWSER_ACTION, EFI_QUESTION_ID, UINT8,
                                           EFI_IFR_TYPE_VALUE *, EFI_BROWSER_ACTION_REQUEST *) {
  return EFI_UNSUPPORTED;
}

void ModelTest::StartHost() {
  if (HostStarted) {
    return;
  }
  HostStarted = true;
  kit::Strings S;
  EFI_STRING_ID Title = S.Add(u"Host");
  kit::IfrWriter W;
  W.FormSet(TestGuid(0xF0), Title, 0, {}, true);
  W.Form(1, Title, true);
  W.Text(S.Add(u"Host line"), 0);
  W.End().End();
  PublishedFormSet &Host = Publish(W, S, TestGuid(0xF0));
  Send({Host.Handle});
  ASSERT_TRUE(Waiting()) << ScreenText();
}

void ModelTest::Renew() {
  Restart(tools::SessionOptions());
  HostStarted = false;
  Notices.clear();
}

EFI_STATUS ModelTest::RunDriver(const std::function<EFI_STATUS()> &Body, unsigned MaxWaits) {
  host::DriverRun Run(Host(), Body);
  Run.Resume();
  unsigned Waits = 0;
  while (Run.CurrentState() == host::DriverRun::State::Waiting) {
    Notices.push_back(ScreenText());
    if (++Waits > MaxWaits) {
      ADD_FAILURE() << "the driver keeps waiting for keys:\n" << Notices.back();
      return EFI_ABORTED;
    }
    Host().Keyboard().PushKey(SCAN_NULL, CHAR_CARRIAGE_RETURN);
    Run.Resume();
  }
  return Run.Status();
}

PublishedFormSet &ModelTest::PublishSet(const kit::IfrWriter &Forms, const kit::Strings &Strings) {
  return Publish(Forms, Strings, SetGuid());
}

EFI_HII_HANDLE ModelTest::PublishOn(EFI_HANDLE DriverHandle, const kit::IfrWriter &Forms,
                                    const kit::Strings &Strings, const EFI_GUID &ListGuid) {
  std::vector<UINT8> Bytes =
      kit::PackageListBuilder(ListGuid).AddForms(Forms).AddStrings(Strings).Bytes();
  EFI_STATUS Status = EFI_SUCCESS;
  EFI_HII_HANDLE Handle = Session->AddPackageList(Bytes, DriverHandle, &Status);
  EXPECT_EQ(Status, EFI_SUCCESS) << "the HII database refused the test's package list";
  return Handle;
}

EFI_STATUS ModelTest::LoadSet(EFI_HII_HANDLE Handle, const EFI_GUID &Guid, FormSet **Out) {
  StartHost();
  EFI_GUID Wanted = Guid;
  FormSet *Made = nullptr;
  EFI_STATUS Status = RunDriver([&] { return LoadFormSet(Handle, &Wanted, &Made, FALSE); });
  *Out = Made;
  return Status;
}

FormSet *ModelTest::Load(const kit::IfrWriter &Forms, const kit::Strings &Strings) {
  PublishedFormSet &Set = PublishSet(Forms, Strings);
  FormSet *Out = nullptr;
  EFI_STATUS Status = LoadSet(Set.Handle, SetGuid(), &Out);
  EXPECT_EQ(Status, EFI_SUCCESS) << (Notices.empty() ? "" : Notices.back());
  return EFI_ERROR(Status) ? nullptr : Out;
}

kit::IfrWriter ModelTest::OneForm(kit::Strings &S,
                                  const std::function<void(kit::IfrWriter &)> &Body) {
  kit::IfrWriter W;
  EFI_STRING_ID Title = S.Add(u"Form set");
  W.FormSet(SetGuid(), Title, 0, {}, true);
  W.Form(1, S.Add(u"Form"), true);
  Body(W);
  W.End().End();
  return W;
}

FormSet *ModelTest::LoadForm(kit::Strings &S, const std::function<void(kit::IfrWriter &)> &Body) {
  return Load(OneForm(S, Body), S);
}

EFI_STATUS ModelTest::GetVariable(const char16_t *Name, const EFI_GUID &Guid,
                                  std::vector<UINT8> *Bytes, UINT32 *Attributes) {
  UINT8 Raw[64] = {};
  UINTN Size = sizeof(Raw);
  EFI_STATUS Status = Host().RuntimeServices()->GetVariable(
      const_cast<CHAR16 *>(Name), const_cast<EFI_GUID *>(&Guid), Attributes, &Size, Raw);
  Bytes->assign(Raw, Raw + (EFI_ERROR(Status) ? 0 : Size));
  return Status;
}

EFI_STATUS ModelTest::SetVariable(const char16_t *Name, const EFI_GUID &Guid, UINT32 Attributes,
                                  const std::vector<UINT8> &Bytes) {
  return Host().RuntimeServices()->SetVariable(const_cast<CHAR16 *>(Name),
                                               const_cast<EFI_GUID *>(&Guid), Attributes,
                                               Bytes.size(), const_cast<UINT8 *>(Bytes.data()));
}

UINTN ModelTest::PoolMark() {
  return Host().Pool().Allocations() + 1;
}

std::string ModelTest::HeldSince(UINTN Mark) {
  constexpr UINTN StackGrowthBytes = VALUE_STACK_GROWTH * sizeof(HiiValue);
  std::string Held;
  for (const host::PoolAllocator::BlockInfo &Block : Host().Pool().OutstandingSince(Mark)) {
    if (Block.Size % StackGrowthBytes != 0) {
      Held += std::to_string(Block.Size) + " (#" + std::to_string(Block.Serial) + ") ";
    }
  }
  return Held;
}

bool ModelTest::NoticeShowed(const std::string &Text) const {
  for (const std::string &Screen : Notices) {
    if (Screen.find(Text) != std::string::npos) {
      return true;
    }
  }
  return false;
}

void RichSetTest::TearDown() {
  ReleaseFormSet(Set);
  ModelTest::TearDown();
}

kit::IfrWriter RichSetTest::RichForms(kit::Strings &S) {
  using namespace rich;
  using kit::IfrValue;
  EFI_STRING_ID SpeedName = S.Add(u"Speed");
  EFI_STRING_ID SmallName = S.Add(u"Small");
  EFI_STRING_ID LabelName = S.Add(u"Label");
  EFI_STRING_ID PinName = S.Add(u"Pin");
  EFI_STRING_ID LevelName = S.Add(u"Level");
  EFI_STRING_ID TooBig = S.Add(u"Too big");
  kit::IfrWriter W;
  W.FormSet(SetGuid(), S.Add(u"Rich"), S.Add(u"Help"), {}, true);
  W.DefaultStore(S.Add(u"Standard"), EFI_HII_DEFAULT_CLASS_STANDARD);
  W.DefaultStore(S.Add(u"Manufacturing"), EFI_HII_DEFAULT_CLASS_MANUFACTURING);
  W.VarStore(BufferGuid, 1, 48, "Data");
  W.VarStoreNameValue(2, NameValueGuid);
  W.VarStoreEfi(3, VariableGuid, VariableAttributes, 2, "Level");

  W.Form(1, S.Add(u"Main"), true);
  W.Text(1, 0);
  W.Subtitle(S.Add(u"Section"), 0);
  W.Rule(1, true).True().End();
  // Shown first when the driver's byte is in no option; hidden while it keeps its default.
  W.SuppressIf(true).EqIdValList(Choice, {1, 2, 3});
  W.OneOf({1, 0, Choice, 1, 11, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 3, 1, true);
  W.OneOfOption(1, 0, IfrValue::U8(0)).OneOfOption(1, EFI_IFR_OPTION_DEFAULT, IfrValue::U8(1));
  W.End().End();
  W.String({1, 0, Short, 1, 26, 0}, 0, 2);
  W.Numeric({1, 0, Computed, 1, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 0xFF, 0, true);
  W.Value(true).QuestionRef1(Number).End();
  W.End();
  W.Numeric({1, 0, Number, 1, 2, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0, true);
  W.Default(0, IfrValue::U16(9)).Default(1, IfrValue::U16(1));
  W.InconsistentIf(TooBig, true).EqIdVal(Number, 5).End();
  W.NoSubmitIf(0, true).EqIdVal(Number, 6).End();
  W.End();
  W.GrayOutIf(true).True().Date({1, 0, Day, 1, 4, 0}).End();
  W.Checkbox({1, 0, Box, 1, 9, 0});
  W.Checkbox({1, 0, Watched, 1, 10, EFI_IFR_FLAG_CALLBACK}, 0, true);
  W.Default(EFI_HII_DEFAULT_CLASS_MANUFACTURING, IfrValue::Bool(true));
  W.End();
  W.Time({1, 0, Clock, 1, 12, 0});
  W.OrderedList({1, 0, Order, 1, 30, 0}, 2, 0, true);
  W.OneOfOption(1, 0, IfrValue::U8(1)).OneOfOption(1, 0, IfrValue::U8(2));
  W.End();
  W.String({1, 0, Asked, 1, 32, EFI_IFR_FLAG_CALLBACK}, 0, 3);
  W.Password({1, 0, Secret, 1, 38, EFI_IFR_FLAG_CALLBACK}, 0, 2);
  W.Numeric({1, 0, Speed, 2, SpeedName, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0, true);
  W.Default(0, IfrValue::U16(0x12AB)).Default(1, IfrValue::U16(3));
  W.End();
  W.Numeric({1, 0, Small, 2, SmallName, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 0xFF, 0, true);
  W.Default(0, IfrValue::U8(0x0F));
  W.End();
  W.String({1, 0, Label, 2, LabelName, 0}, 0, 10);
  W.Password({1, 0, Pin, 2, PinName, 0}, 0, 4);
  W.Numeric({1, 0, Level, 3, LevelName, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0, true);
  W.Default(0, IfrValue::U16(0x44)).Default(1, IfrValue::U16(0x45));
  W.End();
  W.DisableIf(true).EqIdValList(Level, {5}).Text(1, 0).End();
  W.Date({1, 0, RtcDate, 0, 0, 0}, QF_DATE_STORAGE_TIME);
  W.Time({1, 0, RtcTime, 0, 0, 0}, QF_TIME_STORAGE_TIME);
  W.Date({1, 0, WakeDate, 0, 0, 0}, QF_DATE_STORAGE_WAKEUP);
  W.Time({1, 0, WakeTime, 0, 0, 0}, QF_TIME_STORAGE_WAKEUP);
  W.Date({1, 0, Loose, 0, 0, 0});
  W.End();

  // Form 2: defaults of every source on questions without storage (ids 0x70 on).
  W.Form(2, S.Add(u"Defaults"), true);
  W.Text(1, 0);
  W.Numeric({1, 0, Twin, 1, 44, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
  // A default record, and options flagged for both stores.
  W.OneOf({1, 0, 0x70, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
  W.OneOfOption(1, 0, IfrValue::U8(1));
  W.OneOfOption(1, EFI_IFR_OPTION_DEFAULT, IfrValue::U8(2));
  W.OneOfOption(1, EFI_IFR_OPTION_DEFAULT_MFG, IfrValue::U8(3));
  W.Default(EFI_HII_DEFAULT_CLASS_STANDARD, IfrValue::U8(9));
  W.End();
  // No default at all; the options carry another type than the question.
  W.OneOf({1, 0, 0x71, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
  W.OneOfOption(1, 0, IfrValue::U16(0x107)).OneOfOption(1, 0, IfrValue::U16(0x108));
  W.End();
  W.Checkbox({1, 0, 0x72, 0, 0, 0}, EFI_IFR_CHECKBOX_DEFAULT_MFG, true);
  W.Default(5, IfrValue::Bool(true)); // a store the set does not declare
  W.End();
  W.Numeric({1, 0, 0x73, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_8, 0x123456789ull, 0xFFFFFFFFFull, 1);
  W.OrderedList({1, 0, 0x74, 0, 0, 0}, 2, 0, true);
  W.OneOfOption(1, 0, IfrValue::U8(4)).OneOfOption(1, EFI_IFR_OPTION_DEFAULT, IfrValue::U8(5));
  W.OneOfOption(1, 0, IfrValue::U8(6));
  W.Default(EFI_HII_DEFAULT_CLASS_MANUFACTURING, IfrValue::Buffer({6, 4}));
  W.End();
  W.Numeric({1, 0, 0x75, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
  W.Default2(EFI_HII_DEFAULT_CLASS_STANDARD, EFI_IFR_TYPE_NUM_SIZE_8, true);
  W.Value(true).Uint8(3).Uint8(4).Add().End().End();
  W.End();
  W.Checkbox({1, 0, 0x76, 0, 0, 0}, 0, true);
  W.Default2(EFI_HII_DEFAULT_CLASS_STANDARD, EFI_IFR_TYPE_BOOLEAN, true);
  W.Value(true).Uint8(2).End().End();
  W.End();
  W.Numeric({1, 0, 0x77, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
  W.Default2(EFI_HII_DEFAULT_CLASS_STANDARD, EFI_IFR_TYPE_NUM_SIZE_8, true);
  W.Value(true).QuestionRef1(0x99).End().End();
  W.End();
  W.OneOf({1, 0, 0x78, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 9, 1, true);
  W.OneOfOption(1, EFI_IFR_OPTION_DEFAULT_MFG, IfrValue::U8(5));
  W.End();
  W.String({1, 0, 0x79, 0, 0, 0}, 0, 4);
  W.OneOf({1, 0, 0x7A, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1);
  W.Rule(2, true).StringRef1(LabelName).Length().End();
  W.Numeric({1, 0, 0x7B, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
  W.Value(true).RuleRef(2).End();
  W.End();
  W.End();

  W.Form(3, S.Add(u"Odd"), true);
  W.Numeric({1, 0, Nameless, 2, 0x7777, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0, true);
  W.InconsistentIf(TooBig, true).EqIdVal(0x99, 0).End();
  W.End();
  W.Numeric({1, 0, Late, 3, LevelName, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
  W.End();
  W.End();
  return W;
}

PublishedFormSet &RichSetTest::PublishRich() {
  kit::Strings S;
  kit::IfrWriter W = RichForms(S);
  PublishedFormSet &Out = PublishSet(W, S);
  std::vector<uint8_t> Bytes(48);
  for (size_t Index = 0; Index < Bytes.size(); Index++) {
    Bytes[Index] = static_cast<uint8_t>(0xA0 + Index);
  }
  Out.Driver->AddBufferStorage(rich::BufferGuid, u"Data", Bytes);
  Out.Driver->AddNameValueStorage(rich::NameValueGuid);
  (*Out.Driver->NameValues(rich::NameValueGuid))[u"Speed"] = u"0042";
  (*Out.Driver->NameValues(rich::NameValueGuid))[u"Label"] = u"Named";
  (*Out.Driver->NameValues(rich::NameValueGuid))[u"Pin"] = u"1234";
  return Out;
}

void RichSetTest::LoadRich() {
  Published = &PublishRich();
  ASSERT_EQ(LoadSet(Published->Handle, SetGuid(), &Set), EFI_SUCCESS);
  Main = FormAt(Set, 0);
  Data = StorageAt(Set, 0);
  Names = StorageAt(Set, 1);
}

namespace {

ListLink *Nth(ListLink *Head, size_t Index) {
  if (Head == nullptr || Head->Forward == nullptr) {
    return nullptr;
  }
  size_t At = 0;
  LIST_FOR_EACH(Link, Head) {
    if (At++ == Index) {
      return Link;
    }
  }
  return nullptr;
}

} // namespace

Form *FormAt(FormSet *Set, size_t Index) {
  ListLink *Link = Nth(&Set->FormList, Index);
  return Link == nullptr ? nullptr : FormFromLink(Link);
}

Statement *StatementAt(Form *Owner, size_t Index) {
  ListLink *Link = Owner == nullptr ? nullptr : Nth(&Owner->StatementList, Index);
  return Link == nullptr ? nullptr : StatementFromLink(Link);
}

Storage *StorageAt(FormSet *Set, size_t Index) {
  ListLink *Link = Nth(&Set->StorageList, Index);
  return Link == nullptr ? nullptr : StorageFromLink(Link);
}

QuestionOption *OptionAt(Statement *Question, size_t Index) {
  ListLink *Link = Question == nullptr ? nullptr : Nth(&Question->QuestionOptionList, Index);
  return Link == nullptr ? nullptr : OptionFromLink(Link);
}

QuestionDefault *DefaultAt(Statement *Question, size_t Index) {
  ListLink *Link = Question == nullptr ? nullptr : Nth(&Question->QuestionDefaultList, Index);
  return Link == nullptr ? nullptr : DefaultFromLink(Link);
}

Expression *ExpressionAt(ListLink *Head, size_t Index) {
  ListLink *Link = Nth(Head, Index);
  return Link == nullptr ? nullptr : ExpressionFromLink(Link);
}

size_t CountOf(ListLink *Head) {
  if (Head == nullptr || Head->Forward == nullptr) {
    return 0;
  }
  size_t Count = 0;
  LIST_FOR_EACH(Link, Head) {
    Count++;
  }
  return Count;
}

Statement *QuestionById(FormSet *Set, EFI_QUESTION_ID Id) {
  LIST_FOR_EACH(FormLink, &Set->FormList) {
    Form *Owner = FormFromLink(FormLink);
    LIST_FOR_EACH(Link, &Owner->StatementList) {
      Statement *Candidate = StatementFromLink(Link);
      if (Candidate->QuestionId == Id) {
        return Candidate;
      }
    }
  }
  return nullptr;
}

std::u16string NodeText(Storage *Names, const std::u16string &Name, bool Stored) {
  LIST_FOR_EACH(Link, &Names->NameValues) {
    NameValueNode *Node = NameValueNodeFromLink(Link);
    if (TextOf(Node->Name) == Name) {
      return TextOf(Stored ? Node->Value : Node->EditValue);
    }
  }
  return u"(none)";
}

std::u16string HexDigits(const void *Bytes, size_t Size) {
  static const char16_t Digits[] = u"0123456789abcdef";
  std::u16string Out;
  const UINT8 *Cursor = static_cast<const UINT8 *>(Bytes);
  for (size_t Index = 0; Index < Size; Index++) {
    Out += Digits[Cursor[Index] >> 4];
    Out += Digits[Cursor[Index] & 0x0F];
  }
  return Out;
}

std::u16string ConfigHeaderOf(const EFI_GUID &Guid, const std::u16string &Name,
                              const std::vector<uint8_t> &Path) {
  return u"GUID=" + HexDigits(&Guid, sizeof(Guid)) + u"&NAME=" + Name + u"&PATH=" +
         HexDigits(Path.data(), Path.size());
}

std::u16string StringOf(FormSet *Set, EFI_STRING_ID Id) {
  CHAR16 *Text = GetHiiString(Id, Set->HiiHandle);
  std::u16string Out = U16(Text);
  FreePoolIfSet(Text);
  return Out;
}

std::u16string TextOf(const CHAR16 *Text) {
  return U16(Text);
}

UINT64 NumberOf(const HiiValue &Value) {
  return HiiValueNumber(&Value);
}

HiiValue MakeValue(UINT8 Type, UINT64 Number) {
  HiiValue Value;
  SetHiiValueNumber(&Value, Type, Number);
  return Value;
}

} // namespace morvane::test
