// Catching what the library throws, and comparing what it said.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "tesselkit/failure/message_exception.h"

// So that a failing comparison shows texts.
inline void PrintTo(const CString& text, std::ostream* out) {
  *out << '"' << std::string(text.View()) << '"';
}

namespace test {

// The one message of a PaMsgException that was caught. `id` is 0 when there was none.
struct ThrownMessage {
  int id = 0;
  int type = 0;
  int destination = 0;
  std::string text;  // with the line number of its location, when it has one, written as "#"
};

// Takes the exception over and ends it.
ThrownMessage TakeMessage(PaMsgException* exception);

// What `statement` throws. Anything but one PaMsgException* with one message fails the test.
template <class Statement>
ThrownMessage Catch(Statement statement) {
  try {
    statement();
  } catch (PaMsgException* exception) {
    return TakeMessage(exception);
  }
  ADD_FAILURE() << "nothing was thrown";
  return {};
}

// The whole text of a condition failure as ThrownMessage has it. `values` are the lines below the
// location, each with its line feed in front.
std::string ConditionText(const std::string& condition, const std::string& source,
                          const std::string& values = "");

// Replaces the line number in every ", line <digits>" of a text by "#".
std::string WithoutLineNumbers(const std::string& text);

}  // namespace test
