#include "tesselkit/siblings/date_time.h"

#include <gtest/gtest.h>

#include <ctime>
#include <random>
#include <string>

namespace {

TEST(DateTime, TakesTheOneForm) {
  for (const char* good : {"2000-02-10 00:00:00", "0001-01-01 00:00:00", "9999-12-31 23:59:59",
                           "2000-02-29 12:00:00", "2024-02-29 12:00:00"}) {
    EXPECT_EQ(AdDateTime().ParseDateTimeGMT(good), 1) << good;
  }
  for (const char* bad :
       {"0000-12-31 00:00:00", "1900-02-29 12:00:00", "2023-02-29 12:00:00", "2023-00-10 12:00:00",
        "2023-13-10 12:00:00", "2023-04-31 12:00:00", "2023-04-00 12:00:00", "2023-04-01 24:00:00",
        "2023-04-01 23:60:00", "2023-04-01 23:59:60", "2023-04-01T23:59:59", "2023-04-01 23:59",
        "2023-04-01 23:59:59 ", " 2023-04-01 23:59:59", "2023-4-1 23:59:59", "+023-04-01 23:59:59",
        ""}) {
    EXPECT_EQ(AdDateTime().ParseDateTimeGMT(bad), 0) << bad;
  }
  EXPECT_EQ(AdDateTime().ParseDateTimeGMT(nullptr), 0);
}

// The host's calendar turns a date that is none into another one.
bool IsTime(const std::string& text) {
  std::tm time = {};
  if (std::sscanf(text.c_str(), "%4d-%2d-%2d %2d:%2d:%2d", &time.tm_year, &time.tm_mon,
                  &time.tm_mday, &time.tm_hour, &time.tm_min, &time.tm_sec) != 6) {
    return false;
  }
  time.tm_year -= 1900;
  time.tm_mon -= 1;
  timegm(&time);
  char back[80];
  std::snprintf(back, sizeof back, "%04d-%02d-%02d %02d:%02d:%02d", time.tm_year + 1900,
                time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec);
  return text == back && text[0] != '-' && text.substr(0, 4) != "0000";
}

TEST(DateTime, AgreesWithTheHostsCalendarOnRandomTexts) {
  std::mt19937 random(5);
  const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
  int valid = 0;
  for (int round = 0; round < 50000; ++round) {
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", below(2500), below(14),
                  below(33), below(25), below(61), below(61));
    if (round % 4 == 0) text[below(20)] = "0139-: x"[below(9)];
    const bool expected = IsTime(text);
    ASSERT_EQ(AdDateTime().ParseDateTimeGMT(text), expected) << text;
    valid += expected;
  }
  EXPECT_GT(valid, 20000);
}

}  // namespace
