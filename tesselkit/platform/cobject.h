// The root of the class tree, and the records that let classes be named, compared and created by
// name.
//
// A class declares its record with DECLARE_DYNAMIC (named), DECLARE_DYNCREATE (and created) or
// DECLARE_SERIAL (and found by name in the process's list), and defines it with the IMPLEMENT
// macro of the same kind in one source file. Records live as long as their module; the list may
// be used from any thread.
#pragma once

#include <cstddef>
#include <new>

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/types.h"

class CArchive;
class CDumpContext;
class CObject;

// The record of a class. Filled by the IMPLEMENT macros.
struct TESSELKIT_API CRuntimeClass {
  const char* m_lpszClassName;
  int m_nObjectSize;
  UINT m_wSchema;                   // 0xFFFF: not serialisable
  CObject* (*m_pfnCreateObject)();  // null: cannot be created by name
  CRuntimeClass* m_pBaseClass;
  CRuntimeClass* m_pNextClass;  // the next in the process's list

  // A new object of the class, owned by the caller; null when the class has no factory.
  CObject* CreateObject();

  // Whether the class is `base` or derives from it. A null `base` gives FALSE.
  BOOL IsDerivedFrom(const CRuntimeClass* base) const;

  // The class of that name in the process's list, or null. Case matters.
  static CRuntimeClass* FromName(const char* name);
};

class TESSELKIT_API CObject {
 public:
  virtual CRuntimeClass* GetRuntimeClass() const;
  virtual ~CObject();
  virtual void Serialize(CArchive& archive);
  virtual void AssertValid() const;
  virtual void Dump(CDumpContext& context) const;

  BOOL IsSerializable() const;
  BOOL IsKindOf(const CRuntimeClass* runtime_class) const;

  // Throws CMemoryException* when there is no memory.
  static void* operator new(std::size_t size);
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void* memory) noexcept;
  static void operator delete(void*, void*) noexcept {}

  static CRuntimeClass classCObject;

  CObject(const CObject&) = delete;
  CObject& operator=(const CObject&) = delete;

 protected:
  CObject() = default;
};

// Puts a record into the process's list for as long as it lives itself.
class TESSELKIT_API AFX_CLASSINIT {
 public:
  explicit AFX_CLASSINIT(CRuntimeClass* runtime_class);
  ~AFX_CLASSINIT();

  AFX_CLASSINIT(const AFX_CLASSINIT&) = delete;
  AFX_CLASSINIT& operator=(const AFX_CLASSINIT&) = delete;

 private:
  CRuntimeClass* m_class;
};

#define RUNTIME_CLASS(class_name) (&class_name::class##class_name)

#define DECLARE_DYNAMIC(class_name)       \
 public:                                  \
  static CRuntimeClass class##class_name; \
  CRuntimeClass* GetRuntimeClass() const override;

#define DECLARE_DYNCREATE(class_name) \
  DECLARE_DYNAMIC(class_name)         \
  static CObject* CreateObject();

#define DECLARE_SERIAL(class_name) DECLARE_DYNCREATE(class_name)

#define TESSELKIT_IMPLEMENT_RUNTIME_CLASS(class_name, base_name, schema, factory)      \
  CRuntimeClass class_name::class##class_name = {#class_name,                          \
                                                 static_cast<int>(sizeof(class_name)), \
                                                 schema,                               \
                                                 factory,                              \
                                                 RUNTIME_CLASS(base_name),             \
                                                 nullptr};                             \
  CRuntimeClass* class_name::GetRuntimeClass() const {                                 \
    return RUNTIME_CLASS(class_name);                                                  \
  }

#define IMPLEMENT_DYNAMIC(class_name, base_name) \
  TESSELKIT_IMPLEMENT_RUNTIME_CLASS(class_name, base_name, 0xFFFF, nullptr)

#define IMPLEMENT_DYNCREATE(class_name, base_name) \
  CObject* class_name::CreateObject() {            \
    return new class_name;                         \
  }                                                \
  TESSELKIT_IMPLEMENT_RUNTIME_CLASS(class_name, base_name, 0xFFFF, class_name::CreateObject)

#define IMPLEMENT_SERIAL(class_name, base_name, schema)                                      \
  CObject* class_name::CreateObject() {                                                      \
    return new class_name;                                                                   \
  }                                                                                          \
  TESSELKIT_IMPLEMENT_RUNTIME_CLASS(class_name, base_name, schema, class_name::CreateObject) \
  static AFX_CLASSINIT class_init_##class_name(RUNTIME_CLASS(class_name));
