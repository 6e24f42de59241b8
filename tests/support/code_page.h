// Running a test under a code page of its own.
#pragma once

#include "tesselkit/platform/mbstring.h"

namespace test {

// Sets the page for the length of a scope.
class CodePage {
 public:
  explicit CodePage(int number) : m_before(_getmbcp()) { _setmbcp(number); }
  ~CodePage() { _setmbcp(m_before); }
  CodePage(const CodePage&) = delete;
  CodePage& operator=(const CodePage&) = delete;

 private:
  int m_before;
};

// One of each kind, every two-byte page included.
inline constexpr int kCodePages[] = {0, 1252, 932, 936, 949, 950, 65001};

}  // namespace test
