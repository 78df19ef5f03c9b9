// Configuration strings to the character: the header of a storage, the request elements of
// buffer and name-value storages, responses built and taken apart, and the search for a package
// list by its driver's device path.
#include <string>
#include <vector>

#include "core/browser_context.h"
#include "storage/storage.h"
#include "support/device_path.h"
#include "support/memory.h"
#include "support/string.h"
#include "tests/common/text.h"
#include "tests/model/model_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrWriter;
using kit::Strings;

class ConfigStringTest : public ModelTest {
protected:
  void SetUp() override {
    ModelTest::SetUp();
    Driver = std::make_unique<host::ConfigDriver>(Boot(), Session->Hii().ConfigRouting());
    Mark = PoolMark();
    Set = static_cast<FormSet *>(AllocateZeroedPool(sizeof(FormSet)));
    ASSERT_NE(Set, nullptr);
    Set->DriverHandle = Driver->Handle();
    ListInit(&Set->StorageList);
    ListInit(&Set->DefaultStoreList);
    ListInit(&Set->FormList);
  }

  void TearDown() override {
    ReleaseFormSet(Set);
    EXPECT_EQ(HeldSince(Mark), "");
    Driver.reset();
    ModelTest::TearDown();
  }

  Storage *NewStorage(UINT8 Kind, const CHAR16 *Name) {
    Storage *Record = NewStorageRecord(Set);
    Record->Kind = Kind;
    Record->Guid = TestGuid(0x33);
    Record->Name = StrDuplicate(Name);
    if (Kind != STORAGE_KIND_EFI_VARIABLE) {
      EXPECT_EQ(BuildConfigHeader(Set, Record), EFI_SUCCESS);
    }
    return Record;
  }

  // A buffer storage of that size, both sides zero.
  Storage *NewBuffer(const CHAR16 *Name, UINT16 Size) {
    Storage *Record = NewStorage(STORAGE_KIND_BUFFER, Name);
    Record->Size = Size;
    Record->EditCopy = static_cast<UINT8 *>(AllocateZeroedPool(Size));
    Record->StoredCopy = static_cast<UINT8 *>(AllocateZeroedPool(Size));
    return Record;
  }

  NameValueNode *AddNode(Storage *Target, const CHAR16 *Name, const CHAR16 *Edit) {
    NameValueNode *Node = static_cast<NameValueNode *>(AllocateZeroedPool(sizeof(NameValueNode)));
    Node->Signature = NAME_VALUE_NODE_SIGNATURE;
    Node->Name = StrDuplicate(Name);
    Node->Value = static_cast<CHAR16 *>(AllocateZeroedPool(16));
    Node->EditValue = StrDuplicate(Edit);
    ListInsertTail(&Target->NameValues, &Node->Link);
    return Node;
  }

  std::u16string Header(const std::u16string &Name) {
    return ConfigHeaderOf(TestGuid(0x33), Name, Driver->DevicePath());
  }

  std::unique_ptr<host::ConfigDriver> Driver;
  FormSet *Set = nullptr;
  UINTN Mark = 0;
};

TEST_F(ConfigStringTest, HeaderHasGuidDigitsPlainNameAndThePathWithItsEndNode) {
  EFI_GUID Guid;
  for (UINT8 Index = 0; Index < 16; Index++) {
    reinterpret_cast<UINT8 *>(&Guid)[Index] = Index;
  }
  const std::vector<uint8_t> &Path = Driver->DevicePath();
  ASSERT_EQ(Path.size(), 24u);
  ASSERT_EQ(Path[Path.size() - 4], END_DEVICE_PATH_TYPE);
  UINTN Needed = 2 * (5 + 50 + 2 * Path.size());

  std::vector<CHAR16> Buffer(Needed / 2, 0xAAAA);
  UINTN Size = 0;
  auto Build = [&](CHAR16 *Into, UINTN Room, const CHAR16 *Name, EFI_HANDLE Owner) {
    Size = Room;
    return BuildConfigHdr(Into, &Size, &Guid, Name, Owner);
  };
  EXPECT_EQ(Build(nullptr, 0, u"Setup", Driver->Handle()), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, Needed);
  EXPECT_EQ(Build(Buffer.data(), Needed - 1, u"Setup", Driver->Handle()), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, Needed);
  EXPECT_EQ(Buffer[0], 0xAAAA) << "nothing is written when the room is short";
  ASSERT_EQ(Build(Buffer.data(), Needed, u"Setup", Driver->Handle()), EFI_SUCCESS);
  std::u16string Expected = u"GUID=000102030405060708090a0b0c0d0e0f&NAME=Setup&PATH=" +
                            HexDigits(Path.data(), Path.size());
  EXPECT_EQ(TextOf(Buffer.data()), Expected);
  EXPECT_EQ(Expected.size() + 1, Needed / 2) << "the size is exact, terminator included";

  // No name: NAME has no characters.
  ASSERT_EQ(Build(Buffer.data(), Needed, nullptr, Driver->Handle()), EFI_SUCCESS);
  EXPECT_EQ(Size, 2 * (50 + 2 * Path.size()));
  EXPECT_EQ(TextOf(Buffer.data()), u"GUID=000102030405060708090a0b0c0d0e0f&NAME=&PATH=" +
                                       HexDigits(Path.data(), Path.size()));

  // A handle without a device path has no header.
  EXPECT_TRUE(EFI_ERROR(Build(Buffer.data(), Needed, u"Setup", Host().ConsoleInHandle())));
}

TEST_F(ConfigStringTest, TheRequestStartsAsTheHeader) {
  Storage *Buffer = NewStorage(STORAGE_KIND_BUFFER, u"Setup");
  EXPECT_EQ(TextOf(Buffer->ConfigHdr), Header(u"Setup"));
  EXPECT_EQ(TextOf(Buffer->ConfigRequest), Header(u"Setup"));
  EXPECT_NE(Buffer->ConfigRequest, Buffer->ConfigHdr);
  EXPECT_EQ(Buffer->ElementCount, 0u);
  EXPECT_EQ(Buffer->RequestRoom, 0u);

  // Without a device path nothing is built, and the request stays unusable.
  Storage *Orphan = NewStorageRecord(Set);
  Orphan->Kind = STORAGE_KIND_BUFFER;
  Set->DriverHandle = Host().ConsoleInHandle();
  EXPECT_TRUE(EFI_ERROR(BuildConfigHeader(Set, Orphan)));
  EXPECT_EQ(Orphan->ConfigHdr, nullptr);
  EXPECT_EQ(Orphan->ConfigRequest, nullptr);
  Statement Question = {};
  Question.Storage = Orphan;
  Question.ValueBytes = 1;
  EXPECT_TRUE(EFI_ERROR(AddRequestElement(Set, &Question)));
  EXPECT_EQ(Orphan->ElementCount, 0u);
}

TEST_F(ConfigStringTest, RequestElements) {
  constexpr UINT8 Buffer = STORAGE_KIND_BUFFER, Named = STORAGE_KIND_NAME_VALUE;
  constexpr UINT8 Callback = EFI_IFR_FLAG_CALLBACK;
  const std::u16string Name28 = u"ABCDEFGHIJKLMNOPQRSTUVWXYZ01", Name29 = Name28 + u"2";
  const struct {
    const char *Name;
    UINT8 Kind;
    UINT8 Opcode;
    UINT8 QuestionFlags;
    UINT16 Offset;
    UINT16 Width;
    const CHAR16 *ItemName;
    std::u16string Element; // empty when none is added
  } Cases[] = {
      {"offset 16, width 2", Buffer, EFI_IFR_NUMERIC_OP, 0, 16, 2, nullptr, u"&OFFSET=10&WIDTH=2"},
      {"offset 0", Buffer, EFI_IFR_CHECKBOX_OP, 0, 0, 1, nullptr, u"&OFFSET=0&WIDTH=1"},
      {"lower-case digits without leading zeros", Buffer, EFI_IFR_STRING_OP, 0, 0xABCD, 0x1E,
       nullptr, u"&OFFSET=abcd&WIDTH=1e"},
      {"a time takes fourteen bytes", Buffer, EFI_IFR_TIME_OP, 0, 0x100, TIME_STORAGE_WIDTH,
       nullptr, u"&OFFSET=100&WIDTH=e"},
      {"a driver's password", Buffer, EFI_IFR_PASSWORD_OP, Callback, 8, 16, nullptr, u""},
      {"a browser password", Buffer, EFI_IFR_PASSWORD_OP, 0, 8, 16, nullptr, u"&OFFSET=8&WIDTH=10"},
      {"a name", Named, EFI_IFR_NUMERIC_OP, 0, 0, 2, u"Speed", u"&Speed"},
      {"28 characters", Named, EFI_IFR_NUMERIC_OP, 0, 0, 2, Name28.c_str(), u"&" + Name28},
      {"29 are cut to 28", Named, EFI_IFR_NUMERIC_OP, 0, 0, 2, Name29.c_str(), u"&" + Name28},
      {"a driver's named password", Named, EFI_IFR_PASSWORD_OP, Callback, 0, 2, u"Secret", u""},
      {"an EFI variable", STORAGE_KIND_EFI_VARIABLE, EFI_IFR_NUMERIC_OP, 0, 0, 2, u"Var", u""},
  };
  for (const auto &Each : Cases) {
    Storage *Target = NewStorage(Each.Kind, Each.Kind == Buffer ? u"Setup" : nullptr);
    Statement Question = {};
    Question.Opcode = Each.Opcode;
    Question.QuestionFlags = Each.QuestionFlags;
    Question.Storage = Target;
    Question.VarStoreInfo = Each.Offset;
    Question.ValueBytes = Each.Width;
    Question.ItemName = const_cast<CHAR16 *>(Each.ItemName);
    EXPECT_EQ(AddRequestElement(Set, &Question), EFI_SUCCESS) << Each.Name;
    if (Each.Kind == STORAGE_KIND_EFI_VARIABLE) {
      EXPECT_EQ(Target->ConfigRequest, nullptr) << Each.Name;
    } else {
      EXPECT_EQ(TextOf(Target->ConfigRequest),
                Header(Each.Kind == Buffer ? u"Setup" : u"") + Each.Element)
          << Each.Name;
    }
    EXPECT_EQ(Target->ElementCount, Each.Element.empty() ? 0u : 1u) << Each.Name;
  }
  Statement Loose = {};
  EXPECT_EQ(AddRequestElement(Set, &Loose), EFI_INVALID_PARAMETER) << "no storage, no element";
}

TEST_F(ConfigStringTest, NameValueResponseListsEveryNodeInOrder) {
  Storage *Target = NewStorage(STORAGE_KIND_NAME_VALUE, nullptr);
  AddNode(Target, u"Speed", u"12AB");
  AddNode(Target, u"Empty", u"");
  AddNode(Target, u"Label", u"plain text");
  CHAR16 *Response = nullptr;
  ASSERT_EQ(BuildConfigResponse(Target, &Response), EFI_SUCCESS);
  EXPECT_EQ(TextOf(Response), Header(u"") + u"&Speed=12AB&Empty=&Label=plain text");
  EXPECT_EQ(Host().Pool().SizeOf(Response), StrSize(Response)) << "exactly the text's size";
  FreePoolIfSet(Response);
}

TEST_F(ConfigStringTest, NameValueResponseIsTakenApartPairByPair) {
  struct Case {
    const char *Name;
    std::u16string Response;
    std::u16string Speed;
    std::u16string Label;
  };
  const Case Cases[] = {
      {"every pair", u"&Speed=00FF&Label=Text", u"00FF", u"Text"},
      {"the header's pairs fall away", u"GUID=00&NAME=&PATH=0104&Label=x", u"", u"x"},
      {"unknown names fall away", u"&Other=1&Speed=7", u"7", u""},
      {"names are exact, case included", u"&speed=1&LABEL=2", u"", u""},
      {"an empty value", u"&Speed=&Label=L", u"", u"L"},
      {"a name runs to the next equals sign, over an ampersand", u"&Speed=1&Label&Speed=2", u"1",
       u""},
      {"a name with no equals sign behind it ends the walk", u"&Label=a&Speed", u"", u"a"},
      {"nothing to take", u"GUID=00", u"", u""},
  };
  for (const Case &Each : Cases) {
    Storage *Target = NewStorage(STORAGE_KIND_NAME_VALUE, nullptr);
    NameValueNode *Speed = AddNode(Target, u"Speed", u"");
    NameValueNode *Label = AddNode(Target, u"Label", u"");
    std::u16string Copy = Each.Response;
    EXPECT_EQ(ApplyConfigResponse(Target, Copy.data()), EFI_SUCCESS) << Each.Name;
    EXPECT_EQ(TextOf(Speed->EditValue), Each.Speed) << Each.Name;
    EXPECT_EQ(TextOf(Label->EditValue), Each.Label) << Each.Name;
    EXPECT_EQ(TextOf(Speed->Value), u"") << Each.Name << ": the stored side waits for a commit";
  }
  // Two nodes of one name: the first takes the value.
  Storage *Twice = NewStorage(STORAGE_KIND_NAME_VALUE, nullptr);
  NameValueNode *First = AddNode(Twice, u"Same", u"a");
  NameValueNode *Second = AddNode(Twice, u"Same", u"b");
  std::u16string Response = u"&Same=c";
  EXPECT_EQ(ApplyConfigResponse(Twice, Response.data()), EFI_SUCCESS);
  EXPECT_EQ(TextOf(First->EditValue), u"c");
  EXPECT_EQ(TextOf(Second->EditValue), u"b");
}

TEST_F(ConfigStringTest, BufferResponseGoesThroughTheRoutingProtocolBothWays) {
  Storage *Target = NewBuffer(u"Setup", 8);
  for (auto [Offset, Width] : {std::pair<UINT16, UINT16>{0, 2}, {4, 3}}) {
    Statement Question = {};
    Question.Storage = Target;
    Question.VarStoreInfo = Offset;
    Question.ValueBytes = Width;
    ASSERT_EQ(AddRequestElement(Set, &Question), EFI_SUCCESS);
  }
  const UINT8 Bytes[8] = {0x34, 0x12, 0xEE, 0xEE, 0x01, 0x02, 0x03, 0xEE};
  CopyBytes(Target->EditCopy, Bytes, 8);
  CHAR16 *Response = nullptr;
  ASSERT_EQ(BuildConfigResponse(Target, &Response), EFI_SUCCESS);
  std::u16string Text = TextOf(Response);
  EXPECT_EQ(Text.rfind(Header(u"Setup") + u"&OFFSET=0&WIDTH=2&VALUE=", 0), 0u) << Utf8(Text);
  EXPECT_NE(Text.find(u"&OFFSET=4&WIDTH=3&VALUE="), std::u16string::npos) << Utf8(Text);

  ZeroBytes(Target->EditCopy, 8);
  EXPECT_EQ(ApplyConfigResponse(Target, Response), EFI_SUCCESS);
  const UINT8 Back[8] = {0x34, 0x12, 0, 0, 0x01, 0x02, 0x03, 0};
  EXPECT_EQ(CompareBytes(Target->EditCopy, Back, 8), 0) << "only the requested bytes come back";
  FreePoolIfSet(Response);
}

TEST_F(ConfigStringTest, NamedValuesAndCommits) {
  Storage *Target = NewStorage(STORAGE_KIND_NAME_VALUE, nullptr);
  NameValueNode *Node = AddNode(Target, u"Speed", u"0010");
  AddNode(Target, nullptr, u"nameless");

  CHAR16 *Text = reinterpret_cast<CHAR16 *>(1);
  EXPECT_EQ(ReadNamedValue(Target, u"speed", &Text), EFI_NOT_FOUND);
  EXPECT_EQ(Text, nullptr);
  EXPECT_EQ(ReadNamedValue(Target, nullptr, &Text), EFI_NOT_FOUND);
  ASSERT_EQ(ReadNamedValue(Target, u"Speed", &Text), EFI_SUCCESS);
  EXPECT_EQ(TextOf(Text), u"0010");
  EXPECT_NE(Text, Node->EditValue) << "the caller gets a copy";
  FreePoolIfSet(Text);

  EXPECT_EQ(WriteNamedValue(Target, u"Other", u"1"), EFI_NOT_FOUND);
  ASSERT_EQ(WriteNamedValue(Target, u"Speed", u"ABCD"), EFI_SUCCESS);
  EXPECT_EQ(TextOf(Node->EditValue), u"ABCD");
  EXPECT_EQ(TextOf(Node->Value), u"");
  CommitEdits(Target);
  EXPECT_EQ(TextOf(Node->Value), u"ABCD");
  EXPECT_NE(Node->Value, Node->EditValue);

  Storage *Buffer = NewBuffer(u"B", 3);
  Buffer->EditCopy[2] = 9;
  CommitEdits(Buffer);
  EXPECT_EQ(Buffer->StoredCopy[2], 9);

  // An EFI variable has nothing to commit, and no configuration strings.
  Storage *Variable = NewStorage(STORAGE_KIND_EFI_VARIABLE, nullptr);
  CommitEdits(Variable);
  CHAR16 *Response = reinterpret_cast<CHAR16 *>(1);
  EXPECT_EQ(BuildConfigResponse(Variable, &Response), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Response, nullptr);
  std::u16string Pairs = u"&A=1";
  EXPECT_EQ(ApplyConfigResponse(Variable, Pairs.data()), EFI_INVALID_PARAMETER);
}

TEST_F(ConfigStringTest, ReplaceAndAppend) {
  CHAR16 *Slot = nullptr;
  ASSERT_EQ(AppendString(&Slot, u"GUID=1"), EFI_SUCCESS);
  EXPECT_EQ(TextOf(Slot), u"GUID=1");
  ASSERT_EQ(AppendString(&Slot, u"&NAME=x"), EFI_SUCCESS);
  EXPECT_EQ(TextOf(Slot), u"GUID=1&NAME=x");
  EXPECT_EQ(Host().Pool().SizeOf(Slot), StrSize(Slot));
  ASSERT_EQ(ReplaceString(&Slot, u""), EFI_SUCCESS);
  EXPECT_EQ(TextOf(Slot), u"");
  // Out of memory leaves the slot as it was.
  Host().Pool().FailAllocation(1);
  EXPECT_EQ(ReplaceString(&Slot, u"lost"), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(TextOf(Slot), u"");
  Host().Pool().FailAllocation(1);
  EXPECT_EQ(AppendString(&Slot, u"lost"), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(TextOf(Slot), u"");
  FreePoolIfSet(Slot);
}

TEST_F(ConfigStringTest, APackageListIsFoundByItsDriversDevicePath) {
  Strings S;
  IfrWriter W;
  W.FormSet(SetGuid(), S.Add(u"Found"), 0, {}, true).Form(1, 1, true).End().End();
  PublishedFormSet &Published = PublishSet(W, S);
  auto Find = [&](const void *Path) {
    return FindHiiHandleByDevicePath(HiiDatabase,
                                     static_cast<const EFI_DEVICE_PATH_PROTOCOL *>(Path));
  };
  const std::vector<uint8_t> &Path = Published.Driver->DevicePath();
  EXPECT_EQ(Find(Path.data()), Published.Handle);
  // The fixture's driver has a path but no package list.
  EXPECT_EQ(Find(Driver->DevicePath().data()), nullptr);
  // A path no handle bears, and a path that is only its end.
  std::vector<uint8_t> Stranger = Path;
  Stranger[8] ^= 0xFF;
  EXPECT_EQ(Find(Stranger.data()), nullptr);
  const UINT8 End[] = {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, 4, 0};
  EXPECT_EQ(DevicePathSize(reinterpret_cast<const EFI_DEVICE_PATH_PROTOCOL *>(End)), 4u);
  EXPECT_EQ(Find(End), nullptr);
}

} // namespace
} // namespace morvane::test
