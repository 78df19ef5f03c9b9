// The question editors that ProcessStatement runs when a question is selected: the option
// pop-up and stepping of one-of and ordered-list questions, the entry of numbers, dates and
// times, and the entry of strings and passwords.
#pragma once

#include "screen/menu_option.h"

EFI_STATUS ShowOptionPopUp(UiSelection *Selection, MenuLine *Option);
EFI_STATUS StepOption(UiSelection *Selection, MenuLine *Option);
EFI_STATUS EditNumber(UiSelection *Selection, MenuLine *Option);
EFI_STATUS EditText(UiSelection *Selection, MenuLine *Option);
