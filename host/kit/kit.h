// The whole authoring kit in one include.
#pragma once

#include "host/kit/guid_text.h"
#include "host/kit/ifr_value.h"
#include "host/kit/ifr_writer.h"
#include "host/kit/package_list_builder.h"
#include "host/kit/strings.h"
