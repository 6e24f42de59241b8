#include "tesselkit/system/adregistry.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include "tesselkit/failure/adexcept.h"
#include "tesselkit/failure/condition.h"
#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/system_message.h"

IMPLEMENT_DYNAMIC(AdRegistry, AdObject)

using namespace tesselkit::platform;

namespace {

constexpr char kSourceName[] = "adregistry";
constexpr char kSeparator = '\\';

void Close(HKEY& key) {
  if (key != nullptr) RegCloseKey(key);
  key = nullptr;
}

// The name without the backslashes at its ends. Of those at the end the first may be the trail byte
// of a character.
CString Normalised(const char* text) {
  std::string_view name = ViewOf(text);
  name.remove_prefix(std::min(name.find_first_not_of(kSeparator), name.size()));
  const std::size_t end = name.find_last_not_of(kSeparator) + 1;
  name = name.substr(0, end + 1);
  if (FindLastCharacter(name, kSeparator) == end) name.remove_suffix(1);
  return CString(name);
}

bool IsReachedByConnecting(HKEY root) {
  const auto number = reinterpret_cast<std::uintptr_t>(root);
  return number >= reinterpret_cast<std::uintptr_t>(HKEY_LOCAL_MACHINE) &&
         number <= reinterpret_cast<std::uintptr_t>(HKEY_DYN_DATA);
}

const char* NameOfRoot(HKEY root) {
  if (root == HKEY_CURRENT_USER) return "HKEY_CURRENT_USER";
  return root == HKEY_LOCAL_MACHINE ? "HKEY_LOCAL_MACHINE" : "";
}

}  // namespace

AdRegistry::AdRegistry() = default;

AdRegistry::~AdRegistry() {
  ClearRegistryMemberVars();
}

void AdRegistry::Initialize() {
  ClearRegistryMemberVars();
}

void AdRegistry::Finalize() {
  ClearRegistryMemberVars();
}

void AdRegistry::AssertValid() const {
  AdObject::AssertValid();
}

void AdRegistry::ClearRegistryMemberVars() {
  if (m_hRootKey == m_hRootConnection || m_hRootKey == m_hKey) m_hRootKey = nullptr;
  Close(m_hRootKey);
  if (m_hKey == m_hRootConnection) m_hKey = nullptr;
  Close(m_hKey);
  Close(m_hRootConnection);
  m_lLastError = 0;
}

// The name is taken before the path is emptied: it may be the path itself.
void AdRegistry::SetPath(HKEY hRootKey, const char* lpszPathName, int bReadOnly) {
  AD_CHECK(hRootKey != 0);
  AD_CHECK(lpszPathName != 0);
  CString path = Normalised(lpszPathName);
  m_strPath.Empty();
  if (hRootKey != m_hRootKey) {
    ClearRegistryMemberVars();
    m_hRootKey = hRootKey;
    Connect(hRootKey);
  }
  m_strPath = std::move(path);
  Open(bReadOnly);
}

void AdRegistry::Connect(HKEY root) {
  if (!IsReachedByConnecting(root)) {
    m_hRootConnection = root;
    return;
  }
  m_lLastError = RegConnectRegistryA(nullptr, root, &m_hRootConnection);
  if (m_lLastError != ERROR_SUCCESS) ThrowFailure("RegConnectRegistry", __LINE__);
}

LONG AdRegistry::OpenPath(REGSAM access, HKEY& key) {
  return m_lLastError = RegOpenKeyExA(m_hRootConnection, m_strPath, 0, access, &key);
}

void AdRegistry::Open(int bReadOnly) {
  Close(m_hKey);
  const LONG status = OpenPath(bReadOnly ? KEY_READ : KEY_ALL_ACCESS, m_hKey);
  if (status != ERROR_SUCCESS && !bReadOnly) {
    DWORD disposition = 0;
    m_lLastError = RegCreateKeyExA(m_hRootConnection, m_strPath, 0, "", REG_OPTION_NON_VOLATILE,
                                   KEY_ALL_ACCESS, nullptr, &m_hKey, &disposition);
    if (m_lLastError != ERROR_SUCCESS) ThrowFailure("RegCreateKeyEx", __LINE__);
    AD_CHECK(disposition == (0x00000001L));
  }
  QueryInfo();
}

void AdRegistry::QueryInfo() {
  std::array<char, 2048> class_name{};
  DWORD class_size = class_name.size() - 1;
  m_lLastError = RegQueryInfoKeyA(m_hKey, class_name.data(), &class_size, nullptr, &m_dwSubKeys,
                                  &m_dwMaxSubKeyLen, nullptr, &m_dwValues, &m_dwMaxValueNameLen,
                                  &m_dwMaxValueLen, nullptr, nullptr);
  if (m_lLastError != ERROR_SUCCESS) ThrowFailure("RegQueryInfoKey", __LINE__);
}

// A backslash is put in front of the name on an empty path too.
void AdRegistry::AppendToPath(const char* name) {
  m_strPath += kSeparator + Normalised(name);
}

void AdRegistry::PushDirectory(const char* lpszSubkeyName, int bReadOnly) {
  AssertValid();
  AD_CHECK(lpszSubkeyName != 0);
  AppendToPath(lpszSubkeyName);
  Open(bReadOnly);
}

void AdRegistry::PopDirectory(int bReadOnly) {
  AssertValid();
  const int separator = m_strPath.ReverseFind(kSeparator);
  if (separator > 0) m_strPath = m_strPath.Left(separator);
  Open(bReadOnly);
}

int AdRegistry::KeyExists(const char* name) {
  AssertValid();
  if (ViewOf(name).empty()) return 0;
  const CString path = m_strPath;
  AppendToPath(name);
  HKEY key = nullptr;
  const LONG status = OpenPath(KEY_READ, key);
  Close(key);
  m_strPath = path;
  if (status != ERROR_SUCCESS) return 0;
  Open(1);
  return 1;
}

CString AdRegistry::FormatCurrentKeyPath() {
  CString path;
  path.Format("%s\\%s", NameOfRoot(m_hRootKey), static_cast<const char*>(m_strPath));
  return path;
}

CString AdRegistry::FormatLastErrorMessage() {
  constexpr DWORD kFlags =
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM;
  char* text = nullptr;
  FormatMessageA(kFlags, nullptr, static_cast<DWORD>(m_lLastError),
                 MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<LPSTR>(&text), 0,
                 nullptr);
  const std::unique_ptr<char, decltype(&LocalFree)> owner(text, &LocalFree);
  return text;
}

void AdRegistry::ThrowFailure(const char* function, int line) {
  PaMessage message(18058);
  message.SetParam("func", function);
  message.SetParam("key", FormatCurrentKeyPath());
  message.SetParam("msg", FormatLastErrorMessage());
  AdThrowMsgExcept(message, "", kSourceName, line);
}
