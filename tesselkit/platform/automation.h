// What automation callers receive: dispatch exceptions, and the error object of a thread.
//
// An interface pointer carries a reference: AddRef adds one, Release gives one up, and the last one
// ends the object. What a function hands out through a pointer carries a reference of its own,
// which the caller releases. Objects may be passed between threads; the error object that is set
// belongs to one thread and is released when that thread ends.
// Texts in UTF-16 are BSTRs: they know their length, may hold NULs, and end with SysFreeString; a
// null one is the empty text.
#pragma once

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/exceptions.h"
#include "tesselkit/platform/export.h"
#include "tesselkit/platform/types.h"

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);

constexpr bool SUCCEEDED(HRESULT result) {
  return result >= 0;
}
constexpr bool FAILED(HRESULT result) {
  return result < 0;
}

// A new text; null when there is no memory, and for a null `text` of SysAllocString. With a length,
// that many characters are taken, or left unset when `text` is null.
TESSELKIT_API BSTR SysAllocString(const OLECHAR* text) noexcept;
TESSELKIT_API BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept;
TESSELKIT_API void SysFreeString(BSTR text) noexcept;
TESSELKIT_API UINT SysStringLen(BSTR text) noexcept;  // in characters of 16 bits

namespace tesselkit::platform {

// The text in the process's code page; what the page has no character for becomes "?". Throws
// CMemoryException*.
TESSELKIT_API CString NarrowText(BSTR text);

}  // namespace tesselkit::platform

struct GUID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];

  bool operator==(const GUID&) const = default;
};
using IID = GUID;
using REFIID = const IID&;

constexpr IID IID_IUnknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr IID IID_IErrorInfo = {
    0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
constexpr IID IID_ICreateErrorInfo = {
    0x22F03340, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};

struct TESSELKIT_API IUnknown {
  // Sets `object` to the interface `id` of the same object, or to null (E_NOINTERFACE).
  virtual HRESULT QueryInterface(REFIID id, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;
};

// An error object as its reader sees it. The texts handed out belong to the caller; one that was
// never set is null.
struct TESSELKIT_API IErrorInfo : IUnknown {
  virtual HRESULT GetGUID(GUID* guid) = 0;
  virtual HRESULT GetSource(BSTR* source) = 0;
  virtual HRESULT GetDescription(BSTR* description) = 0;
  virtual HRESULT GetHelpFile(BSTR* help_file) = 0;
  virtual HRESULT GetHelpContext(DWORD* help_context) = 0;

 protected:
  ~IErrorInfo() = default;
};

// An error object as its maker sees it. Texts are copied.
struct TESSELKIT_API ICreateErrorInfo : IUnknown {
  virtual HRESULT SetGUID(const GUID& guid) = 0;
  virtual HRESULT SetSource(LPOLESTR source) = 0;
  virtual HRESULT SetDescription(LPOLESTR description) = 0;
  virtual HRESULT SetHelpFile(LPOLESTR help_file) = 0;
  virtual HRESULT SetHelpContext(DWORD help_context) = 0;

 protected:
  ~ICreateErrorInfo() = default;
};

// A new, empty error object, which has both interfaces. E_OUTOFMEMORY leaves null.
TESSELKIT_API HRESULT CreateErrorInfo(ICreateErrorInfo** error) noexcept;

// The calling thread's error object. Setting takes a reference of its own and releases the one that
// was set; null clears. Getting hands the object over and clears; S_FALSE, with null, when there is
// none. `reserved` must be 0.
TESSELKIT_API HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* error) noexcept;
TESSELKIT_API HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** error) noexcept;

// A status code with the error object that came with it, which may be missing.
class TESSELKIT_API _com_error {
 public:
  // Takes over the caller's reference to `error`, or, with `add_reference`, one of its own.
  explicit _com_error(HRESULT status, IErrorInfo* error = nullptr,
                      bool add_reference = false) noexcept;
  _com_error(const _com_error& other) noexcept;
  _com_error& operator=(const _com_error& other) noexcept;
  virtual ~_com_error();

  HRESULT Error() const noexcept { return m_status; }

  // The error object with a reference for the caller, or null.
  IErrorInfo* ErrorInfo() const noexcept;

 private:
  HRESULT m_status;
  IErrorInfo* m_error;
};

// What a method's automation caller catches.
class TESSELKIT_API COleDispatchException : public CException {
  DECLARE_DYNAMIC(COleDispatchException)

 public:
  COleDispatchException(const char* description, UINT help_id, WORD code);

  // The description; the help id is the help context.
  BOOL GetErrorMessage(char* text, UINT size, UINT* help_context = nullptr) override;

  WORD m_wCode;
  CString m_strDescription;
  DWORD m_dwHelpContext;
  CString m_strHelpFile;
  CString m_strSource;
};

[[noreturn]] TESSELKIT_API void AfxThrowOleDispatchException(WORD code, const char* description,
                                                             UINT help_id = 0);
