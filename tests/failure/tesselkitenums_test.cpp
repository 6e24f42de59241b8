#include "tesselkit/failure/tesselkitenums.h"

#include "tests/support/traced_test.h"

namespace {

struct Enumeration {
  std::string name;
  std::vector<std::string> names;
  int (*is_valid)(long);
  const char* (*to_string)(long);
  CString (*maybe_to_string)(long);
  long (*from_string)(const char*);
};

#define FUNCTIONS_OF(X) AdIsValid##X, Ad##X##ToString, AdMaybe##X##ToString, AdStringTo##X

const Enumeration kEnumerations[] = {
    {"ExceptionType",
     {"CHECK_ERROR", "INVALID_OPERATION", "DATABASE", "INTERNAL_ERROR"},
     FUNCTIONS_OF(ExceptionType)},
    {"MisuseType",
     {"ALREADY_EXISTS", "NOTHING_TO_UNBUILD", "NOTHING_TO_GET"},
     FUNCTIONS_OF(MisuseType)},
    {"Progress", {"NOT_IN_PROGRESS", "IN_PROGRESS"}, FUNCTIONS_OF(Progress)},
};

class Enumerations : public test::TracedTest {};

TEST_F(Enumerations, KnowTheirValuesAndNoOthers) {
  for (const Enumeration& each : kEnumerations) {
    const long last = static_cast<long>(each.names.size());
    for (const long value : {-2147483648L, -1L, 0L, last + 1, last + 2, 9L, 2147483647L}) {
      const std::string number = std::to_string(value);
      EXPECT_EQ(each.is_valid(value), 0);
      EXPECT_EQ(each.maybe_to_string(value).View(),
                "<Invalid Ad" + each.name + "_t value: " + number + ">");
      EXPECT_EQ(ThrownBy([&] { each.to_string(value); }),
                "18020 " + test::ConditionText("AdIsValid" + each.name + "(value)",
                                               "tesselkitenums", "\nvalue=" + number));
    }
    for (long value = 1; value <= last; ++value) {
      const std::string& name = each.names[static_cast<std::size_t>(value - 1)];
      EXPECT_EQ(each.is_valid(value), 1);
      EXPECT_EQ(each.to_string(value), name);
      EXPECT_EQ(each.maybe_to_string(value).View(), name);
    }
  }
}

TEST_F(Enumerations, FindTheirOwnNamesOnly) {
  for (const Enumeration& each : kEnumerations) {
    for (const Enumeration& other : kEnumerations) {
      long value = 0;
      for (const std::string& name : other.names) {
        EXPECT_EQ(each.from_string(name.c_str()), ++value * (&each == &other ? 1 : 0)) << name;
        EXPECT_EQ(each.from_string((" " + name).c_str()), 0);
        EXPECT_EQ(each.from_string((name + "X").c_str()), 0);
      }
    }
    for (const char* text : {static_cast<const char*>(nullptr), "", "check_error", "D"}) {
      EXPECT_EQ(each.from_string(text), 0);
    }
  }
}

TEST_F(Enumerations, GenericFunctionsTakeAnyDenseRange) {
  const char* const names[] = {"minus", "zero", "", "two"};
  for (long value = -3; value <= 4; ++value) {
    const bool valid = value >= -1 && value <= 2;
    EXPECT_EQ(AdIsValidEnum(value, -1, 2), valid ? 1 : 0);
    EXPECT_EQ(AdEnumToString(value, names, -1, 2), valid ? names[value + 1] : nullptr);
  }
  EXPECT_EQ(AdEnumToString(1, names, 2, 1), nullptr);
  EXPECT_EQ(AdStringToEnum("two", names, -1, 2), 2);
  EXPECT_EQ(AdStringToEnum("two", names, -1, 1), 0);
  EXPECT_EQ(AdStringToEnum("minus", names, 10, 13), 10);
  EXPECT_EQ(AdStringToEnum("", names, -1, 2), 0);
  EXPECT_EQ(AdInvalidEnumValue("%d", -3), "<Invalid %d value: -3>");
  EXPECT_EQ(AdInvalidEnumValue(nullptr, 0x1'8000'0007), "<Invalid  value: -2147483641>");
}

}  // namespace
