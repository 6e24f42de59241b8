#include "tests/support/failures.h"

#include <regex>

namespace test {

ThrownMessage TakeMessage(PaMsgException* exception) {
  ThrownMessage thrown;
  const ExcpMsg& list = exception->m_msgList;
  const PaMessage* message = list.GetAtPos(list.FirstPos());
  if (message == nullptr || list.NextPos(list.FirstPos()) != nullptr) {
    ADD_FAILURE() << "not exactly one message";
  } else {
    thrown.id = message->GetID();
    thrown.type = message->GetType();
    thrown.destination = message->GetDest();
    thrown.text = WithoutLineNumbers(std::string(message->GetFullMsg().View()));
  }
  exception->Delete();
  return thrown;
}

std::string ConditionText(const std::string& condition, const std::string& source,
                          const std::string& values) {
  return "Failed condition: " + condition + "\nLocation: Tarnwell Core: " + source + ", line #" +
         values;
}

std::string WithoutLineNumbers(const std::string& text) {
  return std::regex_replace(text, std::regex(", line [0-9]+"), ", line #");
}

}  // namespace test
