// The walk over a form set's IFR: every opcode row into its record and fields, the scopes and
// conditions that nest, and the form sets that load beside a running SendForm.
#include <cstdio>
#include <iterator>
#include <tuple>
#include <vector>

#include "model/ifr_parser.h"
#include "storage/storage.h"
#include "support/guid.h"
#include "tests/common/text.h"
#include "tests/model/model_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrValue;
using kit::IfrWriter;
using kit::QuestionHeader;
using kit::Strings;

const EFI_GUID BufferGuid = TestGuid(0x51);
const EFI_GUID NameValueGuid = TestGuid(0x52);
const EFI_GUID VariableGuid = TestGuid(0x53);
constexpr UINT8 Unchecked = 0xFF;

class ParserTest : public ModelTest {
protected:
  // The prompts of a form's statements, in order.
  static std::vector<EFI_STRING_ID> Prompts(Form *Owner) {
    std::vector<EFI_STRING_ID> Out;
    LIST_FOR_EACH(Link, &Owner->StatementList) {
      Out.push_back(StatementFromLink(Link)->Prompt);
    }
    return Out;
  }
};

TEST_F(ParserTest, EveryOpcodeRowFillsItsRecord) {
  Strings S;
  EFI_STRING_ID Title = S.Add(u"Everything"), Help = S.Add(u"Set help");
  EFI_STRING_ID FormTitle = S.Add(u"First form"), SecondTitle = S.Add(u"Second form");
  EFI_STRING_ID Standard = S.Add(u"Standard"), Manufacturing = S.Add(u"Manufacturing");
  EFI_STRING_ID ItemName = S.Add(u"Item"), VariableName = S.Add(u"Level");
  EFI_STRING_ID P = S.Add(u"Prompt"), H = S.Add(u"Help"), T2 = S.Add(u"Second text");

  IfrWriter W;
  W.FormSet(SetGuid(), Title, Help, {}, true).ExtensionClass(0x1234).ExtensionSubclass(0x0002);
  W.DefaultStore(Standard, EFI_HII_DEFAULT_CLASS_STANDARD);
  W.DefaultStore(Manufacturing, EFI_HII_DEFAULT_CLASS_MANUFACTURING);
  W.VarStore(BufferGuid, 1, 32, "Setup").VarStoreNameValue(2, NameValueGuid);
  W.VarStoreEfi(3, VariableGuid, 7, 1, "Ignored").Image(9);
  W.Form(1, FormTitle, true);
  W.Subtitle(P, H, 0).Text(P, H, T2).Subtitle(P, H, EFI_IFR_FLAGS_HORIZONTAL);
  W.OneOf({P, H, 0x10, 1, 4, EFI_IFR_FLAG_CALLBACK}, EFI_IFR_NUMERIC_SIZE_2, 1, 9, 1, true);
  W.OneOfOption(P, 0, IfrValue::U16(1));
  W.OneOfOption(P, EFI_IFR_OPTION_DEFAULT, IfrValue::U16(2), true).Image(11).End();
  W.Default(EFI_HII_DEFAULT_CLASS_MANUFACTURING, IfrValue::U16(2)).End();
  W.Numeric({P, H, 0x11, 1, 8, EFI_IFR_FLAG_READ_ONLY},
            EFI_IFR_NUMERIC_SIZE_4 | EFI_IFR_DISPLAY_UINT_HEX, 10, 1000, 5);
  W.Checkbox({P, H, 0x12, 1, 12, EFI_IFR_FLAG_RESET_REQUIRED}, EFI_IFR_CHECKBOX_DEFAULT);
  W.Password({P, H, 0x13, 1, 14, EFI_IFR_FLAG_CALLBACK}, 2, 8);
  W.String({P, H, 0x14, 2, ItemName, 0}, 1, 20, EFI_IFR_STRING_MULTI_LINE);
  W.OrderedList({P, H, 0x15, 1, 20, 0}, 3, EFI_IFR_UNIQUE_SET, true);
  W.OneOfOption(P, 0, IfrValue::U8(7)).OneOfOption(P, 0, IfrValue::U8(8)).End();
  W.Date({P, H, 0x16, 1, 24, 0}, 0).Time({P, H, 0x17, 1, 28, 0}, QF_TIME_STORAGE_TIME);
  W.Action({P, H, 0x18, 0, 0, 0}, T2);
  W.ResetButton({P, H, 0x19, 0, 0, 0}, EFI_HII_DEFAULT_CLASS_MANUFACTURING);
  W.Ref({P, H, 0x1A, 0, 0, 0}, 2);
  W.Numeric({P, H, 0x1B, 3, VariableName, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 200, 0);
  W.Refresh(5).Locked().End();
  W.Form(2, SecondTitle, true).Image(7).Rule(3, true).True().End();
  // A question without storage.
  W.Numeric({P, H, 0x20, 0, 0x44, 0}, EFI_IFR_NUMERIC_SIZE_8, 0, 9, 1).End();
  W.Form(3, SecondTitle, true).End().End();

  PublishedFormSet &Published = PublishSet(W, S);
  Published.Driver->AddBufferStorage(BufferGuid, u"Setup", std::vector<uint8_t>(32, 0));
  Published.Driver->AddNameValueStorage(NameValueGuid);
  FormSet *Set = nullptr;
  ASSERT_EQ(LoadSet(Published.Handle, SetGuid(), &Set), EFI_SUCCESS);
  EXPECT_TRUE(Notices.empty()) << Notices.front();
  ASSERT_NE(Set, nullptr);

  // The form set and its default stores.
  EXPECT_EQ(Set->FormSetTitle, Title);
  EXPECT_EQ(Set->FormSetHelp, Help);
  EXPECT_EQ(Set->FormSetClass, 0x1234);
  EXPECT_EQ(Set->FormSetSubClass, 0x0002);
  EXPECT_EQ(Set->FormSetImage, 9);
  EXPECT_EQ(Set->IfrLength, W.Bytes().size());
  EXPECT_EQ(Set->DriverHandle, Published.Driver->Handle());
  EXPECT_NE(Set->ConfigAccess, nullptr);
  EXPECT_EQ(Set->Loaded, 0) << "the caller sets Loaded";
  ASSERT_EQ(CountOf(&Set->FormList), 3u);
  std::vector<std::pair<UINT16, EFI_STRING_ID>> Stores;
  LIST_FOR_EACH(Link, &Set->DefaultStoreList) {
    DefaultStore *Each = DefaultStoreFromLink(Link);
    Stores.push_back({Each->DefaultId, Each->DefaultName});
  }
  EXPECT_EQ(Stores, (std::vector<std::pair<UINT16, EFI_STRING_ID>>{
                        {EFI_HII_DEFAULT_CLASS_STANDARD, Standard},
                        {EFI_HII_DEFAULT_CLASS_MANUFACTURING, Manufacturing}}));

  // The storages, in IFR order, with their headers and requests.
  ASSERT_EQ(CountOf(&Set->StorageList), 3u);
  Storage *Buffer = StorageAt(Set, 0), *NameValue = StorageAt(Set, 1),
          *Variable = StorageAt(Set, 2);
  const std::tuple<UINT8, EFI_GUID> Storages[] = {{STORAGE_KIND_BUFFER, BufferGuid},
                                                  {STORAGE_KIND_NAME_VALUE, NameValueGuid},
                                                  {STORAGE_KIND_EFI_VARIABLE, VariableGuid}};
  for (size_t Index = 0; Index < 3; Index++) {
    Storage *Record = StorageAt(Set, Index);
    EXPECT_EQ(Record->Kind, std::get<0>(Storages[Index])) << Index;
    EXPECT_EQ(Record->VarStoreId, Index + 1);
    EXPECT_TRUE(GuidIsEqual(&Record->Guid, &std::get<1>(Storages[Index]))) << Index;
  }
  EXPECT_EQ(TextOf(Buffer->Name), u"Setup");
  EXPECT_EQ(Buffer->Size, 32);
  EXPECT_EQ(Host().Pool().SizeOf(Buffer->EditCopy), 32u);
  EXPECT_EQ(Host().Pool().SizeOf(Buffer->StoredCopy), 32u);
  std::u16string BufferHeader =
      ConfigHeaderOf(BufferGuid, u"Setup", Published.Driver->DevicePath());
  EXPECT_EQ(TextOf(Buffer->ConfigHdr), BufferHeader);
  // The password belongs to its driver, and the clock time to no storage.
  EXPECT_EQ(TextOf(Buffer->ConfigRequest),
            BufferHeader + u"&OFFSET=4&WIDTH=2&OFFSET=8&WIDTH=4&OFFSET=c&WIDTH=1"
                           u"&OFFSET=14&WIDTH=3&OFFSET=18&WIDTH=4");
  EXPECT_EQ(Buffer->ElementCount, 5u);

  EXPECT_EQ(NameValue->Name, nullptr);
  EXPECT_EQ(NameValue->EditCopy, nullptr);
  std::u16string NameValueHeader =
      ConfigHeaderOf(NameValueGuid, u"", Published.Driver->DevicePath());
  EXPECT_EQ(TextOf(NameValue->ConfigHdr), NameValueHeader);
  EXPECT_EQ(TextOf(NameValue->ConfigRequest), NameValueHeader + u"&Item");
  EXPECT_EQ(NameValue->ElementCount, 1u);
  ASSERT_EQ(CountOf(&NameValue->NameValues), 1u);
  EXPECT_EQ(TextOf(NameValueNodeFromLink(ListFirst(&NameValue->NameValues))->Name), u"Item");

  EXPECT_EQ(Variable->Attributes, 7u);
  EXPECT_EQ(Variable->Name, nullptr);
  EXPECT_EQ(Variable->Size, 0);
  EXPECT_EQ(Variable->ConfigHdr, nullptr);
  EXPECT_EQ(Variable->ConfigRequest, nullptr);
  EXPECT_EQ(Variable->ElementCount, 0u);

  // The first form and its statements.
  Form *One = FormAt(Set, 0);
  EXPECT_EQ(One->FormId, 1);
  EXPECT_EQ(One->FormTitle, FormTitle);
  EXPECT_EQ(TextOf(One->FormTitleText), u"First form");
  EXPECT_EQ(CountOf(&One->ExpressionList), 0u);
  struct Row {
    UINT8 Opcode;
    EFI_QUESTION_ID Id;
    EFI_STRING_ID Prompt;
    UINT8 Flags, QuestionFlags, Type;
    UINT16 Bytes;
    Storage *Where;
    UINT64 Minimum = 0, Maximum = 0, Step = 0;
    UINTN Held = 0; // the size of the value buffer, 0 without one
  };
  const Row Rows[] = {
      {EFI_IFR_SUBTITLE_OP, 0, P, 0, 0, Unchecked, 0, nullptr},
      {EFI_IFR_TEXT_OP, 0, P, 0, 0, 0, 0, nullptr},
      // A subtitle after other statements has a companion with no prompt in front of it.
      {EFI_IFR_SUBTITLE_OP, 0, 0, EFI_IFR_FLAGS_HORIZONTAL, 0, Unchecked, 0, nullptr},
      {EFI_IFR_SUBTITLE_OP, 0, P, EFI_IFR_FLAGS_HORIZONTAL, 0, Unchecked, 0, nullptr},
      {EFI_IFR_ONE_OF_OP, 0x10, P, EFI_IFR_NUMERIC_SIZE_2, EFI_IFR_FLAG_CALLBACK,
       EFI_IFR_TYPE_NUM_SIZE_16, 2, Buffer, 1, 9, 1},
      {EFI_IFR_NUMERIC_OP, 0x11, P, EFI_IFR_NUMERIC_SIZE_4 | EFI_IFR_DISPLAY_UINT_HEX,
       EFI_IFR_FLAG_READ_ONLY, EFI_IFR_TYPE_NUM_SIZE_32, 4, Buffer, 10, 1000, 5},
      {EFI_IFR_CHECKBOX_OP, 0x12, P, EFI_IFR_CHECKBOX_DEFAULT, EFI_IFR_FLAG_RESET_REQUIRED,
       EFI_IFR_TYPE_BOOLEAN, 1, Buffer},
      {EFI_IFR_PASSWORD_OP, 0x13, P, 0, EFI_IFR_FLAG_CALLBACK, EFI_IFR_TYPE_STRING, 16, Buffer, 2,
       8, 0, 18},
      {EFI_IFR_STRING_OP, 0x14, P, EFI_IFR_STRING_MULTI_LINE, 0, EFI_IFR_TYPE_STRING, 40, NameValue,
       1, 20, 0, 42},
      {EFI_IFR_ORDERED_LIST_OP, 0x15, P, EFI_IFR_UNIQUE_SET, 0, EFI_IFR_TYPE_OTHER, 3, Buffer, 0, 0,
       0, 3},
      {EFI_IFR_DATE_OP, 0x16, P, 0, 0, EFI_IFR_TYPE_DATE, 4, Buffer},
      // A time on the clock is bound to no storage, whatever its header names.
      {EFI_IFR_TIME_OP, 0x17, P, QF_TIME_STORAGE_TIME, 0, EFI_IFR_TYPE_TIME, 0, nullptr},
      {EFI_IFR_ACTION_OP, 0x18, P, 0, 0, Unchecked, 0, nullptr},
      {EFI_IFR_RESET_BUTTON_OP, 0x19, P, 0, 0, Unchecked, 0, nullptr},
      {EFI_IFR_REF_OP, 0x1A, P, 0, 0, Unchecked, 0, nullptr},
      {EFI_IFR_NUMERIC_OP, 0x1B, P, EFI_IFR_NUMERIC_SIZE_1, 0, EFI_IFR_TYPE_NUM_SIZE_8, 1, Variable,
       0, 200},
  };
  ASSERT_EQ(CountOf(&One->StatementList), std::size(Rows));
  for (size_t Index = 0; Index < std::size(Rows); Index++) {
    const Row &Each = Rows[Index];
    Statement *Record = StatementAt(One, Index);
    UINTN Held = Record->ValueBuffer == nullptr ? 0 : Host().Pool().SizeOf(Record->ValueBuffer);
    EXPECT_EQ(std::tuple(Record->Opcode, Record->QuestionId, Record->Prompt, Record->Help,
                         Record->Flags, Record->QuestionFlags, Record->ValueBytes, Record->Storage),
              std::tuple(Each.Opcode, Each.Id, Each.Prompt, H, Each.Flags, Each.QuestionFlags,
                         Each.Bytes, Each.Where))
        << Index;
    EXPECT_EQ(std::tuple(Record->Minimum, Record->Maximum, Record->Step, Held),
              std::tuple(Each.Minimum, Each.Maximum, Each.Step, Each.Held))
        << Index;
    if (Each.Type != Unchecked) {
      EXPECT_EQ(Record->Value.Type, Each.Type) << Index;
    }
  }
  EXPECT_EQ(StatementAt(One, 1)->TextTwo, T2);
  EXPECT_EQ(NumberOf(StatementAt(One, 1)->Value), 0u);

  Statement *OneOf = StatementAt(One, 4);
  EXPECT_EQ(OneOf->VarStoreId, 1);
  EXPECT_EQ(OneOf->VarStoreInfo, 4);
  EXPECT_EQ(OneOf->ItemName, nullptr);
  ASSERT_EQ(CountOf(&OneOf->QuestionOptionList), 2u);
  QuestionOption *Option = OptionAt(OneOf, 1);
  EXPECT_EQ(Option->Text, P);
  EXPECT_EQ(Option->Flags, EFI_IFR_OPTION_DEFAULT);
  EXPECT_EQ(Option->Value.Type, EFI_IFR_TYPE_NUM_SIZE_16);
  EXPECT_EQ(NumberOf(Option->Value), 2u);
  EXPECT_EQ(Option->ImageId, 11) << "an image in an option's scope is the option's";
  EXPECT_EQ(OptionAt(OneOf, 0)->ImageId, 0);
  ASSERT_EQ(CountOf(&OneOf->QuestionDefaultList), 1u);
  QuestionDefault *Default = DefaultAt(OneOf, 0);
  EXPECT_EQ(Default->DefaultId, EFI_HII_DEFAULT_CLASS_MANUFACTURING);
  EXPECT_EQ(Default->Value.Type, EFI_IFR_TYPE_NUM_SIZE_16);
  EXPECT_EQ(NumberOf(Default->Value), 2u);
  EXPECT_EQ(Default->ComputedValue, nullptr);

  EXPECT_EQ(TextOf(StatementAt(One, 8)->ItemName), u"Item");
  EXPECT_EQ(StatementAt(One, 9)->MaxContainers, 3);
  EXPECT_EQ(CountOf(&StatementAt(One, 9)->QuestionOptionList), 2u);
  EXPECT_EQ(StatementAt(One, 12)->QuestionConfig, T2);
  EXPECT_EQ(StatementAt(One, 12)->ActionOnKey, 0);
  EXPECT_EQ(StatementAt(One, 13)->DefaultId, EFI_HII_DEFAULT_CLASS_MANUFACTURING);
  EXPECT_EQ(StatementAt(One, 14)->RefFormId, 2);
  Statement *OnVariable = StatementAt(One, 15);
  EXPECT_EQ(TextOf(OnVariable->ItemName), u"Level");
  EXPECT_EQ(OnVariable->RefreshInterval, 5);

  // The second form: its image, its rule, and a question without storage; the third is empty.
  Form *Two = FormAt(Set, 1);
  EXPECT_EQ(Two->FormId, 2);
  EXPECT_EQ(Two->FormImage, 7);
  ASSERT_EQ(CountOf(&Two->ExpressionList), 1u);
  Expression *Rule = ExpressionAt(&Two->ExpressionList, 0);
  EXPECT_EQ(Rule->ExpressionType, EXPRESSION_RULE);
  EXPECT_EQ(Rule->RuleId, 3);
  ASSERT_EQ(CountOf(&Rule->OpcodeList), 1u);
  ExpressionOpcode *Op = ExpressionOpcodeFromLink(ListFirst(&Rule->OpcodeList));
  EXPECT_EQ(Op->Opcode, EFI_IFR_TRUE_OP);
  EXPECT_EQ(Op->Value.Type, EFI_IFR_TYPE_BOOLEAN);
  EXPECT_EQ(NumberOf(Op->Value), 1u);
  Statement *Loose = StatementAt(Two, 0);
  EXPECT_EQ(Loose->Storage, nullptr);
  EXPECT_EQ(Loose->VarStoreInfo, 0x44);
  EXPECT_EQ(Loose->ValueBytes, 8);
  EXPECT_EQ(CountOf(&FormAt(Set, 2)->StatementList), 0u);
  ReleaseFormSet(Set);
}

TEST_F(ParserTest, ReferencesReadWhatTheirLengthHolds) {
  const EFI_GUID Target = TestGuid(0x99);
  const QuestionHeader Header = {1, 2, 0x30, 0, 0, 0};
  const struct {
    const char *Name;
    std::function<void(IfrWriter &)> Write;
    EFI_FORM_ID Form;
    EFI_QUESTION_ID Question;
    bool HasGuid;
    EFI_STRING_ID DevicePath;
  } Cases[] = {
      {"15 bytes", IFR(Ref(Header, 5)), 5, 0, false, 0},
      {"17 bytes", IFR(Ref2(Header, 5, 6)), 5, 6, false, 0},
      {"33 bytes", IFR(Ref3(Header, 5, 6, Target)), 5, 6, true, 0},
      {"35 bytes", IFR(Ref4(Header, 5, 6, Target, 3)), 5, 6, true, 3},
      // The bare question header is a published layout too; it names no form.
      {"13 bytes", IFR(Ref5(Header)), 0, 0, false, 0},
      // A layout between the published ones reads what it holds completely.
      {"16 bytes",
       [&](IfrWriter &W) {
         std::vector<uint8_t> Body = kit::QuestionHeaderBytes(Header);
         Body.insert(Body.end(), {5, 0, 9});
         W.Raw(EFI_IFR_REF_OP, Body);
       },
       5, 0, false, 0},
  };
  for (const auto &Each : Cases) {
    Renew();
    Strings S;
    FormSet *Set = LoadForm(S, Each.Write);
    ASSERT_NE(Set, nullptr) << Each.Name;
    Statement *Ref = StatementAt(FormAt(Set, 0), 0);
    ASSERT_NE(Ref, nullptr) << Each.Name;
    EXPECT_EQ(Ref->Opcode, EFI_IFR_REF_OP) << Each.Name;
    EXPECT_EQ(Ref->QuestionId, 0x30) << Each.Name;
    EXPECT_EQ(Ref->RefFormId, Each.Form) << Each.Name;
    EXPECT_EQ(Ref->RefQuestionId, Each.Question) << Each.Name;
    EFI_GUID Expected = Each.HasGuid ? Target : EFI_GUID{};
    EXPECT_TRUE(GuidIsEqual(&Ref->RefFormSetId, &Expected)) << Each.Name;
    EXPECT_EQ(Ref->RefDevicePath, Each.DevicePath) << Each.Name;
    ReleaseFormSet(Set);
  }
}

TEST_F(ParserTest, ActionsTakeTheirConfigurationAndTheKeyRangeRunsIntoTheNextParse) {
  Strings S;
  EFI_STRING_ID Config = S.Add(u"Config");
  FormSet *Set = LoadForm(S, [&](IfrWriter &W) {
    W.Action({1, 2, 0x40, 0, 0, 0}, std::nullopt).ActionKeyBegin();
    W.Action({1, 2, 0x41, 0, 0, 0}, Config);
    // Only actions take the mark.
    W.Checkbox({1, 2, 0x42, 0, 0, 0}).ActionKeyEnd();
    W.Action({1, 2, 0x43, 0, 0, 0}, std::nullopt).ActionKeyBegin();
  });
  ASSERT_NE(Set, nullptr);
  EXPECT_EQ(QuestionById(Set, 0x40)->QuestionConfig, 0) << "a short action has no string";
  EXPECT_EQ(QuestionById(Set, 0x41)->QuestionConfig, Config);
  std::vector<UINT8> Marks;
  for (EFI_QUESTION_ID Id : {0x40, 0x41, 0x42, 0x43}) {
    Marks.push_back(QuestionById(Set, Id)->ActionOnKey);
  }
  EXPECT_EQ(Marks, (std::vector<UINT8>{0, 1, 0, 0}));
  ReleaseFormSet(Set);
  EXPECT_TRUE(ActionOnKeyOpen) << "the range left open stays open";

  // The next form set parsed begins inside the range.
  IfrWriter W;
  W.FormSet(TestGuid(0x41), S.Add(u"Next"), 0, {}, true);
  W.Form(1, 1, true).Action({1, 2, 0x50, 0, 0, 0}, std::nullopt).End().End();
  PublishedFormSet &Next = Publish(W, S, TestGuid(0x41));
  FormSet *NextSet = nullptr;
  ASSERT_EQ(LoadSet(Next.Handle, TestGuid(0x41), &NextSet), EFI_SUCCESS);
  EXPECT_EQ(QuestionById(NextSet, 0x50)->ActionOnKey, 1);
  ReleaseFormSet(NextSet);
}

// GUID opcodes other than the class and subclass are stepped over, and so is everything after
// the form set's END, which is counted all the same.
TEST_F(ParserTest, OpcodesThatAreSteppedOver) {
  Strings S;
  IfrWriter W;
  W.FormSet(SetGuid(), S.Add(u"Set"), 0, {}, true).ExtensionLabel(0x1111);
  W.Guid(kit::IFR_VENDOR_EXTENSION_GUID, {kit::IFR_EXTEND_OP_BANNER, 0x22, 0x22});
  W.Guid(kit::IFR_VENDOR_EXTENSION_GUID, {kit::IFR_EXTEND_OP_TIMEOUT, 0x33, 0x33});
  // A foreign GUID with a long body is stepped over by its length.
  W.Guid(TestGuid(0xEE), std::vector<uint8_t>(90, EFI_IFR_END_OP));
  W.Form(1, 1, true).Text(1, 2).End().End();
  size_t EndOfSet = W.Bytes().size();
  W.Form(2, 1, true).Text(1, 2).Subtitle(1, 2).True().End();
  FormSet *Set = Load(W, S);
  ASSERT_NE(Set, nullptr);
  EXPECT_EQ(Set->FormSetClass, 0);
  EXPECT_EQ(Set->FormSetSubClass, 0);
  EXPECT_EQ(Set->IfrLength, EndOfSet);
  ASSERT_EQ(CountOf(&Set->FormList), 1u);
  EXPECT_EQ(CountOf(&FormAt(Set, 0)->StatementList), 1u);
  // Form set, four GUIDs, form, text, END, END; then form, text, subtitle (two slots), END;
  // TRUE is an operator.
  EXPECT_EQ(Set->StatementCapacity, 14u);
  EXPECT_EQ(Set->OpcodeCapacity, 1u);
  ReleaseFormSet(Set);
}

TEST_F(ParserTest, UnknownScopedOpcodesHaveTheirContentParsed) {
  Strings S;
  IfrWriter W;
  W.FormSet(SetGuid(), S.Add(u"Set"), 0, {}, true).Form(1, 1, true);
  W.Raw(0x70, {1, 2, 3}, true).Text(1, 2);
  W.Raw(EFI_IFR_LOCKED_OP, {}, true).Checkbox({1, 2, 0x60, 0, 0, 0}).End().End();
  W.VarStoreDevice(1, true).Text(3, 4).End();
  // A subtitle's scope holds statements of the form like any other.
  W.Subtitle(9, 0, 0, true).End();
  W.ModalTag().Text(5, 6).End().End();
  size_t EndOfSet = W.Bytes().size();
  // Parsed, a statement outside any form would fail the load: only a balanced scope stack
  // lets the form set's END end the walk before it.
  W.Text(7, 8);
  FormSet *Set = Load(W, S);
  ASSERT_NE(Set, nullptr);
  EXPECT_EQ(Set->IfrLength, EndOfSet);
  Form *One = FormAt(Set, 0);
  // The text, the checkbox (prompt 1), the third text, the subtitle's companion, the subtitle.
  EXPECT_EQ(Prompts(One), (std::vector<EFI_STRING_ID>{1, 1, 3, 0, 9, 5}));
  EXPECT_EQ(StatementAt(One, 0)->Opcode, EFI_IFR_TEXT_OP);
  EXPECT_EQ(StatementAt(One, 1)->QuestionId, 0x60);
  ReleaseFormSet(Set);
}

// Disable-if: evaluated once while parsing; what it disables never enters the model.
TEST_F(ParserTest, DisableIfKeepsOrDropsItsScope) {
  const struct {
    const char *Name;
    std::function<void(IfrWriter &)> Write;
    std::vector<EFI_STRING_ID> Prompts; // of the statements that remain
  } Cases[] = {
      {"one opcode, true", IFR(DisableIf(true).True().Text(10, 0).End().Text(11, 0)), {11}},
      {"one opcode, false", IFR(DisableIf(true).False().Text(10, 0).End().Text(11, 0)), {10, 11}},
      {"several opcodes, the first with a scope, true",
       IFR(DisableIf(true).Raw(EFI_IFR_UINT8_OP, {5}, true).Uint8(5).Equal().End();
           W.Text(10, 0).End().Text(11, 0)),
       {11}},
      {"several opcodes, false",
       IFR(DisableIf(true).Raw(EFI_IFR_UINT8_OP, {5}, true).Uint8(6).Equal().End();
           W.Text(10, 0).End().Text(11, 0)),
       {10, 11}},
      {"a question's value at parse time is the parser's zero",
       IFR(Checkbox({1, 2, 0x61, 0, 0, 0}); W.DisableIf(true).EqIdVal(0x61, 0).Text(10, 0).End();
           W.Text(11, 0)),
       {1, 11}},
      {"nested inside a disabled scope: only the outer END ends the skipping",
       IFR(DisableIf(true).True().DisableIf(true).False().Text(10, 0).End();
           W.Text(11, 0).End().Text(12, 0)),
       {12}},
      {"nested inside a kept scope",
       IFR(DisableIf(true).False().DisableIf(true).True().Text(10, 0).End();
           W.Text(11, 0).End().Text(12, 0)),
       {11, 12}},
      {"scopes of every kind inside a disabled scope stay balanced",
       [](IfrWriter &W) {
         W.DisableIf(true).True();
         W.SuppressIf(true).True().OneOf({13, 0, 0x62, 0, 0, 0}, 0, 0, 1, 0, true);
         W.OneOfOption(1, 0, IfrValue::U8(0)).End().End();
         W.Raw(0x70, {}, true).End().End().Text(12, 0);
       },
       {12}},
      {"a suppress-if inside a kept scope is not evaluated while parsing",
       IFR(DisableIf(true).False().SuppressIf(true).EqIdVal(0x7777, 1).Text(10, 0).End().End()),
       {10}},
  };
  for (const auto &Each : Cases) {
    Renew();
    Strings S;
    FormSet *Set = LoadForm(S, Each.Write);
    ASSERT_NE(Set, nullptr) << Each.Name;
    Form *One = FormAt(Set, 0);
    EXPECT_EQ(Prompts(One), Each.Prompts) << Each.Name;
    // A disable expression joins no list.
    LIST_FOR_EACH(Link, &One->ExpressionList) {
      EXPECT_NE(ExpressionFromLink(Link)->ExpressionType, EXPRESSION_DISABLE_IF) << Each.Name;
    }
    ReleaseFormSet(Set);
  }
}

// At form-set level a disable-if keeps or drops whole forms; a question it names is looked for
// among those read so far, and one that is nowhere refuses the form set.
TEST_F(ParserTest, DisableIfAtFormSetLevel) {
  const struct {
    const char *Name;
    std::function<void(IfrWriter &)> Condition;
    EFI_STATUS Status;
    std::vector<EFI_FORM_ID> Forms;
  } Cases[] = {
      {"false", IFR(False()), EFI_SUCCESS, {2, 1}},
      {"a question read before it", IFR(EqIdVal(0x30, 0)), EFI_SUCCESS, {1}},
      {"a question of no form", IFR(EqIdVal(0x4444, 0)), EFI_NOT_FOUND, {}},
  };
  for (const auto &Each : Cases) {
    Renew();
    Strings S;
    IfrWriter W;
    W.FormSet(SetGuid(), S.Add(u"Form set"), 0, {}, true);
    W.Form(3, S.Add(u"First"), true).Checkbox({1, 2, 0x30, 0, 0, 0}).End();
    W.DisableIf(true);
    Each.Condition(W);
    W.Form(2, S.Add(u"Disabled or not"), true).Text(1, 2).End().End();
    W.Form(1, S.Add(u"Kept"), true).Text(1, 2).End().End();
    PublishedFormSet &Published = PublishSet(W, S);
    FormSet *Set = nullptr;
    EXPECT_EQ(LoadSet(Published.Handle, SetGuid(), &Set), Each.Status) << Each.Name;
    std::vector<EFI_FORM_ID> Forms;
    for (size_t Index = 1; Set != nullptr && FormAt(Set, Index) != nullptr; Index++) {
      Forms.push_back(FormAt(Set, Index)->FormId);
    }
    EXPECT_EQ(Forms, Each.Forms) << Each.Name;
    ReleaseFormSet(Set);
  }
}

TEST_F(ParserTest, SuppressAndGrayOutBindWhatTheirScopeHolds) {
  Strings S;
  FormSet *Set = LoadForm(S, [&](IfrWriter &W) {
    // Inside the one-of: the options that follow, not the statement.
    W.OneOf({1, 2, 0x70, 0, 0, 0}, 0, 0, 9, 1, true);
    W.OneOfOption(3, 0, IfrValue::U8(0));
    W.SuppressIf(true).EqIdVal(0x70, 1).OneOfOption(4, 0, IfrValue::U8(1)).End();
    W.OneOfOption(5, 0, IfrValue::U8(2)).End();
    // Around a one-of: the statement, not its options.
    W.SuppressIf(true).True();
    W.OneOf({1, 2, 0x71, 0, 0, 0}, 0, 0, 9, 1, true).OneOfOption(6, 0, IfrValue::U8(0)).End();
    W.End().Text(7, 0);
    // Gray-out binds statements the same way.
    W.GrayOutIf(true).True().Checkbox({1, 2, 0x72, 0, 0, 0}).End();
    // A numeric with options in its scope opens no option scope.
    W.Numeric({1, 2, 0x73, 0, 0, 0}, 0, 0, 9, 1, true);
    W.SuppressIf(true).True().OneOfOption(8, 0, IfrValue::U8(0)).End();
    W.End().Text(9, 0);
    // An inner condition ends the outer one for what follows it.
    W.SuppressIf(true).True().Text(11, 0);
    W.SuppressIf(true).False().Text(12, 0).End();
    W.Text(13, 0).End();
    W.GrayOutIf(true).True().Text(14, 0);
    W.GrayOutIf(true).False().Text(15, 0).End();
    W.Text(16, 0).End();
  });
  ASSERT_NE(Set, nullptr);
  Form *One = FormAt(Set, 0);
  ASSERT_EQ(CountOf(&One->ExpressionList), 8u);
  std::vector<Expression *> Conditions;
  LIST_FOR_EACH(Link, &One->ExpressionList) {
    Conditions.push_back(ExpressionFromLink(Link));
  }
  EXPECT_EQ(Conditions[0]->ExpressionType, EXPRESSION_SUPPRESS_IF);
  EXPECT_EQ(Conditions[1]->ExpressionType, EXPRESSION_SUPPRESS_IF);
  EXPECT_EQ(Conditions[2]->ExpressionType, EXPRESSION_GRAY_OUT_IF);

  Statement *First = QuestionById(Set, 0x70);
  EXPECT_EQ(First->SuppressCondition, nullptr);
  EXPECT_EQ(OptionAt(First, 0)->SuppressCondition, nullptr);
  EXPECT_EQ(OptionAt(First, 1)->SuppressCondition, Conditions[0]);
  EXPECT_EQ(OptionAt(First, 2)->SuppressCondition, nullptr);
  Statement *Second = QuestionById(Set, 0x71);
  EXPECT_EQ(Second->SuppressCondition, Conditions[1]);
  EXPECT_EQ(OptionAt(Second, 0)->SuppressCondition, nullptr);
  EXPECT_EQ(StatementAt(One, 2)->SuppressCondition, nullptr) << "the END outside closed it";
  Statement *Grayed = QuestionById(Set, 0x72);
  EXPECT_EQ(Grayed->GrayOutCondition, Conditions[2]);
  EXPECT_EQ(Grayed->SuppressCondition, nullptr);
  Statement *Numeric = QuestionById(Set, 0x73);
  EXPECT_EQ(Numeric->SuppressCondition, nullptr);
  EXPECT_EQ(OptionAt(Numeric, 0)->SuppressCondition, nullptr)
      << "the suppress-if was a form-level one";
  EXPECT_EQ(StatementAt(One, 5)->Prompt, 9);
  EXPECT_EQ(StatementAt(One, 5)->SuppressCondition, nullptr) << "and its END closed it";

  // Statements 6 to 11: outer, inner, after the inner one; the same for gray-out.
  const Expression *Suppress[] = {Conditions[4], Conditions[5], nullptr};
  const Expression *Gray[] = {Conditions[6], Conditions[7], nullptr};
  for (size_t Index = 0; Index < 3; Index++) {
    EXPECT_EQ(StatementAt(One, 6 + Index)->SuppressCondition, Suppress[Index]) << Index;
    EXPECT_EQ(StatementAt(One, 9 + Index)->GrayOutCondition, Gray[Index]) << Index;
  }
  EXPECT_EQ(StatementAt(One, 9)->SuppressCondition, nullptr);
  ReleaseFormSet(Set);
}

TEST_F(ParserTest, ExpressionsOfEveryKindJoinTheirOwners) {
  Strings S;
  EFI_STRING_ID Error = S.Add(u"Wrong");
  EFI_STRING_ID Refused = S.Add(u"Refused");
  FormSet *Set = LoadForm(S, [&](IfrWriter &W) {
    W.Numeric({1, 2, 0x80, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
    W.InconsistentIf(Error, true).EqIdVal(0x80, 3).End();
    W.NoSubmitIf(Refused, true).EqIdValList(0x80, {4, 5, 6}).End();
    W.Default(EFI_HII_DEFAULT_CLASS_STANDARD, IfrValue::U8(1));
    W.Default2(EFI_HII_DEFAULT_CLASS_MANUFACTURING, EFI_IFR_TYPE_NUM_SIZE_8, true);
    W.Value(true).Uint8(7).End();
    W.End();
    W.End();
    W.Numeric({1, 2, 0x81, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_1, 0, 9, 1, true);
    W.Value(true).QuestionRef1(0x80).End().End();
    W.Rule(9, true).This().End();
  });
  ASSERT_NE(Set, nullptr);
  Form *One = FormAt(Set, 0);
  Statement *First = QuestionById(Set, 0x80);
  ASSERT_EQ(CountOf(&First->InconsistentIfList), 1u);
  Expression *Inconsistent = ExpressionAt(&First->InconsistentIfList, 0);
  EXPECT_EQ(Inconsistent->ExpressionType, EXPRESSION_INCONSISTENT_IF);
  EXPECT_EQ(Inconsistent->Error, Error);
  ExpressionOpcode *EqIdVal = ExpressionOpcodeFromLink(ListFirst(&Inconsistent->OpcodeList));
  EXPECT_EQ(EqIdVal->Opcode, EFI_IFR_EQ_ID_VAL_OP);
  EXPECT_EQ(EqIdVal->QuestionId, 0x80);
  EXPECT_EQ(EqIdVal->Value.Type, EFI_IFR_TYPE_NUM_SIZE_16);
  EXPECT_EQ(NumberOf(EqIdVal->Value), 3u);

  ASSERT_EQ(CountOf(&First->NoSubmitIfList), 1u);
  Expression *NoSubmit = ExpressionAt(&First->NoSubmitIfList, 0);
  EXPECT_EQ(NoSubmit->ExpressionType, EXPRESSION_NO_SUBMIT_IF);
  EXPECT_EQ(NoSubmit->Error, Refused);
  ExpressionOpcode *List = ExpressionOpcodeFromLink(ListFirst(&NoSubmit->OpcodeList));
  EXPECT_EQ(List->Opcode, EFI_IFR_EQ_ID_VAL_LIST_OP);
  ASSERT_EQ(List->ListLength, 3);
  EXPECT_EQ(Host().Pool().SizeOf(List->ValueList), 6u);
  EXPECT_EQ(List->ValueList[0], 4);
  EXPECT_EQ(List->ValueList[2], 6);

  // A value inside a default's scope computes the default, not the question.
  ASSERT_EQ(CountOf(&First->QuestionDefaultList), 2u);
  EXPECT_EQ(DefaultAt(First, 0)->ComputedValue, nullptr);
  Expression *DefaultValue = DefaultAt(First, 1)->ComputedValue;
  ASSERT_NE(DefaultValue, nullptr);
  EXPECT_EQ(DefaultValue->ExpressionType, EXPRESSION_VALUE);
  EXPECT_EQ(DefaultAt(First, 1)->Value.Type, EFI_IFR_TYPE_NUM_SIZE_8);
  EXPECT_EQ(First->ComputedValue, nullptr);
  Statement *Second = QuestionById(Set, 0x81);
  ASSERT_NE(Second->ComputedValue, nullptr);
  EXPECT_EQ(Second->ComputedValue->ExpressionType, EXPRESSION_VALUE);

  // The form's list: the two values and the rule, in IFR order; the question rules are the
  // statement's own.
  ASSERT_EQ(CountOf(&One->ExpressionList), 3u);
  EXPECT_EQ(ExpressionAt(&One->ExpressionList, 0), DefaultValue);
  EXPECT_EQ(ExpressionAt(&One->ExpressionList, 1), Second->ComputedValue);
  Expression *Rule = ExpressionAt(&One->ExpressionList, 2);
  EXPECT_EQ(Rule->ExpressionType, EXPRESSION_RULE);
  ExpressionOpcode *This = ExpressionOpcodeFromLink(ListFirst(&Rule->OpcodeList));
  EXPECT_EQ(This->Opcode, EFI_IFR_THIS_OP);
  EXPECT_EQ(This->QuestionId, 0x81) << "THIS is the statement made last";
  ReleaseFormSet(Set);
}

TEST_F(ParserTest, ExpressionOpcodesKeepTheirFields) {
  Strings S;
  const EFI_GUID Permission = TestGuid(0xAB);
  FormSet *Set = LoadForm(S, [&](IfrWriter &W) {
    W.Rule(1, true);
    W.EqIdId(0x11, 0x22).Version().RuleRef(4).QuestionRef1(0x33);
    W.Uint8(0xF1).Uint16(0xF123).Uint32(0xF1234567).Uint64(0xF123456789ABCDEFull);
    W.False().ToString(2).Find(1).StringRef1(0x44).QuestionRef3(0x55, Permission);
    W.Zero().One().Ones().Undefined().Span(1).Security(Permission).QuestionRef3(0x66);
    W.QuestionRef3();
    W.End();
  });
  ASSERT_NE(Set, nullptr);
  Expression *Rule = ExpressionAt(&FormAt(Set, 0)->ExpressionList, 0);
  std::vector<ExpressionOpcode *> Ops;
  LIST_FOR_EACH(Link, &Rule->OpcodeList) {
    Ops.push_back(ExpressionOpcodeFromLink(Link));
  }
  const struct {
    UINT8 Opcode;
    UINT8 Type;
    UINT64 Value;
  } Values[] = {{EFI_IFR_EQ_ID_ID_OP, 0, 0},
                {EFI_IFR_VERSION_OP, EFI_IFR_TYPE_NUM_SIZE_16, 0x0200},
                {EFI_IFR_RULE_REF_OP, 0, 0},
                {EFI_IFR_QUESTION_REF1_OP, 0, 0},
                {EFI_IFR_UINT8_OP, EFI_IFR_TYPE_NUM_SIZE_8, 0xF1},
                {EFI_IFR_UINT16_OP, EFI_IFR_TYPE_NUM_SIZE_16, 0xF123},
                {EFI_IFR_UINT32_OP, EFI_IFR_TYPE_NUM_SIZE_32, 0xF1234567},
                {EFI_IFR_UINT64_OP, EFI_IFR_TYPE_NUM_SIZE_64, 0xF123456789ABCDEFull},
                {EFI_IFR_FALSE_OP, EFI_IFR_TYPE_BOOLEAN, 0},
                {EFI_IFR_TO_STRING_OP, 0, 0},
                {EFI_IFR_FIND_OP, 0, 0},
                {EFI_IFR_STRING_REF1_OP, EFI_IFR_TYPE_STRING, 0x44},
                {EFI_IFR_QUESTION_REF3_OP, 0, 0},
                {EFI_IFR_ZERO_OP, EFI_IFR_TYPE_NUM_SIZE_8, 0},
                {EFI_IFR_ONE_OP, EFI_IFR_TYPE_NUM_SIZE_8, 1},
                {EFI_IFR_ONES_OP, EFI_IFR_TYPE_NUM_SIZE_64, ~0ull},
                {EFI_IFR_UNDEFINED_OP, EFI_IFR_TYPE_OTHER, 0},
                {EFI_IFR_SPAN_OP, 0, 0},
                {EFI_IFR_SECURITY_OP, 0, 0},
                {EFI_IFR_QUESTION_REF3_OP, 0, 0},
                {EFI_IFR_QUESTION_REF3_OP, 0, 0}};
  ASSERT_EQ(Ops.size(), std::size(Values));
  for (size_t Index = 0; Index < Ops.size(); Index++) {
    EXPECT_EQ(Ops[Index]->Opcode, Values[Index].Opcode) << Index;
    EXPECT_EQ(Ops[Index]->Value.Type, Values[Index].Type) << Index;
    EXPECT_EQ(NumberOf(Ops[Index]->Value), Values[Index].Value) << Index;
  }
  EXPECT_EQ(Ops[0]->QuestionId, 0x11);
  EXPECT_EQ(Ops[0]->QuestionId2, 0x22);
  EXPECT_EQ(Ops[2]->RuleId, 4);
  EXPECT_EQ(Ops[3]->QuestionId, 0x33);
  EXPECT_EQ(Ops[9]->Format, 2);
  EXPECT_EQ(Ops[10]->Format, 1);
  EXPECT_EQ(Ops[12]->DevicePath, 0x55);
  EXPECT_TRUE(GuidIsEqual(&Ops[12]->Guid, &Permission));
  EXPECT_EQ(Ops[17]->Flags, 1);
  EXPECT_TRUE(GuidIsEqual(&Ops[18]->Guid, &Permission));
  EXPECT_EQ(Ops[19]->DevicePath, 0x66);
  EFI_GUID Zero = {};
  EXPECT_TRUE(GuidIsEqual(&Ops[19]->Guid, &Zero));
  EXPECT_EQ(Ops[20]->DevicePath, 0);
  ReleaseFormSet(Set);
}

TEST_F(ParserTest, OptionAndDefaultValuesAreNormalised) {
  Strings S;
  FormSet *Set = LoadForm(S, [&](IfrWriter &W) {
    W.OneOf({1, 2, 0x90, 0, 0, 0}, 0, 0, 9, 1, true);
    // Eight bytes follow the type whatever it is; only the type's width stays.
    W.OneOfOption(3, 0, IfrValue::Raw(EFI_IFR_TYPE_NUM_SIZE_8, {5, 1, 2, 3, 4, 5, 6, 7}));
    W.OneOfOption(3, 0, IfrValue::Raw(EFI_IFR_TYPE_TIME, {1, 2, 3, 4, 5, 6, 7, 8}));
    W.OneOfOption(3, 0, IfrValue::Raw(EFI_IFR_TYPE_STRING, {9, 0, 3, 4, 5, 6, 7, 8}));
    W.Default(0, IfrValue::Raw(EFI_IFR_TYPE_NUM_SIZE_16, {1, 2, 3, 4, 5, 6, 7, 8}));
    W.Default(1, IfrValue::Raw(EFI_IFR_TYPE_DATE, {1, 2, 3, 4, 5, 6, 7, 8})).End();
  });
  ASSERT_NE(Set, nullptr);
  Statement *Question = QuestionById(Set, 0x90);
  EXPECT_EQ(NumberOf(OptionAt(Question, 0)->Value), 5u);
  EXPECT_EQ(NumberOf(OptionAt(Question, 1)->Value), 0x030201u);
  EXPECT_EQ(NumberOf(OptionAt(Question, 2)->Value), 0x0807060504030009u)
      << "a string keeps the bytes behind its id";
  EXPECT_EQ(NumberOf(DefaultAt(Question, 0)->Value), 0x0201u);
  EXPECT_EQ(NumberOf(DefaultAt(Question, 1)->Value), 0x04030201u);
  ReleaseFormSet(Set);
}

TEST_F(ParserTest, NameValueQuestionsEachMakeANodeAndLongNamesAreCutInTheRequest) {
  Strings S;
  EFI_STRING_ID Short = S.Add(u"Speed");
  const std::u16string LongName = u"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  EFI_STRING_ID Long = S.Add(LongName);
  IfrWriter W;
  W.FormSet(SetGuid(), S.Add(u"Set"), 0, {}, true).VarStoreNameValue(2, NameValueGuid);
  W.VarStore(BufferGuid, 1, 4, "Empty").Form(1, 1, true);
  W.Numeric({1, 2, 0x10, 2, Short, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 9, 1);
  W.Numeric({1, 2, 0x11, 2, Short, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 9, 1);
  W.Checkbox({1, 2, 0x12, 2, Long, 0});
  W.End().End();
  PublishedFormSet &Published = PublishSet(W, S);
  Published.Driver->AddNameValueStorage(NameValueGuid);
  Published.Driver->AddBufferStorage(BufferGuid, u"Empty", std::vector<uint8_t>(4, 0));
  FormSet *Set = nullptr;
  ASSERT_EQ(LoadSet(Published.Handle, SetGuid(), &Set), EFI_SUCCESS);
  Storage *NameValue = StorageAt(Set, 0);
  EXPECT_EQ(CountOf(&NameValue->NameValues), 3u) << "two questions of one name make two nodes";
  EXPECT_EQ(TextOf(NameValue->ConfigRequest),
            ConfigHeaderOf(NameValueGuid, u"", Published.Driver->DevicePath()) +
                u"&Speed&Speed&ABCDEFGHIJKLMNOPQRSTUVWXYZ01");
  EXPECT_EQ(NameValue->ElementCount, 3u);
  EXPECT_EQ(TextOf(QuestionById(Set, 0x12)->ItemName), LongName);
  EXPECT_EQ(TextOf(NameValueNodeFromLink(NameValue->NameValues.Back)->Name), LongName);
  // A storage that no question uses asks for nothing.
  Storage *Empty = StorageAt(Set, 1);
  EXPECT_EQ(Empty->ElementCount, 0u);
  EXPECT_EQ(TextOf(Empty->ConfigRequest), TextOf(Empty->ConfigHdr));
  EXPECT_EQ(Published.Driver->ExtractCount, 1u) << "only the name-value storage is fetched";
  ReleaseFormSet(Set);
}

TEST_F(ParserTest, ManyQuestionsGrowTheRequestWithoutLosingAnElement) {
  Strings S;
  IfrWriter W;
  W.FormSet(SetGuid(), S.Add(u"Set"), 0, {}, true);
  W.VarStore(BufferGuid, 1, 0x800, "Big").Form(1, 1, true);
  for (UINT16 Index = 0; Index < 300; Index++) {
    W.Checkbox({1, 2, static_cast<EFI_QUESTION_ID>(0x100 + Index), 1, Index, 0});
  }
  W.End().End();
  PublishedFormSet &Published = PublishSet(W, S);
  Published.Driver->AddBufferStorage(BufferGuid, u"Big", std::vector<uint8_t>(0x800, 0));
  FormSet *Set = nullptr;
  ASSERT_EQ(LoadSet(Published.Handle, SetGuid(), &Set), EFI_SUCCESS);
  Storage *Big = StorageAt(Set, 0);
  std::u16string Expected = ConfigHeaderOf(BufferGuid, u"Big", Published.Driver->DevicePath());
  for (UINT16 Index = 0; Index < 300; Index++) {
    char Element[40];
    snprintf(Element, sizeof(Element), "&OFFSET=%x&WIDTH=1", Index);
    Expected += FromUtf8(Element);
  }
  EXPECT_TRUE(TextOf(Big->ConfigRequest) == Expected) << Utf8(TextOf(Big->ConfigRequest));
  EXPECT_EQ(Big->ElementCount, 300u);
  ReleaseFormSet(Set);
}

TEST_F(ParserTest, TallyCountsOperatorsAndEverythingElse) {
  IfrWriter W;
  W.FormSet(SetGuid(), 1, 0, {}, true).Form(1, 1, true).Subtitle(1, 0).Subtitle(1, 0);
  W.SuppressIf(true).EqIdVal(1, 1).Not().Text(1, 0).End();
  W.Raw(0x5A, {}).Raw(0x5F, std::vector<uint8_t>(16, 0)).Raw(0x60, std::vector<uint8_t>(16, 0));
  W.Raw(0x28, {}).Raw(0x20, {}).Raw(0x21, {}).Raw(0x2A, {}).Raw(0x59, {0}).Raw(0x5E, {});
  W.End().End();
  FormSet Set = {};
  std::vector<UINT8> Bytes = W.Bytes();
  Set.IfrData = Bytes.data();
  Set.IfrLength = static_cast<UINT32>(Bytes.size());
  UINT16 Statements = 0;
  UINT16 Operators = 0;
  TallyOpcodes(&Set, &Statements, &Operators);
  // Form set, form, two subtitles (two slots each), suppress-if, text, END, value, GUID, END,
  // END; the operators: EQ_ID_VAL, NOT, SECURITY, VERSION, TO_LOWER, TO_UPPER, MATCH, SPAN,
  // CATENATE.
  EXPECT_EQ(Statements, 13);
  EXPECT_EQ(Operators, 9);
  for (UINT8 Code = 0; Code < 0xFF; Code++) {
    bool Expected = (Code >= 0x12 && Code <= 0x17) || Code == 0x20 || Code == 0x21 ||
                    Code == 0x28 || (Code >= 0x2A && Code <= 0x59) || Code == 0x5E || Code == 0x60;
    EXPECT_EQ(OpcodeIsOperator(Code), Expected) << static_cast<int>(Code);
  }
}

} // namespace
} // namespace morvane::test
