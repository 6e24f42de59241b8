#include "tesselkit/platform/hive_cache.h"

#include <cstring>

namespace tesselkit::platform {

namespace {

constexpr std::size_t kMostEntries = 65'536;
constexpr std::size_t kMostBytes = 16 << 20;
constexpr std::size_t kLongestKept = 65'536;

std::size_t SizeOf(KeyId) {
  return 0;
}
std::size_t SizeOf(const KeyInfo& info) {
  return info.class_name.size();
}
std::size_t SizeOf(const StoredValue& value) {
  return value.data.size();
}

// What is read of a hive in a scope is of one moment.
class Reading {
 public:
  explicit Reading(HiveStore& store) : m_store(store), m_status(store.BeginReading()) {}
  ~Reading() {
    if (m_status == ERROR_SUCCESS) m_store.EndReading();
  }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;
  LONG Status() const { return m_status; }

 private:
  HiveStore& m_store;
  LONG m_status;
};

}  // namespace

std::uint64_t HiveCache::Generation() {
  HiveStamp now;
  if (!m_store->ReadStamp(now)) return 0;
  if (now != m_stamp) {
    m_stamp = now;
    ++m_generation;
  }
  return m_generation;
}

std::string_view HiveCache::NameOf(KeyId key, std::string_view rest) {
  m_name.resize(sizeof key + rest.size());
  std::memcpy(m_name.data(), &key, sizeof key);
  if (!rest.empty()) std::memcpy(m_name.data() + sizeof key, rest.data(), rest.size());
  return m_name;
}

template <class Content>
const HiveCache::Entry<Content>* HiveCache::Known(const Entries<Content>& entries, KeyId key,
                                                  std::string_view rest) {
  const auto found = entries.by_name.find(NameOf(key, rest));
  const bool is_known = found != entries.by_name.end() && found->second.generation == m_generation;
  return is_known ? &found->second : nullptr;
}

template <class Content, class Read>
const HiveCache::Entry<Content>& HiveCache::Get(Entries<Content>& entries, KeyId key,
                                                std::string_view rest, Read read) {
  const std::uint64_t before = Generation();
  if (before != 0) {
    if (const Entry<Content>* known = Known(entries, key, rest)) return *known;
  }
  Entry<Content>& passing = entries.passing;
  passing.content = Content{};  // which may have been a large one
  passing.status = read(passing.content);
  const bool is_answer = passing.status == ERROR_SUCCESS || passing.status == ERROR_FILE_NOT_FOUND;
  const std::size_t size = SizeOf(passing.content) + rest.size();
  if (before == 0 || !is_answer || size > kLongestKept || Generation() != before) return passing;

  if (entries.by_name.size() >= kMostEntries || entries.bytes + size > kMostBytes) {
    entries.by_name.clear();
    entries.bytes = 0;
  }
  Entry<Content>& entry = entries.by_name[std::string(NameOf(key, rest))];
  if (entry.generation != 0) entries.bytes -= SizeOf(entry.content) + rest.size();
  entries.bytes += size;
  entry = passing;
  entry.generation = before;
  return entry;
}

// The length of the longest front of `path` that is known to be there, with the separator behind
// it, and its key.
std::size_t HiveCache::KnownFront(KeyId from, std::string_view path, KeyId& id) {
  for (std::size_t end = path.rfind('\0'); end != std::string_view::npos && end > 0;
       end = path.rfind('\0', end - 1)) {
    const Entry<KeyId>* known = Known(m_paths, from, path.substr(0, end));
    if (known != nullptr && known->status == ERROR_SUCCESS) {
      id = known->content;
      return end + 1;
    }
  }
  id = from;
  return 0;
}

LONG HiveCache::WalkPath(KeyId from, std::string_view path, KeyId& id) {
  const Reading reading(*m_store);
  LONG status = reading.Status();
  KeyId key = from;
  path.remove_prefix(Generation() != 0 ? KnownFront(from, path, key) : 0);
  while (status == ERROR_SUCCESS && !path.empty()) {
    const std::string_view name = path.substr(0, path.find('\0'));
    path.remove_prefix(std::min(name.size() + 1, path.size()));
    status = m_store->FindKey(key, name, key);
  }
  id = key;
  return status;
}

LONG HiveCache::FindPath(KeyId from, std::string_view path, KeyId& id) {
  if (path.empty()) {
    const KeyInfo* info = nullptr;
    id = from;
    return ReadInfo(from, info);
  }
  const auto& entry =
      Get(m_paths, from, path, [&](KeyId& found) { return WalkPath(from, path, found); });
  id = entry.content;
  return entry.status;
}

LONG HiveCache::ReadInfo(KeyId key, const KeyInfo*& info) {
  const auto& entry =
      Get(m_infos, key, {}, [&](KeyInfo& found) { return m_store->ReadInfo(key, found); });
  info = &entry.content;
  return entry.status;
}

LONG HiveCache::ReadValue(KeyId key, std::string_view folded, const StoredValue*& value) {
  const auto& entry = Get(m_values, key, folded, [&](StoredValue& found) {
    return m_store->ReadValue(key, folded, found);
  });
  value = &entry.content;
  return entry.status;
}

}  // namespace tesselkit::platform
