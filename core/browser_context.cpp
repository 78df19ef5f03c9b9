#include "core/browser_context.h"

#include "core/beep.h"
#include "core/driver_state.h"
#include "core/form_set_cache.h"
#include "core/selection_stack.h"
#include "support/memory.h"

#include "support/poison.h"

BrowserContext *Browser;

EFI_HII_DATABASE_PROTOCOL *HiiDatabase;
EFI_HII_STRING_PROTOCOL *HiiString;
EFI_HII_CONFIG_ROUTING_PROTOCOL *HiiConfigRouting;
VOID *HiiImage;
VOID *HiiFont;

UINT8 ResetRequired;
UINT8 FormPackageChanged;
EFI_HII_HANDLE FormPackageChangedHandle;

CHAR8 CurrentLanguage[LANGUAGE_BUFFER_SIZE];
CHAR8 SavedLanguage[LANGUAGE_BUFFER_SIZE];
CHAR8 DefaultLanguage[LANGUAGE_BUFFER_SIZE];

bool IsNestedSendForm() {
  return Browser->SendFormDepth >= 2;
}

void ResetCoreState() {
  Browser = nullptr;
  HiiDatabase = nullptr;
  HiiString = nullptr;
  HiiConfigRouting = nullptr;
  HiiImage = nullptr;
  HiiFont = nullptr;
  ResetRequired = 0;
  FormPackageChanged = 0;
  FormPackageChangedHandle = nullptr;
  ZeroBytes(CurrentLanguage, sizeof(CurrentLanguage));
  ZeroBytes(SavedLanguage, sizeof(SavedLanguage));
  ZeroBytes(DefaultLanguage, sizeof(DefaultLanguage));
  ResetBeepState();
  ResetFormSetCacheState();
  ResetSelectionState();
}
