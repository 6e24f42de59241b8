#include "tesselkit/util/adutil_edit.h"

#include <span>

#include "tesselkit/platform/character_set.h"
#include "tesselkit/platform/text_buffer.h"
#include "tesselkit/platform/text_writer.h"
#include "tesselkit/util/adutil_core.h"
#include "tesselkit/util/separator_scan.h"

using namespace tesselkit;
using platform::CharacterSet;
using platform::TextWriter;
using platform::ViewOf;

CString AdTrimLeading(const char* s, const char* chars) {
  const std::string_view text = ViewOf(s);
  return CString(text.substr(CharacterSet(ViewOf(chars)).FrontOf(text)));
}

CString AdTrimLeadingWhitespace(const char* s) {
  return AdTrimLeading(s, " \t\r\n");
}

CString AdRemoveWord(CString& str, const char* separators) {
  const std::string_view text = str.View();
  const CharacterSet set(ViewOf(separators));
  const std::size_t begin = set.FrontOf(text);
  const std::size_t length = set.FrontWithout(text.substr(begin));
  CString word(text.substr(begin, length));
  str.RemoveFront(begin + length);
  return word;
}

void AdSplitString(const char* str, const char* separators, CStringArray& parts) {
  const std::string_view text = ViewOf(str);
  CStringArray pieces;
  if (!text.empty()) {
    util::SeparatorScan scan(text, ViewOf(separators));
    pieces.SetSize(platform::LengthOf(scan.Count() + 1));
    CString* piece = pieces.GetData();
    std::size_t kept = 0;
    for (std::size_t begin, end; scan.Next(begin, end); kept = end) {
      (piece++)->Append(text.substr(kept, begin - kept));
    }
    piece->Append(text.substr(kept));
  }
  parts.Swap(pieces);
}

void AdCStringArrayToCString(const CStringArray& array, CString& result, const char* separator) {
  const CString between = AdIsEmpty(separator) ? "\n" : separator;
  const std::span elements(array.GetData(), static_cast<std::size_t>(array.GetSize()));
  CString joined;
  if (!elements.empty()) {
    std::size_t size = between.View().size() * (elements.size() - 1);
    for (const CString& element : elements) size += element.View().size();
    TextWriter writer(platform::BufferOf(joined, size), size);
    writer.Put(elements.front());
    for (const CString& element : elements.subspan(1)) {
      writer.Put(between);
      writer.Put(element);
    }
  }
  swap(result, joined);
}

void AdReplaceString(CString& str, const char* from, const char* to) {
  str.Replace(from, to);
}
