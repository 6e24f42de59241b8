#include "tesselkit/system/adtimerwatch.h"

#include <cxxabi.h>

#include <cstdio>

#include "tesselkit/failure/caught.h"
#include "tesselkit/failure/condition.h"
#include "tesselkit/platform/debug_output.h"
#include "tesselkit/platform/threads.h"

namespace {

constexpr char kSourceName[] = "adtimerwatch";

constexpr long kShortestInterval = 1;
constexpr long kLongestInterval = 36'000'000;
constexpr DWORD kStopTimeOut = 10'000;

// The watch whose thread this is.
thread_local const AdTimerWatch* own_watch = nullptr;

void TraceThread(const char* what) {
  char text[128];
  std::snprintf(text, sizeof text, "%s, proc %d thread %d\n", what,
                static_cast<int>(GetCurrentProcessId()), static_cast<int>(GetCurrentThreadId()));
  OutputDebugStringA(text);
}

void TraceKillFailed() {
  char text[128];
  std::snprintf(text, sizeof text, "ERROR: TerminateThread failed; error code = %ld\n",
                static_cast<long>(GetLastError()));
  OutputDebugStringA(text);
}

}  // namespace

AdTimerWatch::AdTimerWatch(void (*callback)(), long millsec, int start) {
  AdTimerWatch::Initialize(millsec);
  m_Callback = callback;
  if (start != 0) AdTimerWatch::StartWatch();
}

AdTimerWatch::AdTimerWatch(long millsec, int start) : AdTimerWatch(nullptr, millsec, start) {}

AdTimerWatch::~AdTimerWatch() {
  AdTimerWatch::StopWatch();
  AdTimerWatch::ClearAllTimerWatchMemberVars();
}

void AdTimerWatch::Initialize(long millsec) {
  ClearAllTimerWatchMemberVars();
  m_PollMin = kShortestInterval;
  m_PollMax = kLongestInterval;
  SetPollInterval(millsec);
}

void AdTimerWatch::ClearAllTimerWatchMemberVars() {
  m_PollMin = 0;
  m_PollMax = 0;
  m_Callback = nullptr;
  m_Stop = 0;
  m_ThreadHandle = nullptr;
  m_ThreadId = 0;
}

void AdTimerWatch::SetPollInterval(long millsec) {
  if (millsec != 0) AD_CHECK(millsec >= m_PollMin && millsec <= m_PollMax);
  m_RequestedPollInterval = millsec;
}

long AdTimerWatch::GetCurrentPollInterval() {
  return m_CurrentPollInterval;
}

int AdTimerWatch::IsTimerRunning() {
  return m_ThreadHandle != nullptr ? 1 : 0;
}

void AdTimerWatch::StartWatch() {
  if (own_watch == this) return;
  if (m_Stop != 0) StopWatch();
  if (m_ThreadHandle != nullptr || m_RequestedPollInterval == 0) return;
  m_CurrentPollInterval = m_RequestedPollInterval.load();
  m_WakeUpEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  if (m_WakeUpEvent == nullptr) return;
  m_ThreadHandle = CreateThread(nullptr, 0, OnTimerWatch, this, 0, &m_ThreadId);
  if (m_ThreadHandle == nullptr) CloseHandle(m_WakeUpEvent);
}

void AdTimerWatch::StopWatch() {
  const bool is_own = own_watch == this;
  if (!is_own && m_ThreadHandle == nullptr) return;
  m_Stop = 1;
  SetEvent(m_WakeUpEvent);
  if (is_own) return;
  if (WaitForSingleObject(m_ThreadHandle, kStopTimeOut) != WAIT_OBJECT_0) KillThread();
  CloseHandle(m_ThreadHandle);
  CloseHandle(m_WakeUpEvent);
  m_ThreadHandle = nullptr;
  m_ThreadId = 0;
  m_Stop = 0;
}

void AdTimerWatch::KillThread() {
  OutputDebugStringA("Killing timer thread abnormally...\n");
  if (TerminateThread(m_ThreadHandle, 0xFFFFFFFF) == FALSE) TraceKillFailed();
}

void AdTimerWatch::OnTimeoutCallback() {
  OutputDebugStringA("We are in OnTimeoutCallback");
}

// False when an exception has come out, which is ended here. The forced unwinding is caught by a
// reference to nothing, which is how the C++ runtime has it.
__attribute__((no_sanitize("null"))) bool AdTimerWatch::CallBack() {
  try {
    if (m_Callback != nullptr) {
      m_Callback();
    } else {
      OnTimeoutCallback();
    }
    return true;
  } catch (abi::__forced_unwind&) {
    throw;  // a callback that leaves by pthread_exit
  } catch (...) {
    tesselkit::failure::EndCaughtException();
  }
  return false;
}

unsigned long AdTimerWatch::OnTimerWatch(void* watch) {
  auto& self = *static_cast<AdTimerWatch*>(watch);
  own_watch = &self;
  TraceThread("Timer thread started");
  const HANDLE event = self.m_WakeUpEvent;
  const auto interval = static_cast<DWORD>(self.m_CurrentPollInterval);
  for (;;) {
    WaitForSingleObject(event, interval);
    if (self.m_Stop != 0) break;
    if (!self.CallBack()) {
      TraceThread("Exception detected in timer thread");
      break;
    }
  }
  TraceThread("Timer thread terminated");
  own_watch = nullptr;
  return 0;
}
