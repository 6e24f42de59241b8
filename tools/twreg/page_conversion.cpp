#include "tools/twreg/page_conversion.h"

#include <memory>

#include "tesselkit/platform/automation.h"
#include "tesselkit/platform/mbstring.h"
#include "tools/twreg/failure.h"

namespace twreg {

namespace {

// The way from one page to another, for the texts of one key after the other.
class Conversion {
 public:
  Conversion(int from, int to) : m_from(from), m_to(to) {}

  void Convert(FileKey& key) {
    m_key = key.path.Name();
    ConvertText(key.path.below);
    if (!IsWithinLimits(key.path)) Fail("The names would be too long");
    for (FileValue& entry : key.values) {
      ConvertText(entry.value.name);
      if (entry.value.name.size() > kLongestValueName) Fail("The names would be too long");
      if (IsTextType(entry.value.type)) ConvertText(entry.value.data);
    }
  }

 private:
  void ConvertText(std::string& text) const {
    const std::u16string wide = WideOf(CString(text), m_from);
    if (wide.find(kUnreadable) != std::u16string::npos) Fail("Bytes are no text");
    const CString converted = NarrowOf(wide, m_to);
    if (WideOf(converted, m_to) != wide) Fail("The other page lacks a character");
    text = converted.View();
  }

  [[noreturn]] void Fail(const char* why) const {
    throw Failure("The key " + QuotedText(m_key) + " cannot be brought from code page " +
                  std::to_string(m_from) + " into " + std::to_string(m_to) + ": " + why);
  }

  int m_from;
  int m_to;
  std::string m_key;
};

}  // namespace

PageScope::PageScope(int page) : m_before(_getmbcp()) {
  if (_setmbcp(page) != 0) throw UsageError("There is no code page " + std::to_string(page));
}

PageScope::~PageScope() {
  _setmbcp(m_before);
}

std::u16string WideOf(const CString& text, int page) {
  const PageScope scope(page);
  const std::unique_ptr<OLECHAR, decltype(&SysFreeString)> wide(text.AllocSysString(),
                                                                &SysFreeString);
  return {wide.get(), SysStringLen(wide.get())};
}

CString NarrowOf(const std::u16string& text, int page) {
  const PageScope scope(page);
  const std::unique_ptr<OLECHAR, decltype(&SysFreeString)> wide(
      SysAllocStringLen(text.data(), static_cast<UINT>(text.size())), &SysFreeString);
  return tesselkit::platform::NarrowText(wide.get());
}

RegistryFile Converted(RegistryFile file, int from, int to) {
  Conversion conversion(from, to);
  for (FileKey& key : file) conversion.Convert(key);
  return file;
}

}  // namespace twreg
