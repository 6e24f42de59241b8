// What a statement throws, as a text that a test can compare whole.
#pragma once

#include <string>

#include "tesselkit/platform/exceptions.h"

namespace test {

// "archive endOfFile a.dat", "file diskFull a.dat": the kind, the cause and the file's name; the
// class's name for other platform exceptions; "" when nothing is thrown. Ends what it catches.
template <class Statement>
std::string FailureOf(Statement statement) {
  static constexpr const char* kArchive[] = {"none",      "genericException", "readOnly",
                                             "endOfFile", "writeOnly",        "badIndex",
                                             "badClass",  "badSchema"};
  std::string text;
  try {
    statement();
  } catch (CArchiveException* exception) {
    text = std::string("archive ") + kArchive[exception->m_cause];
    text += " " + std::string(exception->m_strFileName.View());
    exception->Delete();
  } catch (CFileException* exception) {
    text = exception->m_cause == CFileException::diskFull  ? "file diskFull"
           : exception->m_cause == CFileException::badSeek ? "file badSeek"
                                                           : "file other";
    text += " " + std::string(exception->m_strFileName.View());
    exception->Delete();
  } catch (CException* exception) {
    text = exception->GetRuntimeClass()->m_lpszClassName;
    exception->Delete();
  }
  return text;
}

}  // namespace test
