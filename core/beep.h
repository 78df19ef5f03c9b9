// The answer to a refused key.
#pragma once

#include "uefi/base.h"

// Sounds one short beep through the speaker interface, locating it on first use. With no
// speaker the failure is returned and nothing sounds; callers ignore the result.
EFI_STATUS Beep();
void ResetBeepState();
