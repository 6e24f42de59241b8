#include "tesselkit/failure/adexcept.h"

#include <stdexcept>

#include "tesselkit/failure/adresource.h"
#include "tesselkit/failure/condition.h"
#include "tests/support/traced_test.h"

namespace {

constexpr char kSourceName[] = "house";
const std::string kPlace = "Tarnwell Core: file, line #";

class Throwing : public test::TracedTest {};

TEST_F(Throwing, CompletesTheCallersMessage) {
  PaMessage message;
  message.SetMsg("%failed_expr%|%failure_location%|%kept%").SetHelpID(5);
  message.SetType(PaMsgTypeNotice).SetDest(PaMsgDestLog).SetSource("old", "old", 1);
  message.SetParam("failed_expr", "old").SetParam("failure_location", "old");
  message.SetParam("kept", "%failed_expr%");
  EXPECT_EQ(ThrownBy([&] { AdThrowMsgExcept(message, "a < 100%", "file", 7); }),
            "0 a < 100%|" + kPlace + "|%failed_expr%");
  EXPECT_EQ(message.GetSource(), "Tarnwell Core: file, line 7");
  EXPECT_EQ(message.GetType(), PaMsgTypeFailure);
  EXPECT_EQ(message.GetDest(), PaMsgDestUser);
  EXPECT_EQ(message.GetHelpID(), 5);
  EXPECT_EQ(ThrownBy([&] { AdThrowMsgExcept(message, nullptr, nullptr, 7); }),
            "0 |Tarnwell Core: , line #|%failed_expr%");
}

TEST_F(Throwing, ConditionsShowTheirValues) {
  const long a = -2147483647 - 1;
  const char* b = "x%a%";
  int evaluated = 0;
  const auto n = [&] { return ++evaluated, static_cast<const char*>(nullptr); };
  AD_CHECK(a < 0, AD_VALUE(n()));
  EXPECT_EQ(evaluated, 0);
  const auto text = [](const std::string& values) {
    return test::ConditionText("a > 0 && *b == '%'", "house", values);
  };
#define CHECKED(...) ThrownBy([&] { AD_CHECK(a > 0 && *b == '%' __VA_OPT__(, ) __VA_ARGS__); })
  EXPECT_EQ(CHECKED(), "18019 " + text(""));
  EXPECT_EQ(CHECKED(AD_VALUE(a)), "18020 " + text("\na=-2147483648"));
  EXPECT_EQ(CHECKED(AD_VALUE(b), AD_VALUE(n())), "18021 " + text("\nb=x%a%\nn()="));
  EXPECT_EQ(CHECKED(AD_VALUE(b), AD_VALUE(a), AD_VALUE(b)),
            "18022 " + text("\nb=x%a%\na=-2147483648\nb=x%a%"));
  EXPECT_EQ(CHECKED(AD_VALUE(b), AD_VALUE(n()), AD_VALUE(b), AD_VALUE(a)),
            "18023 " + text("\nb=x%a%\nn()=\nb=x%a%\na=-2147483648"));
}

TEST_F(Throwing, RepairNoticesAreTracedAndDelivered) {
  AdSendFixmeMsg("file", 12, "tidy %repair_location%");
  ExpectTraces({"HACK: tidy %repair_location%\nTarnwell Core: file, line 12"});
  int deliveries = 0;
  PaSetDeliveryHandler([&](const PaMessage& message, int context) {
    ++deliveries;
    EXPECT_EQ(message.GetID(), 18025);
    EXPECT_EQ(message.GetType(), PaMsgTypeNotice);
    EXPECT_EQ(message.GetDest(), PaMsgDestDeveloper);
    EXPECT_EQ(context, 0);
    ExpectTraces({std::string(message.GetFullMsg().View())});  // traced before
    throw std::runtime_error("handler");
  });
  AdSendFixmeMsg(nullptr, 3, nullptr);
  PaSetDeliveryHandler({});
  EXPECT_EQ(deliveries, 1);
}

TEST_F(Throwing, WrongRowCounts) {
  const std::string details = "\nDetails: The operation occurred at " + kPlace + ".";
  const std::string none =
      "18049 A database modification failed.  No rows were actually modified, but one row should "
      "have been modified.  This probably means that another process was performing a conflicting "
      "operation concurrently.";
  const std::string some =
      "18050 A database modification was applied to more rows than intended.  It should have "
      "affected 1 row, but it actually affected ";
  const std::string more =
      ".  This is indicative of an internal error, either inside this process or inside a "
      "different process which concurrently performed an inconsistent, conflicting operation upon "
      "the database.\nLocation: ";
  for (const long rows : {0L, 1L, 2L, -1L, -2147483648L}) {
    PaMessage operation(AdGetGenericWrongRowCountContextMsgID());
    operation.SetType(PaMsgTypeNotice).SetParam("failure_location", "old");
    EXPECT_EQ(ThrownBy([&] { AdThrowOperationShouldAffectOneRow(operation, rows, "file", 8); }),
              (rows == 0 ? none : some + std::to_string(rows) + more + kPlace) + details);
    EXPECT_EQ(operation.GetSource(), "Tarnwell Core: file, line 8");
    EXPECT_EQ(operation.GetFullMsg(), "The operation occurred at Tarnwell Core: file, line 8.");
    EXPECT_EQ(operation.GetType(), PaMsgTypeNotice);
  }
}

TEST_F(Throwing, TestException) {
  EXPECT_EQ(ThrownBy([] { AdThrowTestingException("1", nullptr, "%from_ole%", "4", "5"); }),
            "18033 Test exception from Tarnwell Core: adexcept, line #\nAdVexlo: 1\nPdMorrow: \n"
            "AdSkellan: %from_ole%\nAdTrusk: 4\nAdPellow: 5");
}

TEST_F(Throwing, MisusedRelations) {
  const auto thrown = [this](const char* thrower, const char* modifier, const char* relation,
                             long how) {
    return ThrownBy([&] { AdThrowMisusedRelation(thrower, "file", 3, modifier, relation, how); });
  };
  const std::string where = ".\nLocation: " + kPlace;
  EXPECT_EQ(thrown("R", "own", "link", 1),
            "18026 R: The own link already exists, but shouldn't" + where);
  EXPECT_EQ(thrown("R", nullptr, "link", 2),
            "18027 R: The  link cannot be unbuilt because it does not exist" + where);
  EXPECT_EQ(thrown("R", "", "%modifier%", 3),
            "18028 R: The  %modifier% cannot be gotten because it does not exist" + where);
  const auto condition = [](const char* text, const std::string& values) {
    return test::ConditionText(text, "adexcept", values);
  };
  const std::string no_thrower = "18019 " + condition("AdIsNonEmpty(str_thrower)", "");
  const std::string no_relation = "18019 " + condition("AdIsNonEmpty(str_misused_relation)", "");
  EXPECT_EQ(thrown("", "own", "link", 1), no_thrower);
  EXPECT_EQ(thrown(nullptr, "own", "", 4), no_thrower);
  EXPECT_EQ(thrown("R", "own", nullptr, 1), no_relation);
  EXPECT_EQ(thrown("R", "own", "", 4), no_relation);
  for (const long how : {-1, 0, 4}) {
    EXPECT_EQ(thrown("R", "own", "link", how),
              "18020 " + condition("AdIsValidMisuseType(how_misused)",
                                   "\nhow_misused=" + std::to_string(how)));
  }
}

}  // namespace
