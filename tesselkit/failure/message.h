// Messages: a text from the process's string resources, found by id, with named values for its
// placeholders, the place where it was raised, and where it is meant to go.
//
// A message is a value; it owns its texts. Null texts count as empty. Different messages may be
// used by different threads at once.
//
//   PaMessage message(18018);
//   message.SetParam("resource_id", "7");
//   message.GetFullMsg();  // "Could not load string resource, ID=7"
#pragma once

#include <cstdint>
#include <functional>

#include "tesselkit/failure/message_text.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

// How grave a message is.
enum PaMsgType : int {
  PaMsgTypeNone = 0,
  PaMsgTypeInformation = 1,
  PaMsgTypeNotice = 2,
  PaMsgTypeFailure = 3,
};

// Whom a message is for.
enum PaMsgDest : int {
  PaMsgDestNone = 0,
  PaMsgDestUser = 1,
  PaMsgDestLog = 2,
  PaMsgDestDeveloper = 3,
};

class PaMessage;

// Takes the messages that are delivered; `context` is what Deliver was given.
using PaDeliveryHandler = std::function<void(const PaMessage& message, int context)>;

// Sets the process's delivery handler; an empty one takes it away. May be called from any thread;
// the handler is called on the thread that delivers.
TESSELKIT_API void PaSetDeliveryHandler(PaDeliveryHandler handler);

class TESSELKIT_API PaMessage {
 public:
  PaMessage();
  PaMessage(int id);  // as PaMessage(), Init(), ID(id)

  // Makes the message as good as new.
  void Init();

  // Sets the id and, with it, the text: string `id` of the process's resources, empty when there
  // is none. Parameters stay.
  PaMessage& ID(int id);
  int ID() const { return m_id; }

  PaMessage& Msg(const CString& text);
  const CString& Msg() const { return m_text; }

  PaMessage& HelpID(int id);
  int HelpID() const { return m_help_id; }
  PaMessage& HelpModule(const CString& module);
  const CString& HelpModule() const { return m_help_module; }

  PaMessage& Type(PaMsgType type);
  PaMsgType Type() const { return m_type; }
  PaMessage& Dest(PaMsgDest destination);
  PaMsgDest Dest() const { return m_destination; }
  PaMessage& Dmod(const CString& dmod);
  const CString& Dmod() const { return m_dmod; }

  // Where the message was raised; the getter gives one line of text, such as
  // "Tarnwell Core: adutil, line 120" (without the module's part when that is empty).
  PaMessage& Source(const char* module, const char* file, int line);
  const CString& Source() const { return m_source; }

  // The value of a placeholder; the last one set counts.
  PaMessage& Param(const CString& name, const CString& value);

  PaMessage& Delivered(int delivered);
  int Delivered() const { return m_delivered; }

  // What stands before and after a placeholder's name; "%" both.
  PaMessage& BeginDelim(const CString& delimiter);
  CString BeginDelim() const { return m_begin_delimiter; }
  PaMessage& EndDelim(const CString& delimiter);
  CString EndDelim() const { return m_end_delimiter; }

  // The text with its placeholders filled in one pass; one without a value stays as it is.
  CString& FullMsg(CString& out) const;
  CString FullMsg() const;

  // Marks the message delivered and hands it to the process's delivery handler, if there is one.
  // Throws nothing: what the handler throws ends here.
  void Deliver(int context);

  // The same under the names that this library's callers use.
  PaMessage& SetID(int id) { return ID(id); }
  PaMessage& SetMsg(const CString& text) { return Msg(text); }
  PaMessage& SetHelpID(int id) { return HelpID(id); }
  PaMessage& SetHelpModule(const CString& module) { return HelpModule(module); }
  PaMessage& SetType(PaMsgType type) { return Type(type); }
  PaMessage& SetDest(PaMsgDest destination) { return Dest(destination); }
  PaMessage& SetDmod(const CString& dmod) { return Dmod(dmod); }
  PaMessage& SetSource(const char* module, const char* file, int line) {
    return Source(module, file, line);
  }
  PaMessage& SetParam(const CString& name, const CString& value) { return Param(name, value); }
  PaMessage& SetDelivered(int delivered) { return Delivered(delivered); }
  PaMessage& SetBeginDelim(const CString& delimiter) { return BeginDelim(delimiter); }
  PaMessage& SetEndDelim(const CString& delimiter) { return EndDelim(delimiter); }

  int GetID() const { return ID(); }
  const CString& GetMsg() const { return Msg(); }
  int GetHelpID() const { return HelpID(); }
  const CString& GetHelpModule() const { return HelpModule(); }
  PaMsgType GetType() const { return Type(); }
  PaMsgDest GetDest() const { return Dest(); }
  const CString& GetDmod() const { return Dmod(); }
  const CString& GetSource() const { return Source(); }
  int GetDelivered() const { return Delivered(); }
  CString& GetFullMsg(CString& out) const { return FullMsg(out); }
  CString GetFullMsg() const { return FullMsg(); }
  CString GetBeginDelim() const { return BeginDelim(); }
  CString GetEndDelim() const { return EndDelim(); }

 private:
  int m_id = 0;
  int m_help_id = 0;
  int m_delivered = 0;
  PaMsgType m_type = PaMsgTypeNone;
  PaMsgDest m_destination = PaMsgDestNone;
  CString m_text;
  CString m_help_module;
  CString m_dmod;
  CString m_source;
  CString m_begin_delimiter = "%";
  CString m_end_delimiter = "%";
  tesselkit::failure::MessageValues m_values;
};

// The message library's record of who handles messages, passed around by value.
struct TESSELKIT_API PaMsgHandler {
  std::uint32_t m_words[4] = {};

  PaMsgHandler() = default;
  PaMsgHandler(const PaMsgHandler&) = default;
  PaMsgHandler& operator=(const PaMsgHandler& other);
};
