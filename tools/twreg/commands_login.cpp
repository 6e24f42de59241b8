// login show and login save.
#include <termios.h>
#include <unistd.h>

#include <cstdio>

#include "tesselkit/platform/code_page.h"
#include "tesselkit/util/adutil_login.h"
#include "tools/twreg/commands.h"
#include "tools/twreg/failure.h"

namespace twreg {

namespace {

struct Login {
  CString entry;
  CString user;
  CString password;
  CString database;
  CString database_set;
};

// Turns the terminal's echo off for the length of a scope.
class Silence {
 public:
  Silence() : m_is_terminal(tcgetattr(STDIN_FILENO, &m_before) == 0) {
    if (!m_is_terminal) return;
    termios silent = m_before;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    std::fputs("Password: ", stderr);
  }
  ~Silence() {
    if (!m_is_terminal) return;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
    std::fputs("\n", stderr);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  termios m_before{};
  bool m_is_terminal;
};

// The first line of standard input, without its end.
std::string ReadPassword() {
  const Silence silence;
  std::string line;
  for (int c = std::getchar(); c != EOF && c != '\n'; c = std::getchar()) {
    line += static_cast<char>(c);
  }
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

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
  if (!SaveTWLoginInfo(login.entry, login.user, login.password, login.database,
                       login.database_set)) {
    throw Failure("The " + Named(login) + " cannot be saved");
  }
  const Login saved = Read(login.entry);
  if (saved.user != login.user || saved.password != login.password ||
      saved.database != login.database || saved.database_set != login.database_set) {
    throw Failure("The " + Named(login) + " was not saved whole: a field has up to 99 bytes, " +
                  "a password up to 48");
  }
  output.Document().BeginObject().Name("entry").Text(login.entry.View()).EndObject();
  return kDone;
}

}  // namespace twreg
