#include "tesselkit/failure/adresource.h"

#include <atomic>
#include <mutex>

#include "tesselkit/failure/adexcept.h"
#include "tesselkit/platform/exceptions.h"
#include "tesselkit/platform/module.h"
#include "tesselkit/platform/string_table.h"
#include "tesselkit/resources/message_ids.h"
#include "tesselkit/util/adutil_core.h"

using namespace tesselkit;

namespace {

constexpr char kSourceName[] = "adresource";

[[noreturn]] void ThrowNotLoaded(int id, const char* failed_expr, int line) {
  PaMessage message(message_id::kStringNotLoaded);
  message.SetParam("resource_id", AdStr(id));
  AdThrowMsgExcept(message, failed_expr, kSourceName, line);
}

// Empty when it cannot be found, for want of memory also.
CString FindCoreName() {
  CString found;
  try {
    AdLookupStringResource(message_id::kCoreName, found);
  } catch (CException* exception) {
    exception->Delete();
  }
  return found;
}

}  // namespace

int AdLookupStringResource(int ID, CString& result) {
  return result.LoadString(static_cast<UINT>(ID)) ? 1 : 0;
}

int AdLookupStringResource(const char* module_name, int ID, CString& result) {
  const HMODULE module = GetModuleHandleA(module_name);
  if (module == nullptr) return 0;
  char buffer[1024];
  const int length = LoadStringA(module, static_cast<UINT>(ID), buffer, sizeof buffer);
  result = CString(buffer, length);
  return length > 0 ? 1 : 0;
}

CString AdGetStringResource(int ID) {
  CString result;
  if (!AdLookupStringResource(ID, result)) {
    ThrowNotLoaded(ID, "AdLookupStringResource(ID, result)", __LINE__);
  }
  return result;
}

CString AdGetStringResource(const char* module_name, int ID) {
  CString result;
  if (!AdLookupStringResource(module_name, ID, result)) {
    ThrowNotLoaded(ID, "AdLookupStringResource(module_name, ID, result)", __LINE__);
  }
  return result;
}

CString AdFetchStringResource(int ID) {
  return AdGetStringResource(ID);
}

const CString& AdGetCoreName() {
  static CString core_name;
  static std::atomic<bool> loaded = false;
  static std::mutex mutex;
  if (!loaded.load(std::memory_order_acquire)) {
    // Looked up without the lock, since that may ask the loader. An unfound name must not be
    // touched: other threads may hold the reference already.
    CString found = FindCoreName();
    const std::lock_guard lock(mutex);
    if (!found.IsEmpty() && !loaded.load(std::memory_order_relaxed)) {
      swap(core_name, found);
      loaded.store(true, std::memory_order_release);
    }
  }
  return core_name;
}

void AdFillCoreMessageInfo(PaMessage& msg, const char* const file, int line, PaMsgType type,
                           PaMsgDest dest) {
  msg.SetSource(AdGetCoreName(), file, line);
  msg.SetType(type);
  msg.SetDest(dest);
}

int AdGetBadValue0MsgID() {
  return message_id::kBadValue0;
}
int AdGetBadValue1MsgID() {
  return message_id::kBadValue1;
}
int AdGetBadValue2MsgID() {
  return message_id::kBadValue2;
}
int AdGetBadValue3MsgID() {
  return message_id::kBadValue3;
}
int AdGetBadValue4MsgID() {
  return message_id::kBadValue4;
}
int AdGetUnimplementedMsgID() {
  return message_id::kUnimplemented;
}
int AdGetTypeOfNullMsgID() {
  return message_id::kTypeOfNull;
}
int AdGetWrongTypeMsgID() {
  return message_id::kWrongType;
}
int AdGetHitUnreachedMsgID() {
  return message_id::kHitUnreached;
}
int AdGetBadIndexMsgID() {
  return message_id::kBadIndex;
}
int AdGetMgrCreateFailedMsgID() {
  return message_id::kMgrCreateFailed;
}
int AdGetInvalidNameMsgID() {
  return message_id::kInvalidName;
}
int AdGetGenericWrongRowCountContextMsgID() {
  return message_id::kWrongRowCountContext;
}
int AdGetInvalidStringLengthMsgID() {
  return message_id::kInvalidStringLength;
}
int AdGetInvalidStringStorageMsgID() {
  return message_id::kInvalidStringStorage;
}
int AdGetInvalidEmptyStringMsgID() {
  return message_id::kInvalidEmptyString;
}
