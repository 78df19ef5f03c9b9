// The browser's own words: 46 strings in four string packages (en-US, fr-FR, ja-JP, ko-KR),
// the same ids in each. Registered at entry as one package list.
#pragma once

#include "uefi/hii.h"

enum BuiltinStringId : EFI_STRING_ID {
  STRING_LANGUAGE_NAME = 1,
  STRING_BROWSER_TITLE = 2,
  STRING_HELP_TITLE = 3,
  STRING_KEY_F1 = 4,
  STRING_KEY_F1_TEXT = 5,
  STRING_KEY_ESC = 6,
  STRING_KEY_ESC_TEXT = 7,
  STRING_KEY_UP_DOWN = 8,
  STRING_KEY_UP_DOWN_TEXT = 9,
  STRING_KEY_LEFT_RIGHT = 10,
  STRING_KEY_LEFT_RIGHT_TEXT = 11,
  STRING_KEY_PLUS_MINUS = 12,
  STRING_KEY_F5_F6 = 13,
  STRING_KEY_CHANGE_TEXT = 14,
  STRING_KEY_ENTER = 15,
  STRING_KEY_ENTER_TEXT = 16,
  STRING_EXECUTE_COMMAND = 17,
  STRING_KEY_F9 = 18,
  STRING_KEY_F9_TEXT = 19,
  STRING_KEY_F10 = 20,
  STRING_KEY_F10_TEXT = 21,
  STRING_ENTER_PASSWORD = 22,
  STRING_PRESS_ENTER = 23,
  STRING_TYPE_IN_DATA = 24,
  STRING_EMPTY = 25,
  STRING_NOT_ENOUGH_CHARACTERS = 26,
  STRING_TARGET_NOT_FOUND = 27,
  STRING_WARNING = 28,
  STRING_NOTICE = 29,
  STRING_SETUP_CONFIRMATION = 30,
  STRING_SETUP_WARNING = 31,
  STRING_YES = 32,
  STRING_NO = 33,
  STRING_OK = 34,
  STRING_RETRY = 35,
  STRING_CANCEL = 36,
  STRING_CONTINUE = 37,
  STRING_MESSAGE = 38,
  STRING_ERROR = 39,
  STRING_SAVE_AND_EXIT_QUESTION = 40,
  STRING_NOT_SAVED_QUESTION = 41,
  STRING_LOAD_DEFAULTS_QUESTION = 42,
  STRING_LOAD_PREVIOUS_QUESTION = 43,
  STRING_SAVE_QUESTION = 44,
  STRING_GENERAL_HELP_TITLE = 45,
  STRING_GENERAL_HELP_TEXT = 46,
};

#define BUILTIN_STRING_COUNT 46
#define BUILTIN_LANGUAGE_COUNT 4

// A u32 of the block's whole length, those four bytes included, then the four string packages
// back to back with no end package: the form BuildPackageList takes.
extern const UINT8 *const BuiltinStringPackages;
extern const UINT32 BuiltinStringPackagesSize;

// The languages of the packages, in their order in the block.
extern const CHAR8 *const BuiltinLanguages[BUILTIN_LANGUAGE_COUNT];
