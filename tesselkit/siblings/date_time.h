// Stand-in for the product's date-time library, as far as this library calls it.
#pragma once

#include "tesselkit/platform/export.h"

// A date and time of day. Objects belong to one thread at a time.
class TESSELKIT_API AdDateTime {
 public:
  AdDateTime() = default;
  ~AdDateTime() = default;

  // Takes the time that `text` names in the form "YYYY-MM-DD hh:mm:ss", in Greenwich time: exactly
  // these 19 characters, a date of the Gregorian calendar with a year from 0001, hours to 23,
  // minutes and seconds to 59. Returns 1, or 0 for any other text and for null, which leave the
  // object as it was.
  int ParseDateTimeGMT(const char* text);

 private:
  int m_year = 1;
  int m_month = 1;
  int m_day = 1;
  int m_hour = 0;
  int m_minute = 0;
  int m_second = 0;
};
