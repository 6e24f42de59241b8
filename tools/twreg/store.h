// The registry as the commands use it: an open key, its values and subkeys, whole trees. Every call
// that fails throws Failure in the library's words.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
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

  // Opens the key for writing values, and makes it when it is missing.
  static Key Made(const KeyPath& path) { return Key(path); }

  const KeyPath& Path() const { return m_path; }

  // In the store's own order. What another process deletes meanwhile is left out.
  std::vector<Value> Values() const;
  std::vector<std::string> Subkeys() const;

  // Opens a subkey for reading. Null when the registry finds none of that name: it is gone, or its
  // name was stored under another code page, and HasSubkey is true then.
  std::unique_ptr<Key> Subkey(const std::string& name) const;
  bool HasSubkey(const std::string& name) const;

  Value ValueOf(const std::string& name) const;
  void Set(const Value& value) const;

  // False when there was none.
  bool DeleteValue(const std::string& name) const;

  // Everything below the key, in one step.
  void DeleteSubkeys() const;

 private:
  explicit Key(const KeyPath& path);
  Key(KeyPath path, std::nullptr_t) : m_path(std::move(path)) {}  // not open yet
  void Require(LONG status, const char* function) const;

  KeyPath m_path;
  tesselkit::util::OpenKey m_key;
};

// Calls `visit(key)` for the key and every key below it, a key before those below it, and
// `miss(path)` for one that is there but cannot be reached. What another process deletes meanwhile
// is left out.
template <class Visit, class Miss>
void VisitTree(const Key& key, const Visit& visit, const Miss& miss) {
  visit(key);
  for (const std::string& name : key.Subkeys()) {
    if (const std::unique_ptr<Key> subkey = key.Subkey(name)) {
      VisitTree(*subkey, visit, miss);
    } else if (key.HasSubkey(name)) {
      miss(key.Path().Child(name));
    }
  }
}

// What to say of a key that cannot be reached.
std::string UnreachableText(const KeyPath& path);

// Deletes a key that has no subkeys, or, with `with_subkeys`, the key and everything below it. A
// predefined key cannot be deleted, and nothing below it goes.
void DeleteKey(const KeyPath& path, bool with_subkeys);

// The key and everything below it. Throws Failure when a key cannot be reached.
RegistryFile ReadTree(const KeyPath& path);

// Makes the registry what the file says, key by key. What is to be deleted may be missing. Ends at
// the first failure; what was done by then stays.
void Apply(const RegistryFile& file);

}  // namespace twreg
