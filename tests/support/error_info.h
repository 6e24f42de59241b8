// Error objects for tests: reading one as a whole, and one that counts who holds it.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tesselkit/platform/automation.h"

namespace test {

inline std::string Taken(BSTR text) {
  const CString narrow = tesselkit::platform::NarrowText(text);
  const std::string taken = text != nullptr ? std::string(narrow.View()) : "(null)";
  SysFreeString(text);
  return taken;
}

// "description|help context|help file|source", each text that was never set as "(null)".
inline std::string Shown(IErrorInfo& error) {
  BSTR description = nullptr;
  BSTR help_file = nullptr;
  BSTR source = nullptr;
  DWORD help_context = 0;
  EXPECT_EQ(error.GetDescription(&description), S_OK);
  EXPECT_EQ(error.GetHelpContext(&help_context), S_OK);
  EXPECT_EQ(error.GetHelpFile(&help_file), S_OK);
  EXPECT_EQ(error.GetSource(&source), S_OK);
  return Taken(description) + "|" + std::to_string(help_context) + "|" + Taken(help_file) + "|" +
         Taken(source);
}

// Takes the thread's error object, which nobody else may hold, and shows it; "" when there is none.
inline std::string TakeErrorInfo() {
  IErrorInfo* error = nullptr;
  if (GetErrorInfo(0, &error) != S_OK) return "";
  std::string shown = Shown(*error);
  EXPECT_EQ(error->Release(), 0u);
  return shown;
}

// Lives on the stack. Its maker holds one reference.
class CountedErrorInfo : public IErrorInfo {
 public:
  HRESULT QueryInterface(REFIID, void** object) override {
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG AddRef() override { return ++references; }
  ULONG Release() override { return --references; }
  HRESULT GetGUID(GUID*) override { return E_POINTER; }
  HRESULT GetSource(BSTR*) override { return E_POINTER; }
  HRESULT GetDescription(BSTR*) override { return E_POINTER; }
  HRESULT GetHelpFile(BSTR*) override { return E_POINTER; }
  HRESULT GetHelpContext(DWORD*) override { return E_POINTER; }

  ULONG references = 1;
};

}  // namespace test
