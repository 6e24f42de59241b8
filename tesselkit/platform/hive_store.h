// What the registry asks of the engine that keeps a hive: a tree of numbered keys, found by parent
// and folded name, each with values found by folded name.
//
// Every operation answers with a status of status_codes.h. A write is one transaction: it is there
// for every process once it has returned, or nothing has changed. A store belongs to one thread at
// a time. Memory that runs out is a std::bad_alloc.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tesselkit/platform/status_codes.h"
#include "tesselkit/platform/types.h"

namespace tesselkit::platform {

using KeyId = std::int64_t;

// A name as it was written, and as it is compared.
struct HiveName {
  std::string_view written;
  std::string_view folded;
};

// Lengths are in bytes.
struct KeyInfo {
  DWORD subkeys = 0;
  DWORD longest_subkey = 0;
  DWORD longest_class = 0;
  DWORD values = 0;
  DWORD longest_value_name = 0;
  DWORD longest_data = 0;
  std::string class_name;
};

struct StoredValue {
  DWORD type = 0;
  std::string data;
};

// With the folded name under which it is kept: the process may fold otherwise by now.
struct ListedKey {
  std::string name;
  std::string folded;
};

struct ListedValue {
  std::string name;
  std::string folded;
  StoredValue value;
};

// Where a list is to begin: at the first name that is not below `from`, plus `skip`; and how long
// it may get.
struct ListPlace {
  std::string_view from;
  DWORD skip = 0;
  DWORD most = 1;
};

// What changes with every write of any process.
using HiveStamp = std::array<std::uint32_t, 12>;

class HiveStore {
 public:
  virtual ~HiveStore() = default;

  // Whether this process may write the hive.
  virtual bool IsWritable() const = 0;

  // The stamp of the last write of any process; false where there is none to be had.
  virtual bool ReadStamp(HiveStamp& stamp) = 0;

  // What is read between the two is of one moment. They do not nest.
  virtual LONG BeginReading() = 0;
  virtual void EndReading() = 0;

  // ERROR_FILE_NOT_FOUND when there is no such key or value.
  virtual LONG FindKey(KeyId parent, std::string_view folded, KeyId& id) = 0;
  virtual LONG ReadValue(KeyId key, std::string_view folded, StoredValue& value) = 0;

  // ERROR_KEY_DELETED when there is no such key.
  virtual LONG ReadInfo(KeyId key, KeyInfo& info) = 0;

  // The lists are emptied first.
  virtual LONG ListKeys(KeyId parent, const ListPlace& place, std::vector<ListedKey>& keys) = 0;
  virtual LONG ListValues(KeyId key, const ListPlace& place, std::vector<ListedValue>& values) = 0;

  // The writes answer ERROR_KEY_DELETED when the key they are given is not there.
  //
  // Makes what is missing of `path` below `parent`; `is_new` tells whether its last key was.
  virtual LONG CreateKey(KeyId parent, std::span<const HiveName> path, std::string_view class_name,
                         KeyId& id, bool& is_new) = 0;
  // Makes what is missing of `path` below `key`, and writes a value there.
  virtual LONG WriteValue(KeyId key, std::span<const HiveName> path, const HiveName& name,
                          DWORD type, std::string_view data) = 0;
  virtual LONG DeleteValue(KeyId key, std::string_view folded) = 0;
  // ERROR_ACCESS_DENIED when the key has subkeys.
  virtual LONG DeleteKey(KeyId key) = 0;
  virtual LONG DeleteSubkeys(KeyId key) = 0;

  // Returns when all that has been written would survive a power cut.
  virtual LONG Flush() = 0;

  // The store is about to be opened again: its end is to be a quick one.
  virtual void PrepareToReopen() = 0;

  // What is wrong with the hive, a line each; empty when nothing is.
  virtual LONG Check(std::string& report) = 0;
};

}  // namespace tesselkit::platform
