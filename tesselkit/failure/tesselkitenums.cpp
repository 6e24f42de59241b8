#include "tesselkit/failure/tesselkitenums.h"

#include <cstdint>

#include "tesselkit/failure/adresource.h"
#include "tesselkit/failure/condition.h"
#include "tesselkit/platform/mbstring.h"
#include "tesselkit/resources/message_ids.h"
#include "tesselkit/util/adutil_core.h"

namespace {

constexpr char kSourceName[] = "tesselkitenums";

constexpr const char* kNames[] = {
    "CHECK_ERROR",    "INVALID_OPERATION", "DATABASE",
    "INTERNAL_ERROR", "ALREADY_EXISTS",    "NOTHING_TO_UNBUILD",
    "NOTHING_TO_GET", "NOT_IN_PROGRESS",   "IN_PROGRESS",
};

// An enumeration: its part of the names, and its last value.
struct NameTable {
  const char* type_name;
  const char* const* names;
  long last;
};

constexpr NameTable kExceptionTypes = {"AdExceptionType_t", kNames, INTERNAL_ERROR};
constexpr NameTable kMisuseTypes = {"AdMisuseType_t", kNames + 4, NOTHING_TO_GET};
constexpr NameTable kProgresses = {"AdProgress_t", kNames + 7, IN_PROGRESS};

int IsValid(const NameTable& table, long value) {
  return AdIsValidEnum(value, 1, table.last);
}

const char* NameOf(const NameTable& table, long value) {
  return AdEnumToString(value, table.names, 1, table.last);
}

CString MaybeNameOf(const NameTable& table, long value) {
  return IsValid(table, value) ? CString(NameOf(table, value))
                               : AdInvalidEnumValue(table.type_name, value);
}

long ValueOf(const NameTable& table, const char* name) {
  return AdStringToEnum(name, table.names, 1, table.last);
}

}  // namespace

int AdIsValidEnum(long value, long first, long last) {
  return first <= value && value <= last ? 1 : 0;
}

const char* AdEnumToString(long value, const char* const* names, long first, long last) {
  return AdIsValidEnum(value, first, last) ? names[value - first] : nullptr;
}

long AdStringToEnum(const char* name, const char* const* names, long first, long last) {
  if (!AdIsNonEmpty(name)) return 0;
  for (long value = first; value <= last; ++value) {
    if (_mbscmp(name, names[value - first]) == 0) return value;
  }
  return 0;
}

CString AdInvalidEnumValue(const char* type_name, long value) {
  const CString format = AdGetStringResource(tesselkit::message_id::kInvalidEnumValue);
  CString text;
  text.Format(format, type_name != nullptr ? type_name : "", static_cast<std::int32_t>(value));
  return text;
}

int AdIsValidExceptionType(long value) {
  return IsValid(kExceptionTypes, value);
}

const char* AdExceptionTypeToString(long value) {
  AD_CHECK(AdIsValidExceptionType(value), AD_VALUE(value));
  return NameOf(kExceptionTypes, value);
}

CString AdMaybeExceptionTypeToString(long value) {
  return MaybeNameOf(kExceptionTypes, value);
}

long AdStringToExceptionType(const char* name) {
  return ValueOf(kExceptionTypes, name);
}

int AdIsValidMisuseType(long value) {
  return IsValid(kMisuseTypes, value);
}

const char* AdMisuseTypeToString(long value) {
  AD_CHECK(AdIsValidMisuseType(value), AD_VALUE(value));
  return NameOf(kMisuseTypes, value);
}

CString AdMaybeMisuseTypeToString(long value) {
  return MaybeNameOf(kMisuseTypes, value);
}

long AdStringToMisuseType(const char* name) {
  return ValueOf(kMisuseTypes, name);
}

int AdIsValidProgress(long value) {
  return IsValid(kProgresses, value);
}

const char* AdProgressToString(long value) {
  AD_CHECK(AdIsValidProgress(value), AD_VALUE(value));
  return NameOf(kProgresses, value);
}

CString AdMaybeProgressToString(long value) {
  return MaybeNameOf(kProgresses, value);
}

long AdStringToProgress(const char* name) {
  return ValueOf(kProgresses, name);
}
