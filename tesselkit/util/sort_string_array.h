// An array of texts that sorts itself.
//
// Its record in the class tree is CStringArray's. Objects belong to one thread at a time.
#pragma once

#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/export.h"

class TESSELKIT_API AdSortStringArray : public CStringArray {
 public:
  AdSortStringArray();
  ~AdSortStringArray() override;

  // Sorts the texts without regard to case (_mbsicmp), the other way round with `ascending` zero.
  // Texts that compare equal keep their order. When memory runs out, CMemoryException* is thrown,
  // and the array still has all its texts.
  void Sort(int ascending);

 private:
  // Exchanges the elements at `index` and `index` + 1 and returns 1 when they are out of order;
  // otherwise returns 0.
  int CompareAndSwap(int index, int ascending);
};
