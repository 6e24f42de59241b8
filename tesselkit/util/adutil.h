// The general utilities: everything of the adutil family.
#pragma once

#include "tesselkit/util/adutil_core.h"
#include "tesselkit/util/adutil_format.h"
#include "tesselkit/util/adutil_location.h"
#include "tesselkit/util/adutil_parse.h"
#include "tesselkit/util/adutil_predicates.h"
