// The UTF-16 texts of automation.h, and the way between them and the code page.
#include <iconv.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "tesselkit/platform/automation.h"
#include "tesselkit/platform/code_page.h"

using namespace tesselkit::platform;

namespace {

using WideText = std::basic_string<char16_t, std::char_traits<char16_t>, Allocator<char16_t>>;

constexpr std::string_view kReplacement = "?";
constexpr std::u16string_view kWideReplacement = u"\uFFFD";

// The host's name of the UTF-16 that this machine's char16_t is.
constexpr const char* kWideCodeset =
    __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? "UTF-16LE" : "UTF-16BE";

// A text knows its length from the number in front of it.
struct BlockHead {
  alignas(16) std::uint32_t byte_count;
};

BlockHead* HeadOf(BSTR text) {
  return reinterpret_cast<BlockHead*>(reinterpret_cast<char*>(text) - sizeof(BlockHead));
}

// Bytes of page 0 are characters of these codes, as they are in ISO 8859-1.
Text CodesetOf(int page) {
  if (page == 0) return "ISO-8859-1";
  if (page == 65001) return "UTF-8";
  return Text("CP") + std::to_string(page).c_str();
}

// A conversion of the host's; unset when it has none between these.
class Converter {
 public:
  Converter(const char* to, const char* from) : m_handle(iconv_open(to, from)) {}
  ~Converter() {
    if (IsOpen()) iconv_close(m_handle);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  bool IsOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

  // Appends one character, given whole, to `out`; false when there is none for it.
  template <class To>
  bool Append(const char* bytes, std::size_t size, To& out) {
    typename To::value_type unit[8];
    char* from = const_cast<char*>(bytes);
    char* to = reinterpret_cast<char*>(unit);
    std::size_t room = sizeof unit;
    iconv(m_handle, nullptr, nullptr, nullptr, nullptr);
    if (iconv(m_handle, &from, &size, &to, &room) != 0) return false;
    out.append(unit, (sizeof unit - room) / sizeof unit[0]);
    return true;
  }

 private:
  iconv_t m_handle;
};

bool IsAscii(char c) {
  return static_cast<unsigned char>(c) < 0x80;
}

void AppendWide(std::string_view text, WideText& wide) {
  Converter converter(kWideCodeset, CodesetOf(CodePageNumber()).c_str());
  const char* const end = text.data() + text.size();
  for (const char* c = text.data(); c < end;) {
    const std::size_t length = CharacterLength(c, end);
    if (length == 1 && IsAscii(*c)) {
      wide += static_cast<char16_t>(*c);
    } else if (!converter.IsOpen() || !converter.Append(c, length, wide)) {
      wide += kWideReplacement;
    }
    c += length;
  }
}

void AppendNarrow(std::u16string_view wide, Text& text) {
  Converter converter(CodesetOf(CodePageNumber()).c_str(), kWideCodeset);
  for (std::size_t at = 0; at < wide.size();) {
    const bool is_high = wide[at] >= 0xD800 && wide[at] <= 0xDBFF;
    const bool is_pair =
        is_high && at + 1 < wide.size() && wide[at + 1] >= 0xDC00 && wide[at + 1] <= 0xDFFF;
    const std::size_t length = is_pair ? 2 : 1;
    if (wide[at] < 0x80) {
      text += static_cast<char>(wide[at]);
    } else if (!converter.IsOpen() ||
               !converter.Append(reinterpret_cast<const char*>(&wide[at]), 2 * length, text)) {
      text += kReplacement;
    }
    at += length;
  }
}

}  // namespace

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept {
  const std::size_t byte_count = std::size_t{length} * sizeof(OLECHAR);
  if (byte_count > UINT32_MAX) return nullptr;
  void* memory = std::malloc(sizeof(BlockHead) + byte_count + sizeof(OLECHAR));
  if (memory == nullptr) return nullptr;
  static_cast<BlockHead*>(memory)->byte_count = static_cast<std::uint32_t>(byte_count);
  auto* const made = reinterpret_cast<BSTR>(static_cast<char*>(memory) + sizeof(BlockHead));
  if (text != nullptr) std::memcpy(made, text, byte_count);
  made[length] = u'\0';
  return made;
}

BSTR SysAllocString(const OLECHAR* text) noexcept {
  if (text == nullptr) return nullptr;
  return SysAllocStringLen(text, static_cast<UINT>(std::u16string_view(text).size()));
}

void SysFreeString(BSTR text) noexcept {
  if (text != nullptr) std::free(HeadOf(text));
}

UINT SysStringLen(BSTR text) noexcept {
  return text != nullptr ? HeadOf(text)->byte_count / UINT{sizeof(OLECHAR)} : 0;
}

CString tesselkit::platform::NarrowText(BSTR text) {
  const std::u16string_view wide =
      text != nullptr ? std::u16string_view(text, SysStringLen(text)) : std::u16string_view();
  Text narrow;
  AppendNarrow(wide, narrow);
  return CString(std::string_view(narrow));
}

BSTR CString::AllocSysString() const {
  WideText wide;
  if (std::all_of(m_text.begin(), m_text.end(), IsAscii)) {
    wide.assign(m_text.begin(), m_text.end());
  } else {
    AppendWide(View(), wide);
  }
  const BSTR text = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  if (text == nullptr) AfxThrowMemoryException();
  return text;
}
