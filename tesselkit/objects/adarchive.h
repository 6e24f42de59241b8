// Stores and loads graphs of objects: each object once, with the name of its class, and every
// further reference to it as a 16-bit tag.
//
//   void Order::Serialize(AdArchive& archive) {
//     if (archive.IsStoring()) {
//       archive << m_number << m_customer;
//     } else {
//       archive >> m_number;
//       AdObject* const customer = archive.LoadPointer();
//       m_customer = dynamic_cast<Customer*>(customer);
//       if (m_customer != customer) AfxThrowArchiveException(CArchiveException::badClass);
//     }
//   }
//
// A class that is to be loaded is registered under its name first, once in a process. Both sides
// of an archive ask for the same values in the same order; nothing else is in the stream. Tags
// count the objects in the order in which they are met: 0 is null, the first is 1, the last 65535.
// The archive owns no object. Those that its factories make belong to the caller, who keeps track
// of them there: after loading has failed, whatever was made before stays, and nothing deletes it.
// The class of a loaded reference is as foreign as the bytes, any of the registered ones: look at
// it (dynamic_cast, IsKindOf) before it is used, and throw badClass for a wrong one.
//
// Beside what the platform's archive throws (see archive.h), without a file name:
//   CArchiveException::badIndex  a reference to an object that is not there yet; an object beyond
//                                the 65535th, of which nothing is stored
//   CArchiveException::badClass  a class that is not registered, or whose factory made nothing
// and genericException, with the file's name, when objects nest deeper than the stack of the thread
// allows: nesting takes the stack of the callers' Serialize functions, so long lists are better
// stored from a loop.
// What a factory or a Serialize throws passes through. After an exception an archive is good for
// nothing but to be closed.
//
// An archive belongs to one thread at a time; classes may be registered from any thread.
#pragma once

#include <memory>
#include <string_view>

#include "tesselkit/platform/archive.h"
#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"
#include "tesselkit/platform/file.h"

class AdObject;

namespace tesselkit::objects {
class FactoryCache;
class PointerTags;
}  // namespace tesselkit::objects

class TESSELKIT_API AdArchive {
 public:
  // As the platform's archive: loading when the lowest bit of `mode` is set.
  AdArchive(CFile* file, unsigned int mode, int buffer_size = 4096, void* buffer = nullptr);
  // Closes as the platform's archive does, and throws what it throws.
  virtual ~AdArchive() noexcept(false);

  AdArchive(const AdArchive&) = delete;
  AdArchive& operator=(const AdArchive&) = delete;

  int IsStoring() const { return m_archive.IsStoring(); }
  int IsLoading() const { return m_archive.IsLoading(); }
  CFile* GetFile() const { return m_archive.GetFile(); }
  CArchive& Get_CArchive() { return m_archive; }
  unsigned int Read(void* buffer, unsigned int count) { return m_archive.Read(buffer, count); }
  void Write(const void* buffer, unsigned int count) { m_archive.Write(buffer, count); }
  void Flush() { m_archive.Flush(); }
  void Close() { m_archive.Close(); }

  // Values, in 1, 2, 4, 4 or 8 bytes: char, short, int, long, double. A `long` that needs more than
  // four is refused. Texts as the platform's archive writes them.
  AdArchive& operator<<(unsigned char value) { return Put(value); }
  AdArchive& operator<<(char value) { return Put(value); }
  AdArchive& operator<<(unsigned short value) { return Put(value); }
  AdArchive& operator<<(short value) { return Put(value); }
  AdArchive& operator<<(int value) { return Put(value); }
  AdArchive& operator<<(unsigned int value) { return Put(value); }
  AdArchive& operator<<(long value) { return Put(value); }
  AdArchive& operator<<(unsigned long value) { return Put(value); }
  AdArchive& operator<<(double value) { return Put(value); }
  AdArchive& operator<<(const CString& text) { return Put(text); }

  AdArchive& operator>>(unsigned char& value) { return Get(value); }
  AdArchive& operator>>(char& value) { return Get(value); }
  AdArchive& operator>>(unsigned short& value) { return Get(value); }
  AdArchive& operator>>(short& value) { return Get(value); }
  AdArchive& operator>>(int& value) { return Get(value); }
  AdArchive& operator>>(unsigned int& value) { return Get(value); }
  AdArchive& operator>>(long& value) { return Get(value); }
  AdArchive& operator>>(unsigned long& value) { return Get(value); }
  AdArchive& operator>>(double& value) { return Get(value); }
  AdArchive& operator>>(CString& text) { return Get(text); }

  // A reference to an object: its tag and, the first time, its class name and its own data.
  AdArchive& operator<<(AdObject* const object);
  // Reads a reference. Null for a reference to nothing.
  AdObject* LoadPointer();
  // Reads what follows the tag of a new object, for a caller who has read the tag.
  AdObject* LoadObject(unsigned short tag);

  // Sets `tag` to the object's tag. 1 when it had one; 0 when it has been given the next one.
  // Writes nothing. Storing archives only.
  int StorePointer(AdObject* const object, unsigned short& tag);

  // Makes an object known without storing anything, unless it is known already. Both sides do so
  // at the same point of the stream.
  void MapObject(AdObject* const object);

  // Enters the factory of a class; an earlier one of that name is replaced. Null is the name "",
  // and a null factory makes nothing. Returns 1.
  static int Register_Class(const char* class_name, AdObject* (*factory)());

 protected:
  // The step of StorePointer that looks up or enters the object, and the one of LoadObject that
  // enters it: badIndex when `tag` is not the next one.
  int Do_StorePointer(AdObject* const object, unsigned short& tag);
  void Do_SaveAddress(unsigned short tag, AdObject* const object);

  // Factories by class name. Null before the first registration; lives as long as the process.
  // Changed by Register_Class alone, which keeps threads apart.
  static CMapStringToPtr* Reg;

 private:
  using Factory = AdObject* (*)();
  friend class tesselkit::objects::FactoryCache;

  template <class Value>
  AdArchive& Put(const Value& value) {
    m_archive << value;
    return *this;
  }
  template <class Value>
  AdArchive& Get(Value& value) {
    m_archive >> value;
    return *this;
  }

  [[noreturn]] void Throw(int cause) const;
  void RequireStack() const;
  Factory ReadFactory();
  AdObject* Make(Factory factory, unsigned short tag);
  void Append(AdObject* object);
  void IndexLoaded();

  CArchive m_archive;
  // Storing: the tags of all objects so far. Loading: the first `m_indexed` of m_loaded, from the
  // first call of MapObject on.
  std::unique_ptr<tesselkit::objects::PointerTags> m_tags;
  // Loading: the objects at their tags.
  std::unique_ptr<CPtrArray> m_loaded;
  std::unique_ptr<tesselkit::objects::FactoryCache> m_factories;
  int m_indexed = 0;
};
