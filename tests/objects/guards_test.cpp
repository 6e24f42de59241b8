#include "tesselkit/objects/guards.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <type_traits>

#include "tesselkit/failure/adexcept_automation.h"
#include "tesselkit/failure/tesselkitenums.h"
#include "tesselkit/objects/adobject.h"
#include "tesselkit/platform/command_target.h"
#include "tesselkit/platform/exceptions.h"

namespace {

static_assert(!std::is_copy_constructible_v<AdObjectGuard> &&
              !std::is_copy_assignable_v<AdObjectGuard>);
static_assert(!std::is_copy_constructible_v<AdOleObjectGuard> &&
              !std::is_copy_assignable_v<AdOleObjectGuard>);
static_assert(!std::is_copy_constructible_v<AdProgressGuard> &&
              !std::is_copy_assignable_v<AdProgressGuard>);

// Writes its life to a log: F(inalize), R(elease), D(estruction).
class Order : public AdObject {
 public:
  explicit Order(std::string& log) : m_log(log) {}
  ~Order() override { m_log += 'D'; }
  void Finalize() override {
    m_log += 'F';
    if (on_release) on_release();
  }

  std::function<void()> on_release;

 private:
  std::string& m_log;
};

class Target : public CCmdTarget {
 public:
  explicit Target(std::string& log) : m_log(log) {}
  ~Target() override { m_log += 'D'; }
  void OnFinalRelease() override {
    m_log += 'R';
    const auto last_act = on_release;
    CCmdTarget::OnFinalRelease();
    if (last_act) last_act();
  }

  std::function<void()> on_release;

 private:
  std::string& m_log;
};

struct Life {
  int line;
  bool disabled;
  bool body_throws;
  std::function<void()> last_act;
  const char* rest;  // of the log, behind what the release itself does
};

const Life kLives[] = {
    {__LINE__, false, false, nullptr, ""},
    {__LINE__, false, true, nullptr, ":7"},
    {__LINE__, true, false, nullptr, ""},
    {__LINE__, true, true, nullptr, ":7"},
    {__LINE__, false, false, [] { throw 8; }, ":8"},
    {__LINE__, false, false, [] { AfxThrowFileException(1); }, ":file"},
    // The first exception goes on; the second one is ended.
    {__LINE__, false, true, [] { throw 8; }, ":7"},
    {__LINE__, false, true, [] { AfxThrowFileException(1); }, ":7"},
    {__LINE__, false, true, [] { AfxThrowMemoryException(); }, ":7"},
    {__LINE__, false, true, [] { throw new AdOMException("text", "source"); }, ":7"},
};

// Runs its body as the destructor of a scope that an exception leaves.
struct CleanUp {
  ~CleanUp() { body(); }
  std::function<void()> body;
};

template <class Guard, class Guarded>
void ExpectLives(const std::string& released) {
  for (const Life& life : kLives) {
    SCOPED_TRACE(life.line);
    std::string log;
    auto* const guarded = new Guarded(log);
    guarded->on_release = life.last_act;
    try {
      Guard guard(guarded);
      if (life.disabled) guard.Disable();
      if (life.body_throws) throw 7;
    } catch (CFileException* exception) {
      log += ":file";
      exception->Delete();
    } catch (int number) {
      log += ":" + std::to_string(number);
    }
    EXPECT_EQ(log, (life.disabled ? "" : released) + life.rest);
    if (life.disabled) delete guarded;
  }
}

void ExpectAllLives() {
  ExpectLives<AdObjectGuard, Order>("FD");
  ExpectLives<AdOleObjectGuard, Target>("RD");
}

TEST(Guards, ReleaseUnlessDisabled) {
  ExpectAllLives();
}

TEST(Guards, WithinACleanUpItIsTheirOwnScopeThatCounts) {
  try {
    const CleanUp clean_up{ExpectAllLives};
    throw 7;
  } catch (int) {
  }
}

TEST(Guards, NullGuardsNothing) {
  const AdObjectGuard object(nullptr);
  const AdOleObjectGuard target(nullptr);
}

TEST(Guards, ProgressIsSetByTheOutermostOnly) {
  for (const long before : {0L, long{NOT_IN_PROGRESS}, long{IN_PROGRESS}, -1L}) {
    SCOPED_TRACE(before);
    long progress = before;
    const long after = before == IN_PROGRESS ? IN_PROGRESS : NOT_IN_PROGRESS;
    try {
      const AdProgressGuard outer(progress);
      EXPECT_EQ(progress, IN_PROGRESS);
      { const AdProgressGuard inner(progress); }
      EXPECT_EQ(progress, IN_PROGRESS);
      throw 7;
    } catch (int) {
    }
    EXPECT_EQ(progress, after);
  }
}

}  // namespace
