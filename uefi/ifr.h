// Internal Forms Representation: opcodes, flags and the packed opcode structures
// (UEFI specification section 33.3.8 "Forms Package" and 33.3.8.3 "IFR Opcodes").
#pragma once

#include "uefi/base.h"

typedef UINT16 EFI_STRING_ID;
typedef UINT16 EFI_IMAGE_ID;
typedef UINT16 EFI_QUESTION_ID;
typedef UINT16 EFI_FORM_ID;
typedef UINT16 EFI_VARSTORE_ID;
typedef UINT16 EFI_DEFAULT_ID;
typedef UINT16 EFI_ANIMATION_ID;

// Opcodes.
#define EFI_IFR_FORM_OP 0x01
#define EFI_IFR_SUBTITLE_OP 0x02
#define EFI_IFR_TEXT_OP 0x03
#define EFI_IFR_IMAGE_OP 0x04
#define EFI_IFR_ONE_OF_OP 0x05
#define EFI_IFR_CHECKBOX_OP 0x06
#define EFI_IFR_NUMERIC_OP 0x07
#define EFI_IFR_PASSWORD_OP 0x08
#define EFI_IFR_ONE_OF_OPTION_OP 0x09
#define EFI_IFR_SUPPRESS_IF_OP 0x0A
#define EFI_IFR_LOCKED_OP 0x0B
#define EFI_IFR_ACTION_OP 0x0C
#define EFI_IFR_RESET_BUTTON_OP 0x0D
#define EFI_IFR_FORM_SET_OP 0x0E
#define EFI_IFR_REF_OP 0x0F
#define EFI_IFR_NO_SUBMIT_IF_OP 0x10
#define EFI_IFR_INCONSISTENT_IF_OP 0x11
#define EFI_IFR_EQ_ID_VAL_OP 0x12
#define EFI_IFR_EQ_ID_ID_OP 0x13
#define EFI_IFR_EQ_ID_VAL_LIST_OP 0x14
#define EFI_IFR_AND_OP 0x15
#define EFI_IFR_OR_OP 0x16
#define EFI_IFR_NOT_OP 0x17
#define EFI_IFR_RULE_OP 0x18
#define EFI_IFR_GRAY_OUT_IF_OP 0x19
#define EFI_IFR_DATE_OP 0x1A
#define EFI_IFR_TIME_OP 0x1B
#define EFI_IFR_STRING_OP 0x1C
#define EFI_IFR_REFRESH_OP 0x1D
#define EFI_IFR_DISABLE_IF_OP 0x1E
#define EFI_IFR_ANIMATION_OP 0x1F
#define EFI_IFR_TO_LOWER_OP 0x20
#define EFI_IFR_TO_UPPER_OP 0x21
#define EFI_IFR_MAP_OP 0x22
#define EFI_IFR_ORDERED_LIST_OP 0x23
#define EFI_IFR_VARSTORE_OP 0x24
#define EFI_IFR_VARSTORE_NAME_VALUE_OP 0x25
#define EFI_IFR_VARSTORE_EFI_OP 0x26
#define EFI_IFR_VARSTORE_DEVICE_OP 0x27
#define EFI_IFR_VERSION_OP 0x28
#define EFI_IFR_END_OP 0x29
#define EFI_IFR_MATCH_OP 0x2A
#define EFI_IFR_GET_OP 0x2B
#define EFI_IFR_SET_OP 0x2C
#define EFI_IFR_READ_OP 0x2D
#define EFI_IFR_WRITE_OP 0x2E
#define EFI_IFR_EQUAL_OP 0x2F
#define EFI_IFR_NOT_EQUAL_OP 0x30
#define EFI_IFR_GREATER_THAN_OP 0x31
#define EFI_IFR_GREATER_EQUAL_OP 0x32
#define EFI_IFR_LESS_THAN_OP 0x33
#define EFI_IFR_LESS_EQUAL_OP 0x34
#define EFI_IFR_BITWISE_AND_OP 0x35
#define EFI_IFR_BITWISE_OR_OP 0x36
#define EFI_IFR_BITWISE_NOT_OP 0x37
#define EFI_IFR_SHIFT_LEFT_OP 0x38
#define EFI_IFR_SHIFT_RIGHT_OP 0x39
#define EFI_IFR_ADD_OP 0x3A
#define EFI_IFR_SUBTRACT_OP 0x3B
#define EFI_IFR_MULTIPLY_OP 0x3C
#define EFI_IFR_DIVIDE_OP 0x3D
#define EFI_IFR_MODULO_OP 0x3E
#define EFI_IFR_RULE_REF_OP 0x3F
#define EFI_IFR_QUESTION_REF1_OP 0x40
#define EFI_IFR_QUESTION_REF2_OP 0x41
#define EFI_IFR_UINT8_OP 0x42
#define EFI_IFR_UINT16_OP 0x43
#define EFI_IFR_UINT32_OP 0x44
#define EFI_IFR_UINT64_OP 0x45
#define EFI_IFR_TRUE_OP 0x46
#define EFI_IFR_FALSE_OP 0x47
#define EFI_IFR_TO_UINT_OP 0x48
#define EFI_IFR_TO_STRING_OP 0x49
#define EFI_IFR_TO_BOOLEAN_OP 0x4A
#define EFI_IFR_MID_OP 0x4B
#define EFI_IFR_FIND_OP 0x4C
#define EFI_IFR_TOKEN_OP 0x4D
#define EFI_IFR_STRING_REF1_OP 0x4E
#define EFI_IFR_STRING_REF2_OP 0x4F
#define EFI_IFR_CONDITIONAL_OP 0x50
#define EFI_IFR_QUESTION_REF3_OP 0x51
#define EFI_IFR_ZERO_OP 0x52
#define EFI_IFR_ONE_OP 0x53
#define EFI_IFR_ONES_OP 0x54
#define EFI_IFR_UNDEFINED_OP 0x55
#define EFI_IFR_LENGTH_OP 0x56
#define EFI_IFR_DUP_OP 0x57
#define EFI_IFR_THIS_OP 0x58
#define EFI_IFR_SPAN_OP 0x59
#define EFI_IFR_VALUE_OP 0x5A
#define EFI_IFR_DEFAULT_OP 0x5B
#define EFI_IFR_DEFAULTSTORE_OP 0x5C
#define EFI_IFR_FORM_MAP_OP 0x5D
#define EFI_IFR_CATENATE_OP 0x5E
#define EFI_IFR_GUID_OP 0x5F
#define EFI_IFR_SECURITY_OP 0x60
#define EFI_IFR_MODAL_TAG_OP 0x61
#define EFI_IFR_REFRESH_ID_OP 0x62
#define EFI_IFR_WARNING_IF_OP 0x63
#define EFI_IFR_MATCH2_OP 0x64

// Value types.
#define EFI_IFR_TYPE_NUM_SIZE_8 0x00
#define EFI_IFR_TYPE_NUM_SIZE_16 0x01
#define EFI_IFR_TYPE_NUM_SIZE_32 0x02
#define EFI_IFR_TYPE_NUM_SIZE_64 0x03
#define EFI_IFR_TYPE_BOOLEAN 0x04
#define EFI_IFR_TYPE_TIME 0x05
#define EFI_IFR_TYPE_DATE 0x06
#define EFI_IFR_TYPE_STRING 0x07
#define EFI_IFR_TYPE_OTHER 0x08
#define EFI_IFR_TYPE_UNDEFINED 0x09
#define EFI_IFR_TYPE_ACTION 0x0A
#define EFI_IFR_TYPE_BUFFER 0x0B
#define EFI_IFR_TYPE_REF 0x0C

// Question flags.
#define EFI_IFR_FLAG_READ_ONLY 0x01
#define EFI_IFR_FLAG_CALLBACK 0x04
#define EFI_IFR_FLAG_RESET_REQUIRED 0x10
#define EFI_IFR_FLAG_RECONNECT_REQUIRED 0x40
#define EFI_IFR_FLAG_OPTIONS_ONLY 0x80

// Numeric and one-of flags.
#define EFI_IFR_NUMERIC_SIZE 0x03
#define EFI_IFR_NUMERIC_SIZE_1 0x00
#define EFI_IFR_NUMERIC_SIZE_2 0x01
#define EFI_IFR_NUMERIC_SIZE_4 0x02
#define EFI_IFR_NUMERIC_SIZE_8 0x03
#define EFI_IFR_DISPLAY 0x30
#define EFI_IFR_DISPLAY_INT_DEC 0x00
#define EFI_IFR_DISPLAY_UINT_DEC 0x10
#define EFI_IFR_DISPLAY_UINT_HEX 0x20

#define EFI_IFR_CHECKBOX_DEFAULT 0x01
#define EFI_IFR_CHECKBOX_DEFAULT_MFG 0x02

#define EFI_IFR_OPTION_DEFAULT 0x10
#define EFI_IFR_OPTION_DEFAULT_MFG 0x20

#define EFI_IFR_FLAGS_HORIZONTAL 0x01

#define EFI_IFR_STRING_MULTI_LINE 0x01

#define EFI_IFR_UNIQUE_SET 0x01
#define EFI_IFR_NO_EMPTY_SET 0x02

#define EFI_QF_DATE_YEAR_SUPPRESS 0x01
#define EFI_QF_DATE_MONTH_SUPPRESS 0x02
#define EFI_QF_DATE_DAY_SUPPRESS 0x04
#define EFI_QF_DATE_STORAGE 0x30
#define QF_DATE_STORAGE_NORMAL 0x00
#define QF_DATE_STORAGE_TIME 0x10
#define QF_DATE_STORAGE_WAKEUP 0x20

#define QF_TIME_HOUR_SUPPRESS 0x01
#define QF_TIME_MINUTE_SUPPRESS 0x02
#define QF_TIME_SECOND_SUPPRESS 0x04
#define QF_TIME_STORAGE 0x30
#define QF_TIME_STORAGE_NORMAL 0x00
#define QF_TIME_STORAGE_TIME 0x10
#define QF_TIME_STORAGE_WAKEUP 0x20

#define EFI_IFR_STRING_UNSIGNED_DEC 0
#define EFI_IFR_STRING_SIGNED_DEC 1
#define EFI_IFR_STRING_LOWERCASE_HEX 2
#define EFI_IFR_STRING_UPPERCASE_HEX 3

#define EFI_IFR_FF_CASE_SENSITIVE 0x00
#define EFI_IFR_FF_CASE_INSENSITIVE 0x01

#define EFI_IFR_FLAGS_FIRST_MATCHING 0x00
#define EFI_IFR_FLAGS_FIRST_NON_MATCHING 0x01

// Standard default stores.
#define EFI_HII_DEFAULT_CLASS_STANDARD 0x0000
#define EFI_HII_DEFAULT_CLASS_MANUFACTURING 0x0001
#define EFI_HII_DEFAULT_CLASS_SAFE 0x0002

// Values carried by options, defaults and Callbacks.
#pragma pack(push, 1)
typedef struct {
  UINT8 Hour;
  UINT8 Minute;
  UINT8 Second;
} EFI_HII_TIME;

typedef struct {
  UINT16 Year;
  UINT8 Month;
  UINT8 Day;
} EFI_HII_DATE;

typedef struct {
  EFI_QUESTION_ID QuestionId;
  EFI_FORM_ID FormId;
  EFI_GUID FormSetGuid;
  EFI_STRING_ID DevicePath;
} EFI_HII_REF;

typedef union {
  UINT8 u8;
  UINT16 u16;
  UINT32 u32;
  UINT64 u64;
  BOOLEAN b;
  EFI_HII_TIME time;
  EFI_HII_DATE date;
  EFI_STRING_ID string;
  EFI_HII_REF ref;
} EFI_IFR_TYPE_VALUE;

// Common headers.
typedef struct {
  UINT8 OpCode;
  UINT8 LengthAndScope; // bits 0-6 length of the whole opcode, bit 7 scope
} EFI_IFR_OP_HEADER;

typedef struct {
  EFI_STRING_ID Prompt;
  EFI_STRING_ID Help;
} EFI_IFR_STATEMENT_HEADER;

typedef struct {
  EFI_IFR_STATEMENT_HEADER Header;
  EFI_QUESTION_ID QuestionId;
  EFI_VARSTORE_ID VarStoreId;
  UINT16 VarStoreInfo; // VarName (string id) or VarOffset (byte offset)
  UINT8 Flags;
} EFI_IFR_QUESTION_HEADER;

typedef struct {
  UINT8 MinValue;
  UINT8 MaxValue;
  UINT8 Step;
} EFI_IFR_MINMAXSTEP_U8;
typedef struct {
  UINT16 MinValue;
  UINT16 MaxValue;
  UINT16 Step;
} EFI_IFR_MINMAXSTEP_U16;
typedef struct {
  UINT32 MinValue;
  UINT32 MaxValue;
  UINT32 Step;
} EFI_IFR_MINMAXSTEP_U32;
typedef struct {
  UINT64 MinValue;
  UINT64 MaxValue;
  UINT64 Step;
} EFI_IFR_MINMAXSTEP_U64;

// Opcode structures.
typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_GUID Guid;
  EFI_STRING_ID FormSetTitle;
  EFI_STRING_ID Help;
  UINT8 Flags; // bits 0-1: count of class GUIDs that follow
} EFI_IFR_FORM_SET;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_FORM_ID FormId;
  EFI_STRING_ID FormTitle;
} EFI_IFR_FORM;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_STATEMENT_HEADER Statement;
  UINT8 Flags;
} EFI_IFR_SUBTITLE;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_STATEMENT_HEADER Statement;
  EFI_STRING_ID TextTwo;
} EFI_IFR_TEXT;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IMAGE_ID Id;
} EFI_IFR_IMAGE;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  UINT8 Flags;
  union {
    EFI_IFR_MINMAXSTEP_U8 u8;
    EFI_IFR_MINMAXSTEP_U16 u16;
    EFI_IFR_MINMAXSTEP_U32 u32;
    EFI_IFR_MINMAXSTEP_U64 u64;
  } data;
} EFI_IFR_ONE_OF, EFI_IFR_NUMERIC;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  UINT8 Flags;
} EFI_IFR_CHECKBOX;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  UINT16 MinSize;
  UINT16 MaxSize;
} EFI_IFR_PASSWORD;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_STRING_ID Option;
  UINT8 Flags;
  UINT8 Type;
  EFI_IFR_TYPE_VALUE Value;
} EFI_IFR_ONE_OF_OPTION;

typedef struct {
  EFI_IFR_OP_HEADER Header;
} EFI_IFR_SUPPRESS_IF, EFI_IFR_GRAY_OUT_IF, EFI_IFR_DISABLE_IF, EFI_IFR_LOCKED, EFI_IFR_END,
    EFI_IFR_VALUE, EFI_IFR_VERSION, EFI_IFR_NOT, EFI_IFR_AND, EFI_IFR_OR, EFI_IFR_TRUE,
    EFI_IFR_FALSE, EFI_IFR_ZERO, EFI_IFR_ONE, EFI_IFR_ONES, EFI_IFR_UNDEFINED, EFI_IFR_DUP,
    EFI_IFR_THIS, EFI_IFR_QUESTION_REF2, EFI_IFR_QUESTION_REF3;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  EFI_STRING_ID QuestionConfig;
} EFI_IFR_ACTION;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
} EFI_IFR_ACTION_1;

// The published reset button is a statement with its default id at offset 6; this browser
// reads it as a question with the default id at offset 13, and the authoring kit writes it so.
typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  EFI_DEFAULT_ID DefaultId;
} EFI_IFR_RESET_BUTTON;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  EFI_FORM_ID FormId;
} EFI_IFR_REF;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  EFI_FORM_ID FormId;
  EFI_QUESTION_ID QuestionId;
} EFI_IFR_REF2;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  EFI_FORM_ID FormId;
  EFI_QUESTION_ID QuestionId;
  EFI_GUID FormSetId;
} EFI_IFR_REF3;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  EFI_FORM_ID FormId;
  EFI_QUESTION_ID QuestionId;
  EFI_GUID FormSetId;
  EFI_STRING_ID DevicePath;
} EFI_IFR_REF4;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_STRING_ID Error;
} EFI_IFR_NO_SUBMIT_IF, EFI_IFR_INCONSISTENT_IF;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_QUESTION_ID QuestionId;
  UINT16 Value;
} EFI_IFR_EQ_ID_VAL;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_QUESTION_ID QuestionId1;
  EFI_QUESTION_ID QuestionId2;
} EFI_IFR_EQ_ID_ID;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_QUESTION_ID QuestionId;
  UINT16 ListLength;
  UINT16 ValueList[1];
} EFI_IFR_EQ_ID_VAL_LIST;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  UINT8 RuleId;
} EFI_IFR_RULE, EFI_IFR_RULE_REF;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  UINT8 Flags;
} EFI_IFR_DATE, EFI_IFR_TIME;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  UINT8 MinSize;
  UINT8 MaxSize;
  UINT8 Flags;
} EFI_IFR_STRING;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  UINT8 RefreshInterval;
} EFI_IFR_REFRESH;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  UINT8 MaxContainers;
  UINT8 Flags;
} EFI_IFR_ORDERED_LIST;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_GUID Guid;
  EFI_VARSTORE_ID VarStoreId;
  UINT16 Size;
  UINT8 Name[1];
} EFI_IFR_VARSTORE;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_VARSTORE_ID VarStoreId;
  EFI_GUID Guid;
} EFI_IFR_VARSTORE_NAME_VALUE;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_VARSTORE_ID VarStoreId;
  EFI_GUID Guid;
  UINT32 Attributes;
  UINT16 Size;
  UINT8 Name[1];
} EFI_IFR_VARSTORE_EFI;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_STRING_ID DevicePath;
} EFI_IFR_VARSTORE_DEVICE, EFI_IFR_QUESTION_REF3_2;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_STRING_ID DevicePath;
  EFI_GUID Guid;
} EFI_IFR_QUESTION_REF3_3;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_QUESTION_ID QuestionId;
} EFI_IFR_QUESTION_REF1;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  UINT8 Value;
} EFI_IFR_UINT8;
typedef struct {
  EFI_IFR_OP_HEADER Header;
  UINT16 Value;
} EFI_IFR_UINT16;
typedef struct {
  EFI_IFR_OP_HEADER Header;
  UINT32 Value;
} EFI_IFR_UINT32;
typedef struct {
  EFI_IFR_OP_HEADER Header;
  UINT64 Value;
} EFI_IFR_UINT64;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  UINT8 Format;
} EFI_IFR_TO_STRING, EFI_IFR_FIND;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_STRING_ID StringId;
} EFI_IFR_STRING_REF1;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  UINT8 Flags;
} EFI_IFR_SPAN;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  UINT16 DefaultId;
  UINT8 Type;
  EFI_IFR_TYPE_VALUE Value;
} EFI_IFR_DEFAULT;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_STRING_ID DefaultName;
  UINT16 DefaultId;
} EFI_IFR_DEFAULTSTORE;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_GUID Guid;
} EFI_IFR_GUID;

typedef struct {
  EFI_IFR_OP_HEADER Header;
  EFI_GUID Permissions;
} EFI_IFR_SECURITY;
#pragma pack(pop)

// Offsets the browser reads, checked against the published layouts.
static_assert(sizeof(EFI_IFR_QUESTION_HEADER) == 11);
static_assert(offsetof(EFI_IFR_CHECKBOX, Question) +
                  offsetof(EFI_IFR_QUESTION_HEADER, QuestionId) ==
              6);
static_assert(offsetof(EFI_IFR_CHECKBOX, Question) +
                  offsetof(EFI_IFR_QUESTION_HEADER, VarStoreId) ==
              8);
static_assert(offsetof(EFI_IFR_CHECKBOX, Question) +
                  offsetof(EFI_IFR_QUESTION_HEADER, VarStoreInfo) ==
              10);
static_assert(offsetof(EFI_IFR_CHECKBOX, Question) + offsetof(EFI_IFR_QUESTION_HEADER, Flags) ==
              12);
static_assert(sizeof(EFI_IFR_FORM_SET) == 23);
static_assert(offsetof(EFI_IFR_FORM_SET, FormSetTitle) == 18);
static_assert(sizeof(EFI_IFR_FORM) == 6);
static_assert(sizeof(EFI_IFR_SUBTITLE) == 7);
static_assert(sizeof(EFI_IFR_TEXT) == 8);
static_assert(offsetof(EFI_IFR_NUMERIC, data) == 14);
static_assert(sizeof(EFI_IFR_CHECKBOX) == 14);
static_assert(sizeof(EFI_IFR_PASSWORD) == 17);
static_assert(offsetof(EFI_IFR_ONE_OF_OPTION, Value) == 6);
static_assert(sizeof(EFI_IFR_ACTION) == 15);
static_assert(sizeof(EFI_IFR_ACTION_1) == 13);
static_assert(sizeof(EFI_IFR_REF) == 15);
static_assert(sizeof(EFI_IFR_REF2) == 17);
static_assert(sizeof(EFI_IFR_REF3) == 33);
static_assert(sizeof(EFI_IFR_REF4) == 35);
static_assert(sizeof(EFI_IFR_STRING) == 16);
static_assert(sizeof(EFI_IFR_ORDERED_LIST) == 15);
static_assert(sizeof(EFI_IFR_DATE) == 14);
static_assert(offsetof(EFI_IFR_VARSTORE, Name) == 22);
static_assert(sizeof(EFI_IFR_VARSTORE_NAME_VALUE) == 20);
static_assert(offsetof(EFI_IFR_VARSTORE_EFI, Attributes) == 20);
static_assert(offsetof(EFI_IFR_VARSTORE_EFI, Name) == 26);
static_assert(offsetof(EFI_IFR_DEFAULT, Value) == 5);
static_assert(sizeof(EFI_IFR_DEFAULTSTORE) == 6);
static_assert(sizeof(EFI_IFR_GUID) == 18);
static_assert(sizeof(EFI_IFR_QUESTION_REF3_3) == 20);
static_assert(sizeof(EFI_HII_REF) == 22);
