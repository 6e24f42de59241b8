#include "tesselkit/failure/message.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <mutex>

#include "tesselkit/platform/exceptions.h"
#include "tesselkit/util/adutil_core.h"

namespace {

struct HandlerHolder {
  std::mutex mutex;
  std::shared_ptr<const PaDeliveryHandler> handler;
};

HandlerHolder& Holder() {
  static HandlerHolder& holder = *new HandlerHolder;
  return holder;
}

std::shared_ptr<const PaDeliveryHandler> CurrentHandler() {
  HandlerHolder& holder = Holder();
  const std::lock_guard lock(holder.mutex);
  return holder.handler;
}

}  // namespace

void PaSetDeliveryHandler(PaDeliveryHandler handler) {
  using tesselkit::platform::Allocator;
  std::shared_ptr<const PaDeliveryHandler> shared;
  if (handler) {
    shared =
        std::allocate_shared<PaDeliveryHandler>(Allocator<PaDeliveryHandler>(), std::move(handler));
  }
  HandlerHolder& holder = Holder();
  const std::lock_guard lock(holder.mutex);
  holder.handler.swap(shared);
}

PaMessage::PaMessage() = default;

PaMessage::PaMessage(int id) {
  ID(id);
}

void PaMessage::Init() {
  *this = PaMessage();
}

PaMessage& PaMessage::ID(int id) {
  m_text.LoadString(static_cast<UINT>(id));
  m_id = id;
  return *this;
}

PaMessage& PaMessage::Msg(const CString& text) {
  m_text = text;
  return *this;
}

PaMessage& PaMessage::HelpID(int id) {
  m_help_id = id;
  return *this;
}

PaMessage& PaMessage::HelpModule(const CString& module) {
  m_help_module = module;
  return *this;
}

PaMessage& PaMessage::Type(PaMsgType type) {
  m_type = type;
  return *this;
}

PaMessage& PaMessage::Dest(PaMsgDest destination) {
  m_destination = destination;
  return *this;
}

PaMessage& PaMessage::Dmod(const CString& dmod) {
  m_dmod = dmod;
  return *this;
}

PaMessage& PaMessage::Source(const char* module, const char* file, int line) {
  CString source;
  source.Preallocate(48);
  if (AdIsNonEmpty(module)) (source += module) += ": ";
  ((source += file) += ", line ") += AdStr(line);
  swap(m_source, source);
  return *this;
}

PaMessage& PaMessage::Param(const CString& name, const CString& value) {
  m_values.Set(name.View(), value.View());
  return *this;
}

PaMessage& PaMessage::Delivered(int delivered) {
  m_delivered = delivered;
  return *this;
}

PaMessage& PaMessage::BeginDelim(const CString& delimiter) {
  m_begin_delimiter = delimiter;
  return *this;
}

PaMessage& PaMessage::EndDelim(const CString& delimiter) {
  m_end_delimiter = delimiter;
  return *this;
}

CString& PaMessage::FullMsg(CString& out) const {
  out = FullMsg();
  return out;
}

CString PaMessage::FullMsg() const {
  std::size_t hint = 0;
  CString full;
  full.Preallocate(m_text.View().size() + m_values.TotalSize());
  tesselkit::failure::AppendFilled(full, m_text.View(), m_begin_delimiter.View(),
                                   m_end_delimiter.View(),
                                   [&](std::string_view name, std::string_view& value) {
                                     return m_values.Find(name, value, hint);
                                   });
  return full;
}

void PaMessage::Deliver(int context) {
  m_delivered = 1;
  try {
    if (const auto handler = CurrentHandler()) (*handler)(*this, context);
  } catch (CException* exception) {
    exception->Delete();
  } catch (...) {
  }
}

PaMsgHandler& PaMsgHandler::operator=(const PaMsgHandler& other) {
  std::copy(std::begin(other.m_words), std::end(other.m_words), std::begin(m_words));
  return *this;
}
