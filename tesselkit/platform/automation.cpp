#include "tesselkit/platform/automation.h"

#include <atomic>
#include <new>
#include <utility>

IMPLEMENT_DYNAMIC(COleDispatchException, CException)

namespace {

class ErrorObject final : public ICreateErrorInfo, public IErrorInfo {
 public:
  ErrorObject() = default;
  ErrorObject(const ErrorObject&) = delete;
  ErrorObject& operator=(const ErrorObject&) = delete;

  HRESULT QueryInterface(REFIID id, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = id == IID_IErrorInfo ? static_cast<void*>(static_cast<IErrorInfo*>(this))
              : id == IID_ICreateErrorInfo || id == IID_IUnknown
                  ? static_cast<void*>(static_cast<ICreateErrorInfo*>(this))
                  : nullptr;
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }

  ULONG AddRef() override { return m_references.fetch_add(1, std::memory_order_relaxed) + 1; }

  ULONG Release() override {
    const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
  }

  HRESULT SetGUID(const GUID& guid) override { return m_guid = guid, S_OK; }
  HRESULT SetSource(LPOLESTR source) override { return Keep(source, m_source); }
  HRESULT SetDescription(LPOLESTR description) override { return Keep(description, m_description); }
  HRESULT SetHelpFile(LPOLESTR help_file) override { return Keep(help_file, m_help_file); }
  HRESULT SetHelpContext(DWORD help_context) override {
    return m_help_context = help_context, S_OK;
  }

  HRESULT GetGUID(GUID* guid) override { return Give(m_guid, guid); }
  HRESULT GetSource(BSTR* source) override { return GiveText(m_source, source); }
  HRESULT GetDescription(BSTR* description) override {
    return GiveText(m_description, description);
  }
  HRESULT GetHelpFile(BSTR* help_file) override { return GiveText(m_help_file, help_file); }
  HRESULT GetHelpContext(DWORD* help_context) override {
    return Give(m_help_context, help_context);
  }

 private:
  ~ErrorObject() {
    SysFreeString(m_source);
    SysFreeString(m_description);
    SysFreeString(m_help_file);
  }

  static HRESULT Keep(const OLECHAR* text, BSTR& member) {
    const BSTR copy = SysAllocString(text);
    if (copy == nullptr && text != nullptr) return E_OUTOFMEMORY;
    SysFreeString(std::exchange(member, copy));
    return S_OK;
  }

  static HRESULT GiveText(BSTR member, BSTR* text) {
    if (text == nullptr) return E_POINTER;
    *text = SysAllocString(member);
    return *text == nullptr && member != nullptr ? E_OUTOFMEMORY : S_OK;
  }

  template <class Value>
  static HRESULT Give(const Value& member, Value* value) {
    if (value == nullptr) return E_POINTER;
    *value = member;
    return S_OK;
  }

  std::atomic<ULONG> m_references = 1;
  GUID m_guid{};
  BSTR m_source = nullptr;
  BSTR m_description = nullptr;
  BSTR m_help_file = nullptr;
  DWORD m_help_context = 0;
};

struct ErrorOfThread {
  // An object that ends may ask for the thread's again.
  ~ErrorOfThread() {
    IErrorInfo* const last = std::exchange(error, nullptr);
    if (last != nullptr) last->Release();
  }
  IErrorInfo* error = nullptr;
};

ErrorOfThread& ThreadError() {
  static thread_local ErrorOfThread thread_error;
  return thread_error;
}

}  // namespace

HRESULT CreateErrorInfo(ICreateErrorInfo** error) noexcept {
  if (error == nullptr) return E_POINTER;
  *error = new (std::nothrow) ErrorObject;
  return *error != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* error) noexcept {
  if (reserved != 0) return E_INVALIDARG;
  if (error != nullptr) error->AddRef();
  IErrorInfo* const before = std::exchange(ThreadError().error, error);
  if (before != nullptr) before->Release();
  return S_OK;
}

HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** error) noexcept {
  if (error == nullptr) return E_POINTER;
  *error = nullptr;
  if (reserved != 0) return E_INVALIDARG;
  *error = std::exchange(ThreadError().error, nullptr);
  return *error != nullptr ? S_OK : S_FALSE;
}

_com_error::_com_error(HRESULT status, IErrorInfo* error, bool add_reference) noexcept
    : m_status(status), m_error(error) {
  if (m_error != nullptr && add_reference) m_error->AddRef();
}

_com_error::_com_error(const _com_error& other) noexcept
    : m_status(other.m_status), m_error(other.ErrorInfo()) {}

_com_error& _com_error::operator=(const _com_error& other) noexcept {
  IErrorInfo* const before = std::exchange(m_error, other.ErrorInfo());
  if (before != nullptr) before->Release();
  m_status = other.m_status;
  return *this;
}

_com_error::~_com_error() {
  if (m_error != nullptr) m_error->Release();
}

IErrorInfo* _com_error::ErrorInfo() const noexcept {
  if (m_error != nullptr) m_error->AddRef();
  return m_error;
}

COleDispatchException::COleDispatchException(const char* description, UINT help_id, WORD code)
    : m_wCode(code), m_strDescription(description), m_dwHelpContext(help_id) {}

BOOL COleDispatchException::GetErrorMessage(char* text, UINT size, UINT* help_context) {
  if (help_context != nullptr) *help_context = m_dwHelpContext;
  return tesselkit::platform::CopyErrorText(m_strDescription.View(), text, size);
}

void AfxThrowOleDispatchException(WORD code, const char* description, UINT help_id) {
  throw new COleDispatchException(description, help_id, code);
}
