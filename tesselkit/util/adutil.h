// The general utilities: everything of the adutil family.
#pragma once

#include "tesselkit/util/adutil_core.h"
#include "tesselkit/util/adutil_edit.h"
#include "tesselkit/util/adutil_format.h"
#include "tesselkit/util/adutil_line_ends.h"
#include "tesselkit/util/adutil_location.h"
#include "tesselkit/util/adutil_login.h"
#include "tesselkit/util/adutil_name_value.h"
#include "tesselkit/util/adutil_names.h"
#include "tesselkit/util/adutil_parse.h"
#include "tesselkit/util/adutil_path.h"
#include "tesselkit/util/adutil_predicates.h"
#include "tesselkit/util/adutil_registry.h"
#include "tesselkit/util/adutil_sort.h"
