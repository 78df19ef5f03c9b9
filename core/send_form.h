// The set-up and tear-down around SendForm: the per-nesting reset of the context, the graphics
// information, the screen rectangle, and the form-package notification.
#pragma once

#include "uefi/form_browser.h"

// The per-nesting reset of the context.
EFI_STATUS InitializeBrowserContext();
// Fills the graphics fields of the context from the first graphics output with a device path.
EFI_STATUS InitializeGraphicsInfo();
// The rectangle the browser may paint: the console, or the descriptor when it fits and is at
// least 76 columns by 10 rows. Right and bottom become inclusive.
EFI_STATUS InitializeScreen(const EFI_SCREEN_DESCRIPTOR *ScreenDimensions);
