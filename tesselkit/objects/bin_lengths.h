// The report on how evenly a table's entries lie in its bins.
#pragma once

#include <vector>

#include "tesselkit/platform/allocator.h"
#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/export.h"

namespace tesselkit::objects {

// The fields of a table that its report opens with.
struct TableSizes {
  unsigned long items;
  unsigned long bins;
  unsigned long next_size;
};

// How many bins there are of each length. A table's scan adds them one by one; a table without
// entries need not be scanned.
class TESSELKIT_API BinLengths {
 public:
  // Throws CMemoryException* when there is no room for a new length.
  void Add(unsigned long length);

  // Replaces `lines` by the report. Without any entry, the figures of the bins are all 0. Throws
  // CMemoryException*; `lines` is then a part of the report.
  void Report(const TableSizes& sizes, CStringArray& lines) const;

 private:
  struct Summary;
  Summary Summarise(const TableSizes& sizes) const;

  std::vector<unsigned long, tesselkit::platform::Allocator<unsigned long>> m_times;
};

}  // namespace tesselkit::objects
