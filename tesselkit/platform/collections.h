// The platform's arrays and maps.
//
// An index outside an array, a negative size or a null buffer throws CInvalidArgException*; memory
// that runs out throws CMemoryException*. Either way the collection stays as it was. Elements that
// SetSize adds are empty texts, zeros or nulls. Collections own their texts, never what a pointer
// points to.
// Different objects may be used by different threads at once; one object only for reading.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <limits>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tesselkit/platform/allocator.h"
#include "tesselkit/platform/cobject.h"
#include "tesselkit/platform/cstring.h"

// Throws CInvalidArgException*.
[[noreturn]] TESSELKIT_API void AfxThrowInvalidArgException();

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

// Lets a map with text keys be searched for a text that is no CString.
struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const noexcept {
    return std::hash<std::string_view>()(text);
  }
  std::size_t operator()(const CString& text) const noexcept { return (*this)(text.View()); }
};

struct TextEqual {
  using is_transparent = void;
  bool operator()(const CString& a, const CString& b) const noexcept { return a == b; }
  bool operator()(const CString& a, std::string_view b) const noexcept { return a.View() == b; }
  bool operator()(std::string_view a, const CString& b) const noexcept { return a == b.View(); }
};

struct TextKey {
  using Key = CString;
  using Argument = const char*;
  using Hash = TextHash;
  using Equal = TextEqual;
  static std::string_view Wanted(const char* key) {
    return key != nullptr ? std::string_view(key) : std::string_view();
  }
};

struct PointerKey {
  using Key = void*;
  using Argument = void*;
  using Hash = std::hash<void*>;
  using Equal = std::equal_to<void*>;
  static void* Wanted(void* key) { return key; }
};

// What the maps have in common. Entries are enumerated in the order in which their keys came.
// References to values stay good until their key is removed.
template <class KeyKind, class Value>
class MapOf : public CObject {
 public:
  using Key = typename KeyKind::Key;
  using KeyArgument = typename KeyKind::Argument;

  MapOf(const MapOf&) = delete;
  MapOf& operator=(const MapOf&) = delete;

  int GetCount() const noexcept { return static_cast<int>(m_entries.size()); }
  int GetSize() const noexcept { return GetCount(); }
  BOOL IsEmpty() const noexcept { return m_entries.empty() ? TRUE : FALSE; }

  // Copies the value of `key` to `value`. FALSE, with `value` untouched, when the key is missing.
  BOOL Lookup(KeyArgument key, Value& value) const {
    const auto found = m_entries.find(KeyKind::Wanted(key));
    if (found == m_entries.end()) return FALSE;
    value = found->second.value;
    return TRUE;
  }

  // Points `stored` to the map's own copy of a text key, good until it is removed. FALSE, with
  // `stored` untouched, when the key is missing.
  BOOL LookupKey(KeyArgument key, const char*& stored) const requires std::is_same_v<Key, CString> {
    const auto found = m_entries.find(KeyKind::Wanted(key));
    if (found == m_entries.end()) return FALSE;
    stored = found->first;
    return TRUE;
  }

  // The value of `key`, which is entered with an empty one when it is missing.
  Value& operator[](KeyArgument key) {
    const auto found = m_entries.find(KeyKind::Wanted(key));
    return found != m_entries.end() ? found->second.value : Enter(key);
  }

  void SetAt(KeyArgument key, Value value) { (*this)[key] = std::move(value); }

  // TRUE when the key was there.
  BOOL RemoveKey(KeyArgument key) {
    const auto found = m_entries.find(KeyKind::Wanted(key));
    if (found == m_entries.end()) return FALSE;
    Unlink(found->second);
    m_entries.erase(found);
    return TRUE;
  }
  void RemoveAll() noexcept {
    m_entries.clear();
    m_first = nullptr;
    m_last = nullptr;
  }

  // Enumeration: the place of the first entry, null for an empty map; then each entry's key and
  // value, while `place` goes on to the next one, null after the last. The entry that was just
  // handed out may be removed meanwhile.
  POSITION GetStartPosition() const noexcept { return PlaceOf(m_first); }
  void GetNextAssoc(POSITION& place, Key& key, Value& value) const {
    if (place == nullptr) AfxThrowInvalidArgException();
    const Entry* entry = EntryAt(place);
    key = *entry->key;
    value = entry->value;
    place = PlaceOf(entry->next);
  }

  // How many bins the keys are spread over; InitHashTable makes room for about `size` keys.
  UINT GetHashTableSize() const noexcept { return static_cast<UINT>(m_entries.bucket_count()); }
  void InitHashTable(UINT size, BOOL = TRUE) { m_entries.reserve(size); }

 protected:
  MapOf() = default;

 private:
  struct Entry {
    Value value{};
    const Key* key = nullptr;
    Entry* previous = nullptr;
    Entry* next = nullptr;
  };

  using Entries = std::unordered_map<Key, Entry, typename KeyKind::Hash, typename KeyKind::Equal,
                                     Allocator<std::pair<const Key, Entry>>>;

  static POSITION PlaceOf(const Entry* entry) noexcept {
    return reinterpret_cast<POSITION>(const_cast<Entry*>(entry));
  }
  static const Entry* EntryAt(POSITION place) noexcept {
    return reinterpret_cast<const Entry*>(place);
  }

  Value& Enter(KeyArgument key) {
    const auto made = m_entries.try_emplace(Key(key)).first;
    Entry& entry = made->second;
    entry.key = &made->first;
    entry.previous = m_last;
    (m_last != nullptr ? m_last->next : m_first) = &entry;
    m_last = &entry;
    return entry.value;
  }

  void Unlink(const Entry& entry) noexcept {
    (entry.previous != nullptr ? entry.previous->next : m_first) = entry.next;
    (entry.next != nullptr ? entry.next->previous : m_last) = entry.previous;
  }

  Entries m_entries;
  Entry* m_first = nullptr;
  Entry* m_last = nullptr;
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
