// The driver's default screen layout rows and its default table of form styles.
#pragma once

#include "screen/layout.h"

extern const LayoutRow DefaultLayoutRows[DEFAULT_LAYOUT_ROW_COUNT];
extern const FORM_STYLE_ROW DefaultFormStyleTable[5];
