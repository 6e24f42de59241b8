#include "tesselkit/failure/message_exception.h"

#include <cstdint>
#include <memory>

#include "tesselkit/platform/debug_output.h"

IMPLEMENT_DYNAMIC(PaMsgException, CException)

namespace {

POSITION PlaceOf(std::size_t number) {
  return reinterpret_cast<POSITION>(number);
}

std::size_t NumberAt(POSITION place) {
  return reinterpret_cast<std::uintptr_t>(place);
}

CString AllTexts(const ExcpMsg& list) {
  CString texts;
  for (POSITION place = list.FirstPos(); place != nullptr; place = list.NextPos(place)) {
    if (place != list.FirstPos()) texts += '\n';
    texts += list.GetAtPos(place)->FullMsg();
  }
  return texts;
}

}  // namespace

void ExcpMsg::Add(const PaMessage& message) {
  m_messages.push_back(message);
}

POSITION ExcpMsg::FirstPos() const {
  return m_messages.empty() ? nullptr : PlaceOf(1);
}

POSITION ExcpMsg::NextPos(POSITION place) const {
  const std::size_t number = NumberAt(place);
  return number > 0 && number < m_messages.size() ? PlaceOf(number + 1) : nullptr;
}

PaMessage* ExcpMsg::GetAtPos(POSITION place) const {
  const std::size_t number = NumberAt(place);
  return number > 0 && number <= m_messages.size() ? &m_messages[number - 1] : nullptr;
}

PaMessage& ExcpMsg::First() {
  if (m_messages.empty()) AfxThrowInvalidArgException();
  return m_messages.front();
}

void ExcpMsg::SetEmpty() {
  m_messages.clear();
}

PaMsgException::~PaMsgException() = default;

BOOL PaMsgException::GetErrorMessage(char* text, UINT size, UINT* help_context) {
  const BOOL has_text = tesselkit::platform::CopyErrorText(AllTexts(m_msgList).View(), text, size);
  const PaMessage* first = m_msgList.GetAtPos(m_msgList.FirstPos());
  if (help_context != nullptr) {
    *help_context = first != nullptr ? static_cast<UINT>(first->HelpID()) : 0;
  }
  return has_text;
}

int PaMsgException::ReportError(UINT, UINT) {
  OutputDebugStringA(AllTexts(m_msgList) + "\n");
  return 1;
}

PaMsgException* PaMakeMsgException(const PaMessage& message) {
  std::unique_ptr<PaMsgException> exception(new PaMsgException);
  exception->m_msgList.Add(message);
  return exception.release();
}
