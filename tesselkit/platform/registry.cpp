#include "tesselkit/platform/registry.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <utility>

#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/hive.h"
#include "tesselkit/platform/registry_handles.h"
#include "tesselkit/platform/registry_path.h"

namespace {

using namespace tesselkit::platform;

constexpr std::size_t kLongestValueName = 16383;
constexpr REGSAM kDelete = 0x10000;
constexpr REGSAM kWriteRights = KEY_SET_VALUE | KEY_CREATE_SUB_KEY | kDelete | 0xC0020;

// What memory that runs out is to callers who expect no exception.
template <class Work>
LONG Guarded(Work work) noexcept {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
}

// A status of a look-up below `key`, which may itself have gone.
LONG Located(HiveCache& hive, KeyId key, LONG status) {
  if (status != ERROR_FILE_NOT_FOUND) return status;
  const KeyInfo* info = nullptr;
  const LONG key_status = hive.ReadInfo(key, info);
  return key_status == ERROR_SUCCESS ? status : key_status;
}

// What a caller needs of a handle: one of these rights; and whether the hive is to be made when it
// is not there.
struct Needs {
  REGSAM rights;
  bool makes_hive = false;

  bool AreMetBy(REGSAM access) const {
    return rights == 0 || (access & (rights | MAXIMUM_ALLOWED)) != 0;
  }
  bool Writes() const { return (rights & kWriteRights) != 0; }
};

constexpr Needs kNothing = {0};
constexpr Needs kMakeHive = {0, true};
constexpr Needs kQuery = {KEY_QUERY_VALUE};
constexpr Needs kEnumerate = {KEY_ENUMERATE_SUB_KEYS};
constexpr Needs kMakeKey = {KEY_CREATE_SUB_KEY, true};
constexpr Needs kMakeValue = {KEY_SET_VALUE, true};
constexpr Needs kDeleteValue = {KEY_SET_VALUE};
constexpr Needs kDeleteKey = {KEY_SET_VALUE | KEY_CREATE_SUB_KEY | kDelete};

// Calls `work(key, hive)` for a handle that meets the needs.
template <class Work>
LONG WithKey(HKEY handle, const Needs& needs, Work work) noexcept {
  return Guarded([&]() -> LONG {
    const std::shared_ptr<OpenKey> key = KeyOf(handle);
    if (key == nullptr) return ERROR_INVALID_HANDLE;
    if (!needs.AreMetBy(key->access)) return ERROR_ACCESS_DENIED;
    return key->hive->Use(needs.makes_hive, [&](HiveCache& hive) -> LONG {
      if (needs.Writes() && !hive.Store().IsWritable()) return ERROR_ACCESS_DENIED;
      return work(*key, hive);
    });
  });
}

LONG GiveHandle(Hive* hive, KeyId id, REGSAM access, HKEY* result) {
  *result = AddHandle(std::make_shared<OpenKey>(OpenKey{hive, id, access, {}, {}}));
  return *result != nullptr ? ERROR_SUCCESS : ERROR_NO_SYSTEM_RESOURCES;
}

LONG Open(HKEY handle, const char* sub_key, REGSAM access, HKEY* result) {
  const std::shared_ptr<OpenKey> base = KeyOf(handle);
  if (base == nullptr) return ERROR_INVALID_HANDLE;
  const RegistryPath path(ViewOf(sub_key));
  if (path.Status() != ERROR_SUCCESS) return path.Status();
  KeyId id = 0;
  const LONG status = base->hive->Use(false, [&](HiveCache& hive) -> LONG {
    const LONG found = Located(hive, base->id, hive.FindPath(base->id, path.Folded(), id));
    const bool is_denied = (access & kWriteRights) != 0 && !hive.Store().IsWritable();
    return found == ERROR_SUCCESS && is_denied ? ERROR_ACCESS_DENIED : found;
  });
  return status == ERROR_SUCCESS ? GiveHandle(base->hive, id, access, result) : status;
}

LONG Create(HKEY handle, const char* sub_key, const char* class_name, REGSAM access, HKEY* result,
            DWORD* disposition) {
  const RegistryPath path(ViewOf(sub_key));
  if (path.Status() != ERROR_SUCCESS) return path.Status();
  Hive* home = nullptr;
  KeyId id = 0;
  bool is_new = false;
  const LONG status = WithKey(handle, kMakeKey, [&](OpenKey& base, HiveCache& hive) {
    home = base.hive;
    return hive.Store().CreateKey(base.id, path.Names(), ViewOf(class_name), id, is_new);
  });
  if (status != ERROR_SUCCESS) return status;
  const LONG given = GiveHandle(home, id, access, result);
  if (given == ERROR_SUCCESS && disposition != nullptr) {
    *disposition = is_new ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  }
  return given;
}

// Hands `bytes` out to a buffer with room for `*size` of them, which receives how many there are.
LONG GiveData(std::string_view bytes, BYTE* data, DWORD* size) {
  if (size == nullptr) return ERROR_SUCCESS;
  const DWORD room = std::exchange(*size, static_cast<DWORD>(bytes.size()));
  if (data == nullptr) return ERROR_SUCCESS;
  if (room < bytes.size()) return ERROR_MORE_DATA;
  if (!bytes.empty()) std::memcpy(data, bytes.data(), bytes.size());
  return ERROR_SUCCESS;
}

// The same with a NUL that counts as room but not as length.
LONG GiveName(std::string_view name, char* out, DWORD* size) {
  if (*size <= name.size()) return ERROR_MORE_DATA;
  std::memcpy(out, name.data(), name.size());
  out[name.size()] = '\0';
  *size = static_cast<DWORD>(name.size());
  return ERROR_SUCCESS;
}

LONG GiveClass(std::string_view name, char* out, DWORD* size) {
  if (out != nullptr) return GiveName(name, out, size);
  if (size != nullptr) *size = static_cast<DWORD>(name.size());
  return ERROR_SUCCESS;
}

void Give(DWORD value, DWORD* out) {
  if (out != nullptr) *out = value;
}

void GiveNoTime(FILETIME* time) {
  if (time != nullptr) *time = {};
}

bool IsBeyond(const char* name, std::size_t longest) {
  return ViewOf(name).size() > longest;
}

constexpr DWORD kFirstBatch = 8;
constexpr DWORD kLargestBatch = 1024;

// Reads items from `place` on; the first of them has the index `first`.
template <class Item, class List>
LONG ReadBatch(ReadAhead<Item>& ahead, DWORD first, const ListPlace& place, HiveCache& hive,
               List list) {
  const std::uint64_t generation = hive.Generation();
  ahead.first = first;
  ahead.generation = 0;
  const LONG status = list(place, ahead.items);
  if (status != ERROR_SUCCESS) ahead.items.clear();
  if (hive.Generation() == generation) ahead.generation = generation;
  ahead.next_most = std::min(place.most * 2, kLargestBatch);
  return status;
}

template <class Item>
bool Has(const ReadAhead<Item>& ahead, DWORD index) {
  return index >= ahead.first && index - ahead.first < ahead.items.size();
}

// The items that have been read ahead, with the one at `index` among them unless there is none.
// Whoever asks for one index after the other has each name read once, and goes on behind the last
// name also when somebody has written meanwhile.
template <class Item, class List>
LONG ReadAheadTo(ReadAhead<Item>& ahead, DWORD index, HiveCache& hive, List list) {
  const std::uint64_t generation = hive.Generation();
  const bool is_current = generation != 0 && ahead.generation == generation;
  if (is_current && Has(ahead, index)) return ERROR_SUCCESS;

  ListPlace place;
  if (is_current && index < ahead.first) {  // on the way down
    const DWORD first = index - std::min(index, kLargestBatch - 1);
    place.skip = first;
    place.most = index - first + 1;
    const LONG status = ReadBatch(ahead, first, place, hive, list);
    if (status != ERROR_SUCCESS || Has(ahead, index)) return status;
  }
  std::string from;
  place.skip = index;
  if (index > 0 && Has(ahead, index - 1)) {
    from = ahead.items[index - 1 - ahead.first].folded + '\0';
    place.skip = 0;
  }
  place.from = from;
  const bool goes_on = is_current && place.skip == 0 && index != 0;
  place.most = generation == 0 ? 1 : goes_on ? ahead.next_most : kFirstBatch;
  return ReadBatch(ahead, index, place, hive, list);
}

template <class Item>
LONG ItemAt(const ReadAhead<Item>& ahead, DWORD index, const Item*& item) {
  if (!Has(ahead, index)) return ERROR_NO_MORE_ITEMS;
  item = &ahead.items[index - ahead.first];
  return ERROR_SUCCESS;
}

LONG KeyAt(OpenKey& key, DWORD index, HiveCache& hive, const ListedKey*& item) {
  const LONG status = ReadAheadTo(key.keys, index, hive, [&](const ListPlace& place, auto& items) {
    return hive.Store().ListKeys(key.id, place, items);
  });
  return status == ERROR_SUCCESS ? ItemAt(key.keys, index, item) : status;
}

LONG ValueAt(OpenKey& key, DWORD index, HiveCache& hive, const ListedValue*& item) {
  const LONG status =
      ReadAheadTo(key.values, index, hive, [&](const ListPlace& place, auto& items) {
        return hive.Store().ListValues(key.id, place, items);
      });
  return status == ERROR_SUCCESS ? ItemAt(key.values, index, item) : status;
}

LONG EndOrGone(HiveCache& hive, KeyId key, LONG status) {
  if (status != ERROR_NO_MORE_ITEMS) return status;
  const LONG key_status = Located(hive, key, ERROR_FILE_NOT_FOUND);
  return key_status == ERROR_FILE_NOT_FOUND ? status : key_status;
}

LONG ClassOfSubkey(HiveCache& hive, KeyId key, std::string_view folded, char* out, DWORD* size) {
  KeyId id = 0;
  const KeyInfo* info = nullptr;
  LONG status = hive.FindPath(key, folded, id);
  if (status == ERROR_SUCCESS) status = hive.ReadInfo(id, info);
  return status == ERROR_SUCCESS ? GiveClass(info->class_name, out, size) : status;
}

std::string_view BytesOf(const BYTE* data, DWORD size) {
  return {reinterpret_cast<const char*>(data), size};
}

bool IsThisHost(std::string_view machine) {
  if (machine.empty()) return true;
  if (!machine.starts_with("\\\\")) return false;
  std::array<char, 256> name{};
  gethostname(name.data(), name.size() - 1);
  return CompareTextNoCase(machine.substr(2), std::string_view(name.data())) == 0;
}

}  // namespace

LONG RegOpenKeyExA(HKEY key, LPCSTR sub_key, DWORD, REGSAM access, PHKEY result) {
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  *result = nullptr;
  return Guarded([&] { return Open(key, sub_key, access, result); });
}

LONG RegOpenKeyA(HKEY key, LPCSTR sub_key, PHKEY result) {
  return RegOpenKeyExA(key, sub_key, 0, MAXIMUM_ALLOWED, result);
}

LONG RegCreateKeyExA(HKEY key, LPCSTR sub_key, DWORD reserved, LPCSTR class_name, DWORD options,
                     REGSAM access, LPVOID, PHKEY result, LPDWORD disposition) {
  if (result == nullptr || reserved != 0 || options != REG_OPTION_NON_VOLATILE) {
    return ERROR_INVALID_PARAMETER;
  }
  *result = nullptr;
  // What is there already takes no right to make it.
  const LONG status = RegOpenKeyExA(key, sub_key, 0, access, result);
  if (status != ERROR_FILE_NOT_FOUND) {
    if (status == ERROR_SUCCESS) Give(REG_OPENED_EXISTING_KEY, disposition);
    return status;
  }
  return Guarded([&] { return Create(key, sub_key, class_name, access, result, disposition); });
}

LONG RegCreateKeyA(HKEY key, LPCSTR sub_key, PHKEY result) {
  return RegCreateKeyExA(key, sub_key, 0, nullptr, REG_OPTION_NON_VOLATILE, MAXIMUM_ALLOWED,
                         nullptr, result, nullptr);
}

LONG RegConnectRegistryA(LPCSTR machine, HKEY key, PHKEY result) {
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  *result = nullptr;
  if (!IsPredefined(key)) return ERROR_INVALID_HANDLE;
  if (!IsThisHost(ViewOf(machine))) return ERROR_BAD_NETPATH;
  return RegOpenKeyA(key, nullptr, result);
}

LONG RegCloseKey(HKEY key) {
  if (IsPredefined(key)) return ERROR_SUCCESS;
  return Guarded([&] { return RemoveHandle(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE; });
}

LONG RegQueryInfoKeyA(HKEY key, LPSTR class_name, LPDWORD class_size, LPDWORD reserved,
                      LPDWORD sub_keys, LPDWORD longest_sub_key, LPDWORD longest_class,
                      LPDWORD values, LPDWORD longest_value_name, LPDWORD longest_data,
                      LPDWORD security, FILETIME* last_write) {
  if (reserved != nullptr || (class_name != nullptr && class_size == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  return WithKey(key, kQuery, [&](OpenKey& open, HiveCache& hive) -> LONG {
    const KeyInfo* info = nullptr;
    LONG status = hive.ReadInfo(open.id, info);
    if (status == ERROR_SUCCESS) status = GiveClass(info->class_name, class_name, class_size);
    if (status != ERROR_SUCCESS) return status;
    Give(info->subkeys, sub_keys);
    Give(info->longest_subkey, longest_sub_key);
    Give(info->longest_class, longest_class);
    Give(info->values, values);
    Give(info->longest_value_name, longest_value_name);
    Give(info->longest_data, longest_data);
    Give(0, security);
    GiveNoTime(last_write);
    return status;
  });
}

LONG RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                      LPDWORD size) {
  if (reserved != nullptr || (data != nullptr && size == nullptr)) return ERROR_INVALID_PARAMETER;
  return WithKey(key, kQuery, [&](OpenKey& open, HiveCache& hive) -> LONG {
    const std::string folded = FoldedName(ViewOf(name));
    const StoredValue* value = nullptr;
    const LONG status = Located(hive, open.id, hive.ReadValue(open.id, folded, value));
    if (status != ERROR_SUCCESS) return status;
    Give(value->type, type);
    return GiveData(value->data, data, size);
  });
}

LONG RegQueryValueA(HKEY key, LPCSTR sub_key, LPSTR data, PLONG size) {
  if (data != nullptr && size == nullptr) return ERROR_INVALID_PARAMETER;
  HKEY opened = nullptr;
  LONG status = RegOpenKeyExA(key, sub_key, 0, KEY_QUERY_VALUE, &opened);
  if (status != ERROR_SUCCESS) return status;
  status = WithKey(opened, kQuery, [&](OpenKey& open, HiveCache& hive) -> LONG {
    const StoredValue* value = nullptr;
    const LONG found = Located(hive, open.id, hive.ReadValue(open.id, {}, value));
    if (found != ERROR_SUCCESS && found != ERROR_FILE_NOT_FOUND) return found;
    if (found == ERROR_SUCCESS && value->type != REG_SZ) return ERROR_INVALID_DATA;
    std::string text = found == ERROR_SUCCESS ? value->data : std::string();
    if (text.empty() || text.back() != '\0') text += '\0';
    if (size == nullptr) return ERROR_SUCCESS;
    DWORD room = static_cast<DWORD>(std::max<LONG>(*size, 0));
    const LONG given = GiveData(text, reinterpret_cast<BYTE*>(data), &room);
    *size = static_cast<LONG>(room);
    return given;
  });
  RegCloseKey(opened);
  return status;
}

LONG RegSetValueExA(HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data,
                    DWORD size) {
  const bool has_data = data != nullptr || size == 0;
  if (reserved != 0 || !has_data || IsBeyond(name, kLongestValueName)) {
    return ERROR_INVALID_PARAMETER;
  }
  return WithKey(key, kMakeValue, [&](OpenKey& open, HiveCache& hive) {
    const std::string folded = FoldedName(ViewOf(name));
    return hive.Store().WriteValue(open.id, {}, {ViewOf(name), folded}, type, BytesOf(data, size));
  });
}

LONG RegSetValueA(HKEY key, LPCSTR sub_key, DWORD type, LPCSTR data, DWORD) {
  if (type != REG_SZ || data == nullptr) return ERROR_INVALID_PARAMETER;
  return WithKey(key, kMakeHive, [&](OpenKey& open, HiveCache& hive) -> LONG {
    const RegistryPath path(ViewOf(sub_key));
    if (path.Status() != ERROR_SUCCESS) return path.Status();
    KeyId id = 0;
    const LONG found = hive.FindPath(open.id, path.Folded(), id);
    if (found != ERROR_SUCCESS && found != ERROR_FILE_NOT_FOUND) return found;
    const bool is_missing = found != ERROR_SUCCESS;
    const Needs& needs = is_missing ? kMakeKey : path.Folded().empty() ? kMakeValue : kNothing;
    if (!needs.AreMetBy(open.access) || !hive.Store().IsWritable()) return ERROR_ACCESS_DENIED;
    return hive.Store().WriteValue(open.id, path.Names(), {}, type, {data, std::strlen(data) + 1});
  });
}

LONG RegEnumKeyExA(HKEY key, DWORD index, LPSTR name, LPDWORD name_size, LPDWORD reserved,
                   LPSTR class_name, LPDWORD class_size, FILETIME* last_write) {
  if (name == nullptr || name_size == nullptr || reserved != nullptr ||
      (class_name != nullptr && class_size == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  return WithKey(key, kEnumerate, [&](OpenKey& open, HiveCache& hive) -> LONG {
    const ListedKey* item = nullptr;
    LONG status = EndOrGone(hive, open.id, KeyAt(open, index, hive, item));
    if (status == ERROR_SUCCESS && *name_size <= item->name.size()) status = ERROR_MORE_DATA;
    if (status == ERROR_SUCCESS && (class_name != nullptr || class_size != nullptr)) {
      status = ClassOfSubkey(hive, open.id, item->folded, class_name, class_size);
    }
    if (status != ERROR_SUCCESS) return status;
    GiveNoTime(last_write);
    return GiveName(item->name, name, name_size);
  });
}

LONG RegEnumValueA(HKEY key, DWORD index, LPSTR name, LPDWORD name_size, LPDWORD reserved,
                   LPDWORD type, LPBYTE data, LPDWORD size) {
  if (name == nullptr || name_size == nullptr || reserved != nullptr ||
      (data != nullptr && size == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  return WithKey(key, kQuery, [&](OpenKey& open, HiveCache& hive) -> LONG {
    const ListedValue* item = nullptr;
    LONG status = EndOrGone(hive, open.id, ValueAt(open, index, hive, item));
    if (status == ERROR_SUCCESS) status = GiveName(item->name, name, name_size);
    if (status != ERROR_SUCCESS) return status;
    Give(item->value.type, type);
    return GiveData(item->value.data, data, size);
  });
}

LONG RegDeleteKeyA(HKEY key, LPCSTR sub_key) {
  if (sub_key == nullptr) return ERROR_INVALID_PARAMETER;
  return WithKey(key, kDeleteKey, [&](OpenKey& open, HiveCache& hive) -> LONG {
    const RegistryPath path(sub_key);
    if (path.Status() != ERROR_SUCCESS) return path.Status();
    KeyId id = 0;
    const LONG status = Located(hive, open.id, hive.FindPath(open.id, path.Folded(), id));
    return status == ERROR_SUCCESS ? hive.Store().DeleteKey(id) : status;
  });
}

LONG RegDeleteValueA(HKEY key, LPCSTR name) {
  return WithKey(key, kDeleteValue, [&](OpenKey& open, HiveCache& hive) {
    return hive.Store().DeleteValue(open.id, FoldedName(ViewOf(name)));
  });
}

LONG RegFlushKey(HKEY key) {
  return WithKey(key, kNothing, [](OpenKey&, HiveCache& hive) { return hive.Store().Flush(); });
}

LONG tesselkit::platform::DeleteSubkeys(HKEY key) {
  return WithKey(key, kDeleteKey, [](OpenKey& open, HiveCache& hive) {
    return hive.Store().DeleteSubkeys(open.id);
  });
}

LONG tesselkit::platform::CheckHive(HKEY root, std::string& report) {
  report.clear();
  return WithKey(root, kNothing,
                 [&](OpenKey&, HiveCache& hive) { return hive.Store().Check(report); });
}
