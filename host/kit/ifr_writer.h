// Writes the body of a form package: IFR opcodes in the published binary layout, one method per
// opcode. Nothing is checked on the way, so tests can write malformed IFR as easily as good IFR;
// Balanced() tells whether the scopes close.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/kit/ifr_value.h"
#include "uefi/ifr.h"

namespace morvane::kit {

// The 11 bytes every question opcode carries after its 2-byte opcode header.
struct QuestionHeader {
  EFI_STRING_ID Prompt = 0;
  EFI_STRING_ID Help = 0;
  EFI_QUESTION_ID QuestionId = 0;
  EFI_VARSTORE_ID VarStoreId = 0;
  UINT16 VarStoreInfo = 0; // byte offset in a buffer store, or the name's string id
  UINT8 Flags = 0;
};

// One method of a form map: its title and the GUID that identifies the method.
struct FormMapMethod {
  EFI_STRING_ID MethodTitle = 0;
  EFI_GUID MethodIdentifier = {};
};

// GUID of the vendor-extension opcodes (label, banner, class, subclass...).
inline constexpr EFI_GUID IFR_VENDOR_EXTENSION_GUID = {
    0x0f0b1735, 0x87a0, 0x4193, {0xb2, 0x66, 0x53, 0x8c, 0x38, 0xaf, 0x48, 0xce}};
inline constexpr UINT8 IFR_EXTEND_OP_LABEL = 0x00;
inline constexpr UINT8 IFR_EXTEND_OP_BANNER = 0x01;
inline constexpr UINT8 IFR_EXTEND_OP_TIMEOUT = 0x02;
inline constexpr UINT8 IFR_EXTEND_OP_CLASS = 0x03;
inline constexpr UINT8 IFR_EXTEND_OP_SUBCLASS = 0x04;

// The markers around questions whose hot keys form an action-key range.
inline constexpr EFI_GUID IFR_ACTION_KEY_BEGIN_GUID = {
    0xef624d8a, 0xff5d, 0x41ae, {0xb7, 0xb6, 0x76, 0x8a, 0xd1, 0x84, 0x24, 0xb8}};
inline constexpr EFI_GUID IFR_ACTION_KEY_END_GUID = {
    0x4837748d, 0x6d92, 0x48bf, {0x8e, 0xac, 0x5d, 0xab, 0x6c, 0xa6, 0x20, 0x84}};

class IfrWriter {
public:
  // Form sets and forms.
  IfrWriter &FormSet(const EFI_GUID &Guid, EFI_STRING_ID Title, EFI_STRING_ID Help,
                     const std::vector<EFI_GUID> &ClassGuids = {}, bool Scope = false);
  IfrWriter &Form(EFI_FORM_ID FormId, EFI_STRING_ID Title, bool Scope = false);
  IfrWriter &FormMap(EFI_FORM_ID FormId, const std::vector<FormMapMethod> &Methods,
                     bool Scope = false);
  IfrWriter &End();

  // Statements.
  IfrWriter &Subtitle(EFI_STRING_ID Prompt, EFI_STRING_ID Help, UINT8 Flags = 0,
                      bool Scope = false);
  IfrWriter &Text(EFI_STRING_ID Prompt, EFI_STRING_ID Help, EFI_STRING_ID TextTwo = 0,
                  bool Scope = false);
  IfrWriter &Image(EFI_IMAGE_ID Id);
  IfrWriter &Animation(EFI_ANIMATION_ID Id);

  // Questions. Numeric and one-of write min, max and step in the width that Flags &
  // EFI_IFR_NUMERIC_SIZE selects (1, 2, 4 or 8 bytes), truncating the given values.
  IfrWriter &OneOf(const QuestionHeader &Question, UINT8 Flags, UINT64 Min, UINT64 Max, UINT64 Step,
                   bool Scope = false);
  IfrWriter &Numeric(const QuestionHeader &Question, UINT8 Flags, UINT64 Min, UINT64 Max,
                     UINT64 Step, bool Scope = false);
  IfrWriter &Checkbox(const QuestionHeader &Question, UINT8 Flags = 0, bool Scope = false);
  IfrWriter &Password(const QuestionHeader &Question, UINT16 MinSize, UINT16 MaxSize,
                      bool Scope = false);
  IfrWriter &String(const QuestionHeader &Question, UINT8 MinSize, UINT8 MaxSize, UINT8 Flags = 0,
                    bool Scope = false);
  IfrWriter &Date(const QuestionHeader &Question, UINT8 Flags = 0, bool Scope = false);
  IfrWriter &Time(const QuestionHeader &Question, UINT8 Flags = 0, bool Scope = false);
  IfrWriter &OrderedList(const QuestionHeader &Question, UINT8 MaxContainers, UINT8 Flags = 0,
                         bool Scope = false);
  // 15 bytes with the configuration string id, 13 bytes without it (std::nullopt).
  IfrWriter &Action(const QuestionHeader &Question, std::optional<EFI_STRING_ID> QuestionConfig,
                    bool Scope = false);
  // Written as a question: the 13-byte question header, then the u16 default id (15 bytes).
  IfrWriter &ResetButton(const QuestionHeader &Question, EFI_DEFAULT_ID DefaultId,
                         bool Scope = false);
  // The cross-reference forms: 15, 17, 33, 35 and 13 bytes.
  IfrWriter &Ref(const QuestionHeader &Question, EFI_FORM_ID FormId, bool Scope = false);
  IfrWriter &Ref2(const QuestionHeader &Question, EFI_FORM_ID FormId, EFI_QUESTION_ID RefQuestion,
                  bool Scope = false);
  IfrWriter &Ref3(const QuestionHeader &Question, EFI_FORM_ID FormId, EFI_QUESTION_ID RefQuestion,
                  const EFI_GUID &FormSetId, bool Scope = false);
  IfrWriter &Ref4(const QuestionHeader &Question, EFI_FORM_ID FormId, EFI_QUESTION_ID RefQuestion,
                  const EFI_GUID &FormSetId, EFI_STRING_ID DevicePath, bool Scope = false);
  IfrWriter &Ref5(const QuestionHeader &Question, bool Scope = false);

  // Options, defaults and values. The value's bytes are written as the IfrValue holds them.
  IfrWriter &OneOfOption(EFI_STRING_ID Option, UINT8 Flags, const IfrValue &Value,
                         bool Scope = false);
  IfrWriter &Default(EFI_DEFAULT_ID DefaultId, const IfrValue &Value, bool Scope = false);
  // The 5-byte default whose value is the expression in its scope.
  IfrWriter &Default2(EFI_DEFAULT_ID DefaultId, UINT8 Type, bool Scope = false);
  IfrWriter &DefaultStore(EFI_STRING_ID DefaultName, EFI_DEFAULT_ID DefaultId, bool Scope = false);
  IfrWriter &Value(bool Scope = false);
  IfrWriter &Refresh(UINT8 Interval);
  IfrWriter &RefreshId(const EFI_GUID &EventGroup);
  IfrWriter &Locked();
  IfrWriter &ModalTag();

  // Variable stores.
  IfrWriter &VarStore(const EFI_GUID &Guid, EFI_VARSTORE_ID VarStoreId, UINT16 Size,
                      const std::string &Name, bool Scope = false);
  IfrWriter &VarStoreNameValue(EFI_VARSTORE_ID VarStoreId, const EFI_GUID &Guid,
                               bool Scope = false);
  IfrWriter &VarStoreEfi(EFI_VARSTORE_ID VarStoreId, const EFI_GUID &Guid, UINT32 Attributes,
                         UINT16 Size, const std::string &Name, bool Scope = false);
  IfrWriter &VarStoreDevice(EFI_STRING_ID DevicePath, bool Scope = false);

  // Conditionals and rules; the condition is the expression that follows inside the scope.
  IfrWriter &SuppressIf(bool Scope = false);
  IfrWriter &GrayOutIf(bool Scope = false);
  IfrWriter &DisableIf(bool Scope = false);
  IfrWriter &NoSubmitIf(EFI_STRING_ID Error, bool Scope = false);
  IfrWriter &InconsistentIf(EFI_STRING_ID Error, bool Scope = false);
  IfrWriter &WarningIf(EFI_STRING_ID Warning, UINT8 TimeOut, bool Scope = false);
  IfrWriter &Rule(UINT8 RuleId, bool Scope = false);

  // GUID opcodes: any GUID with any data, and the well-known vendor records.
  IfrWriter &Guid(const EFI_GUID &Guid, const std::vector<uint8_t> &Data = {}, bool Scope = false);
  IfrWriter &ExtensionLabel(UINT16 Number);
  IfrWriter &ExtensionClass(UINT16 Class);
  IfrWriter &ExtensionSubclass(UINT16 Subclass);
  IfrWriter &ActionKeyBegin();
  IfrWriter &ActionKeyEnd();
  IfrWriter &Security(const EFI_GUID &Permissions);

  // Expressions: built-ins with their operands.
  IfrWriter &EqIdVal(EFI_QUESTION_ID QuestionId, UINT16 Value);
  IfrWriter &EqIdId(EFI_QUESTION_ID QuestionId1, EFI_QUESTION_ID QuestionId2);
  IfrWriter &EqIdValList(EFI_QUESTION_ID QuestionId, const std::vector<UINT16> &Values);
  IfrWriter &QuestionRef1(EFI_QUESTION_ID QuestionId);
  IfrWriter &QuestionRef2();
  IfrWriter &QuestionRef3();
  IfrWriter &QuestionRef3(EFI_STRING_ID DevicePath);
  IfrWriter &QuestionRef3(EFI_STRING_ID DevicePath, const EFI_GUID &Guid);
  IfrWriter &RuleRef(UINT8 RuleId);
  IfrWriter &StringRef1(EFI_STRING_ID StringId);
  IfrWriter &StringRef2();
  IfrWriter &Uint8(UINT8 Value);
  IfrWriter &Uint16(UINT16 Value);
  IfrWriter &Uint32(UINT32 Value);
  IfrWriter &Uint64(UINT64 Value);
  IfrWriter &True();
  IfrWriter &False();
  IfrWriter &Zero();
  IfrWriter &One();
  IfrWriter &Ones();
  IfrWriter &Undefined();
  IfrWriter &Version();
  IfrWriter &This();
  IfrWriter &Dup();
  // The 7-byte forms with their store, and the bare 2-byte headers.
  IfrWriter &Get(EFI_VARSTORE_ID VarStoreId, UINT16 VarStoreInfo, UINT8 VarStoreType);
  IfrWriter &Get();
  IfrWriter &Set(EFI_VARSTORE_ID VarStoreId, UINT16 VarStoreInfo, UINT8 VarStoreType);
  IfrWriter &Set();
  IfrWriter &Read();
  IfrWriter &Write();

  // Expressions: unary, binary and ternary operators on the values before them.
  IfrWriter &Length();
  IfrWriter &Not();
  IfrWriter &BitwiseNot();
  IfrWriter &ToBoolean();
  IfrWriter &ToString(UINT8 Format);
  IfrWriter &ToUint();
  IfrWriter &ToLower();
  IfrWriter &ToUpper();
  IfrWriter &And();
  IfrWriter &Or();
  IfrWriter &Equal();
  IfrWriter &NotEqual();
  IfrWriter &GreaterThan();
  IfrWriter &GreaterEqual();
  IfrWriter &LessThan();
  IfrWriter &LessEqual();
  IfrWriter &BitwiseAnd();
  IfrWriter &BitwiseOr();
  IfrWriter &ShiftLeft();
  IfrWriter &ShiftRight();
  IfrWriter &Add();
  IfrWriter &Subtract();
  IfrWriter &Multiply();
  IfrWriter &Divide();
  IfrWriter &Modulo();
  IfrWriter &Catenate();
  IfrWriter &Match();
  IfrWriter &Match2(const EFI_GUID &SyntaxType);
  IfrWriter &Conditional();
  IfrWriter &Find(UINT8 Format);
  IfrWriter &Mid();
  IfrWriter &Token();
  IfrWriter &Span(UINT8 Flags);
  IfrWriter &Map(bool Scope = false);

  // Escape hatches: an opcode with any body (the length byte still counts it), and bytes
  // appended as they are (zero lengths, truncated opcodes...). Raw throws std::length_error
  // when the opcode would exceed the 127 bytes its length field can count.
  IfrWriter &Raw(UINT8 Opcode, const std::vector<uint8_t> &Body, bool Scope = false);
  IfrWriter &RawBytes(const std::vector<uint8_t> &Bytes);

  // The opcodes written so far.
  const std::vector<uint8_t> &Bytes() const { return Opcodes; }
  // The opcodes behind a 4-byte form package header.
  std::vector<uint8_t> Package() const;
  // True when every opcode is at least 2 bytes, the last one ends at the end and every
  // scope that opens is closed by an END and no END closes a scope that was not opened.
  bool Balanced() const;

private:
  IfrWriter &Question(UINT8 Opcode, const QuestionHeader &Question,
                      const std::vector<uint8_t> &Tail, bool Scope);
  IfrWriter &Plain(UINT8 Opcode) { return Raw(Opcode, {}, false); }

  std::vector<uint8_t> Opcodes;
};

// The 11 question-header bytes, for tests that assemble opcodes by hand.
std::vector<uint8_t> QuestionHeaderBytes(const QuestionHeader &Question);

} // namespace morvane::kit
