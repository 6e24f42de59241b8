// The registry as the commands use it: an open key, its values and subkeys, whole trees. Every call
// that fails throws Failure in the library's words.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tesselkit/util/open_key.h"
#include "tools/twreg/key_path.h"
#include "tools/twreg/registry_file.h"
#include "tools/twreg/value_text.h"

namespace twreg {

// A key that is open for the length of a scope.
class Key {
 public:
  // Opens the key, which must be there.
  Key(const KeyPath& path, REGSAM access);
  Key(const Key& parent, std::string_view name, REGSAM access);

  // Opens the key for writing values, and makes it when it is missing.
  static Key Made(const KeyPath& path) { return Key(path); }

  const KeyPath& Path() const { return m_path; }

  // In the store's own order. What another process deletes meanwhile is left out.
  std::vector<Value> Values() const;
  std::vector<std::string> Subkeys() const;

  Value ValueOf(const std::string& name) const;
  void Set(const Value& value) const;

  // False when there was none.
  bool DeleteValue(const std::string& name) const;

  // Everything below the key, in one step.
  void DeleteSubkeys() const;

 private:
  explicit Key(const KeyPath& path);
  void Open(HKEY parent, const std::string& name, REGSAM access);
  void Require(LONG status, const char* function) const;
  LONG Query(const std::string& name, Value& value) const;

  KeyPath m_path;
  tesselkit::util::OpenKey m_key;
};

// Calls `visit(key)` for the key and every key below it, a key before those below it.
template <class Visit>
void VisitTree(const Key& key, const Visit& visit) {
  visit(key);
  for (const std::string& name : key.Subkeys()) {
    VisitTree(Key(key, name, KEY_READ), visit);
  }
}

// Deletes a key that has no subkeys, or, with `with_subkeys`, the key and everything below it. A
// predefined key cannot be deleted, and nothing below it goes.
void DeleteKey(const KeyPath& path, bool with_subkeys);

// The key and everything below it.
RegistryFile ReadTree(const KeyPath& path);

// Makes the registry what the file says, key by key. What is to be deleted may be missing. Ends at
// the first failure; what was done by then stays.
void Apply(const RegistryFile& file);

}  // namespace twreg
