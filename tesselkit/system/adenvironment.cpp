#include "tesselkit/system/adenvironment.h"

#include <atomic>
#include <cstdlib>
#include <memory>

#include "tesselkit/failure/condition.h"
#include "tesselkit/platform/allocator.h"
#include "tesselkit/util/adutil_core.h"

using tesselkit::platform::MakeOwned;

namespace {

constexpr char kSourceName[] = "adenvironment";

int IsDefined(const char* variable) {
  return std::getenv(variable) != nullptr ? 1 : 0;
}

// None of the cached strings is ever freed, so that they can be used while the process ends.
const CString& NeverFreed(const char* text) {
  return *MakeOwned<CString>(text).release();
}

}  // namespace

const char* AdEnvironment::SQL_Anywhere_Dir() {
  return std::getenv("SQLDIR");
}

const char* AdEnvironment::ODBC_Trace_File() {
  return std::getenv("DRELLIK_ODBC_TRACE");
}

const char* AdEnvironment::Test_DBSet_Name() {
  return std::getenv("DK_TEST_DBSET_NAME");
}

int AdEnvironment::No_Make_Calendar() {
  return IsDefined("TW_NOCAL");
}

int AdEnvironment::Test_Leave_Upgrade_Scripts() {
  return IsDefined("DK_TEST_LEAVE_UPGRADE_SCRIPTS");
}

int AdEnvironment::Test_Upgrade_Same_Rev_User_DB() {
  return IsDefined("DK_TEST_UPGRADE_SAME_REV_USER_DB");
}

int AdEnvironment::Test_Allow_Colocated_DBs() {
  return IsDefined("DK_TEST_ALLOW_COLOCATED_DBS");
}

int AdEnvironment::Override_Commit() {
  return IsDefined("TW_OVERRIDE_COMMIT");
}

const CString& AdEnvironment::Temp_Directory() {
  static std::atomic<const CString*> cached = nullptr;
  if (const CString* const directory = cached.load(std::memory_order_acquire)) return *directory;
  const char* const Temp = std::getenv("TEMP");
  // clang-format off
  AD_CHECK(AdIsNonEmpty (Temp));
  // clang-format on
  auto made = MakeOwned<const CString>(Temp);
  const CString* first = nullptr;
  return cached.compare_exchange_strong(first, made.get()) ? *made.release() : *first;
}

void AdEnvironment::Prepend_Temp_Directory(CString& name) {
  name = Temp_Directory() + Slash() + name;
}

void AdEnvironment::Prepend_Temp_Directory(CString& name, int) {
  Prepend_Temp_Directory(name);
}

char AdEnvironment::Slash() {
  return '\\';
}

const CString& AdEnvironment::Slash_String() {
  static const CString& slash = NeverFreed("\\");
  return slash;
}

char AdEnvironment::Colon() {
  return ';';
}

const CString& AdEnvironment::Colon_String() {
  static const CString& colon = NeverFreed(";");
  return colon;
}

CString AdEnvironment::Null_Device() {
  return "nul";
}
