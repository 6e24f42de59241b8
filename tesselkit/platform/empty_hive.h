// A hive that is not there: the predefined keys, and nothing in them.
#pragma once

#include "tesselkit/platform/hive_store.h"

namespace tesselkit::platform {

class EmptyHive final : public HiveStore {
 public:
  // Whoever writes gets a hive that is there.
  bool IsWritable() const override { return true; }
  bool ReadStamp(HiveStamp&) override { return false; }
  LONG BeginReading() override { return ERROR_SUCCESS; }
  void EndReading() override {}
  LONG FindKey(KeyId, std::string_view, KeyId&) override { return ERROR_FILE_NOT_FOUND; }
  LONG ReadValue(KeyId, std::string_view, StoredValue&) override { return ERROR_FILE_NOT_FOUND; }
  LONG ReadInfo(KeyId key, KeyInfo& info) override {
    constexpr KeyId kLastPredefined = 7;
    info = {};
    return key <= kLastPredefined ? ERROR_SUCCESS : ERROR_KEY_DELETED;
  }
  LONG ListKeys(KeyId, const ListPlace&, std::vector<ListedKey>& keys) override {
    keys.clear();
    return ERROR_SUCCESS;
  }
  LONG ListValues(KeyId, const ListPlace&, std::vector<ListedValue>& values) override {
    values.clear();
    return ERROR_SUCCESS;
  }
  LONG CreateKey(KeyId, std::span<const HiveName>, std::string_view, KeyId&, bool&) override {
    return ERROR_ACCESS_DENIED;
  }
  LONG WriteValue(KeyId, std::span<const HiveName>, const HiveName&, DWORD,
                  std::string_view) override {
    return ERROR_ACCESS_DENIED;
  }
  LONG DeleteValue(KeyId, std::string_view) override { return ERROR_FILE_NOT_FOUND; }
  LONG DeleteKey(KeyId) override { return ERROR_ACCESS_DENIED; }
  LONG DeleteSubkeys(KeyId) override { return ERROR_SUCCESS; }
  LONG Flush() override { return ERROR_SUCCESS; }
  void PrepareToReopen() override {}
  LONG Check(std::string& report) override {
    report.clear();
    return ERROR_SUCCESS;
  }
};

}  // namespace tesselkit::platform
