#include "tesselkit/objects/adobject.h"

#include <cstdint>

#include "tesselkit/platform/debug_output.h"
#include "tesselkit/util/adutil_core.h"
#include "tesselkit/util/adutil_format.h"
#include "tesselkit/util/adutil_predicates.h"

IMPLEMENT_SERIAL(AdObject, CObject, 1)

AdObject::AdObject() = default;

AdObject::~AdObject() = default;

void AdObject::Serialize(CArchive&) {}

CString AdObject::GetName() const {
  return GetDumpTag();
}

void AdObject::ReportViaODS(const char* message) const {
  CString tag = AdObject::GetName();
  const CString name = GetName();
  if (AdIsNonEmpty(name) && AdIsUnequal(name, tag)) tag += " " + AdQuotedStr(name);
  OutputDebugStringA(tag + ": " + (AdIsEmpty(message) ? "<no message>" : message) + "\n");
}

void AdObject::Initialize() {
  ClearAllObjectMemberVars();
}

void AdObject::Finalize() {
  ClearAllObjectMemberVars();
}

void AdObject::Serialize(AdArchive&) {}

void AdObject::ClearAllObjectMemberVars() {}

CString AdObject::GetDumpTag() const {
  const auto address = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(this));
  CString tag;
  tag.Format("%s@0x%08x", GetRuntimeClass()->m_lpszClassName, address);
  return tag;
}
