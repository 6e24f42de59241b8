// Lines of named values, a text file read, sorted and written, and a file found along a list of
// directories.
#include "examples/tour/scene.h"

namespace {

using namespace tour;

void ShowSettings(const CString& line) {
  Say("  %s\n", static_cast<const char*>(line));
  CMapStringToString settings;
  CException* error = nullptr;
  if (AdParseNameValueString(line, settings, &error, 0)) {
    CString canonical;
    AdMakeNameValueString(settings, canonical, 1);
    Say("    %d settings, written back as %s\n", settings.GetCount(),
        static_cast<const char*>(canonical));
  } else {
    SayIndented("|", TextOf(static_cast<PaMsgException*>(error)));
  }
}

void ShowSorted(const char* title, const CStringArray& lines, int case_sensitive, int ascending,
                int collate) {
  CStringArray sorted;
  sorted.Copy(lines);
  AdSortStrings(sorted, case_sensitive, ascending, collate);
  CString joined;
  AdCStringArrayToCString(sorted, joined, ", ");
  Say("    %-22s %s\n", title, static_cast<const char*>(joined));
}

}  // namespace

void tour::TextScene(const Places& places) {
  CStringArray lines;
  AdGetTextFile((places.data + "/settings.txt").c_str(), lines);
  for (int i = 0; i < lines.GetSize(); ++i) ShowSettings(lines[i]);

  // One line end of each kind in it; a lone carriage return stays in its line until it is split.
  AdGetTextFile((places.data + "/cities.txt").c_str(), lines);
  CString text;
  AdCStringArrayToCString(lines, text, nullptr);
  AdSplitString(AdStringToNewlineFormat(text), "\n", lines);
  Say("\n  A file of %d lines\n", lines.GetSize());
  ShowSorted("without case:", lines, 0, 1, 0);
  ShowSorted("with case:", lines, 1, 1, 0);
  ShowSorted("downwards:", lines, 0, 0, 0);

  const CString written = (places.scratch + "/sorted.txt").c_str();
  AdSortStrings(lines, 0, 1, 0);
  AdWriteTextFile(written, lines, 0);
  const CString directories = ("/nowhere;" + places.scratch).c_str();
  const CString found = AdLocateFile(directories, "sorted.txt");
  Say("    written, and found again as %s\n", static_cast<const char*>(AdBasename(found)));
  CStringArray again;
  AdGetTextFile(found, again);
  Say("    read back: %d lines, the first is %s\n", again.GetSize(),
      static_cast<const char*>(again[0]));
}
