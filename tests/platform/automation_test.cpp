#include "tesselkit/platform/automation.h"

#include <thread>

#include "tests/support/code_page.h"
#include "tests/support/error_info.h"
#include "tests/support/traced_test.h"

namespace {

class Automation : public test::TracedTest {};

std::u16string WideOf(const CString& text) {
  const BSTR wide = text.AllocSysString();
  EXPECT_EQ(wide[SysStringLen(wide)], u'\0');
  std::u16string copy(wide, SysStringLen(wide));
  SysFreeString(wide);
  return copy;
}

std::string NarrowOf(const std::u16string& wide) {
  const BSTR text = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  const CString narrow = tesselkit::platform::NarrowText(text);
  SysFreeString(text);
  return std::string(narrow.View());
}

struct WideRow {
  int line;
  int page;
  std::string text;
  std::u16string wide;
  std::string back;  // what comes back; the text itself when empty
};

// The codes are those of the Unicode consortium's tables for these pages.
const WideRow kWideRows[] = {
    // line    page  text                        UTF-16                     back
    {__LINE__, 1252, "", u"", ""},
    {__LINE__, 1252, std::string("a\0b\\~", 5), std::u16string(u"a\0b\\~", 5), ""},
    {__LINE__, 1252, "\x80\xE9\xFF", u"\u20AC\u00E9\u00FF", ""},
    {__LINE__, 1251, "\xC0\xB8", u"\u0410\u0451", ""},
    {__LINE__, 0, "\x80\xE9", u"\u0080\u00E9", ""},
    {__LINE__, 932, "\x83\x5C\xB1\x95\x5C", u"\u30BD\uFF71\u8868", ""},
    {__LINE__, 932, "a\x83", u"a\uFFFD", "a?"},
    {__LINE__, 936, "\xD6\xD0", u"\u4E2D", ""},
    {__LINE__, 949, "\xB0\xA1", u"\uAC00", ""},
    {__LINE__, 950, "\xA4\xA4", u"\u4E2D", ""},
    {__LINE__, 65001, "\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u20AC\U0001F600", ""},
    {__LINE__, 65001, "\xC3(\xED\xA0\x80", u"\uFFFD(\uFFFD\uFFFD\uFFFD", "-"},
};

TEST_F(Automation, TextsGoFromTheCodePageToUtf16AndBack) {
  for (const WideRow& row : kWideRows) {
    SCOPED_TRACE(row.line);
    const test::CodePage page(row.page);
    EXPECT_EQ(WideOf(CString(std::string_view(row.text))), row.wide);
    if (row.back != "-") {
      EXPECT_EQ(NarrowOf(row.wide), row.back.empty() ? row.text : row.back);
    }
  }
  const test::CodePage page(1252);
  EXPECT_EQ(NarrowOf(u"\u4E2D\xD800\xDC00\xDC00\xD800x"), "????x");  // a pair is one character
  EXPECT_EQ(tesselkit::platform::NarrowText(nullptr), "");
}

TEST_F(Automation, TextsKnowTheirLength) {
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  SysFreeString(nullptr);
  const BSTR unset = SysAllocStringLen(nullptr, 7);
  EXPECT_EQ(SysStringLen(unset), 7u);
  EXPECT_EQ(unset[7], u'\0');
  SysFreeString(unset);
  EXPECT_EQ(SysAllocStringLen(nullptr, 0x80000000u), nullptr);  // more bytes than can be counted
}

TEST_F(Automation, AnErrorObjectHasBothFacesAndKeepsItsTexts) {
  ICreateErrorInfo* made = nullptr;
  ASSERT_EQ(CreateErrorInfo(&made), S_OK);
  void* face = nullptr;
  ASSERT_EQ(made->QueryInterface(IID_IErrorInfo, &face), S_OK);
  auto* const info = static_cast<IErrorInfo*>(face);
  EXPECT_EQ(test::Shown(*info), "(null)|0|(null)|(null)");
  OLECHAR text[] = u"one";
  made->SetDescription(text);
  made->SetSource(text);
  made->SetHelpFile(text);
  text[0] = u'X';
  made->SetSource(text);  // replaces
  made->SetHelpFile(nullptr);
  made->SetHelpContext(4000000000u);
  const GUID guid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  made->SetGUID(guid);
  EXPECT_EQ(test::Shown(*info), "one|4000000000|(null)|Xne");
  GUID read{};
  EXPECT_EQ(info->GetGUID(&read), S_OK);
  EXPECT_EQ(read, guid);
  EXPECT_EQ(info->GetSource(nullptr), E_POINTER);

  void* identity = nullptr;
  ASSERT_EQ(info->QueryInterface(IID_IUnknown, &identity), S_OK);
  EXPECT_EQ(identity, static_cast<IUnknown*>(made));  // one object, whichever face is asked
  EXPECT_EQ(info->QueryInterface(guid, &face), E_NOINTERFACE);
  EXPECT_EQ(face, nullptr);
  EXPECT_EQ(made->Release(), 2u);
  EXPECT_EQ(made->Release(), 1u);
  EXPECT_EQ(info->Release(), 0u);
}

TEST_F(Automation, TheErrorObjectOfAThreadIsHeldOnce) {
  test::CountedErrorInfo first, second;
  IErrorInfo* taken = &second;
  EXPECT_EQ(GetErrorInfo(0, &taken), S_FALSE);
  EXPECT_EQ(taken, nullptr);
  EXPECT_EQ(SetErrorInfo(1, &first), E_INVALIDARG);
  EXPECT_EQ(SetErrorInfo(0, &first), S_OK);
  EXPECT_EQ(first.references, 2u);
  EXPECT_EQ(SetErrorInfo(0, &first), S_OK);  // the same again
  EXPECT_EQ(first.references, 2u);
  std::thread([&] {
    IErrorInfo* other = nullptr;
    EXPECT_EQ(GetErrorInfo(0, &other), S_FALSE);
    SetErrorInfo(0, &second);
    EXPECT_EQ(second.references, 2u);
  }).join();
  EXPECT_EQ(second.references, 1u);  // released at the thread's end
  EXPECT_EQ(GetErrorInfo(0, &taken), S_OK);
  EXPECT_EQ(taken, &first);
  EXPECT_EQ(first.references, 2u);  // handed over
  EXPECT_EQ(GetErrorInfo(0, &taken), S_FALSE);
  SetErrorInfo(0, &first);
  first.Release();
  SetErrorInfo(0, nullptr);
  EXPECT_EQ(first.references, 1u);
}

// Looks at the thread's error object when it is let go.
class InquiringErrorInfo : public test::CountedErrorInfo {
 public:
  ULONG Release() override {
    IErrorInfo* found = nullptr;
    if (GetErrorInfo(0, &found) == S_OK) finds += 1;
    return CountedErrorInfo::Release();
  }

  int finds = 0;
};

TEST_F(Automation, AnErrorObjectThatGoesWithItsThreadIsTheThreadsNoMore) {
  InquiringErrorInfo error;
  std::thread([&] { SetErrorInfo(0, &error); }).join();
  EXPECT_EQ(error.references, 1u);
  EXPECT_EQ(error.finds, 0);
}

TEST_F(Automation, AStatusCarriesItsErrorObject) {
  test::CountedErrorInfo info, other;
  {
    info.AddRef();
    const _com_error taken_over(E_INVALIDARG, &info);
    EXPECT_EQ(info.references, 2u);
    _com_error copy(taken_over);
    EXPECT_EQ(info.references, 3u);
    EXPECT_EQ(copy.ErrorInfo(), &info);
    info.Release();
    const _com_error& same = copy;
    copy = same;
    EXPECT_EQ(info.references, 3u);
    copy = _com_error(E_POINTER, &other, true);
    EXPECT_EQ(copy.Error(), E_POINTER);
    EXPECT_EQ(info.references, 2u);
    EXPECT_EQ(other.references, 2u);
  }
  EXPECT_EQ(info.references, 1u);
  EXPECT_EQ(other.references, 1u);
  EXPECT_EQ(_com_error(S_OK).ErrorInfo(), nullptr);
}

TEST_F(Automation, DispatchExceptionsDescribeThemselves) {
  try {
    AfxThrowOleDispatchException(65535, "what %s", 7);
  } catch (COleDispatchException* exception) {
    EXPECT_EQ(exception->m_wCode, 65535);
    EXPECT_EQ(exception->m_strDescription, "what %s");
    EXPECT_EQ(exception->m_dwHelpContext, 7u);
    EXPECT_EQ(exception->m_strHelpFile + exception->m_strSource, "");
    char text[5];
    UINT help = 0;
    EXPECT_TRUE(exception->GetErrorMessage(text, sizeof text, &help));
    EXPECT_STREQ(text, "what");
    EXPECT_EQ(help, 7u);
    exception->Delete();
  }
}

}  // namespace
