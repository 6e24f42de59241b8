#include "tesselkit/platform/collections.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>

#include "tests/support/failures.h"
#include "tests/support/thrown.h"

namespace {

using test::Throws;

// A vector with the array's members, and a refusal of its own for what cannot be.
class ModelArray {
 public:
  int GetSize() const { return static_cast<int>(m_texts.size()); }
  void SetSize(int size, int = -1) { m_texts.resize(Allowed(size, INT_MAX)); }
  void SetAt(int index, const CString& text) { m_texts[Allowed(index, GetSize() - 1)] = text; }
  void SetAtGrow(int index, const CString& text) {
    SetSize(std::max(Allowed(index, INT_MAX) + 1, GetSize()));
    SetAt(index, text);
  }
  int Add(const CString& text) {
    m_texts.push_back(text);
    return GetSize() - 1;
  }
  void InsertAt(int index, const CString& text, int count) {
    const std::vector<CString> added(Allowed(count, INT_MAX), text);
    Insert(index, added);
  }
  void InsertAt(int index, const ModelArray* other) { Insert(index, other->m_texts); }
  int Append(const ModelArray& other) {
    Insert(GetSize(), other.m_texts);
    return GetSize() / 2;
  }
  void Copy(const ModelArray&) {}
  void RemoveAt(int index, int count) {
    const auto first = m_texts.begin() + Allowed(index, GetSize());
    m_texts.erase(first, first + Allowed(count, GetSize() - index));
  }
  void RemoveAll() { m_texts.clear(); }
  const CString& operator[](int index) const { return m_texts[Allowed(index, GetSize() - 1)]; }
  const std::vector<CString>& Texts() const { return m_texts; }

 private:
  static int Allowed(int number, int limit) {
    if (number < 0 || number > limit) AfxThrowInvalidArgException();
    return number;
  }
  void Insert(int index, std::vector<CString> added) {
    if (Allowed(index, INT_MAX) > GetSize()) SetSize(index);
    m_texts.insert(m_texts.begin() + index, added.begin(), added.end());
  }
  std::vector<CString> m_texts;
};

struct Arguments {
  unsigned operation;
  int index;
  int count;
  CString text;
};

template <class Array>
void Apply(Array& array, const Arguments& with) {
  switch (with.operation) {
    case 0:
      return array.SetSize(with.index, with.count * 10);
    case 1:
      return array.SetAt(with.index, with.text);
    case 2:
      return array.SetAtGrow(with.index, with.text);
    case 3:
      return array.InsertAt(with.index, with.text, with.count);
    case 4:
      return array.InsertAt(with.index, &array);
    case 5:
      return array.InsertAt(with.index, array[with.count], 1);  // an element of its own
    case 6:
      return array.RemoveAt(with.index, with.count);
    case 7:
      return array.Copy(array);
    case 8:
      return static_cast<void>(array.Append(array));
    default:
      return static_cast<void>(array.Add(with.text));
  }
}

TEST(Arrays, RandomOperationsGiveWhatAVectorGives) {
  std::mt19937 random(1);
  CStringArray array;
  ModelArray model;
  for (int round = 0; round < 8000; ++round) {
    if (model.GetSize() > 60) array.RemoveAll(), model.RemoveAll();
    const int index = static_cast<int>(random() % (static_cast<unsigned>(model.GetSize()) + 4)) - 1;
    const int count = static_cast<int>(random() % 5) - 1;
    const Arguments with = {static_cast<unsigned>(random() % 12), index, count,
                            CString('a', static_cast<int>(random() % 40))};
    const bool is_refused = Throws<CInvalidArgException>([&] { Apply(model, with); });
    ASSERT_EQ(Throws<CInvalidArgException>([&] { Apply(array, with); }), is_refused) << round;
    const std::vector<CString> texts(array.GetData(), array.GetData() + array.GetSize());
    ASSERT_EQ(texts, model.Texts()) << "round " << round << ", operation " << with.operation;
    ASSERT_EQ(array.GetUpperBound(), model.GetSize() - 1);
  }
}

TEST(Arrays, NumbersAtTheEndOfTheRangeAreRefused) {
  CDWordArray array;
  array.SetSize(3);
  EXPECT_TRUE(Throws<CInvalidArgException>([&] { array.SetAtGrow(INT_MAX, 1); }));
  EXPECT_TRUE(Throws<CInvalidArgException>([&] { array.RemoveAt(1, INT_MAX); }));
  EXPECT_TRUE(Throws<CInvalidArgException>([&] { array.RemoveAt(INT_MAX, INT_MAX); }));
  EXPECT_TRUE(Throws<CInvalidArgException>([&] { array.InsertAt(0, nullptr); }));
  EXPECT_TRUE(Throws<CMemoryException>([&] { array.InsertAt(INT_MAX, 1); }));
  EXPECT_TRUE(Throws<CInvalidArgException>([&] { array[3] = 1; }));
  EXPECT_EQ(array.GetSize(), 3);
  EXPECT_EQ(array[2], 0u);
}

TEST(Maps, RandomOperationsGiveWhatAListOfPairsGives) {
  std::mt19937 random(4);
  CMapStringToString map;
  std::vector<std::pair<CString, CString>> model;  // in the order in which keys came
  for (int round = 0; round < 8000; ++round) {
    const CString key('k', static_cast<int>(random() % 40));
    const CString value('v', static_cast<int>(random() % 40));
    const auto found = std::find_if(model.begin(), model.end(),
                                    [&](const auto& entry) { return entry.first == key; });
    const bool is_known = found != model.end();
    CString out = is_known ? found->second : value;
    const unsigned operation = random() % 3;
    if (operation == 0) {
      map.SetAt(key, value);
      is_known ? found->second = value : model.emplace_back(key, value).second;
    } else if (operation == 1) {
      EXPECT_EQ(map.RemoveKey(key), is_known);
      if (is_known) model.erase(found);
    } else {
      EXPECT_EQ(map[key], is_known ? out : "");
      if (!is_known) model.emplace_back(key, "");
    }
    out = "untouched";
    const bool is_there = operation != 1;
    ASSERT_EQ(map.Lookup(key, out), is_there);
    ASSERT_EQ(out, is_there ? map[key] : "untouched");
    if (round % 1000 == 999) map.RemoveAll(), model.clear();
    std::vector<std::pair<CString, CString>> entries(model.size());
    std::size_t count = 0;
    for (POSITION place = map.GetStartPosition(); place != nullptr; ++count) {
      ASSERT_LT(count, model.size());
      map.GetNextAssoc(place, entries[count].first, entries[count].second);
    }
    ASSERT_EQ(entries, model) << "round " << round;
    ASSERT_EQ(map.GetCount(), static_cast<int>(count));
  }
}

TEST(Maps, TheEntryJustHandedOutMayBeRemoved) {
  CMapPtrToWord map;
  for (std::intptr_t n = 0; n < 100; ++n)
    map[reinterpret_cast<void*>(n)] = static_cast<WORD>(3 * n);
  int seen = 0;
  void* key = nullptr;
  WORD value = 0;
  for (POSITION place = map.GetStartPosition(); place != nullptr; ++seen) {
    map.GetNextAssoc(place, key, value);
    EXPECT_EQ(value, 3 * reinterpret_cast<std::intptr_t>(key));
    EXPECT_EQ(seen % 3 != 0 && map.RemoveKey(key), seen % 3 != 0);
  }
  EXPECT_EQ(seen, 100);
  EXPECT_EQ(map.GetCount(), 34);
  POSITION end = nullptr;
  EXPECT_TRUE(Throws<CInvalidArgException>([&] { map.GetNextAssoc(end, key, value); }));
}

TEST(Maps, NullIsTheEmptyKey) {
  CMapStringToPtr map;
  map.SetAt(nullptr, &map);
  void* value = nullptr;
  const char* stored = nullptr;
  EXPECT_TRUE(map.Lookup("", value) && value == &map);
  EXPECT_TRUE(map.LookupKey("", stored) && *stored == '\0' && !map.LookupKey("x", stored));
}

}  // namespace
