// The product's settings in the process environment, and its path conventions.
//
// The conventions are the product's own on every host: the backslash between the components of a
// path, the semicolon between directories, the null device "nul". This is the one header of this
// folder that util/ may use: its path functions take their separators from here.
// All functions may be called from any thread, as long as none changes the environment meanwhile.
// A reference that is returned stays good for the rest of the process.
#pragma once

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

class TESSELKIT_API AdEnvironment {
 public:
  // The value of "SQLDIR", "DRELLIK_ODBC_TRACE" and "DK_TEST_DBSET_NAME", or null when it is not
  // defined. The text is the environment's own: good until the environment is changed.
  static const char* SQL_Anywhere_Dir();
  static const char* ODBC_Trace_File();
  static const char* Test_DBSet_Name();

  // 1 when "TW_NOCAL", "DK_TEST_LEAVE_UPGRADE_SCRIPTS", "DK_TEST_UPGRADE_SAME_REV_USER_DB",
  // "DK_TEST_ALLOW_COLOCATED_DBS" and "TW_OVERRIDE_COMMIT" is defined, whatever its value, else 0.
  static int No_Make_Calendar();
  static int Test_Leave_Upgrade_Scripts();
  static int Test_Upgrade_Same_Rev_User_DB();
  static int Test_Allow_Colocated_DBs();
  static int Override_Commit();

  // The value that "TEMP" has at the first call that finds one, unchanged. While "TEMP" is
  // undefined or empty, throws a condition failure (PaMsgException*, message 18019).
  static const CString& Temp_Directory();

  // Puts the temporary directory and a backslash in front of `name`; the integer is ignored.
  // Fails as Temp_Directory does, and leaves `name` alone then.
  static void Prepend_Temp_Directory(CString& name);
  static void Prepend_Temp_Directory(CString& name, int);

  static char Slash();  // the backslash
  static const CString& Slash_String();
  static char Colon();  // the semicolon
  static const CString& Colon_String();
  static CString Null_Device();
};
