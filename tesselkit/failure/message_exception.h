// The exception in which every failure of the library travels: a list of messages, made on the
// heap, thrown by pointer and ended by its catcher with Delete().
//
//   try {
//     AdStrToLong("12a");
//   } catch (PaMsgException* exception) {
//     Show(exception->m_msgList.First().GetFullMsg());
//     exception->Delete();
//   }
#pragma once

#include <deque>

#include "tesselkit/failure/message.h"
#include "tesselkit/platform/exceptions.h"

// Messages in the order in which they were added. The list owns its copies; they stay where they
// are until the list is emptied.
class TESSELKIT_API ExcpMsg {
 public:
  ExcpMsg() = default;

  // Appends a copy.
  void Add(const PaMessage& message);

  // The place of the first message, null in an empty list; the place after one, null after the
  // last and for null.
  POSITION FirstPos() const;
  POSITION NextPos(POSITION place) const;

  // The message at a place, or null for null. It belongs to the list.
  PaMessage* GetAtPos(POSITION place) const;

  // The first message. Throws CInvalidArgException* in an empty list.
  PaMessage& First();

  void SetEmpty();

 private:
  using Messages = std::deque<PaMessage, tesselkit::platform::Allocator<PaMessage>>;

  // A place is the message's number, counted from 1.
  mutable Messages m_messages;
};

class TESSELKIT_API PaMsgException : public CException {
  DECLARE_DYNAMIC(PaMsgException)

 public:
  PaMsgException() = default;
  ~PaMsgException() override;

  // The full texts of all messages, a line feed between each two; the help id is that of the
  // first message.
  BOOL GetErrorMessage(char* text, UINT size, UINT* help_context = nullptr) override;

  // Writes the same to the debugger output, uncut, with a line feed. Returns 1.
  int ReportError(UINT type = 0, UINT message_id = 0) override;

  ExcpMsg m_msgList;
};

// A new exception whose list holds one copy of the message; it belongs to the caller.
TESSELKIT_API PaMsgException* PaMakeMsgException(const PaMessage& message);

// Throws a new PaMsgException* whose list holds one copy of the message.
[[noreturn]] inline void ThrowPaMsgException(PaMessage& message) {
  PaMsgException* const exception = PaMakeMsgException(message);
  throw exception;
}
