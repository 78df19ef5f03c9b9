// Every key of the browser comes through ReadKey, which hides the difference between the
// extended and the simple input service and keeps the last key in the browser services record.
// Also: the tab switches of the menu bar and the display strings the painters print.
#pragma once

#include "uefi/console.h"
#include "uefi/hii.h"

// The extended input service, once the input notification has found one.
extern EFI_SIMPLE_TEXT_INPUT_EX_PROTOCOL *TextInputEx;
// The input notification's work: locate the extended input service if it is not yet held.
void LocateExtendedInput();

// One try, without waiting. F5 and F6 reach LastKey (not Key) as "-" and "+" with scan code 0.
EFI_STATUS ReadKey(EFI_KEY_DATA *Key);
// ReadKey until it succeeds, with a stall of 100 microseconds after each failure.
EFI_STATUS WaitForKey(EFI_KEY_DATA *Key);
void StoreLastKey(const EFI_KEY_DATA *Key);

#define KEY_POLL_MICROSECONDS 100

// Goes to the tab with that index (modulo the tab count); the selection then names its form
// set with Action SELECTION_GOTO.
EFI_STATUS SwitchToMenuBarTab(UINT32 Index);
EFI_STATUS NextMenuBarTab();
EFI_STATUS PreviousMenuBarTab();

// The 26 strings the painters print, read in the current language through the browser's
// handle; a string that cannot be read stays null.
void LoadDisplayStrings();
void FreeDisplayStrings();
// One of the loaded strings by its built-in id; null when it is not loaded or not one of them.
const CHAR16 *DisplayString(EFI_STRING_ID StringId);
