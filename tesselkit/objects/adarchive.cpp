#include "tesselkit/objects/adarchive.h"

#include <array>
#include <atomic>
#include <mutex>

#include "tesselkit/objects/adobject.h"
#include "tesselkit/objects/pointer_tags.h"
#include "tesselkit/platform/allocator.h"
#include "tesselkit/platform/exceptions.h"
#include "tesselkit/platform/stack_room.h"

using tesselkit::objects::FactoryCache;
using tesselkit::objects::PointerTags;
using tesselkit::platform::MakeOwned;

namespace {

constexpr int kMostObjects = PointerTags::kMostPointers;

constinit std::mutex reg_mutex;
constinit std::atomic<unsigned> registrations = 0;

}  // namespace

// The factories that an archive has met lately, so that it asks the registry once for each class
// rather than once for each object.
class tesselkit::objects::FactoryCache {
 public:
  // Null when the class is not registered.
  AdArchive::Factory Find(std::string_view name) {
    const unsigned now = registrations.load(std::memory_order_acquire);
    if (now != m_registrations) {
      m_entries.fill({});
      m_registrations = now;
    }
    Entry& entry = m_entries[PlaceOf(name)];
    if (entry.factory == nullptr || entry.name.View() != name) entry = Ask(name);
    return entry.factory;
  }

 private:
  struct Entry {
    CString name;
    AdArchive::Factory factory = nullptr;
  };

  static std::size_t PlaceOf(std::string_view name) {
    return name.empty() ? 0 : (name.size() + static_cast<BYTE>(name.back())) % kSize;
  }

  static Entry Ask(std::string_view name) {
    const CString key(name);
    void* factory = nullptr;
    const std::lock_guard lock(reg_mutex);
    if (AdArchive::Reg != nullptr && name.find('\0') == name.npos) {
      AdArchive::Reg->Lookup(key, factory);
    }
    return {key, reinterpret_cast<AdArchive::Factory>(factory)};
  }

  static constexpr std::size_t kSize = 32;
  std::array<Entry, kSize> m_entries;
  unsigned m_registrations = 0;
};

constinit CMapStringToPtr* AdArchive::Reg = nullptr;

AdArchive::AdArchive(CFile* file, unsigned int mode, int buffer_size, void* buffer)
    : m_archive(file, mode, buffer_size, buffer) {
  if (IsStoring()) {
    m_tags = MakeOwned<PointerTags>();
  } else {
    m_loaded = std::make_unique<CPtrArray>();
    m_loaded->Add(nullptr);
    m_factories = MakeOwned<FactoryCache>();
  }
}

AdArchive::~AdArchive() noexcept(false) = default;

void AdArchive::Throw(int cause) const {
  const CFile* const file = GetFile();
  AfxThrowArchiveException(cause, file != nullptr ? file->GetFilePath() : CString());
}

void AdArchive::RequireStack() const {
  if (!tesselkit::platform::StackHasRoom()) Throw(CArchiveException::genericException);
}

AdArchive& AdArchive::operator<<(AdObject* const object) {
  unsigned short tag = 0;
  const int known = Do_StorePointer(object, tag);
  if (known != 0) {
    m_archive << tag;
    return *this;
  }
  const char* const class_name = object->GetRuntimeClass()->m_lpszClassName;
  RequireStack();
  m_archive << tag;
  m_archive.WriteCounted(class_name);
  object->Serialize(*this);
  return *this;
}

int AdArchive::StorePointer(AdObject* const object, unsigned short& tag) {
  return Do_StorePointer(object, tag);
}

int AdArchive::Do_StorePointer(AdObject* const object, unsigned short& tag) {
  if (!IsStoring()) Throw(CArchiveException::readOnly);
  return m_tags->FindOrAdd(object, tag) ? 1 : 0;
}

AdObject* AdArchive::LoadPointer() {
  unsigned short tag = 0;
  m_archive >> tag;
  const int known = m_loaded->GetSize();
  if (tag < known) return static_cast<AdObject*>(m_loaded->GetData()[tag]);
  if (tag > known) AfxThrowArchiveException(CArchiveException::badIndex);
  return LoadObject(tag);
}

AdObject* AdArchive::LoadObject(unsigned short tag) {
  const Factory factory = ReadFactory();
  if (factory == nullptr) AfxThrowArchiveException(CArchiveException::badClass);
  AdObject* const object = Make(factory, tag);
  object->Serialize(*this);
  return object;
}

AdArchive::Factory AdArchive::ReadFactory() {
  CString spare;
  const std::string_view name = m_archive.ReadCounted(spare);
  return m_factories->Find(name);
}

// The tag is looked at, and its slot taken, before there is an object that nobody could get at.
AdObject* AdArchive::Make(Factory factory, unsigned short tag) {
  if (tag != m_loaded->GetSize()) AfxThrowArchiveException(CArchiveException::badIndex);
  RequireStack();
  Append(nullptr);
  try {
    AdObject* const object = factory();
    if (object == nullptr) AfxThrowArchiveException(CArchiveException::badClass);
    m_loaded->SetAt(tag, object);
    return object;
  } catch (...) {
    m_loaded->RemoveAt(tag);
    throw;
  }
}

void AdArchive::Do_SaveAddress(unsigned short tag, AdObject* const object) {
  if (!IsLoading()) Throw(CArchiveException::writeOnly);
  if (tag != m_loaded->GetSize()) AfxThrowArchiveException(CArchiveException::badIndex);
  Append(object);
}

void AdArchive::Append(AdObject* object) {
  if (m_loaded->GetSize() == kMostObjects) AfxThrowArchiveException(CArchiveException::badIndex);
  m_loaded->Add(object);
}

void AdArchive::MapObject(AdObject* const object) {
  if (IsStoring()) {
    unsigned short tag = 0;
    Do_StorePointer(object, tag);
    return;
  }
  IndexLoaded();
  if (!m_tags->Contains(object)) Append(object);
}

void AdArchive::IndexLoaded() {
  if (m_tags == nullptr) m_tags = MakeOwned<PointerTags>();
  for (unsigned short tag = 0; m_indexed < m_loaded->GetSize(); ++m_indexed) {
    m_tags->FindOrAdd(m_loaded->GetAt(m_indexed), tag);
  }
}

int AdArchive::Register_Class(const char* class_name, AdObject* (*factory)()) {
  const std::lock_guard lock(reg_mutex);
  if (Reg == nullptr) Reg = new CMapStringToPtr(10);
  Reg->SetAt(class_name, reinterpret_cast<void*>(factory));
  registrations.fetch_add(1, std::memory_order_release);
  return 1;
}
