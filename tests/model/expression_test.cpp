// The evaluator: every operator with its operands, result type and failures, the comparison of
// strings and numbers, question and rule references, the string and conversion operators, and
// how nesting and recursion end.
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "core/user_access.h"
#include "expression/expression.h"
#include "expression/string_operators.h"
#include "tests/common/text.h"
#include "tests/model/model_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrWriter;
using kit::Strings;

constexpr EFI_STATUS OK = EFI_SUCCESS, INVALID = EFI_INVALID_PARAMETER, MISSING = EFI_NOT_FOUND,
                     UNSUPPORTED = EFI_UNSUPPORTED, DENIED = EFI_ACCESS_DENIED;
constexpr UINT8 U8 = EFI_IFR_TYPE_NUM_SIZE_8, U16 = EFI_IFR_TYPE_NUM_SIZE_16,
                U32 = EFI_IFR_TYPE_NUM_SIZE_32, U64 = EFI_IFR_TYPE_NUM_SIZE_64,
                BOOL = EFI_IFR_TYPE_BOOLEAN, STR = EFI_IFR_TYPE_STRING, UNDEF = EFI_IFR_TYPE_OTHER;
constexpr UINT64 AllOnes = ~0ull, Bit32 = 1ull << 32;

// Questions every program may refer to.
constexpr EFI_QUESTION_ID Number16 = 0x10;  // u16 0x1234
constexpr EFI_QUESTION_ID Box = 0x11;       // boolean true
constexpr EFI_QUESTION_ID Text = 0x12;      // string, id 0 as a string question has
constexpr EFI_QUESTION_ID Number32 = 0x13;  // u32 0x00051234
constexpr EFI_QUESTION_ID Clock = 0x14;     // time 12:30:45
constexpr EFI_QUESTION_ID Elsewhere = 0x20; // u16 0x1234, on another form
constexpr EFI_QUESTION_ID Missing = 0x99;
constexpr EFI_STRING_ID Unread = 0x7777; // an id the package does not hold

struct Case {
  std::string Name;
  std::function<void(IfrWriter &)> Program;
  EFI_STATUS Status;
  UINT8 Type = 0;
  UINT64 Value = 0;
  std::optional<std::u16string> Result = std::nullopt; // the text of a string result
};

class ExpressionTest : public ModelTest {
protected:
  // The id of a text of the form set, added the first time it is named.
  EFI_STRING_ID T(const std::u16string &Text) {
    auto Found = Ids.find(Text);
    return Found != Ids.end() ? Found->second : (Ids[Text] = S.Add(Text));
  }
  // A program that pushes these texts first.
  std::function<void(IfrWriter &)> On(std::vector<std::u16string> Texts,
                                      std::function<void(IfrWriter &)> Then) {
    return [this, Texts, Then](IfrWriter &W) {
      for (const std::u16string &Each : Texts) {
        W.StringRef1(T(Each));
      }
      Then(W);
    };
  }

  // Loads a form set with the questions above and one rule per case on form 1, and the
  // question Elsewhere on form 2; then evaluates every case with the user's access level
  // AccessLevel.
  void Check(const std::vector<Case> &Cases) {
    ASSERT_LT(Cases.size(), 256u) << "a rule id per case";
    IfrWriter W;
    W.FormSet(SetGuid(), S.Add(u"Expressions"), 0, {}, true);
    W.Form(1, 1, true);
    W.Numeric({1, 0, Number16, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
    W.Checkbox({1, 0, Box, 0, 0, 0});
    W.String({1, 0, Text, 0, 0, 0}, 0, 10);
    W.Numeric({1, 0, Number32, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_4, 0, 0xFFFFFFFF, 0);
    W.Time({1, 0, Clock, 0, 0, 0});
    for (size_t Index = 0; Index < Cases.size(); Index++) {
      W.Rule(static_cast<UINT8>(1 + Index), true);
      Cases[Index].Program(W);
      W.End();
    }
    W.End();
    W.Form(2, 1, true);
    W.Numeric({1, 0, Elsewhere, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
    W.End().End();
    FormSet *Set = Load(W, S);
    ASSERT_NE(Set, nullptr);
    QuestionById(Set, Number16)->Value = MakeValue(U16, 0x1234);
    QuestionById(Set, Box)->Value = MakeValue(BOOL, 1);
    QuestionById(Set, Text)->Value = MakeValue(STR, 0);
    QuestionById(Set, Number32)->Value = MakeValue(U32, 0x00051234);
    QuestionById(Set, Clock)->Value = MakeValue(EFI_IFR_TYPE_TIME, 0x2D1E0C);
    QuestionById(Set, Elsewhere)->Value = MakeValue(U16, 0x1234);
    UserAccessLevel = AccessLevel;

    for (size_t Index = 0; Index < Cases.size(); Index++) {
      const Case &Each = Cases[Index];
      Form *Owner = FormAt(Set, 0);
      Expression *Rule = FindRule(Owner, static_cast<UINT8>(1 + Index));
      ASSERT_NE(Rule, nullptr) << Each.Name;
      // What a failure leaves in Value: as it was.
      Rule->Result = MakeValue(U64, 0x5A5A5A5A5A5A5A5Aull);
      EFI_STATUS Status = EvaluateExpression(Set, Owner, Rule);
      EXPECT_EQ(Status, Each.Status) << Each.Name;
      if (EFI_ERROR(Status)) {
        EXPECT_EQ(Rule->Result.Type, UNDEF) << Each.Name;
        EXPECT_EQ(NumberOf(Rule->Result), 0x5A5A5A5A5A5A5A5Aull) << Each.Name;
        continue;
      }
      EXPECT_EQ(Rule->Result.Type, Each.Type) << Each.Name;
      if (Each.Result.has_value()) {
        EXPECT_EQ(Utf8(StringOf(Set, HiiValueStringId(&Rule->Result))), Utf8(*Each.Result))
            << Each.Name;
      } else {
        EXPECT_EQ(NumberOf(Rule->Result), Each.Value) << Each.Name;
      }
    }
    ReleaseFormSet(Set);
  }

  // A form set of one form holding these rules, loaded.
  FormSet *LoadRules(const std::function<void(IfrWriter &)> &Rules) {
    IfrWriter W;
    W.FormSet(SetGuid(), S.Add(u"Set"), 0, {}, true).Form(1, 1, true);
    Rules(W);
    W.End().End();
    return Load(W, S);
  }

  const EFI_GUID AccessLevel = TestGuid(0xC2), Foreign = TestGuid(0xC1);
  Strings S;
  std::map<std::u16string, EFI_STRING_ID> Ids;
};

TEST_F(ExpressionTest, LiteralsLogicAndComparisons) {
  Check({
      // Literals and the stack's end.
      {"uint8", IFR(Uint8(0xF5)), OK, U8, 0xF5},
      {"uint16", IFR(Uint16(0xF234)), OK, U16, 0xF234},
      {"uint32", IFR(Uint32(0xF2345678)), OK, U32, 0xF2345678},
      {"uint64", IFR(Uint64(0xF23456789ABCDEF0)), OK, U64, 0xF23456789ABCDEF0},
      {"true", IFR(True()), OK, BOOL, 1},
      {"false", IFR(False()), OK, BOOL, 0},
      {"zero", IFR(Zero()), OK, U8, 0},
      {"one", IFR(One()), OK, U8, 1},
      {"ones", IFR(Ones()), OK, U64, AllOnes},
      {"undefined is a result of its own", IFR(Undefined()), OK, UNDEF, 0},
      {"version", IFR(Version()), OK, U16, 0x0200},
      {"string ref 1", IFR(StringRef1(T(u"HELLO"))), OK, STR, 0, u"HELLO"},
      {"no opcodes", [](IfrWriter &) {}, DENIED},
      {"two values left", IFR(Uint8(1).Uint8(2)), INVALID},

      // Question tests.
      {"eq id val, equal", IFR(EqIdVal(Number16, 0x1234)), OK, BOOL, 1},
      {"eq id val, not equal", IFR(EqIdVal(Number16, 0x1235)), OK, BOOL, 0},
      {"eq id val on a boolean", IFR(EqIdVal(Box, 1)), OK, BOOL, 1},
      {"eq id val on another form", IFR(EqIdVal(Elsewhere, 0x1234)), OK, BOOL, 1},
      {"eq id val, no such question", IFR(EqIdVal(Missing, 0)), MISSING},
      {"eq id val on a string question", IFR(EqIdVal(Text, 0)), INVALID},
      {"eq id id, equal", IFR(EqIdId(Number16, Elsewhere)), OK, BOOL, 1},
      {"eq id id, not equal", IFR(EqIdId(Number16, Number32)), OK, BOOL, 0},
      {"eq id id, one missing", IFR(EqIdId(Number16, Missing)), MISSING},
      {"eq id id, string id 0", IFR(EqIdId(Text, Text)), INVALID},
      {"eq id val list, found", IFR(EqIdValList(Number16, {1, 0x1234, 3})), OK, BOOL, 1},
      {"eq id val list, absent", IFR(EqIdValList(Number16, {1, 2})), OK, BOOL, 0},
      {"eq id val list, low 16 bits", IFR(EqIdValList(Number32, {0x1234})), OK, BOOL, 1},
      {"eq id val list, empty", IFR(EqIdValList(Number16, {})), OK, BOOL, 0},
      {"eq id val list, no such question", IFR(EqIdValList(Missing, {0})), MISSING},

      // Logic.
      {"and", IFR(True().True().And()), OK, BOOL, 1},
      {"and, one false", IFR(True().False().And()), OK, BOOL, 0},
      {"or", IFR(False().True().Or()), OK, BOOL, 1},
      {"or, both false", IFR(False().False().Or()), OK, BOOL, 0},
      {"and, left a number", IFR(One().True().And()), INVALID},
      {"or, right a number", IFR(True().One().Or()), INVALID},
      {"and, one operand", IFR(True().And()), DENIED},
      // Right is tested before left is popped.
      {"and, right undefined, left missing", IFR(Undefined().And()), INVALID},
      {"not", IFR(True().Not()), OK, BOOL, 0},
      {"not, a number is no boolean", IFR(Zero().Not()), INVALID},
      {"not, nothing", IFR(Not()), DENIED},

      // Comparisons.
      {"equal across widths", IFR(Uint8(5).Uint64(5).Equal()), OK, BOOL, 1},
      {"not equal", IFR(Uint8(5).Uint8(6).NotEqual()), OK, BOOL, 1},
      {"less than", IFR(Uint8(5).Uint8(6).LessThan()), OK, BOOL, 1},
      {"less equal, equal", IFR(Uint8(6).Uint8(6).LessEqual()), OK, BOOL, 1},
      {"greater than", IFR(Uint16(7).Uint8(6).GreaterThan()), OK, BOOL, 1},
      {"greater equal, less", IFR(Uint8(5).Uint8(6).GreaterEqual()), OK, BOOL, 0},
      {"2^63 is below 0, signed", IFR(Uint64(1ull << 63).Zero().GreaterThan()), OK, BOOL, 0},
      {"ones is below one as a signed difference", IFR(Ones().One().LessThan()), OK, BOOL, 1},
      {"a boolean against a number", IFR(True().One().Equal()), OK, BOOL, 1},
      {"a string against a number", IFR(StringRef1(T(u"A")).One().Equal()), INVALID},
      {"a number against a string", IFR(One().StringRef1(T(u"A")).Equal()), INVALID},
      {"a time on the left", IFR(QuestionRef1(Clock).Uint32(0x2D1E0C).Equal()), OK, BOOL, 1},
      {"a time on the right", IFR(Uint32(0x2D1E0C).QuestionRef1(Clock).Equal()), INVALID},
      {"undefined on the right", IFR(One().Undefined().Equal()), INVALID},
      {"undefined on the left", IFR(Undefined().One().Equal()), INVALID},
      {"undefined on the right, before left is popped", IFR(Undefined().Equal()), INVALID},
      {"equal, one operand", IFR(One().Equal()), DENIED},
      {"two ids, one text", On({u"ABC"}, IFR(StringRef1(S.Add(u"ABC")).Equal())), OK, BOOL, 1},
      {"texts compare by code units", On({u"ABC", u"ABD"}, IFR(LessThan())), OK, BOOL, 1},
      {"texts compare with case", On({u"abc", u"ABC"}, IFR(GreaterThan())), OK, BOOL, 1},
      {"a prefix is less", On({u"AB", u"ABC"}, IFR(LessThan())), OK, BOOL, 1},
      {"one unread id twice", IFR(StringRef1(Unread).StringRef1(Unread).Equal()), OK, BOOL, 1},
      {"an unread id", IFR(StringRef1(Unread).StringRef1(T(u"ABC")).Equal()), INVALID},
      {"string id 0", IFR(StringRef1(0).StringRef1(T(u"ABC")).Equal()), INVALID},

      // References.
      {"question ref 1", IFR(QuestionRef1(Number16)), OK, U16, 0x1234},
      {"question ref 1 on another form", IFR(QuestionRef1(Elsewhere)), OK, U16, 0x1234},
      {"question ref 1, missing", IFR(QuestionRef1(Missing)), MISSING},
      {"question ref 2", IFR(Uint8(Number32).QuestionRef2()), OK, U32, 0x00051234},
      {"question ref 2, a u64 id", IFR(Uint64(Box).QuestionRef2()), OK, BOOL, 1},
      {"question ref 2, a boolean id", IFR(True().QuestionRef2()), MISSING},
      {"question ref 2, 17-bit id", IFR(Uint32(0x10000 + Number16).QuestionRef2()), MISSING},
      {"question ref 2, missing", IFR(Uint16(Missing).QuestionRef2()), MISSING},
      {"question ref 2, nothing to pop", IFR(QuestionRef2()), DENIED},
      {"question ref 3", IFR(Uint16(Number16).QuestionRef3()), OK, U16, 0x1234},
      {"question ref 3 + GUID", IFR(Uint16(Number16).QuestionRef3(0, Foreign)), OK, U16, 0x1234},
      {"question ref 3 + path pops nothing", IFR(QuestionRef3(5)), OK, U8, 0},
      {"question ref 3 + path over a value", IFR(Uint16(Number16).QuestionRef3(5)), INVALID},
      {"string ref 2", IFR(Uint16(T(u"HELLO")).StringRef2()), OK, STR, 0, u"HELLO"},
      {"string ref 2 of an unread id", IFR(Uint16(Unread).StringRef2()), OK, STR, 0, u""},
      {"string ref 2 of a boolean", IFR(True().StringRef2()), MISSING},
      {"string ref 2 above 16 bits", IFR(Uint32(0x10001).StringRef2()), MISSING},
      {"rule ref to no rule", IFR(RuleRef(250)), MISSING},

      // Conditional, length, dup, security, and the opcodes that store nothing.
      {"conditional, true", IFR(True().Uint8(1).Uint8(2).Conditional()), OK, U8, 2},
      {"conditional, false", IFR(False().Uint8(1).Uint8(2).Conditional()), OK, U8, 1},
      {"conditional of any types", IFR(True().Undefined().StringRef1(T(u"X")).Conditional()), OK,
       STR, 0, u"X"},
      {"conditional on a number", IFR(One().Uint8(1).Uint8(2).Conditional()), INVALID},
      {"conditional, two operands", IFR(Uint8(1).Uint8(2).Conditional()), DENIED},
      {"length", IFR(StringRef1(T(u"HELLO")).Length()), OK, U64, 5},
      {"length of nothing", IFR(StringRef1(T(u"")).Length()), OK, U64, 0},
      {"length of a number", IFR(One().Length()), INVALID},
      {"length of an unread id", IFR(StringRef1(Unread).Length()), INVALID},
      {"dup", IFR(Uint8(3).Dup().Add()), OK, U64, 6},
      {"dup of nothing", IFR(Dup()), DENIED},
      {"security, the user's level", IFR(Security(AccessLevel)), OK, BOOL, 1},
      {"security, another level", IFR(Security(Foreign)), OK, BOOL, 0},
      {"get", IFR(Get()), OK, BOOL, 0},
      {"read leaves its operand", IFR(One().Read()), INVALID},
      {"set and write are false", IFR(Set().Write().Or()), OK, BOOL, 0},
  });
}

TEST_F(ExpressionTest, Arithmetic) {
  Check({
      {"add", IFR(Uint8(250).Uint8(10).Add()), OK, U64, 260},
      {"add wraps", IFR(Ones().Uint8(2).Add()), OK, U64, 1},
      {"subtract wraps", IFR(Uint8(1).Uint8(2).Subtract()), OK, U64, AllOnes},
      {"subtract, left minus right", IFR(Uint8(9).Uint8(2).Subtract()), OK, U64, 7},
      {"bitwise and", IFR(Uint16(0xFF0F).Uint8(0x3C).BitwiseAnd()), OK, U64, 0x0C},
      {"bitwise or", IFR(Uint16(0xF000).Uint8(0x3C).BitwiseOr()), OK, U64, 0xF03C},
      {"bitwise not", IFR(Zero().BitwiseNot()), OK, U64, AllOnes},
      {"bitwise not of a boolean", IFR(True().BitwiseNot()), OK, U64, ~1ull},
      {"bitwise not of a string", IFR(StringRef1(T(u"A")).BitwiseNot()), INVALID},
      {"shift left", IFR(One().Uint8(4).ShiftLeft()), OK, U64, 16},
      {"shift left loses high bits", IFR(Ones().Uint8(60).ShiftLeft()), OK, U64, 0xFull << 60},
      {"a shift by 64 is a shift by 0", IFR(One().Uint8(64).ShiftLeft()), OK, U64, 1},
      {"a shift by 65 is a shift by 1", IFR(One().Uint8(65).ShiftLeft()), OK, U64, 2},
      {"shift right is logical", IFR(Ones().Uint8(60).ShiftRight()), OK, U64, 0xF},
      {"multiply", IFR(Uint8(3).Uint8(4).Multiply()), OK, U64, 12},
      {"multiplier: low 32 bits only", IFR(Uint8(7).Uint64(Bit32).Multiply()), OK, U64, 0},
      {"a multiplier's low 32 bits", IFR(Uint8(7).Uint64(Bit32 + 2).Multiply()), OK, U64, 14},
      {"multiply keeps 64 bits", IFR(Uint64(Bit32).Uint32(0x10).Multiply()), OK, U64, Bit32 << 4},
      {"divide", IFR(Uint8(100).Uint8(7).Divide()), OK, U64, 14},
      {"divide by 0 is all ones", IFR(Uint8(5).Zero().Divide()), OK, U64, AllOnes},
      {"divisor: low 32 bits only", IFR(Uint8(100).Uint64(Bit32 + 2).Divide()), OK, U64, 50},
      {"a 64-bit dividend", IFR(Uint64(Bit32 << 4).Uint8(16).Divide()), OK, U64, Bit32},
      {"modulo", IFR(Uint8(100).Uint8(7).Modulo()), OK, U64, 2},
      {"modulo 0 gives the dividend", IFR(Uint8(5).Zero().Modulo()), OK, U64, 5},
      {"modulo 0: the dividend's low 32 bits", IFR(Uint64(Bit32 + 5).Zero().Modulo()), OK, U64, 5},
      {"modulo of a 64-bit dividend", IFR(Uint64(Bit32).Uint8(7).Modulo()), OK, U64, Bit32 % 7},
      {"a boolean counts as its byte", IFR(True().One().Add()), OK, U64, 2},
      {"a time counts as its bytes", IFR(QuestionRef1(Clock).Zero().Add()), OK, U64, 0x2D1E0C},
      {"a string is refused", IFR(One().StringRef1(T(u"A")).Add()), INVALID},
      {"undefined is refused", IFR(Undefined().One().Multiply()), INVALID},
      {"one operand", IFR(One().Subtract()), DENIED},
  });
}

TEST_F(ExpressionTest, StringAndConversionOperators) {
  Check({
      // To string.
      {"u8 255, format 0", IFR(Uint8(255).ToString(0)), OK, STR, 0, u"255"},
      {"all ones, format 0, is signed", IFR(Ones().ToString(0)), OK, STR, 0, u"-1"},
      {"all ones, format 1", IFR(Ones().ToString(1)), OK, STR, 0, u"-1"},
      {"format 2", IFR(Uint32(0xAB).ToString(2)), OK, STR, 0, u"AB"},
      // A past fault: format 3 padded to sixteen digits.
      {"format 3, unpadded", IFR(Uint32(0xAB).ToString(3)), OK, STR, 0, u"AB"},
      {"an unknown format", IFR(One().ToString(4)), UNSUPPORTED},
      {"true", IFR(True().ToString(0)), OK, STR, 0, u"True"},
      {"false, whatever the format", IFR(False().ToString(9)), OK, STR, 0, u"False"},
      {"a string stays itself", On({u"Same"}, IFR(ToString(0))), OK, STR, 0, u"Same"},
      {"a time", IFR(QuestionRef1(Clock).ToString(0)), UNSUPPORTED},
      {"undefined", IFR(Undefined().ToString(0)), UNSUPPORTED},

      // To uint.
      {"decimal text is not converted", On({u"123"}, IFR(ToUint())), OK, U64, 0},
      {"hexadecimal text", On({u"0x1F"}, IFR(ToUint())), OK, U64, 31},
      {"prefix anywhere, digits to a blank", On({u"size 0X10 bytes"}, IFR(ToUint())), OK, U64, 16},
      {"a prefix without digits", On({u"0x"}, IFR(ToUint())), OK, U64, 0},
      {"16 digits", On({u"0xfedcba9876543210"}, IFR(ToUint())), OK, U64, 0xFEDCBA9876543210ull},
      {"17 digits", On({u"0x1fedcba9876543210"}, IFR(ToUint())), EFI_BUFFER_TOO_SMALL},
      {"a number keeps its bytes", IFR(Uint8(5).ToUint()), OK, U64, 5},
      {"a boolean keeps its byte", IFR(True().ToUint()), OK, U64, 1},
      {"undefined", IFR(Undefined().ToUint()), UNSUPPORTED},
      {"to uint of an unread id", IFR(StringRef1(Unread).ToUint()), MISSING},

      // To boolean.
      {"true", On({u"true"}, IFR(ToBoolean())), OK, BOOL, 1},
      {"false", On({u"false"}, IFR(ToBoolean())), OK, BOOL, 0},
      {"True in capitals", On({u"True"}, IFR(ToBoolean())), OK, BOOL, 0},
      {"empty text", On({u""}, IFR(ToBoolean())), OK, BOOL, 0},
      {"zero", IFR(Zero().ToBoolean()), OK, BOOL, 0},
      {"a high bit", IFR(Uint64(1ull << 63).ToBoolean()), OK, BOOL, 1},
      {"undefined stays undefined", IFR(Undefined().ToBoolean()), OK, UNDEF, 0},
      {"to boolean of an unread id", IFR(StringRef1(Unread).ToBoolean()), INVALID},

      // Catenate, case.
      {"catenate", On({u"AB", u"CD"}, IFR(Catenate())), OK, STR, 0, u"ABCD"},
      {"catenate a number", IFR(One().StringRef1(T(u"CD")).Catenate()), UNSUPPORTED},
      {"catenate an unread id", On({u"AB"}, IFR(StringRef1(Unread).Catenate())), MISSING},
      {"to upper", On({u"Hello1"}, IFR(ToUpper())), OK, STR, 0, u"HELLO1"},
      {"to lower", On({u"Hello1"}, IFR(ToLower())), OK, STR, 0, u"hello1"},
      {"to upper of a number", IFR(One().ToUpper()), UNSUPPORTED},
      {"to lower of an unread id", IFR(StringRef1(Unread).ToLower()), MISSING},

      // Match: the value popped first is the string, the one under it the pattern.
      {"match", On({u"H*O", u"HELLO"}, IFR(Match())), OK, BOOL, 1},
      {"match, operands the other way", On({u"HELLO", u"H*O"}, IFR(Match())), OK, BOOL, 0},
      {"match a number", On({u"*"}, IFR(One().Match())), UNSUPPORTED},

      // Find: text, what to find, start.
      {"find ignoring case", On({u"ABC", u"b"}, IFR(Zero().Find(1))), OK, U64, 1},
      {"find with case", On({u"ABC", u"b"}, IFR(Zero().Find(0))), OK, U64, AllOnes},
      {"find from a start", On({u"ABAB", u"AB"}, IFR(One().Find(0))), OK, U64, 2},
      {"find from the end", On({u"ABC", u"C"}, IFR(Uint8(3).Find(0))), OK, U64, AllOnes},
      {"find nothing", On({u"ABC", u""}, IFR(One().Find(0))), OK, U64, 1},
      {"find, an unknown format before any pop", IFR(Find(2)), UNSUPPORTED},
      {"find, a boolean start", On({u"A", u"A"}, IFR(True().Find(0))), UNSUPPORTED},
      {"find in a number", IFR(One().StringRef1(T(u"A")).Zero().Find(0)), UNSUPPORTED},

      // Mid: text, position, length.
      {"mid", On({u"HELLO"}, IFR(Uint8(1).Uint8(3).Mid())), OK, STR, 0, u"ELL"},
      {"mid past the end", On({u"HELLO"}, IFR(Uint8(1).Uint8(10).Mid())), OK, STR, 0, u"ELLO"},
      {"mid at the end", On({u"HELLO"}, IFR(Uint8(5).Uint8(1).Mid())), OK, STR, 0, u""},
      {"mid of length 0", On({u"HELLO"}, IFR(Zero().Zero().Mid())), OK, STR, 0, u""},
      {"mid, a length of all ones", On({u"HELLO"}, IFR(Uint8(2).Ones().Mid())), OK, STR, 0, u"LLO"},
      {"mid of a number", IFR(One().Zero().One().Mid()), UNSUPPORTED},
      {"mid, a string position", On({u"A", u"A"}, IFR(One().Mid())), UNSUPPORTED},

      // Token: text, delimiter, index.
      {"token 0", On({u"A,B,C", u","}, IFR(Zero().Token())), OK, STR, 0, u"A"},
      {"token 1", On({u"A,B,C", u","}, IFR(Uint8(1).Token())), OK, STR, 0, u"B"},
      {"token 2", On({u"A,B,C", u","}, IFR(Uint8(2).Token())), OK, STR, 0, u"C"},
      {"token 3", On({u"A,B,C", u","}, IFR(Uint8(3).Token())), OK, STR, 0, u""},
      {"a whole-string delimiter", On({u"A:B::C", u"::"}, IFR(Uint8(1).Token())), OK, STR, 0, u"C"},
      {"token of a number", IFR(One().StringRef1(T(u",")).Zero().Token()), UNSUPPORTED},

      // Span: text, character set, start.
      {"span to the first match", On({u"ab3", u"09"}, IFR(Zero().Span(0))), OK, U64, 2},
      {"span to the first non-match", On({u"12a", u"09"}, IFR(Zero().Span(1))), OK, U64, 2},
      {"outside any one pair stops it", On({u"5a", u"09az"}, IFR(Zero().Span(1))), OK, U64, 0},
      {"a span that runs to the end", On({u"abc", u"09"}, IFR(Zero().Span(0))), OK, U64, 3},
      {"other flags never stop", On({u"123", u"09"}, IFR(Zero().Span(2))), OK, U64, 3},
      {"a span from a start", On({u"1a2", u"09"}, IFR(One().Span(0))), OK, U64, 2},
      {"a lone last low end is no pair", On({u"ab3", u"09a"}, IFR(Zero().Span(0))), OK, U64, 2},
      {"a span from past the end", On({u"abc", u"09"}, IFR(Uint8(3).Span(0))), UNSUPPORTED},
      {"a span of a number", IFR(One().StringRef1(T(u"09")).Zero().Span(0)), UNSUPPORTED},
  });
}

TEST_F(ExpressionTest, RulesReferToRulesOfTheirOwnFormOnly) {
  FormSet *Set = LoadRules([](IfrWriter &W) {
    W.Rule(1, true).Uint8(40).End();
    W.Rule(2, true).RuleRef(1).Uint8(2).Add().End();
    // The reference wipes the stack: what stood before it is gone.
    W.Rule(3, true).True().RuleRef(4).And().End();
    W.Rule(4, true).True().End();
    W.Rule(5, true).RuleRef(4).True().And().End();
    W.Rule(6, true).RuleRef(7).End();
    W.End();
    W.Form(2, 1, true).Rule(7, true).True().End().Rule(1, true).False().End();
  });
  ASSERT_NE(Set, nullptr);
  Form *One = FormAt(Set, 0);
  // Rule id, status, result.
  const std::tuple<UINT8, EFI_STATUS, UINT64> Rules[] = {
      {2, OK, 42}, {3, DENIED, 0}, {5, OK, 1}, {6, MISSING, 0}};
  for (auto [Id, Status, Value] : Rules) {
    Expression *Rule = FindRule(One, Id);
    EXPECT_EQ(EvaluateExpression(Set, One, Rule), Status) << static_cast<int>(Id);
    if (!EFI_ERROR(Status)) {
      EXPECT_EQ(NumberOf(Rule->Result), Value) << static_cast<int>(Id);
    }
  }
  // The referenced rule keeps the result it gave.
  EXPECT_EQ(NumberOf(FindRule(One, 1)->Result), 40u);
  EXPECT_EQ(FindRule(One, 7), nullptr);
  EXPECT_EQ(FindRule(FormAt(Set, 1), 1)->Result.Type, 0) << "the other form's rule 1 never ran";
  ReleaseFormSet(Set);
}

TEST_F(ExpressionTest, RecursionEndsWithAFailureAndLeavesTheEvaluatorUsable) {
  FormSet *Set = LoadRules([](IfrWriter &W) {
    W.Rule(1, true).RuleRef(1).End();
    W.Rule(2, true).RuleRef(3).End();
    W.Rule(3, true).RuleRef(2).End();
    // A chain of twenty rules, each the next one plus one.
    for (UINT8 Id = 10; Id < 30; Id++) {
      W.Rule(Id, true).RuleRef(static_cast<UINT8>(Id + 1)).One().Add().End();
    }
    W.Rule(30, true).Zero().End();
    // A chain longer than any form needs.
    for (UINT8 Id = 100; Id < 250; Id++) {
      W.Rule(Id, true).RuleRef(static_cast<UINT8>(Id + 1)).End();
    }
    W.Rule(250, true).True().End();
  });
  ASSERT_NE(Set, nullptr);
  Form *One = FormAt(Set, 0);
  for (UINT8 Id : {1, 2, 3, 100}) {
    Expression *Rule = FindRule(One, Id);
    EXPECT_TRUE(EFI_ERROR(EvaluateExpression(Set, One, Rule))) << static_cast<int>(Id);
    EXPECT_EQ(Rule->Result.Type, UNDEF) << static_cast<int>(Id);
  }
  // Nothing of the refused evaluations stays behind.
  for (int Round = 0; Round < 2; Round++) {
    Expression *Chain = FindRule(One, 10);
    ASSERT_EQ(EvaluateExpression(Set, One, Chain), OK);
    EXPECT_EQ(NumberOf(Chain->Result), 20u);
  }
  ReleaseFormSet(Set);
}

TEST_F(ExpressionTest, DeepStacksGrow) {
  // 600 values on the stack at once, then 599 additions.
  FormSet *Set = LoadRules([](IfrWriter &W) {
    W.Rule(1, true);
    for (int Index = 0; Index < 600; Index++) {
      W.One();
    }
    for (int Index = 0; Index < 599; Index++) {
      W.Add();
    }
    W.End();
  });
  ASSERT_NE(Set, nullptr);
  Form *One = FormAt(Set, 0);
  Expression *Rule = FindRule(One, 1);
  // Nothing has been evaluated yet in this driver: the stack has no room at all. A growth that
  // fails is reported, first of 256 entries, then of 256 more.
  for (UINTN Failing : {1u, 2u}) {
    Host().Pool().FailAllocation(Failing);
    EXPECT_EQ(EvaluateExpression(Set, One, Rule), EFI_OUT_OF_RESOURCES) << Failing;
    EXPECT_EQ(Rule->Result.Type, UNDEF);
    Host().Pool().ClearAllocationFailures();
  }
  ASSERT_EQ(EvaluateExpression(Set, One, Rule), OK);
  EXPECT_EQ(Rule->Result.Type, U64);
  EXPECT_EQ(NumberOf(Rule->Result), 600u);
  ReleaseFormSet(Set);
}

TEST_F(ExpressionTest, CompareHiiValuesDirectly) {
  struct Case {
    const char *Name;
    HiiValue Left;
    HiiValue Right;
    EFI_STATUS Status;
    INTN Order;
  };
  const Case Cases[] = {
      {"equal numbers of two widths", MakeValue(U8, 7), MakeValue(U64, 7), OK, 0},
      {"less", MakeValue(U16, 6), MakeValue(U16, 7), OK, -1},
      {"greater by a lot gives 1", MakeValue(U64, 1000), MakeValue(U64, 1), OK, 1},
      {"two dates", MakeValue(6, 0x0A0107E8), MakeValue(6, 0x0B0107E8), OK, -1},
      {"undefined", MakeValue(UNDEF, 0), MakeValue(U8, 0), INVALID, 0},
      {"a type above undefined", MakeValue(U8, 0), MakeValue(9, 0), INVALID, 0},
      {"a string and a number", MakeValue(STR, 3), MakeValue(U8, 3), INVALID, 0},
      {"one id, no look-up needed", MakeValue(STR, 0x7777), MakeValue(STR, 0x7777), OK, 0},
      {"two ids and no handle to read them", MakeValue(STR, 1), MakeValue(STR, 2), INVALID, 0},
  };
  for (const Case &Each : Cases) {
    INTN Order = 99;
    EXPECT_EQ(CompareHiiValues(&Each.Left, &Each.Right, nullptr, &Order), Each.Status) << Each.Name;
    if (!EFI_ERROR(Each.Status)) {
      EXPECT_EQ(Order, Each.Order) << Each.Name;
    }
  }
}

TEST(UppercaseAsciiTest, TouchesOnlyTheLettersAToZ) {
  std::u16string Text = u"az AZ 09 `{ \u00e9\u0101";
  UppercaseAscii(Text.data());
  EXPECT_EQ(Text, u"AZ AZ 09 `{ \u00e9\u0101");
}

} // namespace
} // namespace morvane::test
