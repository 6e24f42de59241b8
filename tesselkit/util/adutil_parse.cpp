#include "tesselkit/util/adutil_parse.h"

#include <cstdint>
#include <limits>

#include "tesselkit/failure/adexcept.h"
#include "tesselkit/failure/message_text.h"
#include "tesselkit/resources/message_ids.h"
#include "tesselkit/siblings/date_time.h"
#include "tesselkit/util/adutil_core.h"

using namespace tesselkit;
using failure::SetMessageText;

namespace {

constexpr char kSourceName[] = "adutil";

constexpr long kMaxLetters = 11;
constexpr char kSmallest[] = "-2147483648";
constexpr char kLargest[] = "2147483647";

bool IsDigit(char c) {
  return static_cast<unsigned char>(c - '0') <= 9;
}

void RefuseAsTooLarge(const char* str, CString& problem) {
  SetMessageText(problem, message_id::kIntegerTooLarge,
                 {{"badint", str}, {"maxint", kLargest}, {"minint", kSmallest}});
}

// Says why `str` is refused, given where its digits begin and end.
void Refuse(const char* str, const char* first_digit, const char* end, CString& problem) {
  if (AdIsEmpty(str)) return SetMessageText(problem, message_id::kIntegerEmpty, {});
  if (*end != '\0') return SetMessageText(problem, message_id::kIntegerSyntax, {{"badint", str}});
  if (end - str > kMaxLetters) return RefuseAsTooLarge(str, problem);
  if (end == first_digit) {
    return SetMessageText(problem, message_id::kIntegerScanFailed, {{"badint", str}});
  }
  RefuseAsTooLarge(str, problem);
}

}  // namespace

void AdStrToLong(const char* str, long& value, CString& problem) {
  value = 0;
  if (str == nullptr) str = "";

  // Every accepted character is one byte, so bytes are counted as letters. A number of up to
  // eleven digits fits in 64 bits; of a longer one only the length matters.
  const char* const first_digit = str + (*str == '-' || *str == '+' ? 1 : 0);
  const char* end = first_digit;
  std::uint64_t magnitude = 0;
  for (; IsDigit(*end); ++end) magnitude = magnitude * 10 + static_cast<unsigned>(*end - '0');

  const std::uint64_t limit = std::uint64_t{INT32_MAX} + (*str == '-' ? 1 : 0);
  if (*end != '\0' || end == first_digit || end - str > kMaxLetters || magnitude > limit) {
    Refuse(str, first_digit, end, problem);
    return;
  }
  if (!problem.IsEmpty()) problem.Empty();
  value = *str == '-' ? -static_cast<long>(magnitude) : static_cast<long>(magnitude);
}

long AdStrToLong(const char* str) {
  long value = 0;
  CString problem;
  AdStrToLong(str, value, problem);
  if (AdIsNonEmpty(problem)) {
    PaMessage message(message_id::kNotAnInteger);
    message.SetParam("value", str);
    message.SetParam("problem", problem);
    AdThrowMsgExcept(message, "", kSourceName, __LINE__);
  }
  return value;
}

int AdIsValidDateTimeString(const char* str, CString& problem) {
  AdDateTime time;
  const int is_valid = time.ParseDateTimeGMT(str);
  if (!is_valid) SetMessageText(problem, message_id::kInvalidDateTime, {});
  return is_valid;
}
