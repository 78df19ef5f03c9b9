// The action codes a driver's Changed Callback can ask for, and the five operations behind
// them and behind F9 and F10: save and exit, exit, load previous, load defaults, save. They
// all work on every form set of the cache and keep the display language in step.
#pragma once

#include "core/browser_context.h"

// Action codes beyond the published action requests.
#define ACTION_REQUEST_SAVE_AND_EXIT 0xC001
#define ACTION_REQUEST_LOAD_PREVIOUS 0xC002
#define ACTION_REQUEST_SAVE 0xC003
#define ACTION_REQUEST_LOAD_DEFAULTS 0xE001
#define ACTION_REQUEST_LOAD_EXTRA_DEFAULTS 0xE004

// The default store of the extra defaults action.
#define EXTRA_DEFAULT_STORE_ID 0xF40E

void HandleActionRequest(UiSelection *Selection, EFI_BROWSER_ACTION_REQUEST Request);

// Each asks with a Yes/No box and returns true when the operation was done.
bool SaveChangesAndExit(UiSelection *Selection);
bool ExitWithPrompt(UiSelection *Selection);
bool LoadPrevious(UiSelection *Selection);
bool SaveChanges(UiSelection *Selection);
bool LoadDefaults(UiSelection *Selection, UINT16 DefaultId);

// Tells the notified page's driver, through its Callback, what NotifyCode holds.
EFI_STATUS TellNotifiedPage();
