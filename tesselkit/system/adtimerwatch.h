// Calling back at a fixed interval from a background thread, until stopped.
//
//   AdTimerWatch watch(&Poll, 500, 1);
//
// Either a function is given, or a derived class overrides OnTimeoutCallback. Calls come one
// interval after the one before has returned, the first one interval after the start, by a clock
// that nobody sets. They come on the watch's own thread, one after the other.
//
// An exception that leaves a callback is ended there and ends the thread and nothing else; the
// watch counts as running until it is stopped. A callback that has not returned ten seconds after
// the request to stop has its thread ended by force: none of its destructors and handlers runs, and
// what it holds stays held (see platform/threads.h).
//
// A watch belongs to one thread, its owner's. A callback may call everything that is public but the
// destructor on its own watch. A derived class with a callback of its own starts at the end of its
// constructor, not through the base's, and stops in its destructor, since the thread would call
// into an object half made or half gone.
#pragma once

#include <atomic>

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/types.h"

class TESSELKIT_API AdTimerWatch {
 public:
  // A null `callback` is none. Both fail as SetPollInterval does, and start when `start` is
  // nonzero.
  AdTimerWatch(void (*callback)(), long millsec, int start);
  AdTimerWatch(long millsec, int start);

  // Stops.
  virtual ~AdTimerWatch();

  AdTimerWatch(const AdTimerWatch&) = delete;
  AdTimerWatch& operator=(const AdTimerWatch&) = delete;

  // What is done at every interval when no function was given. Here: traces that it was called.
  virtual void OnTimeoutCallback();

  // Starts the thread with the interval that was set last; with 0, and while the watch is running,
  // does nothing. A watch that was stopped by its own callback is stopped wholly first. When the
  // host has no room for another thread, the watch stays stopped.
  virtual void StartWatch();

  // Stops: after this no call is under way and none will come. Waits for a callback that is, ten
  // seconds at most. Does nothing on a watch that is stopped. In the watch's own callback it waits
  // for nothing: the thread ends when the callback returns, and the watch counts as running until
  // the owner stops it, starts it or ends it.
  virtual void StopWatch();

 protected:
  // Forgets a thread without stopping it, and the callback: for a watch that is stopped.
  virtual void ClearAllTimerWatchMemberVars();

  // Clears, and sets the limits and the interval. Fails as SetPollInterval does.
  virtual void Initialize(long millsec);

 public:
  // Sets the interval, in milliseconds, for the next start: 1 to 36000000 (ten hours), or 0 for no
  // timer. Any other is a condition failure (PaMsgException*) and changes nothing.
  void SetPollInterval(long millsec);

  // The interval of the last start; 0 before the first.
  long GetCurrentPollInterval();

  // 1 from a start to the next stop by the owner, else 0.
  int IsTimerRunning();

 protected:
  // What the thread does. `watch` is the AdTimerWatch. Returns 0.
  static unsigned long OnTimerWatch(void* watch);

 private:
  bool CallBack();
  void KillThread();

  // Read by the timer's thread as well: the handle, the event, the current interval, the callback
  // and the flag.
  std::atomic<HANDLE> m_ThreadHandle = nullptr;
  DWORD m_ThreadId = 0;
  HANDLE m_WakeUpEvent = nullptr;
  long m_PollMin = 0;
  long m_PollMax = 0;
  std::atomic<long> m_RequestedPollInterval = 0;
  long m_CurrentPollInterval = 0;
  void (*m_Callback)() = nullptr;
  std::atomic<int> m_Stop = 0;
};
