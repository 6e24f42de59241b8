#include "tesselkit/platform/exceptions.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <set>

#include "tesselkit/platform/command_target.h"
#include "tesselkit/platform/dump_context.h"
#include "tests/platform/character_model.h"
#include "tests/support/code_page.h"
#include "tests/support/thrown.h"
#include "tests/support/traced_test.h"

namespace {

int ended = 0;

class CountedException : public CException {
 public:
  using CException::CException;
  ~CountedException() override { ++ended; }
};

class CountedTarget : public CCmdTarget {
 public:
  ~CountedTarget() override { ++ended; }
};

class SerialObject : public CObject {
  DECLARE_SERIAL(SerialObject)
};
IMPLEMENT_SERIAL(SerialObject, CObject, 3)

std::string TextOf(CException&& exception) {
  char text[256] = "left over";
  UINT help = 99;
  const BOOL has_text = exception.GetErrorMessage(text, sizeof text, &help);
  EXPECT_EQ(has_text, *text != '\0');
  EXPECT_EQ(help, 0u);
  return text;
}

class Exceptions : public test::TracedTest {};

TEST_F(Exceptions, SayWhatWentWrong) {
  EXPECT_EQ(TextOf(CException()), "");
  EXPECT_EQ(TextOf(CMemoryException()), "Out of memory.");
  EXPECT_EQ(TextOf(CInvalidArgException()), "An argument was not valid.");
  EXPECT_EQ(TextOf(CFileException(CFileException::diskFull, 28, "a.txt")),
            "The disk is full: a.txt.");
  EXPECT_EQ(TextOf(CFileException(CFileException::endOfFile)), "The end of the file was reached.");
  EXPECT_EQ(TextOf(CFileException(CFileException::endOfFile + 1)), "An unknown error occurred.");
  EXPECT_EQ(TextOf(CFileException(-1)), "An unknown error occurred.");
  EXPECT_EQ(TextOf(CArchiveException(CArchiveException::badSchema, "b.arc")),
            "The archive holds an object of another version: b.arc.");
  std::set<std::string> texts;
  for (int cause = 0; cause <= CFileException::endOfFile; ++cause)
    texts.insert(TextOf(CFileException(cause)));
  EXPECT_EQ(texts.size(), 15u);

  CException().ReportError();
  CMemoryException().ReportError();
  ExpectTraces({"\n", "Out of memory.\n"});
}

TEST_F(Exceptions, TextsAreCutToWholeCharacters) {
  const char* name = "\x93\xFA\x96\x7B\xE2\x82\xAC\xF0\x9F\x98\x80";
  for (const int page : test::kCodePages) {
    const test::CodePage set(page);
    CFileException exception(CFileException::fileNotFound, 2, name);
    const std::string whole = "The file was not found: " + std::string(name) + ".";
    for (UINT size = 1; size <= whole.size() + 2; ++size) {
      std::string expected;
      for (const std::string& each : test::Characters(page, whole)) {
        if (expected.size() + each.size() >= size) break;
        expected += each;
      }
      const std::unique_ptr<char[]> text(new char[size]);
      EXPECT_EQ(exception.GetErrorMessage(text.get(), size), size > 1);
      EXPECT_EQ(text.get(), expected) << page << " " << size;
    }
  }
  char text[4] = "abc";
  EXPECT_EQ(tesselkit::platform::CopyErrorText("text", text, 0), FALSE);
  EXPECT_EQ(tesselkit::platform::CopyErrorText("text", nullptr, 4), FALSE);
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(tesselkit::platform::CopyErrorText({}, text, sizeof text), FALSE);
  EXPECT_STREQ(text, "");
}

TEST_F(Exceptions, EndWithDeleteOnTheHeapOnly) {
  ended = 0;
  (new CountedException)->Delete();
  EXPECT_EQ(ended, 1);
  CountedException local(FALSE);
  local.Delete();
  EXPECT_EQ(ended, 1);
  for (int time = 0; time < 3; ++time) {
    EXPECT_TRUE(test::Throws<CMemoryException>([] { AfxThrowMemoryException(); }));
  }
  auto* target = new CountedTarget;
  EXPECT_EQ(target->InternalAddRef(), 2u);
  EXPECT_EQ(target->InternalRelease(), 1u);
  EXPECT_EQ(ended, 1);
  EXPECT_EQ(target->InternalRelease(), 0u);
  EXPECT_EQ(ended, 2);
}

TEST_F(Exceptions, KnowTheirKindAndTheHostsError) {
  const CFileException file;
  EXPECT_TRUE(file.IsKindOf(RUNTIME_CLASS(CFileException)) &&
              file.IsKindOf(RUNTIME_CLASS(CException)));
  EXPECT_FALSE(file.IsKindOf(RUNTIME_CLASS(CArchiveException)) || file.IsKindOf(nullptr));
  EXPECT_EQ(CFileException::ErrnoToException(EPROTO), CFileException::genericException);
  try {
    CFileException::ThrowErrno(ENOSPC, "a.txt");
  } catch (CFileException* exception) {
    EXPECT_EQ(exception->m_cause, CFileException::diskFull);
    EXPECT_EQ(exception->m_lOsError, ENOSPC);
    EXPECT_EQ(exception->m_strFileName, "a.txt");
    exception->Delete();
  }
}

TEST_F(Exceptions, ClassesAreFoundAndMadeByName) {
  CRuntimeClass* found = CRuntimeClass::FromName("SerialObject");
  ASSERT_EQ(found, RUNTIME_CLASS(SerialObject));
  const std::unique_ptr<CObject> made(found->CreateObject());
  EXPECT_TRUE(made->IsSerializable() && made->IsKindOf(found));
  for (const char* none :
       {"serialobject", "CFileException", "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(CRuntimeClass::FromName(none), nullptr);
  }
  EXPECT_EQ(RUNTIME_CLASS(CFileException)->CreateObject(), nullptr);
}

TEST_F(Exceptions, ADumpIsTracedValueByValue) {
  const CException exception;
  const CObject* none = nullptr;
  char address[32];
  std::snprintf(address, sizeof address, "$%p", static_cast<const void*>(&exception));
  afxDump << "text" << static_cast<const char*>(nullptr) << -7 << 7u << -8L << 8UL << 1.5 << none
          << exception;
  ExpectTraces(
      {"text", "(NULL)", "-7", "7", "-8", "8", "1.5", "NULL", "a ", "CException", " at ", address});
}

}  // namespace
