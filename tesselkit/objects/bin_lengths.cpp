#include "tesselkit/objects/bin_lengths.h"

#include <algorithm>

namespace tesselkit::objects {
namespace {

constexpr char kBorder[] = "+-------------------------------------------------";

template <class... Values>
void AddLine(CStringArray& lines, const char* format, Values... values) {
  CString line;
  line.Format(format, values...);
  lines.Add(std::move(line));
}

}  // namespace

struct BinLengths::Summary {
  unsigned long used = 0;
  unsigned long empty = 0;
  unsigned long shortest = 0;
  unsigned long longest = 0;
  double empty_percent = 0;
  double average = 0;        // entries of a bin that has any
  double least_average = 0;  // what it would be if the entries lay as evenly as they can
  double ratio = 0;
};

void BinLengths::Add(unsigned long length) {
  if (length >= m_times.size()) m_times.resize(length + 1);
  ++m_times[length];
}

BinLengths::Summary BinLengths::Summarise(const TableSizes& sizes) const {
  Summary summary;
  if (sizes.items == 0) return summary;
  const auto shortest = std::find_if(m_times.begin() + 1, m_times.end(),
                                     [](unsigned long times) { return times > 0; });
  summary.shortest = static_cast<unsigned long>(shortest - m_times.begin());
  summary.longest = m_times.size() - 1;
  summary.empty = m_times[0];
  summary.used = sizes.bins - summary.empty;
  const auto items = static_cast<double>(sizes.items);
  summary.empty_percent =
      static_cast<double>(summary.empty) * 100.0 / static_cast<double>(sizes.bins);
  summary.average = items / static_cast<double>(summary.used);
  summary.least_average = items / static_cast<double>(std::min(sizes.items, sizes.bins));
  summary.ratio = summary.average / summary.least_average;
  return summary;
}

void BinLengths::Report(const TableSizes& sizes, CStringArray& lines) const {
  const Summary summary = Summarise(sizes);
  lines.RemoveAll();
  lines.Add(kBorder);
  AddLine(lines, "| items=%lu, cur size=%lu, next size=%lu", sizes.items, sizes.bins,
          sizes.next_size);
  AddLine(lines, "| used=%lu, empty=%lu, empty%%=%g%%", summary.used, summary.empty,
          summary.empty_percent);
  AddLine(lines, "| shortest non-zero=%lu, longest=%lu", summary.shortest, summary.longest);
  AddLine(lines, "| avg non-empty=%g, items/min(items,size)=%g, ratio=%g", summary.average,
          summary.least_average, summary.ratio);
  lines.Add("|   Length     Times");
  lines.Add("| ---------  ---------");
  for (unsigned long length = summary.shortest; length <= summary.longest && length > 0; ++length) {
    AddLine(lines, "| %9lu %9lu", length, m_times[length]);
  }
  lines.Add(kBorder);
}

}  // namespace tesselkit::objects
