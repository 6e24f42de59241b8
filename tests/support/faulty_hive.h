// A hive store that passes everything on, counts it, and fails on command.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tesselkit/platform/hive.h"
#include "tesselkit/platform/sqlite_hive.h"

namespace test {

enum class HiveCall {
  kOpen,
  kStamp,
  kBegin,
  kFindKey,
  kReadValue,
  kReadInfo,
  kListKeys,
  kListValues,
  kCreateKey,
  kWriteValue,
  kDeleteValue,
  kDeleteKey,
  kDeleteSubkeys,
  kFlush,
  kCount,
};

// What the hives' stores do while a FaultyHives is there.
struct HiveFaults {
  // The status with which a call fails, or ERROR_SUCCESS to pass it on. Empty fails nothing.
  std::function<LONG(HiveCall)> status;
  bool has_stamp = true;
  int calls[static_cast<int>(HiveCall::kCount)] = {};

  int& Calls(HiveCall call) { return calls[static_cast<int>(call)]; }
  int AllReads() {
    return Calls(HiveCall::kFindKey) + Calls(HiveCall::kReadValue) + Calls(HiveCall::kReadInfo) +
           Calls(HiveCall::kListKeys) + Calls(HiveCall::kListValues);
  }
  LONG Enter(HiveCall call) {
    ++Calls(call);
    return status ? status(call) : ERROR_SUCCESS;
  }
};

class FaultyHive : public tesselkit::platform::HiveStore {
  using KeyId = tesselkit::platform::KeyId;
  using HiveName = tesselkit::platform::HiveName;
  using ListPlace = tesselkit::platform::ListPlace;

 public:
  FaultyHive(std::unique_ptr<HiveStore> store, HiveFaults& faults)
      : m_store(std::move(store)), m_faults(faults) {}

  bool IsWritable() const override { return m_store->IsWritable(); }
  bool ReadStamp(tesselkit::platform::HiveStamp& stamp) override {
    ++m_faults.Calls(HiveCall::kStamp);
    return m_faults.has_stamp && m_store->ReadStamp(stamp);
  }
  LONG BeginReading() override {
    return Do(HiveCall::kBegin, [&] { return m_store->BeginReading(); });
  }
  void EndReading() override { m_store->EndReading(); }
  LONG FindKey(KeyId parent, std::string_view folded, KeyId& id) override {
    return Do(HiveCall::kFindKey, [&] { return m_store->FindKey(parent, folded, id); });
  }
  LONG ReadValue(KeyId key, std::string_view folded,
                 tesselkit::platform::StoredValue& value) override {
    return Do(HiveCall::kReadValue, [&] { return m_store->ReadValue(key, folded, value); });
  }
  LONG ReadInfo(KeyId key, tesselkit::platform::KeyInfo& info) override {
    return Do(HiveCall::kReadInfo, [&] { return m_store->ReadInfo(key, info); });
  }
  LONG ListKeys(KeyId parent, const ListPlace& place,
                std::vector<tesselkit::platform::ListedKey>& keys) override {
    return Do(HiveCall::kListKeys, [&] { return m_store->ListKeys(parent, place, keys); });
  }
  LONG ListValues(KeyId key, const ListPlace& place,
                  std::vector<tesselkit::platform::ListedValue>& values) override {
    return Do(HiveCall::kListValues, [&] { return m_store->ListValues(key, place, values); });
  }
  LONG CreateKey(KeyId parent, std::span<const HiveName> path, std::string_view class_name,
                 KeyId& id, bool& is_new) override {
    return Do(HiveCall::kCreateKey,
              [&] { return m_store->CreateKey(parent, path, class_name, id, is_new); });
  }
  LONG WriteValue(KeyId key, std::span<const HiveName> path, const HiveName& name, DWORD type,
                  std::string_view data) override {
    return Do(HiveCall::kWriteValue,
              [&] { return m_store->WriteValue(key, path, name, type, data); });
  }
  LONG DeleteValue(KeyId key, std::string_view folded) override {
    return Do(HiveCall::kDeleteValue, [&] { return m_store->DeleteValue(key, folded); });
  }
  LONG DeleteKey(KeyId key) override {
    return Do(HiveCall::kDeleteKey, [&] { return m_store->DeleteKey(key); });
  }
  LONG DeleteSubkeys(KeyId key) override {
    return Do(HiveCall::kDeleteSubkeys, [&] { return m_store->DeleteSubkeys(key); });
  }
  LONG Flush() override {
    return Do(HiveCall::kFlush, [&] { return m_store->Flush(); });
  }
  void PrepareToReopen() override { m_store->PrepareToReopen(); }
  LONG Check(std::string& report) override { return m_store->Check(report); }

 private:
  template <class Work>
  LONG Do(HiveCall call, Work work) {
    const LONG status = m_faults.Enter(call);
    return status == ERROR_SUCCESS ? work() : status;
  }

  const std::unique_ptr<HiveStore> m_store;
  HiveFaults& m_faults;
};

// Hives whose stores fail on command for the length of a scope.
class FaultyHives : public HiveFaults {
 public:
  FaultyHives() {
    tesselkit::platform::SetHiveOpener(
        [this](const std::string& file_name, tesselkit::platform::HiveAccess access,
               std::unique_ptr<tesselkit::platform::HiveStore>& store) {
          LONG status = Enter(HiveCall::kOpen);
          if (status == ERROR_SUCCESS) {
            status = tesselkit::platform::OpenSqliteHive(file_name, access, store);
          }
          if (status == ERROR_SUCCESS)
            store = std::make_unique<FaultyHive>(std::move(store), *this);
          return status;
        });
  }
  ~FaultyHives() { tesselkit::platform::SetHiveOpener({}); }
  FaultyHives(const FaultyHives&) = delete;
  FaultyHives& operator=(const FaultyHives&) = delete;
};

}  // namespace test
