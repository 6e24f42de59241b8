// A module without a string table that links the library, whose table must not be taken for its.
#include "tesselkit/failure/adresource.h"

extern "C" TESSELKIT_API int PlainModuleLetters() {
  return AdGetCoreName().GetLength();
}
