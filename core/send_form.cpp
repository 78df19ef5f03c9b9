#include "core/send_form.h"

#include "core/browser_context.h"
#include "core/form_browser.h"
#include "core/form_loop.h"
#include "core/form_set_cache.h"
#include "core/hii_strings.h"
#include "core/menu_bar.h"
#include "data/builtin_strings.h"
#include "data/default_tables.h"
#include "dialogs/dialog.h"
#include "screen/keys.h"
#include "screen/layout.h"
#include "screen/menu_option.h"
#include "support/efi_globals.h"
#include "support/guid.h"
#include "support/memory.h"
#include "support/string.h"

#include "support/poison.h"

EFI_FORM_BROWSER2_PROTOCOL FormBrowser2Interface = {SendForm, BrowserCallback};

namespace {

const EFI_GUID NullGuid = {};

// Stores the handle whose form package changed; the form loop acts on it.
EFI_STATUS EFIAPI OnFormPackageAdded(UINT8 PackageType, const EFI_GUID *PackageGuid,
                                     const EFI_HII_PACKAGE_HEADER *Package, EFI_HII_HANDLE Handle,
                                     EFI_HII_DATABASE_NOTIFY_TYPE NotifyType) {
  FormPackageChangedHandle = Handle;
  FormPackageChanged = 1;
  return EFI_SUCCESS;
}

void DrainKeyboard() {
  EFI_KEY_DATA Key;
  while (!EFI_ERROR(ReadKey(&Key))) {
  }
}

EFI_STATUS FirstCallSetUp(EFI_HII_HANDLE *Handles, UINTN HandleCount,
                          const EFI_SCREEN_DESCRIPTOR *ScreenDimensions) {
  if (CurrentLanguage[0] == 0) {
    ReadPlatformLanguage(SavedLanguage);
    AsciiCopy(CurrentLanguage, SavedLanguage);
  }
  LoadDisplayStrings();
  EFI_STATUS Status = InstallDefaultLayout();
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Status = InitializeBrowserContext();
  if (EFI_ERROR(Status)) {
    return Status;
  }
  InitializeGraphicsInfo();
  Status = InitializeScreen(ScreenDimensions);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Status = BuildMenuBar(Handles, HandleCount);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Browser->RefreshPending = 0;
  return EFI_SUCCESS;
}

// The form set shown first: the first tab's, or that of the first handle, or the one with the
// given GUID. A class GUID found the call's form sets by their class, and they bear their own
// GUIDs: the first of them answers.
FormSet *ChooseFirstFormSet(EFI_HII_HANDLE *Handles, const EFI_GUID *FormSetGuid,
                            FormSet *FirstOfCall) {
  if (FormSetGuid != nullptr) {
    FormSet *Found = FindFormSetByGuid(FormSetGuid);
    return Found != nullptr ? Found : FirstOfCall;
  }
  EFI_HII_HANDLE Handle = Handles[0];
  if (!ListIsEmpty(&Browser->MenuBarList)) {
    Handle = MenuBarEntryFromLink(ListFirst(&Browser->MenuBarList))->Handle;
  }
  LIST_FOR_EACH(Link, &Browser->FormSetList) {
    FormSet *Candidate = FormSetFromLink(Link);
    if (Candidate->HiiHandle == Handle) {
      return Candidate;
    }
  }
  return nullptr;
}

EFI_STATUS InnerSendForm(EFI_HII_HANDLE *Handles, UINTN HandleCount, EFI_GUID *FormSetGuid,
                         EFI_FORM_ID FormId, EFI_BROWSER_ACTION_REQUEST *ActionRequest) {
  EFI_HANDLE NotifyHandle = nullptr;
  // Form packages added while a form set is shown (a Callback updating its forms) ask for a
  // reload of that form set.
  EFI_STATUS Status = HiiDatabase->RegisterPackageNotify(
      HiiDatabase, EFI_HII_PACKAGE_FORMS, nullptr, OnFormPackageAdded,
      EFI_HII_DATABASE_NOTIFY_ADD_PACK, &NotifyHandle);
  if (EFI_ERROR(Status)) {
    return Status;
  }

  UiSelection *Selection = Browser->Selection;
  ZeroBytes(Selection, sizeof(UiSelection));
  Selection->Signature = UI_SELECTION_SIGNATURE;
  if (FormSetGuid != nullptr) {
    Selection->FormSetGuid = *FormSetGuid;
  }

  FormSet *FirstOfCall = nullptr;
  for (UINTN Index = 0; Index < HandleCount; Index++) {
    FormSet *Loaded = nullptr;
    const EFI_GUID *Wanted = FormSetGuid != nullptr ? FormSetGuid : &NullGuid;
    if (FindLoadedFormSet(Handles[Index], Wanted, &Loaded)) {
      FirstOfCall = FirstOfCall != nullptr ? FirstOfCall : Loaded;
      continue;
    }
    Status = LoadFormSet(Handles[Index], Wanted, &Loaded, TRUE);
    if (EFI_ERROR(Status)) {
      if (Loaded != nullptr) {
        ReportFormError(Loaded, nullptr, u"Failed to initialize FormSet", Status);
        ListRemove(&Loaded->Link);
        ReleaseFormSet(Loaded);
      }
      goto Release;
    }
    LinkFormSetToMenuBar(Loaded);
    Loaded->Loaded = 1;
    Loaded->LoadDepth = Browser->SendFormDepth;
    FirstOfCall = FirstOfCall != nullptr ? FirstOfCall : Loaded;
  }

  Selection->FormId = FormId;
  {
    FormSet *First = ChooseFirstFormSet(Handles, FormSetGuid, FirstOfCall);
    if (First == nullptr) {
      Status = EFI_NOT_FOUND;
      goto Release;
    }
    Selection->FormSet = First;
    Selection->Handle = First->HiiHandle;
    if (!IsNullGuid(&First->FormSetGuid)) {
      Selection->FormSetGuid = First->FormSetGuid;
    }
  }

  do {
    Status = RunFormSet(Selection);
    if (EFI_ERROR(Status)) {
      break;
    }
    if (Selection->Action == SELECTION_NESTED_EXIT) {
      PopSelection(Selection);
      break;
    }
  } while (Selection->Action == SELECTION_RELOAD_FORMSET);

  if (ActionRequest != nullptr) {
    *ActionRequest =
        ResetRequired ? EFI_BROWSER_ACTION_REQUEST_RESET : EFI_BROWSER_ACTION_REQUEST_NONE;
  }

Release:
  for (UINTN Index = 0; Index < HandleCount; Index++) {
    ReleaseFormSets(Handles[Index]);
  }
  HiiDatabase->UnregisterPackageNotify(HiiDatabase, NotifyHandle);
  return Status;
}

} // namespace

EFI_STATUS InitializeBrowserContext() {
  Browser->Layout = nullptr;
  FORM_STYLE_ROW *Styles = nullptr;
  if (EFI_ERROR(BootServices->LocateProtocol(&gFormStyleTableProtocolGuid, nullptr,
                                             reinterpret_cast<VOID **>(&Styles))) ||
      Styles == nullptr) {
    Browser->StyleTable = DefaultFormStyleTable;
  } else {
    Browser->StyleTable = Styles;
  }
  ListInit(&Browser->MenuBarList);
  Browser->MenuBarCount = 0;
  Browser->MenuBarCurrent = 0;
  Browser->MenuBarFirstVisible = 0;
  Browser->MenuBarArea.Row = nullptr;
  FreeSelectionStack();
  ListInit(&Browser->SelectionStack);
  ListInit(&Browser->OptionList);
  Browser->BodyArea.Row = nullptr;
  Browser->TopOption = nullptr;
  Browser->BottomOption = nullptr;
  Browser->RepaintPending = 0;
  Browser->ModalActive = 0;
  Browser->TitleText = const_cast<CHAR16 *>(DisplayString(STRING_BROWSER_TITLE));
  Browser->TitleAlignment = 0;
  if (Browser->TitleText == nullptr) {
    return EFI_NOT_FOUND;
  }
  return EFI_SUCCESS;
}

EFI_STATUS InitializeGraphicsInfo() {
  if (Browser->GraphicsOutput == nullptr) {
    UINTN HandleCount = 0;
    EFI_HANDLE *Handles = nullptr;
    if (EFI_ERROR(BootServices->LocateHandleBuffer(ByProtocol, &gEfiGraphicsOutputProtocolGuid,
                                                   nullptr, &HandleCount, &Handles))) {
      return EFI_NOT_FOUND;
    }
    for (UINTN Index = 0; Index < HandleCount; Index++) {
      VOID *Path = nullptr;
      if (EFI_ERROR(
              BootServices->HandleProtocol(Handles[Index], &gEfiDevicePathProtocolGuid, &Path))) {
        continue;
      }
      EFI_GRAPHICS_OUTPUT_PROTOCOL *Graphics = nullptr;
      if (!EFI_ERROR(BootServices->HandleProtocol(Handles[Index], &gEfiGraphicsOutputProtocolGuid,
                                                  reinterpret_cast<VOID **>(&Graphics)))) {
        Browser->GraphicsOutput = Graphics;
      }
      break;
    }
    FreePoolIfSet(Handles);
  }
  if (Browser->GraphicsOutput == nullptr) {
    return EFI_NOT_FOUND;
  }

  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = SystemTable->ConOut;
  Browser->TextMode = static_cast<UINT32>(ConOut->Mode->Mode);
  UINTN Columns = 0;
  UINTN Rows = 0;
  if (!EFI_ERROR(ConOut->QueryMode(ConOut, Browser->TextMode, &Columns, &Rows))) {
    Browser->TextColumns = static_cast<UINT32>(Columns);
    Browser->TextRows = static_cast<UINT32>(Rows);
  }

  EFI_GRAPHICS_OUTPUT_PROTOCOL *Graphics = Browser->GraphicsOutput;
  Browser->GraphicsMode = Graphics->Mode->Mode;
  UINTN InfoSize = 0;
  EFI_GRAPHICS_OUTPUT_MODE_INFORMATION *Info = nullptr;
  EFI_STATUS Status = Graphics->QueryMode(Graphics, Browser->GraphicsMode, &InfoSize, &Info);
  if (!EFI_ERROR(Status) && Info != nullptr) {
    Browser->GraphicsWidth = Info->HorizontalResolution;
    Browser->GraphicsHeight = Info->VerticalResolution;
    FreePoolIfSet(Info);
  }
  return Status;
}

EFI_STATUS InitializeScreen(const EFI_SCREEN_DESCRIPTOR *ScreenDimensions) {
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = SystemTable->ConOut;
  UINTN Columns = 0;
  UINTN Rows = 0;
  EFI_STATUS Status = ConOut->QueryMode(ConOut, ConOut->Mode->Mode, &Columns, &Rows);
  if (EFI_ERROR(Status)) {
    ShowNoticeUntilEnter(u"Error", u"Failed to get TextConOut information.");
    return Status;
  }

  ScreenRect &Screen = Browser->ScreenDimensions;
  if (ScreenDimensions == nullptr) {
    Screen.Left = 0;
    Screen.Top = 0;
    Screen.Right = static_cast<UINT32>(Columns);
    Screen.Bottom = static_cast<UINT32>(Rows);
  } else {
    const EFI_SCREEN_DESCRIPTOR &Wanted = *ScreenDimensions;
    if (Wanted.RightColumn > Columns || Wanted.BottomRow > Rows) {
      return EFI_INVALID_PARAMETER;
    }
    if (Wanted.RightColumn <= Wanted.LeftColumn || Wanted.BottomRow <= Wanted.TopRow) {
      return EFI_INVALID_PARAMETER;
    }
    if (Wanted.RightColumn - Wanted.LeftColumn + 1 < 76) {
      return EFI_UNSUPPORTED;
    }
    if (Wanted.BottomRow - Wanted.TopRow + 1 < 10) {
      return EFI_UNSUPPORTED;
    }
    Screen.Left = static_cast<UINT32>(Wanted.LeftColumn);
    Screen.Right = static_cast<UINT32>(Wanted.RightColumn);
    Screen.Top = static_cast<UINT32>(Wanted.TopRow);
    Screen.Bottom = static_cast<UINT32>(Wanted.BottomRow);
  }
  Screen.Right -= 1;
  Screen.Bottom -= 1;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SendForm(const EFI_FORM_BROWSER2_PROTOCOL *This, EFI_HII_HANDLE *Handles,
                           UINTN HandleCount, EFI_GUID *FormSetGuid, EFI_FORM_ID FormId,
                           const EFI_SCREEN_DESCRIPTOR *ScreenDimensions,
                           EFI_BROWSER_ACTION_REQUEST *ActionRequest) {
  if (This == nullptr || Handles == nullptr || HandleCount == 0) {
    return EFI_INVALID_PARAMETER;
  }
  SystemTable->ConOut->EnableCursor(SystemTable->ConOut, FALSE);
  DrainKeyboard();

  if (Browser->SendFormDepth != 0) {
    if (Browser->CallbackAction == EFI_BROWSER_ACTION_RETRIEVE) {
      ShowNoticeUntilEnter(u"Error", u"Can't call SendForm () in Retrieve Callback.");
      return EFI_UNSUPPORTED;
    }
    Browser->Selection->TopRow = Browser->TopOption != nullptr ? Browser->TopOption->Row : 0;
    EFI_STATUS Status = PushSelection(Browser->Selection);
    if (EFI_ERROR(Status)) {
      return Status;
    }
  } else {
    EFI_STATUS Status = FirstCallSetUp(Handles, HandleCount, ScreenDimensions);
    if (EFI_ERROR(Status)) {
      // Nothing of the nesting stays behind a failed start.
      ReleaseMenuBar();
      FreeDisplayStrings();
      return Status;
    }
  }

  Browser->SendFormDepth++;
  EFI_STATUS Status = InnerSendForm(Handles, HandleCount, FormSetGuid, FormId, ActionRequest);
  Browser->SendFormDepth--;

  ReleaseDetachedFormSets();
  if (Browser->SendFormDepth == 0) {
    ReleaseMenuBar();
    FreeDisplayStrings();
    FreeSelectionStack();
  }
  return Status;
}
