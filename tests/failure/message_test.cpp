#include "tesselkit/failure/message.h"

#include <iterator>
#include <stdexcept>

#include "tests/support/code_page.h"
#include "tests/support/text_model.h"
#include "tests/support/traced_test.h"
#include "tests/support/vtable_slot.h"

namespace {

PaMessage Make(std::string_view text, const test::Values& values = {}) {
  PaMessage message;
  message.SetMsg(CString(text));
  for (const auto& [name, value] : values) message.SetParam(CString(name), CString(value));
  return message;
}

TEST(MessageFilling, IsDoneInOnePassByCharacters) {
  struct Row {
    int line;
    const char* text;
    const char* full;  // with a = "1", b = "%a%", "" = "0"
    const char* begin = "%";
    const char* end = "%";
  };
  const Row rows[] = {
      {__LINE__, "%a%%b%, %b%%a%", "1%a%, %a%1"},
      {__LINE__, "%unknown% %a% %A%", "%unknown% 1 %A%"},
      {__LINE__, "100% of %a%, 100%% %a", "100% of 1, 1000 %a"},
      {__LINE__, "${a} a} {a} %a%", "1 a} {a} %a%", "${", "}"},
      {__LINE__, "<a> <<a>>", "<a> 1>", "<<", ">"},
      {__LINE__, "|a|", "|a|", "", "|"},
      {__LINE__, "|a|", "|a|", "|", ""},
      {__LINE__, "\x83|a|\x83|a|", "\x83|a|\x83|a|", "|", "|"},
      {__LINE__, "\x83|a|a|", "\x83|a1", "|", "|"},
      {__LINE__, "\x83}a\x83}", "1", "\x83}", "\x83}"},
  };
  const test::CodePage page(932);
  for (const Row& row : rows) {
    PaMessage message = Make(row.text, {{"a", "1"}, {"b", "%a%"}, {"", "0"}});
    message.SetBeginDelim(row.begin).SetEndDelim(row.end);
    EXPECT_EQ(message.GetFullMsg(), row.full) << "line " << row.line;
  }
  PaMessage again = Make("%a%%b%%a%", {{"a", "1"}, {"b", "|"}});
  for (const char* last : {"22", "", "333", "44"}) {
    EXPECT_EQ(again.SetParam("a", last).GetFullMsg(), CString(last) + "|" + last);
  }
}

TEST(MessageFilling, AgreesWithTheModelOnEveryPage) {
  unsigned long long state = 1;
  const auto random = [&](unsigned length) {
    return test::RandomText(state, {"%|ab\x5C\x81\x83\xE3\xBF\0", 10}, length);
  };
  for (const int number : test::kCodePages) {
    const test::CodePage page(number);
    for (int i = 0; i < 3000; ++i) {
      const std::string text = random(24);
      const std::string begin = i % 3 == 0 ? random(2) : "%";
      const std::string end = i % 3 == 1 ? random(2) : begin;
      const test::Values values = {{random(2), random(4)}, {random(1), random(2)}, {"a", "%b%"}};
      PaMessage message = Make(text, values);
      message.SetBeginDelim(CString(begin)).SetEndDelim(CString(end));
      ASSERT_EQ(message.GetFullMsg().View(), test::Fill(text, begin, end, values))
          << testing::PrintToString(text) << " on page " << number;
    }
  }
}

// All that a message says of itself.
std::string Described(const PaMessage& m) {
  CString all, full;
  all.Format("%d %d %d %d %d", m.GetID(), m.GetHelpID(), m.GetType(), m.GetDest(),
             m.GetDelivered());
  for (const CString& text : {m.GetMsg(), m.GetHelpModule(), m.GetDmod(), m.GetSource(),
                              m.GetBeginDelim(), m.GetEndDelim(), m.GetFullMsg()}) {
    all += "|" + text;
  }
  EXPECT_EQ(&m.GetFullMsg(full), &full);
  EXPECT_EQ(full, m.GetFullMsg());
  return std::string(all.View());
}

TEST(Message, ForwardersSetAndGetWhatInitResets) {
  PaMessage m;
  const std::string fresh = Described(m);
  const PaMessage* const results[] = {
      &m.SetID(18044),          &m.SetMsg("of [name)"),      &m.SetHelpID(2),
      &m.SetHelpModule("help"), &m.SetType(PaMsgTypeNotice), &m.SetDest(PaMsgDestUser),
      &m.SetDmod("dmod"),       &m.SetSource("m", "f", 3),   &m.SetParam("name", "value"),
      &m.SetDelivered(4),       &m.SetBeginDelim("["),       &m.SetEndDelim(")")};
  for (const PaMessage* result : results) EXPECT_EQ(result, &m);
  EXPECT_EQ(Described(m), "18044 2 2 1 4|of [name)|help|dmod|m: f, line 3|[|)|of value");
  m.Init();
  EXPECT_EQ(Described(m), fresh);
  EXPECT_EQ(m.SetMsg("%name% [name)").GetFullMsg(), "%name% [name)");  // parameters are gone
  EXPECT_EQ(Described(m.SetID(18044)), Described(PaMessage(18044)));
  EXPECT_EQ(m.GetFullMsg().View(), test::RefusalText(18044, ""));
  EXPECT_EQ(m.SetSource(nullptr, nullptr, -1).GetSource(), ", line -1");
}

TEST(Message, DeliveryReachesTheHandlerAndSwallowsWhatItThrows) {
  PaMessage message;
  message.Deliver(1);  // no handler yet
  EXPECT_EQ(message.GetDelivered(), 1);
  std::vector<int> contexts;
  PaSetDeliveryHandler([&](const PaMessage& given, int context) {
    EXPECT_EQ(&given, &message);
    EXPECT_EQ(given.GetDelivered(), 1);
    contexts.push_back(context);
    if (context == 1) AfxThrowInvalidArgException();
    if (context == 2) throw std::runtime_error("handler");
  });
  for (int context = 0; context < 4; ++context) message.SetDelivered(0).Deliver(context);
  PaSetDeliveryHandler({});
  message.Deliver(9);
  EXPECT_EQ(contexts, (std::vector<int>{0, 1, 2, 3}));
}

TEST(Message, HandlerRecordIsCopiedFieldByField) {
  PaMsgHandler from, to;
  for (std::uint32_t i = 0; i < 4; ++i) from.m_words[i] = 0xFFFFFFF0u + i;
  EXPECT_EQ(&(to = from), &to);
  EXPECT_TRUE(std::equal(std::begin(to.m_words), std::end(to.m_words), from.m_words));
}

TEST(MessageList, KeepsCopiesInOrderWhereTheyAre) {
  ExcpMsg list;
  for (const POSITION none : {list.FirstPos(), list.NextPos(nullptr)}) EXPECT_EQ(none, nullptr);
  EXPECT_EQ(list.GetAtPos(nullptr), nullptr);
  PaMessage message;
  list.Add(message.SetHelpID(0));
  const PaMessage* const first = &list.First();
  for (int i = 1; i < 100; ++i) list.Add(message.SetHelpID(i));
  int count = 0;
  for (POSITION at = list.FirstPos(); at != nullptr; at = list.NextPos(at)) {
    EXPECT_EQ(list.GetAtPos(at)->GetHelpID(), count++);
  }
  EXPECT_EQ(count, 100);
  EXPECT_EQ(&list.First(), first);
  list.SetEmpty();
  EXPECT_EQ(list.FirstPos(), nullptr);
  try {
    list.First();
    ADD_FAILURE() << "nothing was thrown";
  } catch (CInvalidArgException* exception) {
    exception->Delete();
  }
}

class MessageException : public test::TracedTest {};

TEST_F(MessageException, ShowsAllItsMessages) {
  const test::CodePage page(932);
  PaMsgException exception;
  char text[32] = "before";
  UINT help_id = 99;
  EXPECT_FALSE(exception.GetErrorMessage(text, sizeof text, &help_id));
  EXPECT_STREQ(text, "");
  EXPECT_EQ(help_id, 0u);
  exception.m_msgList.Add(Make("%a%\x83\x5C", {{"a", "1"}}).SetHelpID(7));
  exception.m_msgList.Add(Make("two").SetHelpID(8));
  EXPECT_TRUE(exception.GetErrorMessage(text, sizeof text, &help_id));
  EXPECT_STREQ(text, "1\x83\x5C\ntwo");
  EXPECT_EQ(help_id, 7u);
  EXPECT_TRUE(exception.GetErrorMessage(text, 3));  // no room for the whole second character
  EXPECT_STREQ(text, "1");
  EXPECT_EQ(exception.ReportError(), 1);
  ExpectTraces({"1\x83\x5C\ntwo\n"});
}

TEST_F(MessageException, CarriesItsRecordAndItsSlots) {
  EXPECT_STREQ(PaMsgException::classPaMsgException.m_lpszClassName, "PaMsgException");
  EXPECT_EQ(PaMsgException().GetRuntimeClass(), &PaMsgException::classPaMsgException);
  EXPECT_TRUE(PaMsgException().IsKindOf(RUNTIME_CLASS(CException)));
  using E = PaMsgException;
  EXPECT_EQ((std::vector{test::SlotOf(&E::GetRuntimeClass), test::SlotOf(&E::Serialize),
                         test::SlotOf(&E::AssertValid), test::SlotOf(&E::Dump),
                         test::SlotOf(&E::GetErrorMessage), test::SlotOf(&E::ReportError)}),
            (std::vector<std::size_t>{0, 3, 4, 5, 6, 7}));  // the destructor has 1 and 2
}

}  // namespace
