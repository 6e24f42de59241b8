// Putting texts into order by the codes of their characters.
#pragma once

#include <cstdint>
#include <utility>

#include "tesselkit/platform/collections.h"

namespace tesselkit::util {

// Sorts by _mbscmp, or with `fold` by _mbsicmp; texts that compare equal keep their order. When
// memory runs out, CMemoryException* is thrown and the array is as it was.
void SortStable(CStringArray& array, bool fold, bool ascending);

// Puts the element whose index index_at(i) refers to at place i, for every i. The indexes are used
// up.
template <class IndexAt>
void Arrange(CStringArray& array, IndexAt index_at) {
  CString* const texts = array.GetData();
  const auto count = static_cast<std::uint32_t>(array.GetSize());
  for (std::uint32_t first = 0; first < count; ++first) {
    for (std::uint32_t place = first;;) {
      const std::uint32_t from = std::exchange(index_at(place), place);
      if (from == first) break;
      swap(texts[place], texts[from]);
      place = from;
    }
  }
}

}  // namespace tesselkit::util
