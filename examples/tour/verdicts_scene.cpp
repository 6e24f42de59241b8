// Each line of a file names a kind and a text; the library says what it thinks of the text.
#include "examples/tour/scene.h"

namespace {

using namespace tour;

struct Verdict {
  const char* kind;
  // Empty when the text is fine.
  CString (*problem_of)(const char* text);
};

CString ProblemOfNumber(const char* text) {
  long value = 0;
  CString problem;
  AdStrToLong(text, value, problem);
  return problem;
}

CString ProblemOfDate(const char* text) {
  CString problem;
  AdIsValidDateTimeString(text, problem);
  return problem;
}

CString ProblemOfName(const char* text) {
  CString reason;
  AdIsValidIdentifier(text, reason);
  return reason;
}

CString ProblemOfLogin(const char* text) {
  CString reason;
  AdIsValidLogin(text, reason);
  return reason;
}

constexpr Verdict kVerdicts[] = {
    {"number", ProblemOfNumber},
    {"date", ProblemOfDate},
    {"name", ProblemOfName},
    {"login", ProblemOfLogin},
};

void Judge(const CString& kind, const CString& text) {
  for (const Verdict& verdict : kVerdicts) {
    if (!AdIsEqual(kind, verdict.kind)) continue;
    const CString problem = verdict.problem_of(text);
    const char* judged = static_cast<const char*>(text);
    if (problem.IsEmpty()) {
      Say("  %-6s %-36s fine\n", verdict.kind, judged);
    } else {
      Say("  %-6s %s\n", verdict.kind, judged);
    }
    SayIndented("|", std::string(problem));
  }
}

}  // namespace

void tour::VerdictsScene(const Places& places) {
  CStringArray lines;
  AdGetTextFile((places.data + "/entries.txt").c_str(), lines);
  for (int i = 0; i < lines.GetSize(); ++i) {
    CString text = lines[i];
    const CString kind = AdRemoveWord(text, " ");
    Judge(kind, AdTrimLeadingWhitespace(text));
  }
}
