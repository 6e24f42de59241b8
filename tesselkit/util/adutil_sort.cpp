#include "tesselkit/util/adutil_sort.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

#include "tesselkit/platform/mbstring.h"
#include "tesselkit/util/text_order.h"

using namespace tesselkit;

namespace {

// Merging, since it stays within the array whatever a locale answers.
void SortCollating(CStringArray& array, bool ascending) {
  const CString* const texts = array.GetData();
  std::vector<std::uint32_t, platform::Allocator<std::uint32_t>> order(
      static_cast<std::size_t>(array.GetSize()));
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
    return ascending ? _mbscoll(texts[a], texts[b]) < 0 : _mbscoll(texts[b], texts[a]) < 0;
  });
  util::Arrange(array, [&](std::uint32_t place) -> std::uint32_t& { return order[place]; });
}

}  // namespace

void AdSortStrings(CStringArray& array, int case_sensitive, int ascending, int collate) {
  if (array.GetSize() < 1) return;
  if (collate != 0) {
    SortCollating(array, ascending != 0);
  } else {
    util::SortStable(array, /*fold=*/case_sensitive == 0, ascending != 0);
  }
}
