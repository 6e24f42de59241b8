#include "tools/twreg/program.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/debug_output.h"
#include "tesselkit/platform/mbstring.h"
#include "tools/twreg/arguments.h"
#include "tools/twreg/commands.h"
#include "tools/twreg/failure.h"
#include "tools/twreg/value_text.h"

namespace twreg {

namespace {

using tesselkit::platform::CharacterAtOrAfter;
using tesselkit::platform::WholeCharactersWithin;

// A long name stands in the middle: what a text begins and ends with says more.
std::string WithoutMiddle(const std::string& text) {
  constexpr std::size_t kMost = 1000;
  constexpr std::size_t kAtEnd = 300;
  if (text.size() <= kMost) return text;
  const std::size_t begin = WholeCharactersWithin(text, kMost - kAtEnd);
  return text.substr(0, begin) + " ... " +
         text.substr(CharacterAtOrAfter(text, text.size() - kAtEnd));
}

void Complain(const std::string& text) {
  std::fprintf(stderr, "twreg: %s\n", WithoutMiddle(PrintableText(text)).c_str());
}

bool IsColored(const Arguments& arguments) {
  if (arguments.Color() != ColorMode::kAuto) return arguments.Color() == ColorMode::kAlways;
  const char* const refused = std::getenv("NO_COLOR");
  return isatty(STDOUT_FILENO) != 0 && (refused == nullptr || *refused == '\0');
}

int Perform(const Arguments& arguments, Output& output) {
  switch (arguments.command) {
    case Command::kList:
      return List(arguments, output);
    case Command::kGet:
      return Get(arguments, output);
    case Command::kSet:
      return Set(arguments, output);
    case Command::kDelete:
      return Delete(arguments, output);
    case Command::kExport:
      return Export(arguments, output);
    case Command::kImport:
      return Import(arguments, output);
    case Command::kLoginShow:
      return LoginShow(arguments, output);
    case Command::kLoginSave:
      return LoginSave(arguments, output);
    case Command::kCheck:
      return Check(arguments, output);
    case Command::kHelp:
    case Command::kVersion:
      break;
  }
  return kDone;
}

void Print(const std::string& text) {
  const bool is_written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (!is_written || std::fflush(stdout) != 0) {
    throw Failure(std::string("standard output: ") + std::strerror(errno));
  }
}

void UseCodePage(const Arguments& arguments) {
  const std::optional<int> page = arguments.CodePage();
  if (page && _setmbcp(*page) != 0) {
    throw UsageError("There is no code page " + arguments.Option("--code-page"));
  }
}

int Answer(const std::vector<std::string>& words) {
  const Arguments arguments = ParseArguments(words);
  UseCodePage(arguments);
  if (arguments.command == Command::kHelp) {
    Print(std::string(HelpText()));
    return kDone;
  }
  if (arguments.command == Command::kVersion) {
    Print("twreg " TWREG_VERSION "\n");
    return kDone;
  }
  Output output(arguments.Has("--json"), IsColored(arguments));
  const int code = Perform(arguments, output);
  Print(output.Whole());
  for (const std::string& complaint : output.Complaints()) Complain(complaint);
  return code;
}

}  // namespace

int Run(const std::vector<std::string>& words) noexcept {
  tesselkit::platform::SetDebugOutputSink([](const char*) {});
  try {
    return Answer(words);
  } catch (const UsageError& error) {
    Complain(error.what());
    std::fputs("Try \"twreg --help\".\n", stderr);
    return kUsage;
  } catch (const std::exception& failure) {
    Complain(failure.what());
  } catch (CException* exception) {
    Complain(TextOf(*exception));
    exception->Delete();
  }
  return kNo;
}

}  // namespace twreg
