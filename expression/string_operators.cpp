#include "expression/string_operators.h"

#include "core/hii_strings.h"
#include "expression/expression.h"
#include "support/hex.h"
#include "support/memory.h"
#include "support/print.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

constexpr UINT64 AllOnes = ~static_cast<UINT64>(0);

// A resolved string operand, freed on every way out.
struct Text {
  CHAR16 *Chars = nullptr;
  ~Text() { FreePoolIfSet(Chars); }
};

EFI_STATUS PopIndex(ValueStack *Stack, UINT32 *Index) {
  HiiValue Value;
  EFI_STATUS Status = PopValue(Stack, &Value);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Value.Type > EFI_IFR_TYPE_NUM_SIZE_64) {
    return EFI_UNSUPPORTED;
  }
  *Index = static_cast<UINT32>(HiiValueNumber(&Value));
  return EFI_SUCCESS;
}

EFI_STATUS PopString(FormSet *Set, ValueStack *Stack, Text *Out) {
  HiiValue Value;
  EFI_STATUS Status = PopValue(Stack, &Value);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Value.Type != EFI_IFR_TYPE_STRING) {
    return EFI_UNSUPPORTED;
  }
  Out->Chars = GetHiiString(HiiValueStringId(&Value), Set->HiiHandle);
  return Out->Chars == nullptr ? EFI_NOT_FOUND : EFI_SUCCESS;
}

void SetNewString(FormSet *Set, const CHAR16 *Chars, HiiValue *Result) {
  SetHiiValueNumber(Result, EFI_IFR_TYPE_STRING, NewHiiString(Chars, Set->HiiHandle));
}

EFI_STATUS ToString(FormSet *Set, UINT8 Format, ValueStack *Stack, HiiValue *Result) {
  HiiValue Value;
  EFI_STATUS Status = PopValue(Stack, &Value);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  CHAR16 Buffer[30];
  if (Value.Type <= EFI_IFR_TYPE_NUM_SIZE_64) {
    const CHAR16 *Pattern;
    switch (Format) {
    case EFI_IFR_STRING_UNSIGNED_DEC:
    case EFI_IFR_STRING_SIGNED_DEC:
      Pattern = u"%ld";
      break;
    case EFI_IFR_STRING_LOWERCASE_HEX:
    case EFI_IFR_STRING_UPPERCASE_HEX:
      // The print engine's "%X" pads to sixteen digits; the text of a number has none to spare.
      Pattern = u"%lx";
      break;
    default:
      return EFI_UNSUPPORTED;
    }
    FormatText(Buffer, sizeof(Buffer), Pattern, HiiValueNumber(&Value));
  } else if (Value.Type == EFI_IFR_TYPE_BOOLEAN) {
    StrCopy(Buffer, HiiValueIsTrue(&Value) ? u"True" : u"False");
  } else if (Value.Type == EFI_IFR_TYPE_STRING) {
    *Result = Value;
    return EFI_SUCCESS;
  } else {
    return EFI_UNSUPPORTED;
  }
  SetNewString(Set, Buffer, Result);
  return EFI_SUCCESS;
}

EFI_STATUS ToUint(FormSet *Set, ValueStack *Stack, HiiValue *Result) {
  HiiValue Value;
  EFI_STATUS Status = PopValue(Stack, &Value);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Value.Type >= EFI_IFR_TYPE_OTHER) {
    return EFI_UNSUPPORTED;
  }
  if (Value.Type != EFI_IFR_TYPE_STRING) {
    *Result = Value;
    Result->Type = EFI_IFR_TYPE_NUM_SIZE_64;
    return EFI_SUCCESS;
  }
  Text String;
  String.Chars = GetHiiString(HiiValueStringId(&Value), Set->HiiHandle);
  if (String.Chars == nullptr) {
    return EFI_NOT_FOUND;
  }
  UppercaseAscii(String.Chars);
  UINT64 Number = 0;
  // Only a hexadecimal text with its prefix is converted; a decimal text gives 0.
  const CHAR16 *Prefix = StrFind(String.Chars, u"0X");
  if (Prefix != nullptr) {
    UINT8 Bytes[8] = {};
    UINTN Size = sizeof(Bytes);
    Status = HexTextToBytes(Bytes, &Size, Prefix + 2, nullptr);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    Number = ReadUnaligned64(Bytes);
  }
  SetHiiValueNumber(Result, EFI_IFR_TYPE_NUM_SIZE_64, Number);
  return EFI_SUCCESS;
}

EFI_STATUS ToBoolean(FormSet *Set, ValueStack *Stack, HiiValue *Result) {
  HiiValue Value;
  EFI_STATUS Status = PopValue(Stack, &Value);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Value.Type <= EFI_IFR_TYPE_DATE) {
    SetHiiValueNumber(Result, EFI_IFR_TYPE_BOOLEAN, HiiValueNumber(&Value) != 0 ? 1 : 0);
  } else if (Value.Type == EFI_IFR_TYPE_STRING) {
    Text String;
    String.Chars = GetHiiString(HiiValueStringId(&Value), Set->HiiHandle);
    if (String.Chars == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    SetHiiValueNumber(Result, EFI_IFR_TYPE_BOOLEAN, StrCompare(String.Chars, u"true") == 0 ? 1 : 0);
  } else {
    *Result = Value;
  }
  return EFI_SUCCESS;
}

EFI_STATUS Catenate(FormSet *Set, ValueStack *Stack, HiiValue *Result) {
  Text Right;
  Text Left;
  EFI_STATUS Status = PopString(Set, Stack, &Right);
  if (!EFI_ERROR(Status)) {
    Status = PopString(Set, Stack, &Left);
  }
  if (EFI_ERROR(Status)) {
    return Status;
  }
  UINTN Size = StrSize(Left.Chars) + StrLength(Right.Chars) * sizeof(CHAR16);
  Text Joined;
  Joined.Chars = static_cast<CHAR16 *>(AllocatePoolOf(Size));
  if (Joined.Chars == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  StrCopy(Joined.Chars, Left.Chars);
  StrAppend(Joined.Chars, Right.Chars);
  SetNewString(Set, Joined.Chars, Result);
  return EFI_SUCCESS;
}

EFI_STATUS Match(FormSet *Set, ValueStack *Stack, HiiValue *Result) {
  EFI_STATUS Status = EnsureCollation();
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Text String;
  Text Pattern;
  Status = PopString(Set, Stack, &String);
  if (!EFI_ERROR(Status)) {
    Status = PopString(Set, Stack, &Pattern);
  }
  if (EFI_ERROR(Status)) {
    return Status;
  }
  BOOLEAN Matched = CollationProtocol->MetaiMatch(CollationProtocol, String.Chars, Pattern.Chars);
  SetHiiValueNumber(Result, EFI_IFR_TYPE_BOOLEAN, Matched ? 1 : 0);
  return EFI_SUCCESS;
}

EFI_STATUS Find(FormSet *Set, UINT8 Format, ValueStack *Stack, HiiValue *Result) {
  if (Format > EFI_IFR_FF_CASE_INSENSITIVE) {
    return EFI_UNSUPPORTED;
  }
  UINT32 Start = 0;
  EFI_STATUS Status = PopIndex(Stack, &Start);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Text Wanted;
  Text Haystack;
  Status = PopString(Set, Stack, &Wanted);
  if (!EFI_ERROR(Status)) {
    Status = PopString(Set, Stack, &Haystack);
  }
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Format == EFI_IFR_FF_CASE_INSENSITIVE) {
    UppercaseAscii(Wanted.Chars);
    UppercaseAscii(Haystack.Chars);
  }
  UINT64 Position = AllOnes;
  if (Start < StrLength(Haystack.Chars)) {
    const CHAR16 *Found = StrFind(Haystack.Chars + Start, Wanted.Chars);
    if (Found != nullptr) {
      Position = static_cast<UINT64>(Found - Haystack.Chars);
    }
  }
  SetHiiValueNumber(Result, EFI_IFR_TYPE_NUM_SIZE_64, Position);
  return EFI_SUCCESS;
}

EFI_STATUS Mid(FormSet *Set, ValueStack *Stack, HiiValue *Result) {
  UINT32 Length = 0;
  UINT32 Position = 0;
  EFI_STATUS Status = PopIndex(Stack, &Length);
  if (!EFI_ERROR(Status)) {
    Status = PopIndex(Stack, &Position);
  }
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Text String;
  Status = PopString(Set, Stack, &String);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  UINTN Total = StrLength(String.Chars);
  if (Length == 0 || Position >= Total) {
    SetNewString(Set, u"", Result);
    return EFI_SUCCESS;
  }
  CHAR16 *Start = String.Chars + Position;
  if (static_cast<UINTN>(Position) + Length < Total) {
    Start[Length] = 0;
  }
  SetNewString(Set, Start, Result);
  return EFI_SUCCESS;
}

EFI_STATUS Token(FormSet *Set, ValueStack *Stack, HiiValue *Result) {
  UINT32 Index = 0;
  EFI_STATUS Status = PopIndex(Stack, &Index);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Text Delimiter;
  Text String;
  Status = PopString(Set, Stack, &Delimiter);
  if (!EFI_ERROR(Status)) {
    Status = PopString(Set, Stack, &String);
  }
  if (EFI_ERROR(Status)) {
    return Status;
  }
  UINTN DelimiterLength = StrLength(Delimiter.Chars);
  CHAR16 *Cursor = String.Chars;
  for (UINT32 Step = 0; Step < Index; Step++) {
    CHAR16 *Found = StrFind(Cursor, Delimiter.Chars);
    if (Found == nullptr) {
      SetNewString(Set, u"", Result);
      return EFI_SUCCESS;
    }
    Cursor = Found + DelimiterLength;
  }
  CHAR16 *End = StrFind(Cursor, Delimiter.Chars);
  if (End != nullptr) {
    *End = 0;
  }
  SetNewString(Set, Cursor, Result);
  return EFI_SUCCESS;
}

EFI_STATUS Span(FormSet *Set, UINT8 Flags, ValueStack *Stack, HiiValue *Result) {
  UINT32 Start = 0;
  EFI_STATUS Status = PopIndex(Stack, &Start);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Text Charset;
  Text String;
  Status = PopString(Set, Stack, &Charset);
  if (!EFI_ERROR(Status)) {
    Status = PopString(Set, Stack, &String);
  }
  if (EFI_ERROR(Status)) {
    return Status;
  }
  UINTN Length = StrLength(String.Chars);
  if (Start >= Length) {
    return EFI_UNSUPPORTED;
  }
  // Pairs of low and high code units; a last low end without its high end is no pair.
  UINTN Pairs = StrLength(Charset.Chars) / 2;
  UINTN Position = Start;
  for (; Position < Length; Position++) {
    CHAR16 Character = String.Chars[Position];
    bool Stop = false;
    for (UINTN Pair = 0; Pair < Pairs && !Stop; Pair++) {
      bool Inside =
          Character >= Charset.Chars[2 * Pair] && Character <= Charset.Chars[2 * Pair + 1];
      Stop = (Flags == EFI_IFR_FLAGS_FIRST_MATCHING && Inside) ||
             (Flags == EFI_IFR_FLAGS_FIRST_NON_MATCHING && !Inside);
    }
    if (Stop) {
      break;
    }
  }
  SetHiiValueNumber(Result, EFI_IFR_TYPE_NUM_SIZE_64, Position);
  return EFI_SUCCESS;
}

} // namespace

void UppercaseAscii(CHAR16 *String) {
  for (; *String != 0; String++) {
    if (*String >= 0x61 && *String <= 0x7A) {
      *String = static_cast<CHAR16>(*String & ~0x20);
    }
  }
}

EFI_STATUS PerformStringOperator(FormSet *Set, const ExpressionOpcode *Op, ValueStack *Stack,
                                 HiiValue *Result) {
  switch (Op->Opcode) {
  case EFI_IFR_TO_STRING_OP:
    return ToString(Set, Op->Format, Stack, Result);
  case EFI_IFR_TO_UINT_OP:
    return ToUint(Set, Stack, Result);
  case EFI_IFR_TO_BOOLEAN_OP:
    return ToBoolean(Set, Stack, Result);
  case EFI_IFR_CATENATE_OP:
    return Catenate(Set, Stack, Result);
  case EFI_IFR_MATCH_OP:
    return Match(Set, Stack, Result);
  case EFI_IFR_FIND_OP:
    return Find(Set, Op->Format, Stack, Result);
  case EFI_IFR_MID_OP:
    return Mid(Set, Stack, Result);
  case EFI_IFR_TOKEN_OP:
    return Token(Set, Stack, Result);
  case EFI_IFR_SPAN_OP:
    return Span(Set, Op->Flags, Stack, Result);
  default:
    return EFI_UNSUPPORTED;
  }
}
