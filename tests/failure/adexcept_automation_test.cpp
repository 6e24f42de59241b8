#include "tesselkit/failure/adexcept_automation.h"

#include <cstdlib>
#include <exception>
#include <functional>
#include <string>
#include <vector>

#include "tesselkit/failure/adexcept.h"
#include "tesselkit/platform/module.h"
#include "tests/support/error_info.h"
#include "tests/support/traced_test.h"

namespace {

const std::string kNoDetails =
    "An exception was thrown by the Tarnwell Core but no details are available";
const std::string kNothingKnown = "A CException occurred, but no details are available.";

// Ones that count how many of them there are.
int alive = 0;

template <class Base>
class Counted : public Base {
 public:
  template <class... Arguments>
  explicit Counted(Arguments... arguments) : Base(arguments...) {
    ++alive;
  }
  ~Counted() override { --alive; }
};

class Silent : public CException {};

// Has nothing to say of itself, and throws when asked.
class Unspeakable : public CException {
 public:
  BOOL GetErrorMessage(char*, UINT, UINT*) override { AfxThrowMemoryException(); }
};

using Maker = std::function<CException*()>;

PaMsgException* ListOf(const std::vector<int>& ids) {
  auto* const exception = new Counted<PaMsgException>;
  for (const int id : ids) {
    PaMessage message(id);
    message.SetMsg(("message " + std::to_string(id) + " of %badint%").c_str());
    message.SetParam("badint", "%badint%");
    exception->m_msgList.Add(message);
  }
  return exception;
}

COleDispatchException* Dispatch() {
  auto* const exception = new Counted<COleDispatchException>("shown", 12u, WORD{77});
  exception->m_strHelpFile = "help.chm";
  exception->m_strSource = "orders";
  return exception;
}

// Without any string resources for the length of a scope.
class NoStrings {
 public:
  NoStrings() { AfxSetModuleState(&m_state); }
  ~NoStrings() { AfxSetModuleState(nullptr); }
  NoStrings(const NoStrings&) = delete;
  NoStrings& operator=(const NoStrings&) = delete;

 private:
  AFX_MODULE_STATE m_state;
};

// What `convert` throws: "dispatch <code> <text>", "om <text> from <source>", "<id> <text>" of a
// failure, the class of other exceptions; "" when it returns.
std::string Thrown(const std::function<void()>& convert) {
  std::string text;
  try {
    convert();
  } catch (COleDispatchException* exception) {
    text = "dispatch " + std::to_string(exception->m_wCode) + " " +
           std::string(exception->m_strDescription.View());
    if (exception->m_dwHelpContext != 0) text += " help";
    exception->Delete();
  } catch (AdOMException* exception) {
    text = std::string("om ") + exception->m_description + " from " +
           (exception->m_source != nullptr ? exception->m_source : "(null)");
    std::free(exception->m_description);
    std::free(exception->m_source);
    delete exception;
  } catch (PaMsgException* exception) {
    const test::ThrownMessage message = test::TakeMessage(exception);
    text = std::to_string(message.id) + " " + message.text;
  } catch (CException* exception) {
    text = exception->GetRuntimeClass()->m_lpszClassName;
    exception->Delete();
  }
  return text;
}

struct Row {
  int line;
  Maker make;
  std::string dispatch;     // "<code> <text>", or what else is thrown
  std::string description;  // of the error object, with what belongs to it
};

const Row kRows[] = {
    {__LINE__,
     [] {
       return ListOf({18045, 7});
     },
     "18045 message 18045 of %badint%", "message 18045 of %badint%|0|(null)|(null)"},
    {__LINE__, [] { return ListOf({0}); }, "18003 message 0 of %badint%",
     "message 0 of %badint%|0|(null)|(null)"},
    {__LINE__, [] { return ListOf({65536}); }, "18003 message 65536 of %badint%",
     "message 65536 of %badint%|0|(null)|(null)"},
    {__LINE__, [] { return ListOf({65537}); }, "1 message 65537 of %badint%",
     "message 65537 of %badint%|0|(null)|(null)"},
    {__LINE__, [] { return ListOf({}); }, "18002 " + kNoDetails, kNoDetails + "|0|(null)|(null)"},
    {__LINE__, [] { return new Counted<CMemoryException>; },
     "18005 A CException occurred:\nOut of memory.",
     "A CException occurred:\nOut of memory.|0|(null)|(null)"},
    {__LINE__,
     [] { return new Counted<CFileException>(CFileException::diskFull, LONG{28}, "50%s.txt"); },
     "18005 A CException occurred:\nThe disk is full: 50%s.txt.",
     "A CException occurred:\nThe disk is full: 50%s.txt.|0|(null)|(null)"},
    {__LINE__, [] { return new Counted<Silent>; }, "18005 " + kNothingKnown,
     kNothingKnown + "|0|(null)|(null)"},
    {__LINE__, [] { return nullptr; }, "18005 " + kNothingKnown,
     "Tarnwell exception #0 was thrown.  Please report this to support@veltrim.example, including "
     "all information necessary to reproduce the problem.|0|(null)|(null)"},
};

class Conversions : public test::TracedTest {
 protected:
  ~Conversions() override { EXPECT_EQ(alive, 0); }
};

TEST_F(Conversions, GiveEachCallerItsFormAndEndWhatTheyWereGiven) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.line);
    const std::string text = row.dispatch.substr(row.dispatch.find(' ') + 1);
    EXPECT_EQ(Thrown([&] { AdRethrowAsOleDispatchException(row.make()); }),
              "dispatch " + row.dispatch);
    EXPECT_EQ(alive, 0);
    char source[] = "orders";
    EXPECT_EQ(Thrown([&] { AdRethrowAsOMException(row.make(), source); }),
              "om " + text + " from orders");
    EXPECT_EQ(Thrown([&] { AdRethrowAsOMException(row.make(), nullptr); }),
              "om " + text + " from (null)");
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(Thrown([&] { AdSetExceptionAsErrorInfo(row.make()); }), "");
    EXPECT_EQ(test::TakeErrorInfo(), row.description);
    EXPECT_EQ(alive, 0);
  }
}

// Remembers whether it ended while an exception was on its way.
class EndsAlone : public CException {
 public:
  explicit EndsAlone(bool& is_alone) : m_is_alone(is_alone) {}
  ~EndsAlone() override { m_is_alone = std::uncaught_exceptions() == 0; }

 private:
  bool& m_is_alone;
};

TEST_F(Conversions, EndWhatTheyWereGivenBeforeTheyThrow) {
  bool is_alone = false;
  try {
    AdRethrowAsOMException(new EndsAlone(is_alone), nullptr);
  } catch (AdOMException* converted) {
    std::free(converted->m_description);
    delete converted;
  }
  EXPECT_TRUE(is_alone);
}

TEST_F(Conversions, OfNullListsOfMessages) {
  EXPECT_EQ(Thrown([] { AdRethrowPaExceptAsOleDispatchException(nullptr); }),
            "dispatch 18002 " + kNoDetails);
  EXPECT_EQ(Thrown([] { AdRethrowPaExceptAsOMException(nullptr, nullptr); }),
            "om " + kNoDetails + " from (null)");
  PaMsgException* none = nullptr;
  EXPECT_EQ(AdExtractFirstMsgAndDeleteException(none), kNoDetails.c_str());
}

TEST_F(Conversions, ADispatchExceptionGoesOnAsTheSameObject) {
  COleDispatchException* const made = Dispatch();
  const auto convert = [](CException* caught) { AdRethrowAsOleDispatchException(caught); };
  for (int time = 0; time < 2; ++time) {
    COleDispatchException* rethrown = nullptr;
    try {
      try {
        if (time == 0) throw made;
        convert(made);  // nothing is being handled
      } catch (CException* caught) {
        convert(caught);
      }
    } catch (COleDispatchException* exception) {
      rethrown = exception;
    }
    EXPECT_EQ(rethrown, made);
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(Thrown([&] { AdSetExceptionAsErrorInfo(made); }), "");
  EXPECT_EQ(test::TakeErrorInfo(), "shown|12|help.chm|orders");
  EXPECT_EQ(Thrown([] { AdRethrowAsOMException(Dispatch(), nullptr); }),
            "om A CException occurred:\nshown from (null)");
}

TEST_F(Conversions, EndWhatTheyWereGivenAlsoWhenTextsAreMissing) {
  const NoStrings no_strings;
  const Maker makers[] = {
      [] { return nullptr; },
      [] { return new Counted<Silent>; },
      [] { return new Counted<CMemoryException>; },
      [] { return new Counted<Unspeakable>; },
  };
  SetErrorInfo(0, nullptr);
  int converted = 0;
  for (const Maker& make : makers) {
    const std::vector<std::function<void()>> conversions = {
        [&] { AdRethrowAsOleDispatchException(make()); },
        [&] { AdRethrowAsOMException(make(), nullptr); },
        [&] { AdSetExceptionAsErrorInfo(make()); },
    };
    for (const auto& convert : conversions) {
      SCOPED_TRACE(converted++);
      const std::string thrown = Thrown(convert);
      EXPECT_EQ(thrown, &make == &makers[3] ? "CMemoryException" : "18018 ");  // has no text either
      EXPECT_EQ(TakeTraces(), std::vector<std::string>(&make == &makers[3] ? 0 : 1, ""));
      EXPECT_EQ(alive, 0);
      EXPECT_EQ(test::TakeErrorInfo(), "");  // as it was
    }
  }
  const std::string literal = "An exception was thrown but no details are available";
  EXPECT_EQ(Thrown([] { AdRethrowAsOleDispatchException(ListOf({})); }),
            "dispatch 18002 " + literal);
  PaMsgException* empty = ListOf({});
  EXPECT_EQ(AdExtractFirstMsgAndDeleteException(empty), literal.c_str());
}

TEST_F(Conversions, TheErrorObjectOfAStatusBecomesTheThreads) {
  test::CountedErrorInfo info;
  _com_error with(E_INVALIDARG, &info, true);
  AdSetComErrorAsErrorInfo(with);
  EXPECT_EQ(info.references, 3u);
  IErrorInfo* taken = nullptr;
  EXPECT_EQ(GetErrorInfo(0, &taken), S_OK);
  EXPECT_EQ(taken, &info);
  info.Release();
  AdSetComErrorAsErrorInfo(with);
  _com_error without(E_INVALIDARG);
  AdSetComErrorAsErrorInfo(without);
  EXPECT_EQ(info.references, 2u);
  EXPECT_EQ(test::TakeErrorInfo(), "");
}

TEST_F(Conversions, TextsAreTakenOutOfALists) {
  PaMsgException* exception = ListOf({18045, 7});
  CStringArray texts;
  texts.Add("before");
  AdMsgListToCStringArray(exception->m_msgList, texts);
  ASSERT_EQ(texts.GetSize(), 2);
  EXPECT_EQ(texts[0], "message 18045 of %badint%");
  EXPECT_EQ(texts[1], "message 7 of %badint%");
  EXPECT_EQ(AdExtractFirstMsgAndDeleteException(exception), texts[0]);
  EXPECT_EQ(exception, nullptr);
  EXPECT_EQ(alive, 0);
  AdMsgListToCStringArray(ExcpMsg(), texts);
  EXPECT_EQ(texts.GetSize(), 0);
}

}  // namespace
