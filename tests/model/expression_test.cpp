// The evaluator: every operator with its operands, result type and failures, the comparison of
// strings and numbers, question and rule references, the string and conversion operators, and
// how nesting and recursion end.
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/user_access.h"
#include "expression/expression.h"
#include "expression/string_operators.h"
#include "tests/common/text.h"
#include "tests/model/model_fixture.h"

namespace morvane::test {
namespace {

using kit::IfrValue;
using kit::IfrWriter;
using kit::Strings;

constexpr UINT64 AllOnes = ~0ull;

// Texts of the form set under test, each given an id the first time it is named.
class Texts {
public:
  explicit Texts(Strings &Owner) : Owner(Owner) {}
  EFI_STRING_ID operator()(const std::u16string &Text) {
    auto Found = Ids.find(Text);
    if (Found != Ids.end()) {
      return Found->second;
    }
    EFI_STRING_ID Id = Owner.Add(Text);
    Ids[Text] = Id;
    return Id;
  }

private:
  Strings &Owner;
  std::map<std::u16string, EFI_STRING_ID> Ids;
};

// Questions every program may refer to.
constexpr EFI_QUESTION_ID Number16 = 0x10;  // u16 0x1234
constexpr EFI_QUESTION_ID Box = 0x11;       // boolean true
constexpr EFI_QUESTION_ID Text = 0x12;      // string, id 0 as a string question has
constexpr EFI_QUESTION_ID Number32 = 0x13;  // u32 0x00051234
constexpr EFI_QUESTION_ID Clock = 0x14;     // time 12:30:45
constexpr EFI_QUESTION_ID Elsewhere = 0x20; // u16 0x1234, on another form
constexpr EFI_QUESTION_ID Missing = 0x99;

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
  // Loads a form set with the questions above on form 1 and form 2, and one rule per case on
  // the forms behind them; then evaluates every case.
  void Check(Strings &S, const std::vector<Case> &Cases) {
    IfrWriter W;
    W.FormSet(SetGuid(), S.Add(u"Expressions"), 0, {}, true);
    W.Form(1, 1, true);
    W.Numeric({1, 0, Number16, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
    W.Checkbox({1, 0, Box, 0, 0, 0});
    W.String({1, 0, Text, 0, 0, 0}, 0, 10);
    W.Numeric({1, 0, Number32, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_4, 0, 0xFFFFFFFF, 0);
    W.Time({1, 0, Clock, 0, 0, 0});
    W.End();
    W.Form(2, 1, true);
    W.Numeric({1, 0, Elsewhere, 0, 0, 0}, EFI_IFR_NUMERIC_SIZE_2, 0, 0xFFFF, 0);
    W.End();
    for (size_t Index = 0; Index < Cases.size(); Index++) {
      if (Index % CasesPerForm == 0) {
        if (Index != 0) {
          W.End();
        }
        W.Form(static_cast<EFI_FORM_ID>(10 + Index / CasesPerForm), 1, true);
      }
      W.Rule(static_cast<UINT8>(1 + Index % CasesPerForm), true);
      Cases[Index].Program(W);
      W.End();
    }
    W.End().End();
    FormSet *Set = Load(W, S);
    ASSERT_NE(Set, nullptr);
    QuestionById(Set, Number16)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0x1234);
    QuestionById(Set, Box)->Value = MakeValue(EFI_IFR_TYPE_BOOLEAN, 1);
    QuestionById(Set, Text)->Value = MakeValue(EFI_IFR_TYPE_STRING, 0);
    QuestionById(Set, Number32)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_32, 0x00051234);
    QuestionById(Set, Clock)->Value = MakeValue(EFI_IFR_TYPE_TIME, 0x2D1E0C);
    QuestionById(Set, Elsewhere)->Value = MakeValue(EFI_IFR_TYPE_NUM_SIZE_16, 0x1234);

    for (size_t Index = 0; Index < Cases.size(); Index++) {
      const Case &Each = Cases[Index];
      Form *Owner = FormAt(Set, 2 + Index / CasesPerForm);
      Expression *Rule = FindRule(Owner, static_cast<UINT8>(1 + Index % CasesPerForm));
      ASSERT_NE(Rule, nullptr) << Each.Name;
      // What a failure leaves in Value: as it was.
      Rule->Result = MakeValue(EFI_IFR_TYPE_NUM_SIZE_64, 0x5A5A5A5A5A5A5A5Aull);
      EFI_STATUS Status = EvaluateExpression(Set, Owner, Rule);
      EXPECT_EQ(Status, Each.Status) << Each.Name;
      if (EFI_ERROR(Status)) {
        EXPECT_EQ(Rule->Result.Type, EFI_IFR_TYPE_OTHER) << Each.Name;
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

  static constexpr size_t CasesPerForm = 200;
};

TEST_F(ExpressionTest, LiteralsLogicAndComparisons) {
  Strings S;
  Texts T(S);
  const EFI_GUID Foreign = TestGuid(0xC1);
  std::vector<Case> Cases = {
      // Literals and the stack's end.
      {"uint8", [](IfrWriter &W) { W.Uint8(0xF5); }, EFI_SUCCESS, 0, 0xF5},
      {"uint16", [](IfrWriter &W) { W.Uint16(0xF234); }, EFI_SUCCESS, 1, 0xF234},
      {"uint32", [](IfrWriter &W) { W.Uint32(0xF2345678); }, EFI_SUCCESS, 2, 0xF2345678},
      {"uint64", [](IfrWriter &W) { W.Uint64(0xF23456789ABCDEF0); }, EFI_SUCCESS, 3,
       0xF23456789ABCDEF0},
      {"true", [](IfrWriter &W) { W.True(); }, EFI_SUCCESS, 4, 1},
      {"false", [](IfrWriter &W) { W.False(); }, EFI_SUCCESS, 4, 0},
      {"zero", [](IfrWriter &W) { W.Zero(); }, EFI_SUCCESS, 0, 0},
      {"one", [](IfrWriter &W) { W.One(); }, EFI_SUCCESS, 0, 1},
      {"ones", [](IfrWriter &W) { W.Ones(); }, EFI_SUCCESS, 3, AllOnes},
      {"undefined is a result of its own", [](IfrWriter &W) { W.Undefined(); }, EFI_SUCCESS, 8, 0},
      {"version", [](IfrWriter &W) { W.Version(); }, EFI_SUCCESS, 1, 0x0200},
      {"string ref 1", [&](IfrWriter &W) { W.StringRef1(T(u"HELLO")); }, EFI_SUCCESS, 7, 0,
       u"HELLO"},
      {"no opcodes", [](IfrWriter &) {}, EFI_ACCESS_DENIED},
      {"two values left", [](IfrWriter &W) { W.Uint8(1).Uint8(2); }, EFI_INVALID_PARAMETER},

      // Question tests.
      {"eq id val, equal", [](IfrWriter &W) { W.EqIdVal(Number16, 0x1234); }, EFI_SUCCESS, 4, 1},
      {"eq id val, not equal", [](IfrWriter &W) { W.EqIdVal(Number16, 0x1235); }, EFI_SUCCESS, 4,
       0},
      {"eq id val on a boolean", [](IfrWriter &W) { W.EqIdVal(Box, 1); }, EFI_SUCCESS, 4, 1},
      {"eq id val on another form", [](IfrWriter &W) { W.EqIdVal(Elsewhere, 0x1234); }, EFI_SUCCESS,
       4, 1},
      {"eq id val, no such question", [](IfrWriter &W) { W.EqIdVal(Missing, 0); }, EFI_NOT_FOUND},
      {"eq id val on a string question", [](IfrWriter &W) { W.EqIdVal(Text, 0); },
       EFI_INVALID_PARAMETER},
      {"eq id id, equal", [](IfrWriter &W) { W.EqIdId(Number16, Elsewhere); }, EFI_SUCCESS, 4, 1},
      {"eq id id, not equal", [](IfrWriter &W) { W.EqIdId(Number16, Number32); }, EFI_SUCCESS, 4,
       0},
      {"eq id id, one missing", [](IfrWriter &W) { W.EqIdId(Number16, Missing); }, EFI_NOT_FOUND},
      {"eq id id, string id 0", [](IfrWriter &W) { W.EqIdId(Text, Text); }, EFI_INVALID_PARAMETER},
      {"eq id val list, found",
       [](IfrWriter &W) {
         W.EqIdValList(Number16, {1, 0x1234, 3});
       },
       EFI_SUCCESS, 4, 1},
      {"eq id val list, absent",
       [](IfrWriter &W) {
         W.EqIdValList(Number16, {1, 2});
       },
       EFI_SUCCESS, 4, 0},
      {"eq id val list, low 16 bits", [](IfrWriter &W) { W.EqIdValList(Number32, {0x1234}); },
       EFI_SUCCESS, 4, 1},
      {"eq id val list, empty", [](IfrWriter &W) { W.EqIdValList(Number16, {}); }, EFI_SUCCESS, 4,
       0},
      {"eq id val list, no such question", [](IfrWriter &W) { W.EqIdValList(Missing, {0}); },
       EFI_NOT_FOUND},

      // Logic.
      {"and", [](IfrWriter &W) { W.True().True().And(); }, EFI_SUCCESS, 4, 1},
      {"and, one false", [](IfrWriter &W) { W.True().False().And(); }, EFI_SUCCESS, 4, 0},
      {"or", [](IfrWriter &W) { W.False().True().Or(); }, EFI_SUCCESS, 4, 1},
      {"or, both false", [](IfrWriter &W) { W.False().False().Or(); }, EFI_SUCCESS, 4, 0},
      {"and, left a number", [](IfrWriter &W) { W.One().True().And(); }, EFI_INVALID_PARAMETER},
      {"or, right a number", [](IfrWriter &W) { W.True().One().Or(); }, EFI_INVALID_PARAMETER},
      {"and, one operand", [](IfrWriter &W) { W.True().And(); }, EFI_ACCESS_DENIED},
      // Right is tested before left is popped.
      {"and, right undefined, left missing", [](IfrWriter &W) { W.Undefined().And(); },
       EFI_INVALID_PARAMETER},
      {"not", [](IfrWriter &W) { W.True().Not(); }, EFI_SUCCESS, 4, 0},
      {"not, a number is no boolean", [](IfrWriter &W) { W.Zero().Not(); }, EFI_INVALID_PARAMETER},
      {"not, nothing", [](IfrWriter &W) { W.Not(); }, EFI_ACCESS_DENIED},

      // Comparisons.
      {"equal across widths", [](IfrWriter &W) { W.Uint8(5).Uint64(5).Equal(); }, EFI_SUCCESS, 4,
       1},
      {"not equal", [](IfrWriter &W) { W.Uint8(5).Uint8(6).NotEqual(); }, EFI_SUCCESS, 4, 1},
      {"less than", [](IfrWriter &W) { W.Uint8(5).Uint8(6).LessThan(); }, EFI_SUCCESS, 4, 1},
      {"less equal, equal", [](IfrWriter &W) { W.Uint8(6).Uint8(6).LessEqual(); }, EFI_SUCCESS, 4,
       1},
      {"greater than", [](IfrWriter &W) { W.Uint16(7).Uint8(6).GreaterThan(); }, EFI_SUCCESS, 4, 1},
      {"greater equal, less", [](IfrWriter &W) { W.Uint8(5).Uint8(6).GreaterEqual(); }, EFI_SUCCESS,
       4, 0},
      {"a distance of 2^63 compares opposite to the unsigned order",
       [](IfrWriter &W) { W.Uint64(0x8000000000000000ull).Zero().GreaterThan(); }, EFI_SUCCESS, 4,
       0},
      {"ones is below one as a signed difference", [](IfrWriter &W) { W.Ones().One().LessThan(); },
       EFI_SUCCESS, 4, 1},
      {"a boolean against a number", [](IfrWriter &W) { W.True().One().Equal(); }, EFI_SUCCESS, 4,
       1},
      {"a string against a number", [&](IfrWriter &W) { W.StringRef1(T(u"A")).One().Equal(); },
       EFI_INVALID_PARAMETER},
      {"a number against a string", [&](IfrWriter &W) { W.One().StringRef1(T(u"A")).Equal(); },
       EFI_INVALID_PARAMETER},
      {"a time on the left", [](IfrWriter &W) { W.QuestionRef1(Clock).Uint32(0x2D1E0C).Equal(); },
       EFI_SUCCESS, 4, 1},
      {"a time on the right", [](IfrWriter &W) { W.Uint32(0x2D1E0C).QuestionRef1(Clock).Equal(); },
       EFI_INVALID_PARAMETER},
      {"undefined on the right", [](IfrWriter &W) { W.One().Undefined().Equal(); },
       EFI_INVALID_PARAMETER},
      {"undefined on the left", [](IfrWriter &W) { W.Undefined().One().Equal(); },
       EFI_INVALID_PARAMETER},
      {"undefined on the right, before left is popped", [](IfrWriter &W) { W.Undefined().Equal(); },
       EFI_INVALID_PARAMETER},
      {"equal, one operand", [](IfrWriter &W) { W.One().Equal(); }, EFI_ACCESS_DENIED},
      {"equal texts of two ids",
       [&](IfrWriter &W) { W.StringRef1(T(u"ABC")).StringRef1(S.Add(u"ABC")).Equal(); },
       EFI_SUCCESS, 4, 1},
      {"texts compare by code units",
       [&](IfrWriter &W) { W.StringRef1(T(u"ABC")).StringRef1(T(u"ABD")).LessThan(); }, EFI_SUCCESS,
       4, 1},
      {"texts compare with case",
       [&](IfrWriter &W) { W.StringRef1(T(u"abc")).StringRef1(T(u"ABC")).GreaterThan(); },
       EFI_SUCCESS, 4, 1},
      {"a prefix is less",
       [&](IfrWriter &W) { W.StringRef1(T(u"AB")).StringRef1(T(u"ABC")).LessThan(); }, EFI_SUCCESS,
       4, 1},
      {"one id equals itself unread",
       [](IfrWriter &W) { W.StringRef1(0x7777).StringRef1(0x7777).Equal(); }, EFI_SUCCESS, 4, 1},
      {"an id that does not read",
       [&](IfrWriter &W) { W.StringRef1(0x7777).StringRef1(T(u"ABC")).Equal(); },
       EFI_INVALID_PARAMETER},
      {"string id 0", [&](IfrWriter &W) { W.StringRef1(0).StringRef1(T(u"ABC")).Equal(); },
       EFI_INVALID_PARAMETER},

      // References.
      {"question ref 1", [](IfrWriter &W) { W.QuestionRef1(Number16); }, EFI_SUCCESS, 1, 0x1234},
      {"question ref 1 on another form", [](IfrWriter &W) { W.QuestionRef1(Elsewhere); },
       EFI_SUCCESS, 1, 0x1234},
      {"question ref 1, missing", [](IfrWriter &W) { W.QuestionRef1(Missing); }, EFI_NOT_FOUND},
      {"question ref 2", [](IfrWriter &W) { W.Uint8(Number32).QuestionRef2(); }, EFI_SUCCESS, 2,
       0x00051234},
      {"question ref 2, a u64 id", [](IfrWriter &W) { W.Uint64(Box).QuestionRef2(); }, EFI_SUCCESS,
       4, 1},
      {"question ref 2, a boolean id", [](IfrWriter &W) { W.True().QuestionRef2(); },
       EFI_NOT_FOUND},
      {"question ref 2, an id above 16 bits",
       [](IfrWriter &W) { W.Uint32(0x10000 + Number16).QuestionRef2(); }, EFI_NOT_FOUND},
      {"question ref 2, missing", [](IfrWriter &W) { W.Uint16(Missing).QuestionRef2(); },
       EFI_NOT_FOUND},
      {"question ref 2, nothing to pop", [](IfrWriter &W) { W.QuestionRef2(); }, EFI_ACCESS_DENIED},
      {"question ref 3", [](IfrWriter &W) { W.Uint16(Number16).QuestionRef3(); }, EFI_SUCCESS, 1,
       0x1234},
      {"question ref 3 with a GUID and no path",
       [&](IfrWriter &W) { W.Uint16(Number16).QuestionRef3(0, Foreign); }, EFI_SUCCESS, 1, 0x1234},
      {"question ref 3 with a path pops nothing", [](IfrWriter &W) { W.QuestionRef3(5); },
       EFI_SUCCESS, 0, 0},
      {"question ref 3 with a path leaves what was there",
       [](IfrWriter &W) { W.Uint16(Number16).QuestionRef3(5); }, EFI_INVALID_PARAMETER},
      {"string ref 2", [&](IfrWriter &W) { W.Uint16(T(u"HELLO")).StringRef2(); }, EFI_SUCCESS, 7, 0,
       u"HELLO"},
      {"string ref 2 of an id that does not read",
       [](IfrWriter &W) { W.Uint16(0x7777).StringRef2(); }, EFI_SUCCESS, 7, 0, u""},
      {"string ref 2 of a boolean", [](IfrWriter &W) { W.True().StringRef2(); }, EFI_NOT_FOUND},
      {"string ref 2 above 16 bits", [](IfrWriter &W) { W.Uint32(0x10001).StringRef2(); },
       EFI_NOT_FOUND},
      {"rule ref to no rule", [](IfrWriter &W) { W.RuleRef(250); }, EFI_NOT_FOUND},

      // Conditional, length, dup, security, and the opcodes that store nothing.
      {"conditional, true", [](IfrWriter &W) { W.True().Uint8(1).Uint8(2).Conditional(); },
       EFI_SUCCESS, 0, 2},
      {"conditional, false", [](IfrWriter &W) { W.False().Uint8(1).Uint8(2).Conditional(); },
       EFI_SUCCESS, 0, 1},
      {"conditional of any types",
       [&](IfrWriter &W) { W.True().Undefined().StringRef1(T(u"X")).Conditional(); }, EFI_SUCCESS,
       7, 0, u"X"},
      {"conditional on a number", [](IfrWriter &W) { W.One().Uint8(1).Uint8(2).Conditional(); },
       EFI_INVALID_PARAMETER},
      {"conditional, two operands", [](IfrWriter &W) { W.Uint8(1).Uint8(2).Conditional(); },
       EFI_ACCESS_DENIED},
      {"length", [&](IfrWriter &W) { W.StringRef1(T(u"HELLO")).Length(); }, EFI_SUCCESS, 3, 5},
      {"length of nothing", [&](IfrWriter &W) { W.StringRef1(T(u"")).Length(); }, EFI_SUCCESS, 3,
       0},
      {"length of a number", [](IfrWriter &W) { W.One().Length(); }, EFI_INVALID_PARAMETER},
      {"length of an id that does not read", [](IfrWriter &W) { W.StringRef1(0x7777).Length(); },
       EFI_INVALID_PARAMETER},
      {"dup", [](IfrWriter &W) { W.Uint8(3).Dup().Add(); }, EFI_SUCCESS, 3, 6},
      {"dup of nothing", [](IfrWriter &W) { W.Dup(); }, EFI_ACCESS_DENIED},
      {"security, another level", [&](IfrWriter &W) { W.Security(Foreign); }, EFI_SUCCESS, 4, 0},
      {"get", [](IfrWriter &W) { W.Get(); }, EFI_SUCCESS, 4, 0},
      {"read leaves its operand", [](IfrWriter &W) { W.One().Read(); }, EFI_INVALID_PARAMETER},
      {"set and write are false", [](IfrWriter &W) { W.Set().Write().Or(); }, EFI_SUCCESS, 4, 0},
  };
  Check(S, Cases);
}

TEST_F(ExpressionTest, Arithmetic) {
  Strings S;
  Texts T(S);
  std::vector<Case> Cases = {
      {"add", [](IfrWriter &W) { W.Uint8(250).Uint8(10).Add(); }, EFI_SUCCESS, 3, 260},
      {"add wraps", [](IfrWriter &W) { W.Ones().Uint8(2).Add(); }, EFI_SUCCESS, 3, 1},
      {"subtract wraps", [](IfrWriter &W) { W.Uint8(1).Uint8(2).Subtract(); }, EFI_SUCCESS, 3,
       AllOnes},
      {"subtract, left minus right", [](IfrWriter &W) { W.Uint8(9).Uint8(2).Subtract(); },
       EFI_SUCCESS, 3, 7},
      {"bitwise and", [](IfrWriter &W) { W.Uint16(0xFF0F).Uint8(0x3C).BitwiseAnd(); }, EFI_SUCCESS,
       3, 0x0C},
      {"bitwise or", [](IfrWriter &W) { W.Uint16(0xF000).Uint8(0x3C).BitwiseOr(); }, EFI_SUCCESS, 3,
       0xF03C},
      {"bitwise not", [](IfrWriter &W) { W.Zero().BitwiseNot(); }, EFI_SUCCESS, 3, AllOnes},
      {"bitwise not of a boolean", [](IfrWriter &W) { W.True().BitwiseNot(); }, EFI_SUCCESS, 3,
       ~1ull},
      {"bitwise not of a string", [&](IfrWriter &W) { W.StringRef1(T(u"A")).BitwiseNot(); },
       EFI_INVALID_PARAMETER},
      {"shift left", [](IfrWriter &W) { W.One().Uint8(4).ShiftLeft(); }, EFI_SUCCESS, 3, 16},
      {"shift left loses the high bits", [](IfrWriter &W) { W.Ones().Uint8(60).ShiftLeft(); },
       EFI_SUCCESS, 3, 0xF000000000000000ull},
      {"a shift by 64 is a shift by 0", [](IfrWriter &W) { W.One().Uint8(64).ShiftLeft(); },
       EFI_SUCCESS, 3, 1},
      {"a shift by 65 is a shift by 1", [](IfrWriter &W) { W.One().Uint8(65).ShiftLeft(); },
       EFI_SUCCESS, 3, 2},
      {"shift right is logical", [](IfrWriter &W) { W.Ones().Uint8(60).ShiftRight(); }, EFI_SUCCESS,
       3, 0xF},
      {"multiply", [](IfrWriter &W) { W.Uint8(3).Uint8(4).Multiply(); }, EFI_SUCCESS, 3, 12},
      {"a multiplier counts by its low 32 bits",
       [](IfrWriter &W) { W.Uint8(7).Uint64(0x100000000ull).Multiply(); }, EFI_SUCCESS, 3, 0},
      {"a multiplier's low 32 bits",
       [](IfrWriter &W) { W.Uint8(7).Uint64(0x100000002ull).Multiply(); }, EFI_SUCCESS, 3, 14},
      {"multiply keeps 64 bits",
       [](IfrWriter &W) { W.Uint64(0x100000000ull).Uint32(0x10).Multiply(); }, EFI_SUCCESS, 3,
       0x1000000000ull},
      {"divide", [](IfrWriter &W) { W.Uint8(100).Uint8(7).Divide(); }, EFI_SUCCESS, 3, 14},
      {"divide by 0 is all ones", [](IfrWriter &W) { W.Uint8(5).Zero().Divide(); }, EFI_SUCCESS, 3,
       AllOnes},
      {"a divisor counts by its low 32 bits",
       [](IfrWriter &W) { W.Uint8(100).Uint64(0x100000002ull).Divide(); }, EFI_SUCCESS, 3, 50},
      {"a 64-bit dividend", [](IfrWriter &W) { W.Uint64(0x1000000000ull).Uint8(16).Divide(); },
       EFI_SUCCESS, 3, 0x100000000ull},
      {"modulo", [](IfrWriter &W) { W.Uint8(100).Uint8(7).Modulo(); }, EFI_SUCCESS, 3, 2},
      {"modulo 0 gives the dividend", [](IfrWriter &W) { W.Uint8(5).Zero().Modulo(); }, EFI_SUCCESS,
       3, 5},
      {"modulo 0 gives the dividend's low 32 bits",
       [](IfrWriter &W) { W.Uint64(0x100000005ull).Zero().Modulo(); }, EFI_SUCCESS, 3, 5},
      {"modulo of a 64-bit dividend",
       [](IfrWriter &W) { W.Uint64(0x100000000ull).Uint8(7).Modulo(); }, EFI_SUCCESS, 3,
       0x100000000ull % 7},
      {"a boolean counts as its byte", [](IfrWriter &W) { W.True().One().Add(); }, EFI_SUCCESS, 3,
       2},
      {"a time counts as its bytes", [](IfrWriter &W) { W.QuestionRef1(Clock).Zero().Add(); },
       EFI_SUCCESS, 3, 0x2D1E0C},
      {"a string is refused", [&](IfrWriter &W) { W.One().StringRef1(T(u"A")).Add(); },
       EFI_INVALID_PARAMETER},
      {"undefined is refused", [](IfrWriter &W) { W.Undefined().One().Multiply(); },
       EFI_INVALID_PARAMETER},
      {"one operand", [](IfrWriter &W) { W.One().Subtract(); }, EFI_ACCESS_DENIED},
  };
  Check(S, Cases);
}

TEST_F(ExpressionTest, StringAndConversionOperators) {
  Strings S;
  Texts T(S);
  auto Str = [&](IfrWriter &W, const std::u16string &Text) { W.StringRef1(T(Text)); };
  std::vector<Case> Cases = {
      // To string.
      {"u8 255, format 0", [](IfrWriter &W) { W.Uint8(255).ToString(0); }, EFI_SUCCESS, 7, 0,
       u"255"},
      {"all ones, format 0, is signed", [](IfrWriter &W) { W.Ones().ToString(0); }, EFI_SUCCESS, 7,
       0, u"-1"},
      {"all ones, format 1", [](IfrWriter &W) { W.Ones().ToString(1); }, EFI_SUCCESS, 7, 0, u"-1"},
      {"format 2", [](IfrWriter &W) { W.Uint32(0xAB).ToString(2); }, EFI_SUCCESS, 7, 0, u"AB"},
      {"format 3, unpadded", [](IfrWriter &W) { W.Uint32(0xAB).ToString(3); }, EFI_SUCCESS, 7, 0,
       u"AB"},
      {"an unknown format", [](IfrWriter &W) { W.One().ToString(4); }, EFI_UNSUPPORTED},
      {"true", [](IfrWriter &W) { W.True().ToString(0); }, EFI_SUCCESS, 7, 0, u"True"},
      {"false, whatever the format", [](IfrWriter &W) { W.False().ToString(9); }, EFI_SUCCESS, 7, 0,
       u"False"},
      {"a string stays itself", [&](IfrWriter &W) { W.StringRef1(T(u"Same")).ToString(0); },
       EFI_SUCCESS, 7, 0, u"Same"},
      {"a time", [](IfrWriter &W) { W.QuestionRef1(Clock).ToString(0); }, EFI_UNSUPPORTED},
      {"undefined", [](IfrWriter &W) { W.Undefined().ToString(0); }, EFI_UNSUPPORTED},

      // To uint.
      {"decimal text is not converted",
       [&](IfrWriter &W) {
         Str(W, u"123");
         W.ToUint();
       },
       EFI_SUCCESS, 3, 0},
      {"hexadecimal text",
       [&](IfrWriter &W) {
         Str(W, u"0x1F");
         W.ToUint();
       },
       EFI_SUCCESS, 3, 31},
      {"the prefix anywhere, digits to a blank",
       [&](IfrWriter &W) {
         Str(W, u"size 0X10 bytes");
         W.ToUint();
       },
       EFI_SUCCESS, 3, 16},
      {"a prefix without digits",
       [&](IfrWriter &W) {
         Str(W, u"0x");
         W.ToUint();
       },
       EFI_SUCCESS, 3, 0},
      {"sixteen digits",
       [&](IfrWriter &W) {
         Str(W, u"0xfedcba9876543210");
         W.ToUint();
       },
       EFI_SUCCESS, 3, 0xFEDCBA9876543210ull},
      {"seventeen digits",
       [&](IfrWriter &W) {
         Str(W, u"0x1fedcba9876543210");
         W.ToUint();
       },
       EFI_BUFFER_TOO_SMALL},
      {"a number keeps its bytes", [](IfrWriter &W) { W.Uint8(5).ToUint(); }, EFI_SUCCESS, 3, 5},
      {"a boolean keeps its byte", [](IfrWriter &W) { W.True().ToUint(); }, EFI_SUCCESS, 3, 1},
      {"undefined", [](IfrWriter &W) { W.Undefined().ToUint(); }, EFI_UNSUPPORTED},
      {"a string that does not read", [](IfrWriter &W) { W.StringRef1(0x7777).ToUint(); },
       EFI_NOT_FOUND},

      // To boolean.
      {"true",
       [&](IfrWriter &W) {
         Str(W, u"true");
         W.ToBoolean();
       },
       EFI_SUCCESS, 4, 1},
      {"false",
       [&](IfrWriter &W) {
         Str(W, u"false");
         W.ToBoolean();
       },
       EFI_SUCCESS, 4, 0},
      {"True in capitals",
       [&](IfrWriter &W) {
         Str(W, u"True");
         W.ToBoolean();
       },
       EFI_SUCCESS, 4, 0},
      {"empty text",
       [&](IfrWriter &W) {
         Str(W, u"");
         W.ToBoolean();
       },
       EFI_SUCCESS, 4, 0},
      {"zero", [](IfrWriter &W) { W.Zero().ToBoolean(); }, EFI_SUCCESS, 4, 0},
      {"a high bit", [](IfrWriter &W) { W.Uint64(1ull << 63).ToBoolean(); }, EFI_SUCCESS, 4, 1},
      {"undefined stays undefined", [](IfrWriter &W) { W.Undefined().ToBoolean(); }, EFI_SUCCESS, 8,
       0},
      {"a string that does not read", [](IfrWriter &W) { W.StringRef1(0x7777).ToBoolean(); },
       EFI_INVALID_PARAMETER},

      // Catenate, case.
      {"catenate",
       [&](IfrWriter &W) {
         Str(W, u"AB");
         Str(W, u"CD");
         W.Catenate();
       },
       EFI_SUCCESS, 7, 0, u"ABCD"},
      {"catenate a number",
       [&](IfrWriter &W) {
         W.One();
         Str(W, u"CD");
         W.Catenate();
       },
       EFI_UNSUPPORTED},
      {"catenate, a string that does not read",
       [&](IfrWriter &W) {
         Str(W, u"AB");
         W.StringRef1(0x7777).Catenate();
       },
       EFI_NOT_FOUND},
      {"to upper",
       [&](IfrWriter &W) {
         Str(W, u"Hello1");
         W.ToUpper();
       },
       EFI_SUCCESS, 7, 0, u"HELLO1"},
      {"to lower",
       [&](IfrWriter &W) {
         Str(W, u"Hello1");
         W.ToLower();
       },
       EFI_SUCCESS, 7, 0, u"hello1"},
      {"to upper of a number", [](IfrWriter &W) { W.One().ToUpper(); }, EFI_UNSUPPORTED},
      {"to lower, a string that does not read",
       [](IfrWriter &W) { W.StringRef1(0x7777).ToLower(); }, EFI_NOT_FOUND},

      // Match: the value popped first is the string, the one under it the pattern.
      {"match",
       [&](IfrWriter &W) {
         Str(W, u"H*O");
         Str(W, u"HELLO");
         W.Match();
       },
       EFI_SUCCESS, 4, 1},
      {"match, operands the other way",
       [&](IfrWriter &W) {
         Str(W, u"HELLO");
         Str(W, u"H*O");
         W.Match();
       },
       EFI_SUCCESS, 4, 0},
      {"match a number",
       [&](IfrWriter &W) {
         Str(W, u"*");
         W.One().Match();
       },
       EFI_UNSUPPORTED},

      // Find: text, what to find, start.
      {"find ignoring case",
       [&](IfrWriter &W) {
         Str(W, u"ABC");
         Str(W, u"b");
         W.Zero().Find(1);
       },
       EFI_SUCCESS, 3, 1},
      {"find with case",
       [&](IfrWriter &W) {
         Str(W, u"ABC");
         Str(W, u"b");
         W.Zero().Find(0);
       },
       EFI_SUCCESS, 3, AllOnes},
      {"find from a start",
       [&](IfrWriter &W) {
         Str(W, u"ABAB");
         Str(W, u"AB");
         W.One().Find(0);
       },
       EFI_SUCCESS, 3, 2},
      {"find from the end",
       [&](IfrWriter &W) {
         Str(W, u"ABC");
         Str(W, u"C");
         W.Uint8(3).Find(0);
       },
       EFI_SUCCESS, 3, AllOnes},
      {"find nothing",
       [&](IfrWriter &W) {
         Str(W, u"ABC");
         Str(W, u"");
         W.One().Find(0);
       },
       EFI_SUCCESS, 3, 1},
      {"find, an unknown format before any pop", [](IfrWriter &W) { W.Find(2); }, EFI_UNSUPPORTED},
      {"find, a boolean start",
       [&](IfrWriter &W) {
         Str(W, u"A");
         Str(W, u"A");
         W.True().Find(0);
       },
       EFI_UNSUPPORTED},
      {"find in a number",
       [&](IfrWriter &W) {
         W.One();
         Str(W, u"A");
         W.Zero().Find(0);
       },
       EFI_UNSUPPORTED},

      // Mid: text, position, length.
      {"mid",
       [&](IfrWriter &W) {
         Str(W, u"HELLO");
         W.Uint8(1).Uint8(3).Mid();
       },
       EFI_SUCCESS, 7, 0, u"ELL"},
      {"mid past the end",
       [&](IfrWriter &W) {
         Str(W, u"HELLO");
         W.Uint8(1).Uint8(10).Mid();
       },
       EFI_SUCCESS, 7, 0, u"ELLO"},
      {"mid at the end",
       [&](IfrWriter &W) {
         Str(W, u"HELLO");
         W.Uint8(5).Uint8(1).Mid();
       },
       EFI_SUCCESS, 7, 0, u""},
      {"mid of length 0",
       [&](IfrWriter &W) {
         Str(W, u"HELLO");
         W.Zero().Zero().Mid();
       },
       EFI_SUCCESS, 7, 0, u""},
      {"mid, a length of all ones",
       [&](IfrWriter &W) {
         Str(W, u"HELLO");
         W.Uint8(2).Ones().Mid();
       },
       EFI_SUCCESS, 7, 0, u"LLO"},
      {"mid of a number", [](IfrWriter &W) { W.One().Zero().One().Mid(); }, EFI_UNSUPPORTED},
      {"mid, a string position",
       [&](IfrWriter &W) {
         Str(W, u"A");
         Str(W, u"A");
         W.One().Mid();
       },
       EFI_UNSUPPORTED},

      // Token: text, delimiter, index.
      {"token 0",
       [&](IfrWriter &W) {
         Str(W, u"A,B,C");
         Str(W, u",");
         W.Zero().Token();
       },
       EFI_SUCCESS, 7, 0, u"A"},
      {"token 1",
       [&](IfrWriter &W) {
         Str(W, u"A,B,C");
         Str(W, u",");
         W.Uint8(1).Token();
       },
       EFI_SUCCESS, 7, 0, u"B"},
      {"token 2",
       [&](IfrWriter &W) {
         Str(W, u"A,B,C");
         Str(W, u",");
         W.Uint8(2).Token();
       },
       EFI_SUCCESS, 7, 0, u"C"},
      {"token 3",
       [&](IfrWriter &W) {
         Str(W, u"A,B,C");
         Str(W, u",");
         W.Uint8(3).Token();
       },
       EFI_SUCCESS, 7, 0, u""},
      {"a delimiter is a whole string",
       [&](IfrWriter &W) {
         Str(W, u"A:B::C");
         Str(W, u"::");
         W.Uint8(1).Token();
       },
       EFI_SUCCESS, 7, 0, u"C"},
      {"token of a number",
       [&](IfrWriter &W) {
         W.One();
         Str(W, u",");
         W.Zero().Token();
       },
       EFI_UNSUPPORTED},

      // Span: text, character set, start.
      {"span to the first match",
       [&](IfrWriter &W) {
         Str(W, u"ab3");
         Str(W, u"09");
         W.Zero().Span(0);
       },
       EFI_SUCCESS, 3, 2},
      {"span to the first non-match",
       [&](IfrWriter &W) {
         Str(W, u"12a");
         Str(W, u"09");
         W.Zero().Span(1);
       },
       EFI_SUCCESS, 3, 2},
      {"outside any one pair stops a non-matching span",
       [&](IfrWriter &W) {
         Str(W, u"5a");
         Str(W, u"09az");
         W.Zero().Span(1);
       },
       EFI_SUCCESS, 3, 0},
      {"a span that runs to the end",
       [&](IfrWriter &W) {
         Str(W, u"abc");
         Str(W, u"09");
         W.Zero().Span(0);
       },
       EFI_SUCCESS, 3, 3},
      {"other flags never stop",
       [&](IfrWriter &W) {
         Str(W, u"123");
         Str(W, u"09");
         W.Zero().Span(2);
       },
       EFI_SUCCESS, 3, 3},
      {"a span from a start",
       [&](IfrWriter &W) {
         Str(W, u"1a2");
         Str(W, u"09");
         W.One().Span(0);
       },
       EFI_SUCCESS, 3, 2},
      {"a last low end without its high end is no pair",
       [&](IfrWriter &W) {
         Str(W, u"ab3");
         Str(W, u"09a");
         W.Zero().Span(0);
       },
       EFI_SUCCESS, 3, 2},
      {"a span from past the end",
       [&](IfrWriter &W) {
         Str(W, u"abc");
         Str(W, u"09");
         W.Uint8(3).Span(0);
       },
       EFI_UNSUPPORTED},
      {"a span of a number",
       [&](IfrWriter &W) {
         W.One();
         Str(W, u"09");
         W.Zero().Span(0);
       },
       EFI_UNSUPPORTED},
  };
  Check(S, Cases);
}

TEST_F(ExpressionTest, SecurityComparesTheUserAccessLevel) {
  Strings S;
  IfrWriter W;
  W.FormSet(SetGuid(), S.Add(u"Set"), 0, {}, true).Form(1, 1, true);
  W.Rule(1, true).Security(TestGuid(0xC2)).End();
  W.End().End();
  FormSet *Set = Load(W, S);
  ASSERT_NE(Set, nullptr);
  Form *One = FormAt(Set, 0);
  Expression *Rule = FindRule(One, 1);
  ASSERT_EQ(EvaluateExpression(Set, One, Rule), EFI_SUCCESS);
  EXPECT_EQ(NumberOf(Rule->Result), 0u);
  UserAccessLevel = TestGuid(0xC2);
  ASSERT_EQ(EvaluateExpression(Set, One, Rule), EFI_SUCCESS);
  EXPECT_EQ(Rule->Result.Type, EFI_IFR_TYPE_BOOLEAN);
  EXPECT_EQ(NumberOf(Rule->Result), 1u);
  ReleaseFormSet(Set);
}

TEST_F(ExpressionTest, RulesReferToRulesOfTheirOwnFormOnly) {
  Strings S;
  IfrWriter W;
  W.FormSet(SetGuid(), S.Add(u"Set"), 0, {}, true);
  W.Form(1, 1, true);
  W.Rule(1, true).Uint8(40).End();
  W.Rule(2, true).RuleRef(1).Uint8(2).Add().End();
  // The reference wipes the stack: what stood before it is gone.
  W.Rule(3, true).True().RuleRef(4).And().End();
  W.Rule(4, true).True().End();
  W.Rule(5, true).RuleRef(4).True().And().End();
  W.Rule(6, true).RuleRef(7).End();
  W.End();
  W.Form(2, 1, true).Rule(7, true).True().End().Rule(1, true).False().End().End();
  W.End();
  FormSet *Set = Load(W, S);
  ASSERT_NE(Set, nullptr);
  Form *One = FormAt(Set, 0);
  struct Expect {
    UINT8 Rule;
    EFI_STATUS Status;
    UINT64 Value;
  };
  for (const Expect &Each : {Expect{2, EFI_SUCCESS, 42}, Expect{3, EFI_ACCESS_DENIED, 0},
                             Expect{5, EFI_SUCCESS, 1}, Expect{6, EFI_NOT_FOUND, 0}}) {
    Expression *Rule = FindRule(One, Each.Rule);
    EXPECT_EQ(EvaluateExpression(Set, One, Rule), Each.Status) << static_cast<int>(Each.Rule);
    if (!EFI_ERROR(Each.Status)) {
      EXPECT_EQ(NumberOf(Rule->Result), Each.Value) << static_cast<int>(Each.Rule);
    }
  }
  // The referenced rule keeps the result it gave.
  EXPECT_EQ(NumberOf(FindRule(One, 1)->Result), 40u);
  EXPECT_EQ(FindRule(One, 7), nullptr);
  EXPECT_EQ(FindRule(FormAt(Set, 1), 1)->Result.Type, 0) << "the other form's rule 1 never ran";
  ReleaseFormSet(Set);
}

TEST_F(ExpressionTest, RecursionEndsWithAFailureAndLeavesTheEvaluatorUsable) {
  Strings S;
  IfrWriter W;
  W.FormSet(SetGuid(), S.Add(u"Set"), 0, {}, true);
  W.Form(1, 1, true);
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
  W.End().End();
  FormSet *Set = Load(W, S);
  ASSERT_NE(Set, nullptr);
  Form *One = FormAt(Set, 0);
  for (UINT8 Id : {1, 2, 3, 100}) {
    Expression *Rule = FindRule(One, Id);
    EFI_STATUS Status = EvaluateExpression(Set, One, Rule);
    EXPECT_TRUE(EFI_ERROR(Status)) << static_cast<int>(Id);
    EXPECT_EQ(Rule->Result.Type, EFI_IFR_TYPE_OTHER) << static_cast<int>(Id);
  }
  // Nothing of the refused evaluations stays behind.
  for (int Round = 0; Round < 2; Round++) {
    Expression *Chain = FindRule(One, 10);
    ASSERT_EQ(EvaluateExpression(Set, One, Chain), EFI_SUCCESS);
    EXPECT_EQ(NumberOf(Chain->Result), 20u);
  }
  ReleaseFormSet(Set);
}

TEST_F(ExpressionTest, DeepStacksGrow) {
  Strings S;
  IfrWriter W;
  W.FormSet(SetGuid(), S.Add(u"Set"), 0, {}, true).Form(1, 1, true);
  // 600 values on the stack at once, then 599 additions.
  W.Rule(1, true);
  for (int Index = 0; Index < 600; Index++) {
    W.One();
  }
  for (int Index = 0; Index < 599; Index++) {
    W.Add();
  }
  W.End();
  W.End().End();
  FormSet *Set = Load(W, S);
  ASSERT_NE(Set, nullptr);
  Form *One = FormAt(Set, 0);
  Expression *Rule = FindRule(One, 1);
  // Nothing has been evaluated yet in this driver: the stack has no room at all. A growth that
  // fails is reported, first of 256 entries, then of 256 more.
  for (UINTN Failing : {1u, 2u}) {
    Host().Pool().FailAllocation(Failing);
    EXPECT_EQ(EvaluateExpression(Set, One, Rule), EFI_OUT_OF_RESOURCES) << Failing;
    EXPECT_EQ(Rule->Result.Type, EFI_IFR_TYPE_OTHER);
    Host().Pool().ClearAllocationFailures();
  }
  ASSERT_EQ(EvaluateExpression(Set, One, Rule), EFI_SUCCESS);
  EXPECT_EQ(Rule->Result.Type, EFI_IFR_TYPE_NUM_SIZE_64);
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
      {"equal numbers of two widths", MakeValue(0, 7), MakeValue(3, 7), EFI_SUCCESS, 0},
      {"less", MakeValue(1, 6), MakeValue(1, 7), EFI_SUCCESS, -1},
      {"greater by a lot gives 1", MakeValue(3, 1000), MakeValue(3, 1), EFI_SUCCESS, 1},
      {"two dates", MakeValue(6, 0x0A0107E8), MakeValue(6, 0x0B0107E8), EFI_SUCCESS, -1},
      {"undefined", MakeValue(8, 0), MakeValue(0, 0), EFI_INVALID_PARAMETER, 0},
      {"a type above undefined", MakeValue(0, 0), MakeValue(9, 0), EFI_INVALID_PARAMETER, 0},
      {"a string and a number", MakeValue(7, 3), MakeValue(0, 3), EFI_INVALID_PARAMETER, 0},
      {"one id, no look-up needed", MakeValue(7, 0x7777), MakeValue(7, 0x7777), EFI_SUCCESS, 0},
      {"two ids and no handle to read them", MakeValue(7, 1), MakeValue(7, 2),
       EFI_INVALID_PARAMETER, 0},
  };
  for (const Case &Each : Cases) {
    INTN Order = 99;
    EXPECT_EQ(CompareHiiValues(&Each.Left, &Each.Right, nullptr, &Order), Each.Status) << Each.Name;
    if (!EFI_ERROR(Each.Status)) {
      EXPECT_EQ(Order, Each.Order) << Each.Name;
    }
  }
}

TEST_F(ExpressionTest, UppercaseAsciiTouchesOnlyTheLettersAToZ) {
  std::u16string Text = u"az AZ 09 `{ \u00e9\u0101";
  UppercaseAscii(Text.data());
  EXPECT_EQ(Text, u"AZ AZ 09 `{ \u00e9\u0101");
}

} // namespace
} // namespace morvane::test
