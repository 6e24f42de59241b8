#include <gtest/gtest.h>

#include <map>

#include "tesselkit/failure/adresource.h"

namespace {

using Ids = std::vector<int>;

// The table's texts as the process's resources give them.
std::map<int, std::string> Texts() {
  std::map<int, std::string> texts;
  CString text;
  for (int id = 17900; id < 18200; ++id) {
    if (AdLookupStringResource(id, text)) texts[id] = text;
  }
  return texts;
}

TEST(MessageTable, HoldsTheseIdsOnceAndInOrder) {
  Ids expected = {18001, 18002, 18003, 18004, 18005, 18006, 18007}, found;
  for (int id = 18017; id <= 18063; ++id) expected.push_back(id);
  for (const auto& [id, text] : Texts()) found.push_back(id);
  EXPECT_EQ(found, expected);
  const Ids rows = {
#define TESSELKIT_MESSAGE(id, name, text) id,
#include "tesselkit/resources/message_table.inc"
#undef TESSELKIT_MESSAGE
  };
  EXPECT_EQ(rows, expected);
}

// Of those that no other test sees filled.
TEST(MessageTable, WholeTexts) {
  auto texts = Texts();
  EXPECT_EQ(texts[18001], "%except_name% exception from '%source%'\n%details%");
  EXPECT_EQ(texts[18003],
            "Tarnwell exception #0 was thrown.  Please report this to support@veltrim.example, "
            "including all information necessary to reproduce the problem.");
  EXPECT_EQ(texts[18029], "Attempting to determine type (via IsKindOf()) of a NULL pointer.");
  EXPECT_EQ(texts[18030],
            "Using %gottype% as a %wanttype%.\n"
            "Invalid object %gotaddr% is %gotexpr% inside %failure_location%.");
  EXPECT_EQ(texts[18031],
            "Executing code which was believed unreachable.\nLocation: %failure_location%");
  EXPECT_EQ(texts[18032],
            "The index %indexname% is outside the array bounds: %indexval% is not >= 0 and < "
            "%upperbound%.");
  EXPECT_EQ(texts[18035],
            "Allocation failed for an %mgrname% object.  This is an internal program error, most "
            "likely the result of an \"impossible\" out-of-memory condition.");
  EXPECT_EQ(texts[18052],
            "Attempting to use a string which is too long.  The limit on the number of letters in "
            "the string is %max_len% but the string actually contained %act_len%.  The string "
            "was: %string%");
  EXPECT_EQ(texts[18053],
            "Attempting to use a string which requires too much storage.  The limit on the number "
            "of storage units for the string is %max_len% but the string actually required "
            "%act_len%.  The string was: %string%");
  EXPECT_EQ(texts[18054],
            "Attempting to use an empty value where a nonempty string value is required.");
}

TEST(MessageTable, GettersGiveTheirIds) {
  EXPECT_EQ((Ids{AdGetBadValue0MsgID(), AdGetBadValue1MsgID(), AdGetBadValue2MsgID(),
                 AdGetBadValue3MsgID(), AdGetBadValue4MsgID(), AdGetUnimplementedMsgID(),
                 AdGetTypeOfNullMsgID(), AdGetWrongTypeMsgID(), AdGetHitUnreachedMsgID(),
                 AdGetBadIndexMsgID(), AdGetMgrCreateFailedMsgID(), AdGetInvalidNameMsgID(),
                 AdGetGenericWrongRowCountContextMsgID(), AdGetInvalidStringLengthMsgID(),
                 AdGetInvalidStringStorageMsgID(), AdGetInvalidEmptyStringMsgID()}),
            (Ids{18019, 18020, 18021, 18022, 18023, 18024, 18029, 18030, 18031, 18032, 18035, 18043,
                 18048, 18052, 18053, 18054}));
}

}  // namespace
