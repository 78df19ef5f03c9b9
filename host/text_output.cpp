#include "host/text_output.h"

#include <cstdlib>

namespace morvane::host {

namespace {
constexpr UINT64 TEXT_OUTPUT_SIGNATURE = 0x54554F5458455448ULL;

TextScreen &ScreenOf(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *This) {
  auto *Record = reinterpret_cast<TextOutput::PrivateRecord *>(This);
  if (Record == nullptr || Record->Signature != TEXT_OUTPUT_SIGNATURE) {
    std::abort();
  }
  return *Record->Screen;
}

// Reset: clears the screen to the default attribute.
EFI_STATUS EFIAPI Reset(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *This, BOOLEAN ExtendedVerification) {
  return ScreenOf(This).Reset();
}

// OutputString: writes at the cursor with the current attribute.
EFI_STATUS EFIAPI OutputString(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *This, const CHAR16 *String) {
  return ScreenOf(This).OutputString(String);
}

// TestString: whether every character has a glyph.
EFI_STATUS EFIAPI TestString(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *This, const CHAR16 *String) {
  return ScreenOf(This).TestString(String);
}

// QueryMode: the size of a text mode.
EFI_STATUS EFIAPI QueryMode(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *This, UINTN ModeNumber, UINTN *Columns,
                            UINTN *Rows) {
  return ScreenOf(This).QueryMode(ModeNumber, Columns, Rows);
}

// SetMode: switches the text mode and clears the screen.
EFI_STATUS EFIAPI SetMode(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *This, UINTN ModeNumber) {
  return ScreenOf(This).SetMode(ModeNumber);
}

// SetAttribute: the colours of the characters written next.
EFI_STATUS EFIAPI SetAttribute(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *This, UINTN Attribute) {
  return ScreenOf(This).SetAttribute(Attribute);
}

// ClearScreen: blanks every cell with the current attribute and homes the cursor.
EFI_STATUS EFIAPI ClearScreen(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *This) {
  return ScreenOf(This).ClearScreen();
}

// SetCursorPosition: moves the cursor inside the screen.
EFI_STATUS EFIAPI SetCursorPosition(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *This, UINTN Column,
                                    UINTN Row) {
  return ScreenOf(This).SetCursorPosition(Column, Row);
}

// EnableCursor: shows or hides the cursor.
EFI_STATUS EFIAPI EnableCursor(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *This, BOOLEAN Visible) {
  return ScreenOf(This).EnableCursor(Visible);
}
} // namespace

TextOutput::TextOutput(TextScreen &Screen)
    : Record{{
                 .Reset = Reset,
                 .OutputString = OutputString,
                 .TestString = TestString,
                 .QueryMode = QueryMode,
                 .SetMode = SetMode,
                 .SetAttribute = SetAttribute,
                 .ClearScreen = ClearScreen,
                 .SetCursorPosition = SetCursorPosition,
                 .EnableCursor = EnableCursor,
                 .Mode = Screen.ModeRecord(),
             },
             TEXT_OUTPUT_SIGNATURE,
             &Screen} {}

} // namespace morvane::host
