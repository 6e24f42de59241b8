#include "tesselkit/platform/cobject.h"

#include <cstring>
#include <mutex>

#include "tesselkit/platform/allocator.h"

namespace {

// Constant-initialised and never destroyed, since records come and go while libraries are loaded
// and unloaded.
constinit std::mutex class_list_mutex;
constinit CRuntimeClass* first_class = nullptr;

}  // namespace

constinit CRuntimeClass CObject::classCObject = {
    "CObject", static_cast<int>(sizeof(CObject)), 0xFFFF, nullptr, nullptr, nullptr};

CRuntimeClass* CObject::GetRuntimeClass() const {
  return &classCObject;
}

CObject::~CObject() = default;

void CObject::Serialize(CArchive&) {}

void CObject::AssertValid() const {}

void CObject::Dump(CDumpContext&) const {}

BOOL CObject::IsSerializable() const {
  return GetRuntimeClass()->m_wSchema != 0xFFFF;
}

BOOL CObject::IsKindOf(const CRuntimeClass* runtime_class) const {
  return GetRuntimeClass()->IsDerivedFrom(runtime_class);
}

void* CObject::operator new(std::size_t size) {
  void* memory = ::operator new(size, std::nothrow);
  if (memory == nullptr) AfxThrowMemoryException();
  return memory;
}

void CObject::operator delete(void* memory) noexcept {
  ::operator delete(memory);
}

CObject* CRuntimeClass::CreateObject() {
  return m_pfnCreateObject != nullptr ? m_pfnCreateObject() : nullptr;
}

BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
  if (base == nullptr) return FALSE;
  for (const CRuntimeClass* each = this; each != nullptr; each = each->m_pBaseClass) {
    if (each == base) return TRUE;
  }
  return FALSE;
}

CRuntimeClass* CRuntimeClass::FromName(const char* name) {
  if (name == nullptr) return nullptr;
  const std::lock_guard lock(class_list_mutex);
  for (CRuntimeClass* each = first_class; each != nullptr; each = each->m_pNextClass) {
    if (std::strcmp(each->m_lpszClassName, name) == 0) return each;
  }
  return nullptr;
}

AFX_CLASSINIT::AFX_CLASSINIT(CRuntimeClass* runtime_class) : m_class(runtime_class) {
  const std::lock_guard lock(class_list_mutex);
  m_class->m_pNextClass = first_class;
  first_class = m_class;
}

AFX_CLASSINIT::~AFX_CLASSINIT() {
  const std::lock_guard lock(class_list_mutex);
  for (CRuntimeClass** link = &first_class; *link != nullptr; link = &(*link)->m_pNextClass) {
    if (*link == m_class) {
      *link = m_class->m_pNextClass;
      return;
    }
  }
}
