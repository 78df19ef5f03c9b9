#include "core/form_actions.h"

#include "core/form_set_cache.h"
#include "core/hii_strings.h"
#include "core/user_access.h"
#include "data/builtin_strings.h"
#include "dialogs/browser_services.h"
#include "dialogs/dialog.h"
#include "dialogs/message_box.h"
#include "screen/layout.h"
#include "storage/defaults.h"
#include "storage/submit.h"
#include "support/efi_globals.h"
#include "support/string.h"

#include "support/poison.h"

namespace {

constexpr UINT32 YesButton = 0;

// The two-button question of every operation; 0 is "Yes", -1 an escape.
UINT32 Ask(EFI_STRING_ID TitleId, EFI_STRING_ID TextId, UINT32 Attribute) {
  const UINT16 Buttons[] = {STRING_YES, STRING_NO};
  return ShowMessageBoxById(Browser->HiiHandle, TitleId, TextId, nullptr, Attribute, 0, 2, 0,
                            Buttons);
}

void Notify(UINT32 Code) {
  Browser->Services->NotifyCode = Code;
  TellNotifiedPage();
  Browser->Services->NotifyCode = NOTIFY_CODE_NONE;
}

void RestoreSavedLanguage() {
  AsciiCopy(CurrentLanguage, SavedLanguage);
  WritePlatformLanguage();
}

} // namespace

bool SaveChangesAndExit(UiSelection *Selection) {
  Selection->SaveExitRequested = 0;
  if (Ask(STRING_SETUP_CONFIRMATION, STRING_SAVE_AND_EXIT_QUESTION, 0xF1) != YesButton) {
    return false;
  }
  // A refused submit has shown its warning; the browser leaves all the same.
  SubmitAll();
  ResetRequired = 1;
  Selection->Action = SELECTION_EXIT;
  return true;
}

bool ExitWithPrompt(UiSelection *Selection) {
  if (StyleRefusesDefaults(Selection->Form)) {
    Selection->Action = SELECTION_EXIT;
    return true;
  }
  if (IsAnythingModified()) {
    UINT32 Answer = Ask(STRING_SETUP_WARNING, STRING_NOT_SAVED_QUESTION, 0xF4);
    if (Answer == YesButton) {
      SubmitAll();
      ResetRequired = 1;
      Selection->Action = SELECTION_EXIT;
      return true;
    }
    if (Answer != 1) {
      return false;
    }
  }
  RestoreSavedLanguage();
  Notify(NOTIFY_CODE_DISCARDED);
  Selection->Action = SELECTION_EXIT;
  return true;
}

bool LoadDefaults(UiSelection *Selection, UINT16 DefaultId) {
  if (!UserIsAdministrator()) {
    return false;
  }
  if (Ask(STRING_SETUP_CONFIRMATION, STRING_LOAD_DEFAULTS_QUESTION, 0xF1) != YesButton) {
    return false;
  }
  if (EFI_ERROR(ApplyDefaultsEverywhere(DefaultId))) {
    return false;
  }
  Selection->Action = SELECTION_REFRESH_FORM;
  AsciiCopy(DefaultLanguage, "en-US");
  AsciiCopy(CurrentLanguage, DefaultLanguage);
  WritePlatformLanguage();
  Notify(NOTIFY_CODE_DEFAULTS_LOADED);
  Browser->RefreshPending = 1;
  Selection->MenuOption = nullptr;
  Selection->Statement = nullptr;
  Selection->QuestionId = 0;
  return true;
}

bool LoadPrevious(UiSelection *Selection) {
  if (Ask(STRING_SETUP_CONFIRMATION, STRING_LOAD_PREVIOUS_QUESTION, 0xF1) != YesButton) {
    return false;
  }
  ReloadAllFormSets(Selection);
  RestoreSavedLanguage();
  Browser->RefreshPending = 1;
  Notify(NOTIFY_CODE_DISCARDED);
  Selection->Action = SELECTION_REFRESH_FORM;
  Selection->MenuOption = nullptr;
  Selection->Statement = nullptr;
  Selection->QuestionId = 0;
  return true;
}

bool SaveChanges(UiSelection *Selection) {
  if (Ask(STRING_SETUP_CONFIRMATION, STRING_SAVE_QUESTION, 0xF1) != YesButton) {
    return false;
  }
  EFI_STATUS Status = SubmitAll();
  AsciiCopy(SavedLanguage, CurrentLanguage);
  return !EFI_ERROR(Status);
}

void HandleActionRequest(UiSelection *Selection, EFI_BROWSER_ACTION_REQUEST Request) {
  switch (Request) {
  case EFI_BROWSER_ACTION_REQUEST_NONE:
    break;
  case EFI_BROWSER_ACTION_REQUEST_RESET:
    ResetRequired = 1;
    Selection->Action = SELECTION_EXIT;
    break;
  case EFI_BROWSER_ACTION_REQUEST_SUBMIT:
    SubmitOneForm(Selection->FormSet, Selection->Form);
    break;
  case EFI_BROWSER_ACTION_REQUEST_EXIT:
    if (IsNestedSendForm()) {
      Selection->Action = SELECTION_NESTED_EXIT;
    } else {
      ExitWithPrompt(Selection);
    }
    break;
  case ACTION_REQUEST_SAVE_AND_EXIT:
    SaveChangesAndExit(Selection);
    break;
  case ACTION_REQUEST_LOAD_PREVIOUS:
    LoadPrevious(Selection);
    break;
  case ACTION_REQUEST_SAVE:
    SaveChanges(Selection);
    break;
  case ACTION_REQUEST_LOAD_DEFAULTS:
    LoadDefaults(Selection, EFI_HII_DEFAULT_CLASS_STANDARD);
    break;
  case ACTION_REQUEST_LOAD_EXTRA_DEFAULTS:
    LoadDefaults(Selection, EXTRA_DEFAULT_STORE_ID);
    break;
  default:
    ReportFormError(Selection->FormSet, Selection->Form, u"Requested action is not implemented.",
                    EFI_INVALID_PARAMETER);
    break;
  }
}

EFI_STATUS TellNotifiedPage() {
  PAGE_PROVIDER_PROTOCOL *Provider = nullptr;
  if (EFI_ERROR(BootServices->LocateProtocol(&gNotifiedPageProtocolGuid, nullptr,
                                             reinterpret_cast<VOID **>(&Provider))) ||
      Provider == nullptr) {
    return EFI_NOT_FOUND;
  }
  LIST_FOR_EACH(Link, &Browser->FormSetList) {
    FormSet *Set = FormSetFromLink(Link);
    if (Set->HiiHandle != Provider->Handle || Set->ConfigAccess == nullptr) {
      continue;
    }
    // The one Callback that does not go through InvokeCallback.
    EFI_IFR_TYPE_VALUE Value = {};
    EFI_BROWSER_ACTION_REQUEST Request = EFI_BROWSER_ACTION_REQUEST_NONE;
    Set->ConfigAccess->Callback(Set->ConfigAccess, EFI_BROWSER_ACTION_CHANGING, 0, 0, &Value,
                                &Request);
    break;
  }
  return EFI_SUCCESS;
}
