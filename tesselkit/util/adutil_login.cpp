#include "tesselkit/util/adutil_login.h"

#include <array>

#include "tesselkit/encoding/adcrypt.h"
#include "tesselkit/util/open_key.h"
#include "tesselkit/util/swallow.h"

using tesselkit::util::OpenKey;
using tesselkit::util::Succeeds;

namespace {

constexpr char kProductKey[] = "Software\\Veltrim Software\\Tarnwell\\2000.02.10";
constexpr char kContainer[] = "TWIntSvr";

constexpr char kUserName[] = "UserName";
constexpr char kPassword[] = "Password";
constexpr char kDatabase[] = "DBName";
constexpr char kDatabaseSet[] = "DBSetName";

CString ContainerPath() {
  CString path;
  path.Format("%s\\Common\\%s", kProductKey, kContainer);
  return path;
}

CString LoginPath(const char* entry_name) {
  CString path;
  path.Format("%s\\Common\\%s\\%s", kProductKey, kContainer, entry_name);
  return path;
}

CString AsStored(const CString& text) {
  return text;
}

// Empties `field` and reads what is stored, which `decode` turns back. What does not fit stays out.
void ReadField(HKEY login, const char* name, CString& field, CString (*decode)(const CString&)) {
  field.Empty();
  std::array<char, 100> text{};
  LONG size = text.size();
  if (RegQueryValueA(login, name, text.data(), &size) == ERROR_SUCCESS) field = decode(text.data());
}

void WriteField(HKEY login, const char* name, const CString& field,
                CString (*encode)(const CString&)) {
  if (field.GetLength() > 0) {
    const CString text = encode(field);
    RegSetValueA(login, name, REG_SZ, text, static_cast<DWORD>(text.GetLength()));
  } else {
    RegDeleteKeyA(login, name);
  }
}

CString Scrambled(const CString& password) {
  return AdEncryptStringReversibly(password);
}

CString Unscrambled(const CString& text) {
  return AdDecryptString(text);
}

}  // namespace

int GetTWLoginInfo(CString& entryName, CString& userName, CString& password, CString& dbName,
                   CString& dbSetName) {
  OpenKey login;
  const bool is_read = Succeeds([&] {
    if (RegOpenKeyA(HKEY_CURRENT_USER, LoginPath(entryName), login.Place()) != 0) return;
    ReadField(login, kUserName, userName, AsStored);
    ReadField(login, kPassword, password, Unscrambled);
    ReadField(login, kDatabase, dbName, AsStored);
    ReadField(login, kDatabaseSet, dbSetName, AsStored);
  });
  return is_read && login != nullptr ? 1 : 0;
}

int SaveTWLoginInfo(CString& entryName, CString& userName, CString& password, CString& dbName,
                    CString& dbSetName) {
  OpenKey container;
  OpenKey login;
  const bool is_written = Succeeds([&] {
    if (RegCreateKeyA(HKEY_CURRENT_USER, ContainerPath(), container.Place()) != 0) return;
    if (RegCreateKeyA(container, entryName, login.Place()) != 0) return;
    WriteField(login, kUserName, userName, AsStored);
    WriteField(login, kPassword, password, Scrambled);
    WriteField(login, kDatabase, dbName, AsStored);
    WriteField(login, kDatabaseSet, dbSetName, AsStored);
  });
  return is_written && login != nullptr ? 1 : 0;
}
