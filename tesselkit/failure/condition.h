// Condition failures: how the library reports an argument or a state of its own that is not as it
// must be.
//
// A source that checks names itself in a constant `kSourceName`:
//
//   constexpr char kSourceName[] = "adutil";
//   AD_CHECK(destination_size_in_tchars >= 1, AD_VALUE(destination_size_in_tchars));
//
// The condition's text, the values' names and the line come from the macros. Up to four values can
// be shown; they are computed only when the condition fails.
#pragma once

#include <initializer_list>

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

class PaMessage;
class PaMsgException;

namespace tesselkit::failure {

struct ShownValue {
  const char* name;
  CString value;
};

TESSELKIT_API CString ShownText(long value);
TESSELKIT_API CString ShownText(const char* value);

// The exception of AdThrowMsgExcept, completed and traced but not thrown.
PaMsgException* MakeFailure(PaMessage& msg, const char* failed_expr, const char* file, int line);

// Throws message 18019 to 18023, by the number of values, through AdThrowMsgExcept.
[[noreturn]] TESSELKIT_API void ThrowCondition(const char* condition, const char* source_name,
                                               int line, std::initializer_list<ShownValue> values);

}  // namespace tesselkit::failure

#define AD_VALUE(variable)                               \
  ::tesselkit::failure::ShownValue {                     \
#variable, ::tesselkit::failure::ShownText(variable) \
  }

#define AD_CHECK(condition, ...) \
  ((condition)                   \
       ? static_cast<void>(0)    \
       : ::tesselkit::failure::ThrowCondition(#condition, kSourceName, __LINE__, {__VA_ARGS__}))
