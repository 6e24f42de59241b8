// A watch that calls back from a thread of its own, until it is stopped.
#include "examples/tour/scene.h"

namespace {

using namespace tour;

constexpr int kTicks = 3;

class Countdown : public AdTimerWatch {
 public:
  Countdown() : AdTimerWatch(20, 0), m_done(CreateEventA(nullptr, FALSE, FALSE, nullptr)) {
    StartWatch();
  }
  ~Countdown() override {
    StopWatch();
    CloseHandle(m_done);
  }

  void OnTimeoutCallback() override {
    Say("    tick %d\n", ++m_ticks);
    if (m_ticks < kTicks) return;
    StopWatch();
    SetEvent(m_done);
  }

  void AwaitLastTick() { WaitForSingleObject(m_done, INFINITE); }

 private:
  HANDLE m_done;
  int m_ticks = 0;
};

// Without the process and the thread, which differ from run to run.
void ShowTracesWithoutIds() {
  tesselkit::platform::SetDebugOutputSink([](const char* text) {
    const std::string whole = text;
    SayIndented("debug |", whole.substr(0, whole.find(", proc")));
  });
}

}  // namespace

void tour::TimerScene(const Places&) {
  Say("  A timer of 20 milliseconds that stops itself at its last tick\n");
  ShowTracesWithoutIds();
  {
    Countdown countdown;
    countdown.AwaitLastTick();
  }
  ShowTraces();
  Say("  An interval beyond ten hours\n");
  try {
    AdTimerWatch(36000001, 1);
  } catch (PaMsgException* caught) {
    caught->Delete();
  }
}
