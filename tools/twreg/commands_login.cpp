// login show and login save.
#include "tesselkit/platform/code_page.h"
#include "tesselkit/util/adutil_login.h"
#include "tools/twreg/commands.h"
#include "tools/twreg/failure.h"
#include "tools/twreg/password.h"

namespace twreg {

namespace {

struct Login {
  CString entry;
  CString user;
  CString password;
  CString database;
  CString database_set;
};

CString EntryOperand(const Arguments& arguments) {
  const std::string entry = arguments.Operand(0);
  const bool has_levels = tesselkit::platform::FindText(entry, "\\") != std::string::npos;
  if (entry.empty() || has_levels) {
    throw UsageError("An ENTRY is one name, neither empty nor with a backslash");
  }
  return CString(entry.c_str());
}

std::string Named(const Login& login) {
  return "login \"" + std::string(login.entry.View()) + "\"";
}

// A password that is kept but not scrambled is emptied by the library, which then answers no as
// well.
Login Read(const CString& entry) {
  constexpr char kUntouched[] = "?";
  Login login{entry, {}, kUntouched, {}, {}};
  if (GetTWLoginInfo(login.entry, login.user, login.password, login.database, login.database_set)) {
    return login;
  }
  if (login.password == kUntouched) throw Failure("There is no " + Named(login));
  throw Failure("The password of the " + Named(login) + " is not a scrambled one");
}

// The library cuts none of these, and reads what is longer as empty.
void RequireLength(const Login& login, const CString& field, int longest) {
  if (field.GetLength() <= longest) return;
  throw Failure("The " + Named(login) + " cannot be saved: a field has up to 99 bytes, " +
                "a password up to 48");
}

void RequireLengths(const Login& login) {
  constexpr int kLongestField = 99;
  constexpr int kLongestPassword = 48;
  RequireLength(login, login.user, kLongestField);
  RequireLength(login, login.database, kLongestField);
  RequireLength(login, login.database_set, kLongestField);
  RequireLength(login, login.password, kLongestPassword);
}

bool IsSame(const Login& a, const Login& b) {
  return a.user == b.user && a.password == b.password && a.database == b.database &&
         a.database_set == b.database_set;
}

struct Field {
  const char* member;
  const char* label;
  const CString& text;
};

}  // namespace

int LoginShow(const Arguments& arguments, Output& output) {
  const Login login = Read(EntryOperand(arguments));
  std::vector<Field> fields = {{"entry", "Entry:         ", login.entry},
                               {"user", "User:          ", login.user},
                               {"database", "Database:      ", login.database},
                               {"set", "Database set:  ", login.database_set}};
  if (arguments.Has("--password")) {
    fields.push_back({"password", "Password:      ", login.password});
  }
  Json& json = output.Document().BeginObject();
  for (const Field& field : fields) {
    json.Name(field.member).Text(field.text.View());
    output.Text(field.label, Style::kName);
    output.Line(field.text.View());
  }
  json.EndObject();
  return kDone;
}

int LoginSave(const Arguments& arguments, Output& output) {
  Login login{EntryOperand(arguments),
              arguments.Option("--user").c_str(),
              {},
              arguments.Option("--database").c_str(),
              arguments.Option("--set").c_str()};
  login.password = ReadPassword().c_str();
  RequireLengths(login);
  if (!SaveTWLoginInfo(login.entry, login.user, login.password, login.database,
                       login.database_set)) {
    throw Failure("The " + Named(login) + " cannot be saved");
  }
  if (!IsSame(Read(login.entry), login))
    throw Failure("The " + Named(login) + " was not saved whole");
  output.Document().BeginObject().Name("entry").Text(login.entry.View()).EndObject();
  return kDone;
}

}  // namespace twreg
