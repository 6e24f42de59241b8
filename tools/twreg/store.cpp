#include "tools/twreg/store.h"

#include <array>

#include "tesselkit/platform/hive.h"
#include "tools/twreg/failure.h"

namespace twreg {

namespace {

constexpr std::size_t kRoomForKeyName = 256;
constexpr std::size_t kRoomForValueName = 16384;

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
  Open(path.root, path.below, access);
}

Key::Key(const Key& parent, std::string_view name, REGSAM access)
    : m_path(parent.m_path.Child(name)) {
  Open(parent.m_key, std::string(name), access);
}

Key::Key(const KeyPath& path) : m_path(path) {
  Require(RegCreateKeyExA(path.root, path.below.c_str(), 0, "", REG_OPTION_NON_VOLATILE,
                          KEY_ALL_ACCESS, nullptr, m_key.Place(), nullptr),
          "RegCreateKeyEx");
}

void Key::Open(HKEY parent, const std::string& name, REGSAM access) {
  Require(RegOpenKeyExA(parent, name.c_str(), 0, access, m_key.Place()), "RegOpenKeyEx");
}

void Key::Require(LONG status, const char* function) const {
  RequireSuccess(status, function, m_path.Name());
}

std::vector<std::string> Key::Subkeys() const {
  std::vector<std::string> names;
  for (;;) {
    std::array<char, kRoomForKeyName> name{};
    DWORD size = name.size();
    const LONG status = RegEnumKeyExA(m_key, static_cast<DWORD>(names.size()), name.data(), &size,
                                      nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) return names;
    Require(status, "RegEnumKeyEx");
    names.emplace_back(name.data(), size);
  }
}

std::vector<Value> Key::Values() const {
  std::vector<Value> values;
  std::string name(kRoomForValueName, '\0');
  for (DWORD index = 0;; ++index) {
    auto size = static_cast<DWORD>(name.size());
    LONG status =
        RegEnumValueA(m_key, index, name.data(), &size, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) return values;
    Require(status, "RegEnumValue");
    Value value;
    status = Query(name.substr(0, size), value);
    if (status == ERROR_FILE_NOT_FOUND) continue;
    Require(status, "RegQueryValueEx");
    values.push_back(std::move(value));
  }
}

// The value may grow between the two calls.
LONG Key::Query(const std::string& name, Value& value) const {
  value.name = name;
  DWORD size = 0;
  LONG status = RegQueryValueExA(m_key, name.c_str(), nullptr, &value.type, nullptr, &size);
  for (; status == ERROR_SUCCESS || status == ERROR_MORE_DATA;) {
    value.data.resize(size);
    status = RegQueryValueExA(m_key, name.c_str(), nullptr, &value.type,
                              reinterpret_cast<BYTE*>(value.data.data()), &size);
    if (status != ERROR_MORE_DATA) break;
  }
  value.data.resize(size);
  return status;
}

Value Key::ValueOf(const std::string& name) const {
  Value value;
  Require(Query(name, value), "RegQueryValueEx");
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

RegistryFile ReadTree(const KeyPath& path) {
  RegistryFile file;
  VisitTree(Key(path, KEY_READ), [&](const Key& key) {
    file.push_back({key.Path(), false, {}});
    for (Value& value : key.Values()) file.back().values.push_back({std::move(value), false});
  });
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
