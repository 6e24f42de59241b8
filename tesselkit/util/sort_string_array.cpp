#include "tesselkit/util/sort_string_array.h"

#include "tesselkit/util/text_order.h"

AdSortStringArray::AdSortStringArray() = default;
AdSortStringArray::~AdSortStringArray() = default;

// A pass over all neighbours; if it does not leave the array in order, the texts are sorted as
// further passes would.
void AdSortStringArray::Sort(int ascending) {
  int exchanges = 0;
  for (int i = 0; i + 1 < GetSize(); ++i) exchanges += CompareAndSwap(i, ascending);
  if (exchanges != 0) tesselkit::util::SortStable(*this, /*fold=*/true, ascending != 0);
}

int AdSortStringArray::CompareAndSwap(int index, int ascending) {
  CString& first = ElementAt(index);
  CString& second = ElementAt(index + 1);
  const int order = first.CompareNoCase(second);
  if (ascending != 0 ? order <= 0 : order >= 0) return 0;
  swap(first, second);
  return 1;
}
