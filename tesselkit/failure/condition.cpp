#include "tesselkit/failure/condition.h"

#include "tesselkit/failure/adresource.h"
#include "tesselkit/failure/message_exception.h"
#include "tesselkit/util/adutil_core.h"

namespace tesselkit::failure {
namespace {

int MessageForValues(std::size_t count) {
  switch (count) {
    case 0:
      return AdGetBadValue0MsgID();
    case 1:
      return AdGetBadValue1MsgID();
    case 2:
      return AdGetBadValue2MsgID();
    case 3:
      return AdGetBadValue3MsgID();
    default:
      return AdGetBadValue4MsgID();
  }
}

PaMsgException* MakeCondition(const char* condition, const char* source_name, int line,
                              std::initializer_list<ShownValue> values) {
  PaMessage message(MessageForValues(values.size()));
  long number = 0;
  for (const ShownValue& shown : values) {
    const CString parameter = "value" + AdStr(++number);
    message.SetParam(parameter + "name", shown.name);
    message.SetParam(parameter, shown.value);
  }
  return MakeFailure(message, condition, source_name, line);
}

}  // namespace

CString ShownText(long value) {
  return AdStr(value);
}

CString ShownText(const char* value) {
  return value;
}

void ThrowCondition(const char* condition, const char* source_name, int line,
                    std::initializer_list<ShownValue> values) {
  // As in AdThrowMsgExcept, nothing here is left to the unwinder.
  PaMsgException* const exception = MakeCondition(condition, source_name, line, values);
  throw exception;
}

}  // namespace tesselkit::failure
