#include "tesselkit/platform/dump_context.h"

#include <cstdio>

#include "tesselkit/platform/debug_output.h"

namespace {

// Wide enough for any number and pointer; a double is written with six digits.
template <class... Values>
void WriteFormatted(const char* format, Values... values) {
  char text[64];
  std::snprintf(text, sizeof text, format, values...);
  OutputDebugStringA(text);
}

}  // namespace

constinit CDumpContext afxDump;

CDumpContext& CDumpContext::operator<<(const char* text) {
  OutputDebugStringA(text != nullptr ? text : "(NULL)");
  return *this;
}

CDumpContext& CDumpContext::operator<<(int value) {
  return *this << static_cast<long>(value);
}

CDumpContext& CDumpContext::operator<<(unsigned value) {
  return *this << static_cast<unsigned long>(value);
}

CDumpContext& CDumpContext::operator<<(long value) {
  WriteFormatted("%ld", value);
  return *this;
}

CDumpContext& CDumpContext::operator<<(unsigned long value) {
  WriteFormatted("%lu", value);
  return *this;
}

CDumpContext& CDumpContext::operator<<(double value) {
  WriteFormatted("%g", value);
  return *this;
}

CDumpContext& CDumpContext::operator<<(const void* pointer) {
  WriteFormatted("$%p", pointer);
  return *this;
}

CDumpContext& CDumpContext::operator<<(const CObject* object) {
  if (object == nullptr) return *this << "NULL";
  *this << "a " << object->GetRuntimeClass()->m_lpszClassName << " at "
        << static_cast<const void*>(object);
  object->Dump(*this);
  return *this;
}
