#include "dialogs/browser_services.h"

#include "dialogs/dialog.h"
#include "dialogs/message_box.h"
#include "screen/layout.h"

#include "support/poison.h"

BROWSER_SERVICES_PROTOCOL BrowserServices = {
    {},
    0,
    0,
    NOTIFY_CODE_NONE,
    ShowDialog,
    ShowSimpleMessageBox,
    ShowOkMessageBox,
    ShowCustomMessageBox,
    GetAreaAttributes,
};
