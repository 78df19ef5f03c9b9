#include "support/print.h"

#include "support/arith.h"

#include "support/poison.h"

PRINT_PROTOCOL PrintInterface = {FormatToBuffer};

namespace {

const CHAR16 NullStringText[] = u"<null string>";

// Where the arguments come from: 32-bit slots (FormatToBuffer) or a va_list (FormatText).
struct ArgumentSource {
  const UINT32 *Slots;
  va_list *List;

  UINT32 Next32() {
    if (Slots != nullptr) {
      return *Slots++;
    }
    return va_arg(*List, UINT32);
  }

  UINT64 Next64() {
    if (Slots != nullptr) {
      UINT64 Low = *Slots++;
      UINT64 High = *Slots++;
      return Low | (High << 32);
    }
    return va_arg(*List, UINT64);
  }

  UINTN NextWord() {
    if (Slots != nullptr) {
      UINTN Value = 0;
      for (UINTN Index = 0; Index < sizeof(UINTN) / sizeof(UINT32); Index++) {
        Value |= static_cast<UINTN>(*Slots++) << (32 * Index);
      }
      return Value;
    }
    return va_arg(*List, UINTN);
  }

  const VOID *NextPointer() {
    if (Slots != nullptr) {
      return reinterpret_cast<const VOID *>(NextWord());
    }
    return va_arg(*List, const VOID *);
  }
};

// The output side: never writes at or past Limit, which leaves room for the terminator.
struct Output {
  CHAR16 *Buffer;
  UINTN Limit;
  UINTN Count;

  bool Full() const { return Count >= Limit; }

  void Put(CHAR16 Character) {
    if (Count < Limit) {
      Buffer[Count++] = Character;
    }
  }

  // Returns the characters taken from Text.
  UINTN PutText(const CHAR16 *Text) {
    UINTN Taken = 0;
    while (Text[Taken] != 0 && Count < Limit) {
      Buffer[Count++] = Text[Taken++];
    }
    return Taken;
  }

  UINTN PutAscii(const CHAR8 *Text) {
    UINTN Taken = 0;
    while (Text[Taken] != 0 && Count < Limit) {
      Buffer[Count++] = static_cast<UINT8>(Text[Taken++]);
    }
    return Taken;
  }

  void PadTo(UINTN Written, UINTN Width) {
    while (Written < Width && Count < Limit) {
      Buffer[Count++] = u' ';
      Written++;
    }
  }
};

UINTN ReverseInto(CHAR16 *Out, const CHAR16 *Reversed, UINTN Length) {
  for (UINTN Index = 0; Index < Length; Index++) {
    Out[Index] = Reversed[Length - 1 - Index];
  }
  Out[Length] = 0;
  return Length;
}

UINTN FormatCore(CHAR16 *Buffer, UINTN BufferSize, const CHAR16 *Format, ArgumentSource &Arguments);

UINTN FormatWithSlots(CHAR16 *Buffer, UINTN BufferSize, const CHAR16 *Format, ...) {
  va_list List;
  va_start(List, Format);
  ArgumentSource Source = {nullptr, &List};
  UINTN Written = FormatCore(Buffer, BufferSize, Format, Source);
  va_end(List);
  return Written;
}

UINTN FormatCore(CHAR16 *Buffer, UINTN BufferSize, const CHAR16 *Format,
                 ArgumentSource &Arguments) {
  if (Buffer == nullptr || BufferSize < sizeof(CHAR16)) {
    return 0;
  }
  Output Out = {Buffer, BufferSize / sizeof(CHAR16) - 1, 0};
  if (Format == nullptr) {
    Buffer[0] = 0;
    return 1;
  }

  while (*Format != 0 && !Out.Full()) {
    if (*Format != u'%') {
      if (*Format == u'\n' && Out.Count + 1 < Out.Limit) {
        Out.Put(u'\r');
        Out.Put(u'\n');
      } else {
        Out.Put(*Format);
      }
      Format++;
      continue;
    }

    Format++;
    UINTN Flags = 0;
    UINTN Width = 0;
    for (;;) {
      CHAR16 Character = *Format;
      if (Character == u'-') {
        Flags |= PRINT_FLAG_NO_PAD;
      } else if (Character == u' ') {
        Flags |= PRINT_FLAG_BLANK;
      } else if (Character == u'+') {
        Flags |= PRINT_FLAG_PLUS;
      } else if (Character == u',') {
        Flags |= PRINT_FLAG_COMMA;
      } else if (Character == u'*') {
        Width = Arguments.Next32();
      } else if (Character >= u'0' && Character <= u'9') {
        if (Character == u'0') {
          Flags |= PRINT_FLAG_ZERO_PAD;
        }
        Width = 0;
        while (*Format >= u'0' && *Format <= u'9') {
          // A width this large pads past any buffer anyway; keep the arithmetic bounded.
          if (Width < 0x10000) {
            Width = Width * 10 + (*Format - u'0');
          }
          Format++;
        }
        continue;
      } else if (Character == u'l' || Character == u'L') {
        Flags |= PRINT_FLAG_LONG;
      } else {
        break;
      }
      Format++;
    }

    CHAR16 Conversion = *Format;
    if (Conversion == 0) {
      break;
    }
    Format++;

    CHAR16 Scratch[64];
    switch (Conversion) {
    case u'd': {
      INT64 Value = (Flags & PRINT_FLAG_LONG) != 0 ? static_cast<INT64>(Arguments.Next64())
                                                   : static_cast<INT32>(Arguments.Next32());
      FormatDecimal(Scratch, Value, Flags, Width);
      Out.PutText(Scratch);
      break;
    }
    case u'X':
      Flags |= PRINT_FLAG_ZERO_PAD;
      Width = 16;
      [[fallthrough]];
    case u'x': {
      UINT64 Value = (Flags & PRINT_FLAG_LONG) != 0 ? Arguments.Next64() : Arguments.Next32();
      FormatHex(Scratch, Value, Flags, Width);
      Out.PutText(Scratch);
      break;
    }
    case u's':
    case u'S': {
      const CHAR16 *Text = static_cast<const CHAR16 *>(Arguments.NextPointer());
      UINTN Written = Out.PutText(Text != nullptr ? Text : NullStringText);
      Out.PadTo(Written, Width);
      break;
    }
    case u'a': {
      const CHAR8 *Text = static_cast<const CHAR8 *>(Arguments.NextPointer());
      UINTN Written = Text != nullptr ? Out.PutAscii(Text) : Out.PutText(NullStringText);
      Out.PadTo(Written, Width);
      break;
    }
    case u'c':
      Out.Put(static_cast<CHAR16>(Arguments.Next32() & 0xFFFF));
      break;
    case u'g': {
      const EFI_GUID *Guid = static_cast<const EFI_GUID *>(Arguments.NextPointer());
      if (Guid != nullptr) {
        FormatWithSlots(
            Scratch, sizeof(Scratch), u"%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x",
            Guid->Data1, Guid->Data2, Guid->Data3, Guid->Data4[0], Guid->Data4[1], Guid->Data4[2],
            Guid->Data4[3], Guid->Data4[4], Guid->Data4[5], Guid->Data4[6], Guid->Data4[7]);
        Out.PutText(Scratch);
      }
      break;
    }
    case u't': {
      const EFI_TIME *Time = static_cast<const EFI_TIME *>(Arguments.NextPointer());
      if (Time != nullptr) {
        FormatWithSlots(Scratch, sizeof(Scratch), u"%02d/%02d/%04d  %02d:%02d", Time->Month,
                        Time->Day, Time->Year, Time->Hour, Time->Minute);
        Out.PutText(Scratch);
      }
      break;
    }
    case u'r':
      PrintStatusWord(static_cast<EFI_STATUS>(Arguments.NextWord()), Scratch, sizeof(Scratch));
      Out.PutText(Scratch);
      break;
    default:
      Out.Put(Conversion);
      break;
    }
  }

  Buffer[Out.Count] = 0;
  return Out.Count + 1;
}

struct StatusWord {
  EFI_STATUS Status;
  const CHAR8 *Word;
};

const StatusWord StatusWords[] = {
    {EFI_SUCCESS, "Success"},
    {EFI_LOAD_ERROR, "Load Error"},
    {EFI_INVALID_PARAMETER, "Invalid Parameter"},
    {EFI_UNSUPPORTED, "Unsupported"},
    {EFI_BAD_BUFFER_SIZE, "Bad Buffer Size"},
    {EFI_BUFFER_TOO_SMALL, "Buffer Too Small"},
    {EFI_NOT_READY, "Not Ready"},
    {EFI_DEVICE_ERROR, "Device Error"},
    {EFI_WRITE_PROTECTED, "Write Protected"},
    {EFI_OUT_OF_RESOURCES, "Out of Resources"},
    {EFI_VOLUME_CORRUPTED, "Volume Corrupt"},
    {EFI_VOLUME_FULL, "Volume Full"},
    {EFI_NO_MEDIA, "No Media"},
    {EFI_MEDIA_CHANGED, "Media changed"},
    {EFI_NOT_FOUND, "Not Found"},
    {EFI_ACCESS_DENIED, "Access Denied"},
    {EFI_NO_RESPONSE, "No Response"},
    {EFI_NO_MAPPING, "No mapping"},
    {EFI_TIMEOUT, "Time out"},
    {EFI_NOT_STARTED, "Not started"},
    {EFI_ALREADY_STARTED, "Already started"},
    {EFI_ABORTED, "Aborted"},
    {EFI_ICMP_ERROR, "ICMP Error"},
    {EFI_TFTP_ERROR, "TFTP Error"},
    {EFI_PROTOCOL_ERROR, "Protocol Error"},
    {EFI_WARN_UNKNOWN_GLYPH, "Warning Unknown Glyph"},
    {EFI_WARN_DELETE_FAILURE, "Warning Delete Failure"},
    {EFI_WARN_WRITE_FAILURE, "Warning Write Failure"},
    {EFI_WARN_BUFFER_TOO_SMALL, "Warning Buffer Too Small"},
};

} // namespace

UINTN FormatHex(CHAR16 *Out, UINT64 Value, UINTN Flags, UINTN Width) {
  if (Width > PRINT_MAX_WIDTH) {
    Width = PRINT_MAX_WIDTH;
  }
  CHAR16 Reversed[PRINT_SCRATCH_CHARACTERS];
  UINTN Length = 0;
  do {
    Reversed[Length++] = u"0123456789ABCDEF"[Value & 0x0F];
    Value = ShiftRight64(Value, 4);
  } while (Value != 0 && (Width == 0 || Length < Width));
  if ((Flags & PRINT_FLAG_NO_PAD) == 0) {
    CHAR16 Pad = (Flags & PRINT_FLAG_ZERO_PAD) != 0 ? u'0' : u' ';
    while (Length < Width) {
      Reversed[Length++] = Pad;
    }
  }
  return ReverseInto(Out, Reversed, Length);
}

UINTN FormatDecimal(CHAR16 *Out, INT64 Value, UINTN Flags, UINTN Width) {
  if (Width > PRINT_MAX_WIDTH) {
    Width = PRINT_MAX_WIDTH;
  }
  bool Negative = Value < 0;
  UINT64 Magnitude = Negative ? 0 - static_cast<UINT64>(Value) : static_cast<UINT64>(Value);
  CHAR16 Reversed[PRINT_SCRATCH_CHARACTERS];
  UINTN Length = 0;
  // The sign counts towards the width from the start.
  UINTN Counted = Negative ? 1 : 0;
  UINTN DigitsInGroup = 0;
  for (;;) {
    UINT32 Digit;
    Magnitude = Divide64By32(Magnitude, 10, &Digit);
    Reversed[Length++] = static_cast<CHAR16>(u'0' + Digit);
    Counted++;
    DigitsInGroup++;
    if (Magnitude == 0 || (Width != 0 && Counted >= Width)) {
      break;
    }
    if ((Flags & PRINT_FLAG_COMMA) != 0 && DigitsInGroup == 3) {
      Reversed[Length++] = u',';
      Counted++;
      DigitsInGroup = 0;
      if (Width != 0 && Counted >= Width) {
        break;
      }
    }
  }
  bool Pad = (Flags & PRINT_FLAG_NO_PAD) == 0 && Counted < Width;
  if (Pad && (Flags & PRINT_FLAG_ZERO_PAD) != 0) {
    // Zeros go between the sign and the digits.
    while (Counted < Width) {
      Reversed[Length++] = u'0';
      Counted++;
    }
  }
  if (Negative) {
    Reversed[Length++] = u'-';
  }
  if (Pad) {
    while (Counted < Width) {
      Reversed[Length++] = u' ';
      Counted++;
    }
  }
  return ReverseInto(Out, Reversed, Length);
}

UINT32 StatusCode32(EFI_STATUS Status) {
  UINT32 Code = static_cast<UINT32>(Status & 0x7FFFFFFF);
  return EFI_ERROR(Status) ? (Code | 0x80000000u) : Code;
}

UINTN PrintStatusWord(EFI_STATUS Status, CHAR16 *Buffer, UINTN BufferSize) {
  UINTN Written = 0;
  bool Known = false;
  for (const StatusWord &Entry : StatusWords) {
    if (Entry.Status == Status) {
      Written = FormatWithSlots(Buffer, BufferSize, u"%a", Entry.Word);
      Known = true;
      break;
    }
  }
  if (!Known) {
    Written = FormatWithSlots(Buffer, BufferSize, u"%X", StatusCode32(Status));
  }
  return Written > 0 ? Written - 1 : 0;
}

UINTN EFIAPI FormatToBuffer(CHAR16 *Buffer, UINTN BufferSize, const CHAR16 *Format,
                            const VOID *Arguments) {
  ArgumentSource Source = {static_cast<const UINT32 *>(Arguments), nullptr};
  return FormatCore(Buffer, BufferSize, Format, Source);
}

UINTN FormatTextV(CHAR16 *Buffer, UINTN BufferSize, const CHAR16 *Format, va_list Arguments) {
  // A va_list parameter may be an array type; work on a local copy to take its address.
  va_list List;
  va_copy(List, Arguments);
  ArgumentSource Source = {nullptr, &List};
  UINTN Written = FormatCore(Buffer, BufferSize, Format, Source);
  va_end(List);
  return Written;
}

UINTN FormatText(CHAR16 *Buffer, UINTN BufferSize, const CHAR16 *Format, ...) {
  va_list List;
  va_start(List, Format);
  UINTN Written = FormatTextV(Buffer, BufferSize, Format, List);
  va_end(List);
  return Written;
}
