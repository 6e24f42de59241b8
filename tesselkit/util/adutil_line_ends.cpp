#include "tesselkit/util/adutil_line_ends.h"

#include "tesselkit/platform/byte_scan.h"
#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/text_buffer.h"
#include "tesselkit/platform/text_writer.h"

using namespace tesselkit;
using platform::ViewOf;

// No page has a character with a CR or LF inside, and a lead byte before one stands alone: so the
// line ends can be looked for byte by byte.

namespace {

// Calls found(begin, end) for every line end of `text` whose first byte is one of `first_bytes`.
template <class Found>
void ForEachLineEnd(std::string_view text, std::string_view first_bytes, Found found) {
  platform::ByteSet bytes;
  for (char byte : first_bytes) bytes.Add(byte);
  platform::ByteScan scan(text, bytes);
  std::size_t done = 0;
  for (std::size_t at = 0; scan.Next(at);) {
    if (at < done) continue;
    done = at + (text.substr(at).starts_with("\r\n") ? 2 : 1);
    found(at, done);
  }
}

// `text` with every such line end replaced.
CString WithLineEnds(std::string_view text, std::string_view first_bytes, const CString& line_end) {
  std::size_t size = text.size();
  ForEachLineEnd(text, first_bytes, [&](std::size_t begin, std::size_t end) {
    size = size - (end - begin) + line_end.View().size();
  });
  CString result;
  platform::TextWriter writer(platform::BufferOf(result, size), size);
  const char* const text_end = text.data() + text.size();
  std::size_t kept = 0;
  ForEachLineEnd(text, first_bytes, [&](std::size_t begin, std::size_t end) {
    writer.Put(text.substr(kept, begin - kept), text_end);
    writer.Put(line_end);
    kept = end;
  });
  writer.Put(text.substr(kept), text_end);
  return result;
}

}  // namespace

// Line feeds alone may stay as they are.
CString AdStringToNewlineFormat(const char* s) {
  return WithLineEnds(ViewOf(s), "\r", "\n");
}

CString AdStringToCRLFFormat(const char* s) {
  return WithLineEnds(ViewOf(s), "\r\n", "\r\n");
}
