// The print engine: the one formatter of the driver, also published as PrintProtocol.
//
// Format language (UCS-2):
//   %d %x %X %s %S %a %c %g %t %r %%   conversions
//   - + blank , * 0 1-9 l L            flags and width, in any order before the conversion
// Numbers are right-aligned in their width (at most 29 characters) with blanks, or with zeros
// under a leading "0"; a "-" turns padding off altogether. "%x" prints upper-case digits; "%X"
// always prints 16 digits. A line feed in the format comes out as carriage return and line feed.
#pragma once

#include <stdarg.h>

#include "uefi/base.h"

#define PRINT_PROTOCOL_GUID                                                                        \
  {                                                                                                \
    0xdf2d868e, 0x32fc, 0x4cf0, {                                                                  \
      0x8e, 0x6b, 0xff, 0xd9, 0x5d, 0x13, 0x43, 0xd0                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gPrintProtocolGuid = PRINT_PROTOCOL_GUID;

// Flags of a conversion.
#define PRINT_FLAG_NO_PAD 0x01
#define PRINT_FLAG_PLUS 0x02
#define PRINT_FLAG_BLANK 0x04
#define PRINT_FLAG_COMMA 0x08
#define PRINT_FLAG_LONG 0x10
#define PRINT_FLAG_ZERO_PAD 0x20

// Numbers are built in a scratch area of this many characters, so a field is one less.
#define PRINT_SCRATCH_CHARACTERS 30
#define PRINT_MAX_WIDTH 29

// Formats into Buffer (BufferSize in bytes) from a list of 32-bit argument slots: an ordinary
// argument takes one slot, an "l" number two (low half first), and a pointer or a status as
// many as its width needs (two on a 64-bit build). Returns the characters written, the
// terminator counted. Allocates nothing.
typedef UINTN(EFIAPI *PRINT_FORMAT_TO_BUFFER)(CHAR16 *Buffer, UINTN BufferSize,
                                              const CHAR16 *Format, const VOID *Arguments);

// The interface holds one function and takes no This.
struct PRINT_PROTOCOL {
  PRINT_FORMAT_TO_BUFFER FormatToBuffer;
};

UINTN EFIAPI FormatToBuffer(CHAR16 *Buffer, UINTN BufferSize, const CHAR16 *Format,
                            const VOID *Arguments);
// The variadic form: %d %x %c and * take an int (UINT32), "l" numbers a UINT64, %s %S %a %g %t
// a pointer, %r an EFI_STATUS.
UINTN FormatText(CHAR16 *Buffer, UINTN BufferSize, const CHAR16 *Format, ...);
UINTN FormatTextV(CHAR16 *Buffer, UINTN BufferSize, const CHAR16 *Format, va_list Arguments);

// The word of a status, or the status in 16 hexadecimal digits when the table has none.
// Returns the characters written without the terminator.
UINTN PrintStatusWord(EFI_STATUS Status, CHAR16 *Buffer, UINTN BufferSize);

// A status as the 32-bit code that firmware messages show: the error bit moved to bit 31.
UINT32 StatusCode32(EFI_STATUS Status);

// Number builders: write the digits and a terminator into Out, which has room for
// PRINT_SCRATCH_CHARACTERS characters; return the characters written without terminator.
UINTN FormatHex(CHAR16 *Out, UINT64 Value, UINTN Flags, UINTN Width);
UINTN FormatDecimal(CHAR16 *Out, INT64 Value, UINTN Flags, UINTN Width);

extern PRINT_PROTOCOL PrintInterface;
