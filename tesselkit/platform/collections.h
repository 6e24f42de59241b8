// The platform's arrays and maps.
//
// An index outside an array, a negative size or a null buffer throws CInvalidArgException*; memory
// that runs out throws CMemoryException*. Either way the collection stays as it was. Elements that
// SetSize adds are empty texts, zeros or nulls. Collections own their texts, never what a pointer
// points to. None is serialised: Serialize stores and loads nothing, and IsSerializable says so.
// Different objects may be used by different threads at once; one object only for reading.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

#include "tesselkit/platform/allocator.h"
#include "tesselkit/platform/cobject.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/map_of.h"

namespace tesselkit::platform {

// What the arrays have in common.
template <class Element>
class ArrayOf : public CObject {
 public:
  int GetSize() const noexcept { return static_cast<int>(m_elements.size()); }
  int GetCount() const noexcept { return GetSize(); }
  BOOL IsEmpty() const noexcept { return m_elements.empty() ? TRUE : FALSE; }
  int GetUpperBound() const noexcept { return GetSize() - 1; }  // -1 when empty

  // Makes the array `size` elements long. A positive `grow_by` also makes room for so many more.
  void SetSize(int size, int grow_by = -1) {
    if (size < 0) AfxThrowInvalidArgException();
    const auto count = static_cast<std::size_t>(size);
    if (grow_by > 0) m_elements.reserve(count + static_cast<std::size_t>(grow_by));
    m_elements.resize(count);
  }
  void FreeExtra() { m_elements.shrink_to_fit(); }
  void RemoveAll() noexcept { Elements().swap(m_elements); }

  const Element& GetAt(int index) const { return m_elements[Checked(index, GetSize())]; }
  void SetAt(int index, Element element) { ElementAt(index) = std::move(element); }
  Element& ElementAt(int index) { return m_elements[Checked(index, GetSize())]; }
  const Element& ElementAt(int index) const { return GetAt(index); }
  const Element& operator[](int index) const { return GetAt(index); }
  Element& operator[](int index) { return ElementAt(index); }

  // The elements in a row, good until the array changes its size; may be null when it is empty.
  const Element* GetData() const noexcept { return m_elements.data(); }
  Element* GetData() noexcept { return m_elements.data(); }

  // Sets an element; an index past the end makes the array longer.
  void SetAtGrow(int index, Element element) {
    if (index == std::numeric_limits<int>::max()) AfxThrowInvalidArgException();
    if (index >= GetSize()) SetSize(index + 1);
    ElementAt(index) = std::move(element);
  }

  // Puts an element, or those of another array, at the end. Returns the first one's index.
  int Add(Element element) {
    m_elements.push_back(std::move(element));
    return GetUpperBound();
  }
  int Append(const ArrayOf& source) {
    const int first = GetSize();
    Insert(first, Elements(source.m_elements));
    return first;
  }
  void Copy(const ArrayOf& source) { Elements(source.m_elements).swap(m_elements); }
  void Swap(ArrayOf& other) noexcept { m_elements.swap(other.m_elements); }

  // Inserts `count` copies, or the elements of another array, before `index`; an index past the
  // end makes the array longer first.
  void InsertAt(int index, const Element& element, int count = 1) {
    if (index < 0 || count < 0) AfxThrowInvalidArgException();
    Insert(index, Elements(static_cast<std::size_t>(count), element));
  }
  void InsertAt(int index, const ArrayOf* source) {
    if (index < 0 || source == nullptr) AfxThrowInvalidArgException();
    Insert(index, Elements(source->m_elements));
  }
  void RemoveAt(int index, int count = 1) {
    if (index < 0 || count < 0 || count > GetSize() - index) AfxThrowInvalidArgException();
    const auto first = m_elements.begin() + index;
    m_elements.erase(first, first + count);
  }

 protected:
  ArrayOf() = default;

 private:
  using Elements = std::vector<Element, Allocator<Element>>;

  static std::size_t Checked(int index, int limit) {
    if (index < 0 || index >= limit) AfxThrowInvalidArgException();
    return static_cast<std::size_t>(index);
  }

  // Moves elements in. All memory is taken before anything changes.
  void Insert(int index, Elements&& added) {
    const std::size_t size = std::max(m_elements.size(), static_cast<std::size_t>(index));
    const std::size_t wanted = size + added.size();
    if (wanted > std::numeric_limits<int>::max()) AfxThrowMemoryException();
    if (wanted > m_elements.capacity()) {
      m_elements.reserve(std::max(wanted, 2 * m_elements.size()));
    }
    m_elements.resize(size);
    m_elements.insert(m_elements.begin() + index, std::make_move_iterator(added.begin()),
                      std::make_move_iterator(added.end()));
  }

  Elements m_elements;
};

}  // namespace tesselkit::platform

class TESSELKIT_API CStringArray : public tesselkit::platform::ArrayOf<CString> {
  DECLARE_DYNAMIC(CStringArray)

 public:
  CStringArray() = default;
  ~CStringArray() override;
};

class TESSELKIT_API CDWordArray : public tesselkit::platform::ArrayOf<DWORD> {
  DECLARE_DYNAMIC(CDWordArray)

 public:
  CDWordArray() = default;
  ~CDWordArray() override;
};

class TESSELKIT_API CPtrArray : public tesselkit::platform::ArrayOf<void*> {
  DECLARE_DYNAMIC(CPtrArray)

 public:
  CPtrArray() = default;
  ~CPtrArray() override;
};

// The argument of the maps' constructors is how many entries are made at once in the platform's
// own vocabulary; it changes nothing here.

class TESSELKIT_API CMapStringToString
    : public tesselkit::platform::MapOf<tesselkit::platform::TextKey, CString> {
  DECLARE_DYNAMIC(CMapStringToString)

 public:
  explicit CMapStringToString(int block_size = 10);
  ~CMapStringToString() override;
};

class TESSELKIT_API CMapStringToPtr
    : public tesselkit::platform::MapOf<tesselkit::platform::TextKey, void*> {
  DECLARE_DYNAMIC(CMapStringToPtr)

 public:
  explicit CMapStringToPtr(int block_size = 10);
  ~CMapStringToPtr() override;
};

class TESSELKIT_API CMapPtrToWord
    : public tesselkit::platform::MapOf<tesselkit::platform::PointerKey, WORD> {
  DECLARE_DYNAMIC(CMapPtrToWord)

 public:
  explicit CMapPtrToWord(int block_size = 10);
  ~CMapPtrToWord() override;
};
