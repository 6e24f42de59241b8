#include "tesselkit/failure/adexcept.h"

#include "tesselkit/failure/adresource.h"
#include "tesselkit/failure/condition.h"
#include "tesselkit/failure/message_exception.h"
#include "tesselkit/failure/tesselkitenums.h"
#include "tesselkit/platform/debug_output.h"
#include "tesselkit/resources/message_ids.h"
#include "tesselkit/util/adutil_core.h"

using namespace tesselkit;

namespace {

constexpr char kSourceName[] = "adexcept";

int MessageOfMisuse(long how_misused) {
  switch (how_misused) {
    case ALREADY_EXISTS:
      return message_id::kRelationExists;
    case NOTHING_TO_UNBUILD:
      return message_id::kNothingToUnbuild;
    default:
      return message_id::kNothingToGet;
  }
}

}  // namespace

PaMsgException* failure::MakeFailure(PaMessage& msg, const char* failed_expr, const char* file,
                                     int line) {
  AdFillCoreMessageInfo(msg, file, line, PaMsgTypeFailure, PaMsgDestUser);
  msg.SetParam("failed_expr", failed_expr);
  msg.SetParam("failure_location", msg.GetSource());
  OutputDebugStringA(msg.GetFullMsg());
  return PaMakeMsgException(msg);
}

void AdThrowMsgExcept(PaMessage& msg, const char* failed_expr, const char* file, int line) {
  // Nothing in this frame is left to the unwinder to clean up.
  PaMsgException* const exception = failure::MakeFailure(msg, failed_expr, file, line);
  throw exception;
}

void AdSendFixmeMsg(const char* file, int line, const char* what) {
  PaMessage message(message_id::kFixme);
  AdFillCoreMessageInfo(message, file, line, PaMsgTypeNotice, PaMsgDestDeveloper);
  message.SetParam("what", what);
  message.SetParam("repair_location", message.GetSource());
  OutputDebugStringA(message.GetFullMsg());
  message.Deliver(0);
}

void AdThrowOperationShouldAffectOneRow(PaMessage& operation, long actual_rows, const char* file,
                                        int line) {
  operation.SetSource(AdGetCoreName(), file, line);
  operation.SetParam("failure_location", operation.GetSource());
  PaMessage message(actual_rows == 0 ? message_id::kNoRowsModified : message_id::kWrongRowCount);
  message.SetParam("actual_rows", AdStr(actual_rows));
  message.SetParam("operation", operation.GetFullMsg());
  AdThrowMsgExcept(message, "", file, line);
}

void AdThrowTestingException(const char* from_ole, const char* from_dbaccess,
                             const char* from_metadata, const char* from_query,
                             const char* from_userdata) {
  PaMessage message(message_id::kTestException);
  message.SetParam("from_ole", from_ole);
  message.SetParam("from_dbaccess", from_dbaccess);
  message.SetParam("from_metadata", from_metadata);
  message.SetParam("from_query", from_query);
  message.SetParam("from_userdata", from_userdata);
  AdThrowMsgExcept(message, "", kSourceName, __LINE__);
}

void AdThrowMisusedRelation(const char* thrower, const char* file, int line, const char* modifier,
                            const char* misused_relation, long how_misused) {
  const char* str_thrower = thrower;
  const char* str_misused_relation = misused_relation;
  AD_CHECK(AdIsNonEmpty(str_thrower));
  AD_CHECK(AdIsNonEmpty(str_misused_relation));
  AD_CHECK(AdIsValidMisuseType(how_misused), AD_VALUE(how_misused));
  PaMessage message(MessageOfMisuse(how_misused));
  message.SetParam("thrower", thrower);
  message.SetParam("modifier", modifier);
  message.SetParam("relative", misused_relation);
  AdThrowMsgExcept(message, "", file, line);
}
