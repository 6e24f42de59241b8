#include "tools/twreg/store.h"

#include <algorithm>
#include <array>

#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/hive.h"
#include "tesselkit/platform/mbstring.h"
#include "tools/twreg/failure.h"

namespace twreg {

namespace {

bool IsGone(LONG status) {
  return status == ERROR_FILE_NOT_FOUND || status == ERROR_KEY_DELETED;
}

// A key that is deleted meanwhile has nothing more.
bool IsEnd(LONG status) {
  return status == ERROR_NO_MORE_ITEMS || status == ERROR_KEY_DELETED;
}

bool IsThere(const KeyPath& path) {
  tesselkit::util::OpenKey key;
  const LONG status = RegOpenKeyExA(path.root, path.below.c_str(), 0, KEY_READ, key.Place());
  if (status == ERROR_FILE_NOT_FOUND) return false;
  RequireSuccess(status, "RegOpenKeyEx", path.Name());
  return true;
}

void ApplyValue(const Key& key, const FileValue& entry) {
  if (entry.is_deleted) {
    key.DeleteValue(entry.value.name);
  } else {
    key.Set(entry.value);
  }
}

}  // namespace

Key::Key(const KeyPath& path, REGSAM access) : m_path(path) {
  Require(RegOpenKeyExA(path.root, path.below.c_str(), 0, access, m_key.Place()), "RegOpenKeyEx");
}

Key::Key(const KeyPath& path) : m_path(path) {
  Require(RegCreateKeyExA(path.root, path.below.c_str(), 0, "", REG_OPTION_NON_VOLATILE,
                          KEY_ALL_ACCESS, nullptr, m_key.Place(), nullptr),
          "RegCreateKeyEx");
}

void Key::Require(LONG status, const char* function) const {
  RequireSuccess(status, function, m_path.Name());
}

std::vector<std::string> Key::Subkeys() const {
  std::vector<std::string> names;
  for (;;) {
    std::array<char, kLongestKeyName + 1> name{};
    DWORD size = name.size();
    const LONG status = RegEnumKeyExA(m_key, static_cast<DWORD>(names.size()), name.data(), &size,
                                      nullptr, nullptr, nullptr, nullptr);
    if (IsEnd(status)) return names;
    Require(status, "RegEnumKeyEx");
    names.emplace_back(name.data(), size);
  }
}

bool Key::HasSubkey(const std::string& name) const {
  return std::ranges::count(Subkeys(), name) != 0;
}

// A name that was stored under another page may be a path under this one, to another key.
std::unique_ptr<Key> Key::Subkey(const std::string& name) const {
  if (tesselkit::platform::FindText(name, "\\") != std::string::npos) return nullptr;
  std::unique_ptr<Key> subkey(new Key(m_path.Child(name), nullptr));
  const LONG status = RegOpenKeyExA(m_key, name.c_str(), 0, KEY_READ, subkey->m_key.Place());
  if (IsGone(status)) return nullptr;
  subkey->Require(status, "RegOpenKeyEx");
  return subkey;
}

// The lookup by name does not find what was stored under another page: the enumeration says all.
std::vector<Value> Key::Values() const {
  std::vector<Value> values;
  std::string name(kLongestValueName + 1, '\0');
  for (std::string room;;) {
    Value value;
    auto name_size = static_cast<DWORD>(name.size());
    auto size = static_cast<DWORD>(room.size());
    const LONG status =
        RegEnumValueA(m_key, static_cast<DWORD>(values.size()), name.data(), &name_size, nullptr,
                      &value.type, reinterpret_cast<BYTE*>(room.data()), &size);
    if (IsEnd(status)) return values;
    if (status == ERROR_MORE_DATA && size > room.size()) {
      room.resize(size);
      continue;
    }
    Require(status, "RegEnumValue");
    value.name = name.substr(0, name_size);
    value.data = room.substr(0, size);
    values.push_back(std::move(value));
  }
}

// The value may grow between two calls.
Value Key::ValueOf(const std::string& name) const {
  Value value;
  value.name = name;
  DWORD size = 0;
  LONG status = ERROR_MORE_DATA;
  while (status == ERROR_MORE_DATA) {
    value.data.resize(size);
    status = RegQueryValueExA(m_key, name.c_str(), nullptr, &value.type,
                              reinterpret_cast<BYTE*>(value.data.data()), &size);
  }
  Require(status, "RegQueryValueEx");
  value.data.resize(size);
  return value;
}

void Key::Set(const Value& value) const {
  Require(RegSetValueExA(m_key, value.name.c_str(), 0, value.type,
                         reinterpret_cast<const BYTE*>(value.data.data()),
                         static_cast<DWORD>(value.data.size())),
          "RegSetValueEx");
}

bool Key::DeleteValue(const std::string& name) const {
  const LONG status = RegDeleteValueA(m_key, name.c_str());
  if (status == ERROR_FILE_NOT_FOUND) return false;
  Require(status, "RegDeleteValue");
  return true;
}

void Key::DeleteSubkeys() const {
  Require(tesselkit::platform::DeleteSubkeys(m_key), "RegDeleteKey");
}

void DeleteKey(const KeyPath& path, bool with_subkeys) {
  const bool is_predefined = path.below.empty();
  if (with_subkeys && !is_predefined) Key(path, KEY_ALL_ACCESS).DeleteSubkeys();
  RequireSuccess(RegDeleteKeyA(path.root, path.below.c_str()), "RegDeleteKey", path.Name());
}

std::string UnreachableText(const KeyPath& path) {
  return "The key " + QuotedText(path.Name()) + " cannot be reached under code page " +
         std::to_string(_getmbcp());
}

RegistryFile ReadTree(const KeyPath& path) {
  RegistryFile file;
  const auto take = [&](const Key& key) {
    file.push_back({key.Path(), false, {}});
    for (Value& value : key.Values()) file.back().values.push_back({std::move(value), false});
  };
  VisitTree(Key(path, KEY_READ), take,
            [](const KeyPath& missed) { throw Failure(UnreachableText(missed)); });
  return file;
}

void Apply(const RegistryFile& file) {
  for (const FileKey& entry : file) {
    if (entry.is_deleted) {
      if (IsThere(entry.path)) DeleteKey(entry.path, true);
      continue;
    }
    const Key key = Key::Made(entry.path);
    for (const FileValue& value : entry.values) ApplyValue(key, value);
  }
}

}  // namespace twreg
