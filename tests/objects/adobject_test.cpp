#include "tesselkit/objects/adobject.h"

#include <cstdio>
#include <memory>

#include "tests/support/traced_test.h"
#include "tests/support/vtable_slot.h"

namespace {

// Its name is what the test says.
class Named : public AdObject {
  DECLARE_DYNAMIC(Named)

 public:
  using AdObject::GetDumpTag;
  ~Named() override = default;
  CString GetName() const override { return m_name; }

  static std::vector<std::size_t> Slots() {
    using test::SlotOf;
    return {
        SlotOf(&Named::GetRuntimeClass), SlotOf<void (Named::*)(CArchive&)>(&Named::Serialize),
        SlotOf(&Named::AssertValid),     SlotOf(&Named::Dump),
        SlotOf(&Named::GetName),         SlotOf(&Named::Initialize),
        SlotOf(&Named::Finalize),        SlotOf<void (Named::*)(AdArchive&)>(&Named::Serialize)};
  }

  CString m_name;
};

IMPLEMENT_DYNAMIC(Named, AdObject)

// The class and the low 32 bits of the address.
std::string TagOf(const CObject* object) {
  char digits[9];
  const auto address = reinterpret_cast<std::uintptr_t>(object);
  std::snprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(address));
  return object->GetRuntimeClass()->m_lpszClassName + std::string("@0x") + digits;
}

class Object : public test::TracedTest {};

TEST_F(Object, TracesItsTagAndItsName) {
  Named named;
  const std::string tag = TagOf(&named);
  EXPECT_EQ(named.GetDumpTag().View(), tag);
  named.ReportViaODS(nullptr);
  named.ReportViaODS("");
  named.ReportViaODS("100% %s\n");
  ExpectTraces({tag + ": <no message>\n", tag + ": <no message>\n", tag + ": 100% %s\n\n"});
  const std::pair<std::string, std::string> names[] = {
      {"", ""},
      {tag, ""},
      {tag + " ", " \"" + tag + " \""},
      {"the \"first\" %s", " \"the \"first\" %s\""},
  };
  for (const auto& [name, shown] : names) {
    named.m_name = CString(name);
    named.ReportViaODS("opened");
    ExpectTraces({tag + shown + ": opened\n"});
  }
}

TEST_F(Object, IsFoundAndCreatedByName) {
  CRuntimeClass* const record = CRuntimeClass::FromName("AdObject");
  ASSERT_EQ(record, &AdObject::classAdObject);
  EXPECT_STREQ(record->m_lpszClassName, "AdObject");
  EXPECT_EQ(record->m_wSchema, 1u);
  EXPECT_EQ(record->m_pBaseClass, RUNTIME_CLASS(CObject));
  EXPECT_EQ(record->m_pfnCreateObject, &AdObject::CreateObject);
  for (CObject* made : {record->CreateObject(), AdObject::CreateObject()}) {
    const std::unique_ptr<CObject> object(made);
    EXPECT_EQ(object->GetRuntimeClass(), record);
    const auto& as_object = dynamic_cast<AdObject&>(*object);
    EXPECT_EQ(as_object.GetName().View(), TagOf(made));
    as_object.ReportViaODS("made");
    ExpectTraces({TagOf(made) + ": made\n"});
  }
}

TEST_F(Object, SlotsAndSizeStayWhatTheyAre) {
  // The destructor has 1 and 2.
  EXPECT_EQ(Named::Slots(), (std::vector<std::size_t>{0, 3, 4, 5, 6, 7, 8, 9}));
  static_assert(sizeof(AdObject) == sizeof(CObject));
}

}  // namespace
