#include "tesselkit/util/adutil_names.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <barrier>
#include <thread>
#include <vector>

#include "tesselkit/platform/module.h"
#include "tests/support/code_page.h"
#include "tests/support/failures.h"
#include "tests/support/text_model.h"
#include "tests/support/traced_test.h"

namespace {

const std::string kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
const std::string kFollowing = kLetters + "_0123456789";
const std::string kForbidden = "! \"#$%&'()*+,./:;<=>?@[\\]^`{|}~";

std::string LengthReason(std::size_t length, int limit) {
  return "The name's length (" + std::to_string(length) +
         ") is outside the permitted range of 1 through " + std::to_string(limit) + " letters.";
}

const std::string kFirstReason =
    "The first character of the name must be one of these:\n" + kLetters;
const std::string kFollowingReason =
    "Characters after the first one in a name must be one of these:\n" + kFollowing;
const std::string kForbiddenReason = "Names cannot contain one of these characters:" + kForbidden;

std::string ReasonOf(int (*check)(const char*, CString&), const char* name) {
  CString reason = "what was there";
  const int is_valid = check(name, reason);
  EXPECT_EQ(is_valid, reason.IsEmpty() ? 1 : 0);
  return std::string(reason.View());
}

bool IsOneOf(const std::string& letter, const std::string& set) {
  return letter.size() == 1 && set.find(letter) != std::string::npos;
}

std::string ExpectedStrict(const std::string& name, int limit) {
  const test::Letters letters = test::Characters(name);
  if (letters.empty() || letters.size() > static_cast<std::size_t>(limit)) {
    return LengthReason(letters.size(), limit);
  }
  if (!IsOneOf(letters[0], kLetters)) return kFirstReason;
  for (const std::string& letter : letters) {
    if (!IsOneOf(letter, kFollowing)) return kFollowingReason;
  }
  return "";
}

std::string ExpectedPermissive(const std::string& name) {
  const test::Letters letters = test::Characters(name);
  if (letters.empty() || letters.size() > 25) return LengthReason(letters.size(), 25);
  for (const std::string& letter : letters) {
    if (IsOneOf(letter, kForbidden)) return kForbiddenReason;
  }
  return "";
}

class Names : public test::TracedTest {};

void CheckName(const std::string& name) {
  const char* text = name.c_str();
  EXPECT_EQ(ReasonOf(AdIsValidIdentifier, text), ExpectedPermissive(name));
  EXPECT_EQ(AdIsValidIdentifier(text), ExpectedPermissive(name).empty() ? 1 : 0);
  EXPECT_EQ(ReasonOf(AdIsValidIdentifierAscii, text), ExpectedStrict(name, 25));
  EXPECT_EQ(ReasonOf(AdIsValidLogin, text), ExpectedStrict(name, 30));
}

TEST_F(Names, EveryCharacterInEachPlace) {
  for (const int number : test::kCodePages) {
    const test::CodePage page(number);
    for (int byte = 1; byte < 256; ++byte) {
      SCOPED_TRACE(testing::Message() << "page " << number << " byte " << byte);
      const std::string letter(1, static_cast<char>(byte));
      CheckName(letter + "b");
      CheckName("a" + letter);
      CheckName("a\x95" + letter + "c");
    }
  }
}

TEST_F(Names, LengthsInLetters) {
  CheckName("");
  for (const int number : test::kCodePages) {
    const test::CodePage page(number);
    for (const std::string letter : {"a", "\x95\x5C", "-", "\xC3\xA9"}) {
      for (const int length : {1, 24, 25, 26, 29, 30, 31}) {
        std::string name;
        for (int i = 0; i < length; ++i) name += letter;
        SCOPED_TRACE(testing::Message() << "page " << number << " " << name);
        CheckName(name);
      }
    }
  }
}

TEST_F(Names, OneReasonInWords) {
  EXPECT_EQ(ReasonOf(AdIsValidIdentifier, nullptr), LengthReason(0, 25));
  EXPECT_EQ(ReasonOf(AdIsValidIdentifierAscii, nullptr), LengthReason(0, 25));
  EXPECT_EQ(ReasonOf(AdIsValidLogin, nullptr), LengthReason(0, 30));
  EXPECT_EQ(AdIsValidIdentifier(nullptr), 0);
  EXPECT_EQ(ReasonOf(AdIsValidIdentifier, "9-_\t\xE9"), "");
  // Only the length, whatever else is wrong.
  EXPECT_EQ(ReasonOf(AdIsValidLogin, "-------------------------------"), LengthReason(31, 30));
}

// The forbidden characters are read at every call, the alphabets at the first strict check only.
TEST_F(Names, OtherStringsReachThePermissiveCheckAlone) {
  const std::string forbidden = "Names cannot contain one of these characters:x\x95\x5C";
  const test::CodePage page(932);
  EXPECT_EQ(ReasonOf(AdIsValidLogin, "9"), kFirstReason);
  void* const module = dlopen(NAMES_MODULE_FILE, RTLD_NOW | RTLD_LOCAL);
  for (int time = 0; time < 2; ++time) {
    AfxSetResourceHandle(GetModuleHandleA(NAMES_MODULE_FILE));
    EXPECT_EQ(ReasonOf(AdIsValidIdentifier, "ax"), forbidden);
    EXPECT_EQ(ReasonOf(AdIsValidIdentifier, "a\x95\x5C"), forbidden);
    EXPECT_EQ(ReasonOf(AdIsValidIdentifier, "a\x5C b"), "");
    EXPECT_EQ(ReasonOf(AdIsValidLogin, "abc"), "");
    EXPECT_EQ(ReasonOf(AdIsValidIdentifierAscii, "z-"), kFollowingReason);
    AfxSetResourceHandle(nullptr);
    EXPECT_EQ(ReasonOf(AdIsValidIdentifier, "ax"), "");
    EXPECT_EQ(ReasonOf(AdIsValidIdentifier, "a b"), kForbiddenReason);
  }
  dlclose(module);
}

TEST_F(Names, WithoutAnyStringsTheSetIsMissed) {
  const std::string missing = "18018 ";
  AFX_MODULE_STATE without_resources;
  EXPECT_EQ(ReasonOf(AdIsValidLogin, "abc"), "");
  for (int time = 0; time < 2; ++time) {
    AfxSetModuleState(&without_resources);
    CString reason = "what was there";
    EXPECT_EQ(ThrownBy([&] { AdIsValidIdentifier("abc", reason); }), missing);
    EXPECT_EQ(reason, "");
    EXPECT_EQ(ThrownBy([] { AdIsValidIdentifier("abc"); }), missing);
    EXPECT_EQ(ReasonOf(AdIsValidLogin, "abc"), "");
    AfxSetModuleState(nullptr);
    CheckName("a b");
  }
}

// Under ctest each test is a process of its own, so these are the first checks made in it.
TEST_F(Names, FirstCheckByEightThreadsAtOnce) {
  constexpr int kThreads = 8;
  std::barrier start(kThreads);
  std::vector<std::string> reasons(kThreads);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      start.arrive_and_wait();
      reasons[static_cast<std::size_t>(i)] =
          ReasonOf(i % 2 == 0 ? AdIsValidLogin : AdIsValidIdentifierAscii, i < 4 ? "9" : "a-");
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int i = 0; i < kThreads; ++i) {
    EXPECT_EQ(reasons[static_cast<std::size_t>(i)], i < 4 ? kFirstReason : kFollowingReason);
  }
}

}  // namespace
