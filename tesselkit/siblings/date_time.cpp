#include "tesselkit/siblings/date_time.h"

#include <chrono>
#include <cstring>

namespace {

constexpr char kForm[] = "dddd-dd-dd dd:dd:dd";

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Whether `text` has a digit wherever the form has a "d", and the form's own character elsewhere.
bool HasForm(const char* text) {
  for (const char* form = kForm; *form != '\0'; ++form, ++text) {
    if (*form == 'd' ? !IsDigit(*text) : *text != *form) return false;
  }
  return *text == '\0';
}

int Number(const char* text, int digits) {
  int number = 0;
  for (int i = 0; i < digits; ++i) number = number * 10 + (text[i] - '0');
  return number;
}

bool IsDate(int year, int month, int day) {
  return year >= 1 && std::chrono::year_month_day(std::chrono::year(year),
                                                  std::chrono::month(static_cast<unsigned>(month)),
                                                  std::chrono::day(static_cast<unsigned>(day)))
                          .ok();
}

}  // namespace

int AdDateTime::ParseDateTimeGMT(const char* text) {
  if (text == nullptr || !HasForm(text)) return 0;
  const int year = Number(text, 4);
  const int month = Number(text + 5, 2);
  const int day = Number(text + 8, 2);
  const int hour = Number(text + 11, 2);
  const int minute = Number(text + 14, 2);
  const int second = Number(text + 17, 2);
  if (!IsDate(year, month, day) || hour > 23 || minute > 59 || second > 59) return 0;
  m_year = year;
  m_month = month;
  m_day = day;
  m_hour = hour;
  m_minute = minute;
  m_second = second;
  return 1;
}
