#include "tesselkit/failure/adexcept_automation.h"

#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "tesselkit/failure/adresource.h"
#include "tesselkit/resources/message_ids.h"

using namespace tesselkit;

namespace {

struct EndException {
  void operator()(CException* exception) const { exception->Delete(); }
};
template <class Exception>
using Owned = std::unique_ptr<Exception, EndException>;

struct ReleaseInterface {
  void operator()(IUnknown* object) const { object->Release(); }
};
template <class Interface>
using Held = std::unique_ptr<Interface, ReleaseInterface>;

struct FirstMessage {
  WORD code;
  CString text;
};

FirstMessage FirstMessageOf(const PaMsgException* exception) {
  if (exception != nullptr) {
    const ExcpMsg& list = exception->m_msgList;
    if (const PaMessage* message = list.GetAtPos(list.FirstPos())) {
      const auto code = static_cast<WORD>(message->GetID());
      return {code != 0 ? code : WORD{message_id::kExceptionZero}, message->GetFullMsg()};
    }
  }
  FirstMessage none{message_id::kNoDetails, {}};
  if (!AdLookupStringResource(message_id::kNoDetails, none.text)) {
    none.text = "An exception was thrown but no details are available";
  }
  return none;
}

// What an exception that is no PaMsgException says of itself.
CString ErrorText(CException* exception) {
  char details[1024];
  if (exception == nullptr || !exception->GetErrorMessage(details, sizeof details)) {
    return AdGetStringResource(message_id::kExceptionWithoutDetails);
  }
  CString text;
  text.Format(AdGetStringResource(message_id::kExceptionWithDetails), details);
  return text;
}

bool IsOf(const CException* exception, const CRuntimeClass* runtime_class) {
  return exception != nullptr && exception->IsKindOf(runtime_class);
}

// The exception as one of that class, or null.
PaMsgException* AsFailure(CException* exception) {
  const bool is_one = IsOf(exception, RUNTIME_CLASS(PaMsgException));
  return is_one ? static_cast<PaMsgException*>(exception) : nullptr;
}
COleDispatchException* AsDispatch(CException* exception) {
  const bool is_one = IsOf(exception, RUNTIME_CLASS(COleDispatchException));
  return is_one ? static_cast<COleDispatchException*>(exception) : nullptr;
}

char* CopyOf(const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t size = std::strlen(text) + 1;
  void* const copy = std::malloc(size);
  if (copy == nullptr) AfxThrowMemoryException();
  return static_cast<char*>(std::memcpy(copy, text, size));
}

AdOMException* MakeOMException(const CString& text, const char* source) {
  auto* const exception = new (std::nothrow) AdOMException(text, source);
  if (exception == nullptr) AfxThrowMemoryException();
  return exception;
}

using TextSetter = HRESULT (ICreateErrorInfo::*)(LPOLESTR);

void SetText(ICreateErrorInfo& error, TextSetter setter, const CString& text) {
  const BSTR wide = text.AllocSysString();
  (error.*setter)(wide);
  SysFreeString(wide);
}

void FillErrorObject(ICreateErrorInfo& error, CException* exception) {
  const auto describe = [&error](const CString& text) {
    SetText(error, &ICreateErrorInfo::SetDescription, text);
  };
  if (exception == nullptr) {
    describe(AdGetStringResource(message_id::kExceptionZero));
  } else if (const auto* failure = AsFailure(exception)) {
    describe(FirstMessageOf(failure).text);
  } else if (const auto* dispatch = AsDispatch(exception)) {
    describe(dispatch->m_strDescription);
    error.SetHelpContext(dispatch->m_dwHelpContext);
    SetText(error, &ICreateErrorInfo::SetHelpFile, dispatch->m_strHelpFile);
    SetText(error, &ICreateErrorInfo::SetSource, dispatch->m_strSource);
  } else {
    describe(ErrorText(exception));
  }
}

}  // namespace

AdOMException::AdOMException(const char* description, const char* source)
    : m_description(nullptr), m_source(nullptr) {
  std::unique_ptr<char, decltype(&std::free)> first(CopyOf(description), &std::free);
  m_source = CopyOf(source);
  m_description = first.release();
}

void AdRethrowPaExceptAsOleDispatchException(PaMsgException* e) {
  Owned<PaMsgException> owned(e);
  const FirstMessage first = FirstMessageOf(e);
  owned.reset();
  AfxThrowOleDispatchException(first.code, first.text, 0);
}

void AdRethrowAsOleDispatchException(CException* e) {
  if (auto* failure = AsFailure(e)) AdRethrowPaExceptAsOleDispatchException(failure);
  if (auto* dispatch = AsDispatch(e)) {
    if (std::current_exception() != nullptr) throw;
    throw dispatch;
  }
  Owned<CException> owned(e);
  const CString text = ErrorText(e);
  owned.reset();
  AfxThrowOleDispatchException(message_id::kExceptionWithoutDetails, text, 0);
}

void AdRethrowPaExceptAsOMException(PaMsgException* e, char* source) {
  Owned<PaMsgException> owned(e);  // until the source is copied, which may lie in it
  AdOMException* const converted = MakeOMException(FirstMessageOf(e).text, source);
  owned.reset();
  throw converted;
}

void AdRethrowAsOMException(CException* e, char* source) {
  if (auto* failure = AsFailure(e)) AdRethrowPaExceptAsOMException(failure, source);
  Owned<CException> owned(e);
  AdOMException* const converted = MakeOMException(ErrorText(e), source);
  owned.reset();
  throw converted;
}

void AdSetExceptionAsErrorInfo(CException* e) {
  Owned<CException> owned(e);
  ICreateErrorInfo* made = nullptr;
  if (FAILED(CreateErrorInfo(&made))) return;
  const Held<ICreateErrorInfo> error(made);
  FillErrorObject(*error, e);
  owned.reset();
  void* info = nullptr;
  if (FAILED(error->QueryInterface(IID_IErrorInfo, &info))) return;
  const Held<IErrorInfo> installed(static_cast<IErrorInfo*>(info));
  SetErrorInfo(0, installed.get());
}

void AdSetComErrorAsErrorInfo(_com_error& error) {
  const Held<IErrorInfo> installed(error.ErrorInfo());
  SetErrorInfo(0, installed.get());
}

CString AdExtractFirstMsgAndDeleteException(PaMsgException*& e) {
  const Owned<PaMsgException> owned(std::exchange(e, nullptr));
  CString text = FirstMessageOf(owned.get()).text;
  if (owned != nullptr) owned->m_msgList.SetEmpty();
  return text;
}

void AdMsgListToCStringArray(const ExcpMsg& list, CStringArray& out) {
  out.RemoveAll();
  for (POSITION place = list.FirstPos(); place != nullptr; place = list.NextPos(place)) {
    if (const PaMessage* message = list.GetAtPos(place)) out.Add(message->GetFullMsg());
  }
}
