// Asking which of the platform's exceptions a statement throws.
#pragma once

#include <typeinfo>

#include "tesselkit/platform/exceptions.h"

namespace test {

// Whether `statement` throws an `Exception*` of exactly that class, which is ended here.
template <class Exception, class Statement>
bool Throws(Statement statement) {
  try {
    statement();
  } catch (CException* exception) {
    const bool is_kind = typeid(*exception) == typeid(Exception);
    exception->Delete();
    return is_kind;
  }
  return false;
}

}  // namespace test
