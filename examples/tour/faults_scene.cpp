// A fault of the processor and a failure, as automation callers get them.
#include "examples/tour/scene.h"

namespace {

using namespace tour;

// Meant to fault, so no sanitizer is to stand in front of it.
__attribute__((no_sanitize("undefined"))) int Divide(int dividend, int divisor) {
  return dividend / divisor;
}
// Through a pointer, so that the compiler sees a call that may throw.
int (*volatile divide)(int, int) = Divide;

// The report without what differs from run to run: addresses, and frames beyond the tour's own.
void SayReport(const CString& text) {
  std::string shown;
  CString rest = text;
  bool is_shown = true;
  while (!rest.IsEmpty()) {
    const int end = rest.Find('\n');
    CString line = end >= 0 ? rest.Left(end) : rest;
    rest = end >= 0 ? rest.Mid(end + 1) : CString();
    if (AdIsEqual(line.Left(14), "Fault address:")) line = "Fault address:  ...";
    const int plus = line.ReverseFind('+');
    const int name = line.ReverseFind(' ');
    if (plus > name && name > 0)
      line = "...       ...       " + line.Mid(name + 1, plus - name - 1);
    if (is_shown) shown += std::string(line) + "\n";
    if (line.Find("FaultsScene") >= 0) is_shown = false;
  }
  SayIndented("|", shown);
}

void ShowFault() {
  const AdExceptionConverter converter;
  try {
    Say("    the quotient is %d\n", divide(1701, 0));
  } catch (COleDispatchException* caught) {
    Say("    caught a dispatch exception with code %d\n", caught->m_wCode);
    SayReport(caught->m_strDescription);
    caught->Delete();
  }
}

void ShowErrorObject() {
  IErrorInfo* error = nullptr;
  if (GetErrorInfo(0, &error) != S_OK) return Say("    the thread has no error object\n");
  BSTR description = nullptr;
  error->GetDescription(&description);
  const CString text = tesselkit::platform::NarrowText(description);
  SysFreeString(description);
  Say("    the thread's error object, with %u references left after its reading\n",
      static_cast<unsigned>(error->Release()));
  SayIndented("|", std::string(text));
}

}  // namespace

void tour::FaultsScene(const Places&) {
  Say("  A division by zero, caught\n");
  ShowFault();
  Say("  A caught failure becomes the thread's error object\n");
  try {
    AdStrToLong("12a");
  } catch (CException* caught) {
    AdSetExceptionAsErrorInfo(caught);
  }
  ShowErrorObject();
}
