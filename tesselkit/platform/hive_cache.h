// What a process has read from a hive and need not read again until somebody writes to it.
//
// Whether somebody has is told by the store's stamp. A store that has none is asked each time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "tesselkit/platform/hive_store.h"

namespace tesselkit::platform {

class HiveCache {
 public:
  // `first_generation` is above 0.
  HiveCache(std::unique_ptr<HiveStore> store, std::uint64_t first_generation)
      : m_store(std::move(store)), m_generation(first_generation) {}

  HiveStore& Store() { return *m_store; }

  // A number that changes with every write of any process; 0 when that cannot be told.
  std::uint64_t Generation();

  // The key at `path` below `from`: folded names, a NUL between each two. The empty path is `from`
  // itself.
  LONG FindPath(KeyId from, std::string_view path, KeyId& id);

  // What is given stays until the next call.
  LONG ReadInfo(KeyId key, const KeyInfo*& info);
  LONG ReadValue(KeyId key, std::string_view folded, const StoredValue*& value);

 private:
  template <class Content>
  struct Entry {
    std::uint64_t generation = 0;
    LONG status = ERROR_SUCCESS;
    Content content{};
  };

  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept {
      return std::hash<std::string_view>()(text);
    }
  };

  template <class Content>
  struct Entries {
    std::unordered_map<std::string, Entry<Content>, Hash, std::equal_to<>> by_name;
    std::size_t bytes = 0;
    Entry<Content> passing;  // the last that was not kept
  };

  std::string_view NameOf(KeyId key, std::string_view rest);
  std::size_t KnownFront(KeyId from, std::string_view path, KeyId& id);
  LONG WalkPath(KeyId from, std::string_view path, KeyId& id);

  template <class Content>
  const Entry<Content>* Known(const Entries<Content>& entries, KeyId key, std::string_view rest);

  // The entry of that name, read by `read(content)` unless it is known. Nothing is kept of what was
  // read while somebody wrote, nor of what is too large.
  template <class Content, class Read>
  const Entry<Content>& Get(Entries<Content>& entries, KeyId key, std::string_view rest, Read read);

  std::unique_ptr<HiveStore> m_store;
  HiveStamp m_stamp{};
  std::uint64_t m_generation;
  std::string m_name;
  Entries<KeyId> m_paths;
  Entries<KeyInfo> m_infos;
  Entries<StoredValue> m_values;
};

}  // namespace tesselkit::platform
