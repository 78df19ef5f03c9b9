// Form sets, forms, statements, questions, options, defaults, stores, conditionals and GUID
// opcodes.
#include <stdexcept>

#include "host/kit/byte_append.h"
#include "host/kit/ifr_writer.h"

namespace morvane::kit {

namespace {

constexpr size_t FORM_SET_CLASS_GUID_LIMIT = 3;

std::vector<uint8_t> MinMaxStep(UINT8 Flags, UINT64 Min, UINT64 Max, UINT64 Step) {
  static constexpr size_t WIDTHS[] = {1, 2, 4, 8};
  size_t Width = WIDTHS[Flags & EFI_IFR_NUMERIC_SIZE];
  std::vector<uint8_t> Bytes;
  PutU8(Bytes, Flags);
  PutLittleEndian(Bytes, Min, Width);
  PutLittleEndian(Bytes, Max, Width);
  PutLittleEndian(Bytes, Step, Width);
  return Bytes;
}

std::vector<uint8_t> VendorExtension(UINT8 Subcode, UINT16 Value) {
  std::vector<uint8_t> Data;
  PutU8(Data, Subcode);
  PutU16(Data, Value);
  return Data;
}

} // namespace

IfrWriter &IfrWriter::FormSet(const EFI_GUID &Guid, EFI_STRING_ID Title, EFI_STRING_ID Help,
                              const std::vector<EFI_GUID> &ClassGuids, bool Scope) {
  if (ClassGuids.size() > FORM_SET_CLASS_GUID_LIMIT) {
    throw std::length_error("a form set names at most three class GUIDs");
  }
  std::vector<uint8_t> Body;
  PutGuid(Body, Guid);
  PutU16(Body, Title);
  PutU16(Body, Help);
  PutU8(Body, ClassGuids.size());
  for (const EFI_GUID &ClassGuid : ClassGuids) {
    PutGuid(Body, ClassGuid);
  }
  return Raw(EFI_IFR_FORM_SET_OP, Body, Scope);
}

IfrWriter &IfrWriter::Form(EFI_FORM_ID FormId, EFI_STRING_ID Title, bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, FormId);
  PutU16(Body, Title);
  return Raw(EFI_IFR_FORM_OP, Body, Scope);
}

IfrWriter &IfrWriter::FormMap(EFI_FORM_ID FormId, const std::vector<FormMapMethod> &Methods,
                              bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, FormId);
  for (const FormMapMethod &Method : Methods) {
    PutU16(Body, Method.MethodTitle);
    PutGuid(Body, Method.MethodIdentifier);
  }
  return Raw(EFI_IFR_FORM_MAP_OP, Body, Scope);
}

IfrWriter &IfrWriter::Subtitle(EFI_STRING_ID Prompt, EFI_STRING_ID Help, UINT8 Flags, bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, Prompt);
  PutU16(Body, Help);
  PutU8(Body, Flags);
  return Raw(EFI_IFR_SUBTITLE_OP, Body, Scope);
}

IfrWriter &IfrWriter::Text(EFI_STRING_ID Prompt, EFI_STRING_ID Help, EFI_STRING_ID TextTwo,
                           bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, Prompt);
  PutU16(Body, Help);
  PutU16(Body, TextTwo);
  return Raw(EFI_IFR_TEXT_OP, Body, Scope);
}

IfrWriter &IfrWriter::Image(EFI_IMAGE_ID Id) {
  std::vector<uint8_t> Body;
  PutU16(Body, Id);
  return Raw(EFI_IFR_IMAGE_OP, Body);
}

IfrWriter &IfrWriter::Animation(EFI_ANIMATION_ID Id) {
  std::vector<uint8_t> Body;
  PutU16(Body, Id);
  return Raw(EFI_IFR_ANIMATION_OP, Body);
}

IfrWriter &IfrWriter::OneOf(const QuestionHeader &Header, UINT8 Flags, UINT64 Min, UINT64 Max,
                            UINT64 Step, bool Scope) {
  return Question(EFI_IFR_ONE_OF_OP, Header, MinMaxStep(Flags, Min, Max, Step), Scope);
}

IfrWriter &IfrWriter::Numeric(const QuestionHeader &Header, UINT8 Flags, UINT64 Min, UINT64 Max,
                              UINT64 Step, bool Scope) {
  return Question(EFI_IFR_NUMERIC_OP, Header, MinMaxStep(Flags, Min, Max, Step), Scope);
}

IfrWriter &IfrWriter::Checkbox(const QuestionHeader &Header, UINT8 Flags, bool Scope) {
  return Question(EFI_IFR_CHECKBOX_OP, Header, {Flags}, Scope);
}

IfrWriter &IfrWriter::Password(const QuestionHeader &Header, UINT16 MinSize, UINT16 MaxSize,
                               bool Scope) {
  std::vector<uint8_t> Tail;
  PutU16(Tail, MinSize);
  PutU16(Tail, MaxSize);
  return Question(EFI_IFR_PASSWORD_OP, Header, Tail, Scope);
}

IfrWriter &IfrWriter::String(const QuestionHeader &Header, UINT8 MinSize, UINT8 MaxSize,
                             UINT8 Flags, bool Scope) {
  return Question(EFI_IFR_STRING_OP, Header, {MinSize, MaxSize, Flags}, Scope);
}

IfrWriter &IfrWriter::Date(const QuestionHeader &Header, UINT8 Flags, bool Scope) {
  return Question(EFI_IFR_DATE_OP, Header, {Flags}, Scope);
}

IfrWriter &IfrWriter::Time(const QuestionHeader &Header, UINT8 Flags, bool Scope) {
  return Question(EFI_IFR_TIME_OP, Header, {Flags}, Scope);
}

IfrWriter &IfrWriter::OrderedList(const QuestionHeader &Header, UINT8 MaxContainers, UINT8 Flags,
                                  bool Scope) {
  return Question(EFI_IFR_ORDERED_LIST_OP, Header, {MaxContainers, Flags}, Scope);
}

IfrWriter &IfrWriter::Action(const QuestionHeader &Header,
                             std::optional<EFI_STRING_ID> QuestionConfig, bool Scope) {
  std::vector<uint8_t> Tail;
  if (QuestionConfig.has_value()) {
    PutU16(Tail, *QuestionConfig);
  }
  return Question(EFI_IFR_ACTION_OP, Header, Tail, Scope);
}

IfrWriter &IfrWriter::ResetButton(const QuestionHeader &Header, EFI_DEFAULT_ID DefaultId,
                                  bool Scope) {
  std::vector<uint8_t> Tail;
  PutU16(Tail, DefaultId);
  return Question(EFI_IFR_RESET_BUTTON_OP, Header, Tail, Scope);
}

IfrWriter &IfrWriter::Ref(const QuestionHeader &Header, EFI_FORM_ID FormId, bool Scope) {
  std::vector<uint8_t> Tail;
  PutU16(Tail, FormId);
  return Question(EFI_IFR_REF_OP, Header, Tail, Scope);
}

IfrWriter &IfrWriter::Ref2(const QuestionHeader &Header, EFI_FORM_ID FormId,
                           EFI_QUESTION_ID RefQuestion, bool Scope) {
  std::vector<uint8_t> Tail;
  PutU16(Tail, FormId);
  PutU16(Tail, RefQuestion);
  return Question(EFI_IFR_REF_OP, Header, Tail, Scope);
}

IfrWriter &IfrWriter::Ref3(const QuestionHeader &Header, EFI_FORM_ID FormId,
                           EFI_QUESTION_ID RefQuestion, const EFI_GUID &FormSetId, bool Scope) {
  std::vector<uint8_t> Tail;
  PutU16(Tail, FormId);
  PutU16(Tail, RefQuestion);
  PutGuid(Tail, FormSetId);
  return Question(EFI_IFR_REF_OP, Header, Tail, Scope);
}

IfrWriter &IfrWriter::Ref4(const QuestionHeader &Header, EFI_FORM_ID FormId,
                           EFI_QUESTION_ID RefQuestion, const EFI_GUID &FormSetId,
                           EFI_STRING_ID DevicePath, bool Scope) {
  std::vector<uint8_t> Tail;
  PutU16(Tail, FormId);
  PutU16(Tail, RefQuestion);
  PutGuid(Tail, FormSetId);
  PutU16(Tail, DevicePath);
  return Question(EFI_IFR_REF_OP, Header, Tail, Scope);
}

IfrWriter &IfrWriter::Ref5(const QuestionHeader &Header, bool Scope) {
  return Question(EFI_IFR_REF_OP, Header, {}, Scope);
}

IfrWriter &IfrWriter::OneOfOption(EFI_STRING_ID Option, UINT8 Flags, const IfrValue &Value,
                                  bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, Option);
  PutU8(Body, Flags);
  PutU8(Body, Value.Type);
  PutBytes(Body, Value.Bytes);
  return Raw(EFI_IFR_ONE_OF_OPTION_OP, Body, Scope);
}

IfrWriter &IfrWriter::Default(EFI_DEFAULT_ID DefaultId, const IfrValue &Value, bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, DefaultId);
  PutU8(Body, Value.Type);
  PutBytes(Body, Value.Bytes);
  return Raw(EFI_IFR_DEFAULT_OP, Body, Scope);
}

IfrWriter &IfrWriter::Default2(EFI_DEFAULT_ID DefaultId, UINT8 Type, bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, DefaultId);
  PutU8(Body, Type);
  return Raw(EFI_IFR_DEFAULT_OP, Body, Scope);
}

IfrWriter &IfrWriter::DefaultStore(EFI_STRING_ID DefaultName, EFI_DEFAULT_ID DefaultId,
                                   bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, DefaultName);
  PutU16(Body, DefaultId);
  return Raw(EFI_IFR_DEFAULTSTORE_OP, Body, Scope);
}

IfrWriter &IfrWriter::Value(bool Scope) {
  return Raw(EFI_IFR_VALUE_OP, {}, Scope);
}

IfrWriter &IfrWriter::Refresh(UINT8 Interval) {
  return Raw(EFI_IFR_REFRESH_OP, {Interval});
}

IfrWriter &IfrWriter::RefreshId(const EFI_GUID &EventGroup) {
  std::vector<uint8_t> Body;
  PutGuid(Body, EventGroup);
  return Raw(EFI_IFR_REFRESH_ID_OP, Body);
}

IfrWriter &IfrWriter::Locked() {
  return Plain(EFI_IFR_LOCKED_OP);
}

IfrWriter &IfrWriter::ModalTag() {
  return Plain(EFI_IFR_MODAL_TAG_OP);
}

IfrWriter &IfrWriter::VarStore(const EFI_GUID &Guid, EFI_VARSTORE_ID VarStoreId, UINT16 Size,
                               const std::string &Name, bool Scope) {
  std::vector<uint8_t> Body;
  PutGuid(Body, Guid);
  PutU16(Body, VarStoreId);
  PutU16(Body, Size);
  PutAscii(Body, Name);
  return Raw(EFI_IFR_VARSTORE_OP, Body, Scope);
}

IfrWriter &IfrWriter::VarStoreNameValue(EFI_VARSTORE_ID VarStoreId, const EFI_GUID &Guid,
                                        bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, VarStoreId);
  PutGuid(Body, Guid);
  return Raw(EFI_IFR_VARSTORE_NAME_VALUE_OP, Body, Scope);
}

IfrWriter &IfrWriter::VarStoreEfi(EFI_VARSTORE_ID VarStoreId, const EFI_GUID &Guid,
                                  UINT32 Attributes, UINT16 Size, const std::string &Name,
                                  bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, VarStoreId);
  PutGuid(Body, Guid);
  PutU32(Body, Attributes);
  PutU16(Body, Size);
  PutAscii(Body, Name);
  return Raw(EFI_IFR_VARSTORE_EFI_OP, Body, Scope);
}

IfrWriter &IfrWriter::VarStoreDevice(EFI_STRING_ID DevicePath, bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, DevicePath);
  return Raw(EFI_IFR_VARSTORE_DEVICE_OP, Body, Scope);
}

IfrWriter &IfrWriter::SuppressIf(bool Scope) {
  return Raw(EFI_IFR_SUPPRESS_IF_OP, {}, Scope);
}
IfrWriter &IfrWriter::GrayOutIf(bool Scope) {
  return Raw(EFI_IFR_GRAY_OUT_IF_OP, {}, Scope);
}
IfrWriter &IfrWriter::DisableIf(bool Scope) {
  return Raw(EFI_IFR_DISABLE_IF_OP, {}, Scope);
}

IfrWriter &IfrWriter::NoSubmitIf(EFI_STRING_ID Error, bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, Error);
  return Raw(EFI_IFR_NO_SUBMIT_IF_OP, Body, Scope);
}

IfrWriter &IfrWriter::InconsistentIf(EFI_STRING_ID Error, bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, Error);
  return Raw(EFI_IFR_INCONSISTENT_IF_OP, Body, Scope);
}

IfrWriter &IfrWriter::WarningIf(EFI_STRING_ID Warning, UINT8 TimeOut, bool Scope) {
  std::vector<uint8_t> Body;
  PutU16(Body, Warning);
  PutU8(Body, TimeOut);
  return Raw(EFI_IFR_WARNING_IF_OP, Body, Scope);
}

IfrWriter &IfrWriter::Rule(UINT8 RuleId, bool Scope) {
  return Raw(EFI_IFR_RULE_OP, {RuleId}, Scope);
}

IfrWriter &IfrWriter::Guid(const EFI_GUID &Guid, const std::vector<uint8_t> &Data, bool Scope) {
  std::vector<uint8_t> Body;
  PutGuid(Body, Guid);
  PutBytes(Body, Data);
  return Raw(EFI_IFR_GUID_OP, Body, Scope);
}

IfrWriter &IfrWriter::ExtensionLabel(UINT16 Number) {
  return Guid(IFR_VENDOR_EXTENSION_GUID, VendorExtension(IFR_EXTEND_OP_LABEL, Number));
}

IfrWriter &IfrWriter::ExtensionClass(UINT16 Class) {
  return Guid(IFR_VENDOR_EXTENSION_GUID, VendorExtension(IFR_EXTEND_OP_CLASS, Class));
}

IfrWriter &IfrWriter::ExtensionSubclass(UINT16 Subclass) {
  return Guid(IFR_VENDOR_EXTENSION_GUID, VendorExtension(IFR_EXTEND_OP_SUBCLASS, Subclass));
}

IfrWriter &IfrWriter::ActionKeyBegin() {
  return Guid(IFR_ACTION_KEY_BEGIN_GUID);
}

IfrWriter &IfrWriter::ActionKeyEnd() {
  return Guid(IFR_ACTION_KEY_END_GUID);
}

IfrWriter &IfrWriter::Security(const EFI_GUID &Permissions) {
  std::vector<uint8_t> Body;
  PutGuid(Body, Permissions);
  return Raw(EFI_IFR_SECURITY_OP, Body);
}

} // namespace morvane::kit
