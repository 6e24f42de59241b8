// Uses both libraries, lets an exception travel from one into this program, and catches a fault.
#include <tesselkit/tesselkit.h>

#include <cstdio>

namespace {

class Visitor : public AdObject {
 public:
  CString GetName() const override { return "visitor"; }
};

// The text of a failure, which comes from the library's own string resources.
CString RefusalOf(const char* text) {
  try {
    AdStrToLong(text);
  } catch (PaMsgException* exception) {
    const CString refusal = exception->m_msgList.First().GetFullMsg();
    exception->Delete();
    return refusal;
  }
  return "";
}

int Divide(int dividend, int divisor) {
  return dividend / divisor;
}
int (*volatile divide)(int, int) = Divide;

// A fault of the processor, as an automation caller gets it.
CString FaultOf(int divisor) {
  const AdExceptionConverter converter;
  try {
    return AdStr(divide(1, divisor));
  } catch (COleDispatchException* exception) {
    const CString text = exception->m_strDescription;
    exception->Delete();
    return text;
  }
}

int Check(const CString& actual, const char* expected) {
  if (actual == expected) return 0;
  std::printf("expected: %s\n  actual: %s\n", expected, static_cast<const char*>(actual));
  return 1;
}

}  // namespace

int main() {
  CString trace;
  tesselkit::platform::SetDebugOutputSink([&trace](const char* text) { trace = text; });

  const CString refusal = RefusalOf("");
  int faults = Check(refusal,
                     "The string \"\" cannot be interpreted as an integer.  "
                     "Cannot convert an empty string to an integer value.");
  faults += Check(trace.Left(refusal.GetLength()), refusal);
  faults += Check(AdStr(AdStrToLong("-12")), "-12");
  faults += Check(Visitor().GetName(), "visitor");
  faults += Check(Visitor().GetRuntimeClass()->m_lpszClassName, "AdObject");
  const char* const fault =
      "A Windows native exception occurred.  Exception ID and stack trace:\n"
      "Exception code: C0000094 INT_DIVIDE_BY_ZERO\n";
  faults += Check(FaultOf(0).Left(CString(fault).GetLength()), fault);
  tesselkit::platform::SetDebugOutputSink({});
  return faults;
}
