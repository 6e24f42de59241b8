// Threads, events between them, and waiting for either with a time-out. Time-outs go by a clock
// that nobody sets, and count no time during which the host sleeps.
//
// A thread and an event have a handle each, which its creator closes; no number is given out twice,
// so one that has been closed is known for what it is. What fails answers as each function says,
// and leaves the reason with GetLastError. All functions may be called from any thread.
//
// A thread that is ended by force stops at whatever instruction it has reached. None of its
// destructors and handlers runs, not even a `catch (...)`, nor do those of its thread_local
// variables. What it holds stays held: a mutex locked by it is locked for ever, the allocator's and
// those of the C library among them, and memory that it owns is not given back; its stack is. The
// locks of this header, of the debugger output and of the registry are never left behind.
#pragma once

#include <cstddef>

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/types.h"

using LPTHREAD_START_ROUTINE = unsigned long (*)(void* argument);

constexpr DWORD INFINITE = 0xFFFFFFFF;  // a time-out that never comes

// What WaitForSingleObject answers.
constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_TIMEOUT = 258;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;

constexpr DWORD STILL_ACTIVE = 259;  // the exit code of a thread that has not ended

TESSELKIT_API DWORD GetCurrentProcessId() noexcept;
TESSELKIT_API DWORD GetCurrentThreadId() noexcept;  // as the host's own tools show it

// The calling thread's last error, 0 at first. What succeeds leaves it alone.
TESSELKIT_API DWORD GetLastError() noexcept;
TESSELKIT_API void SetLastError(DWORD error) noexcept;

// Starts a thread that calls start(argument) and has what that returns for its exit code; an
// exception out of it ends the process. `security` and `flags` must be null and 0, a `stack_size`
// of 0 means the host's default. `thread_id`, unless null, takes the thread's id. The thread has
// its creator's signal mask but for one real-time signal, which ends it by force, and its time-outs
// are as sharp as the host has them. Null when arguments are wrong (ERROR_INVALID_PARAMETER) or the
// host has no room for another (ERROR_NOT_ENOUGH_MEMORY). The thread does not end with its handle.
TESSELKIT_API HANDLE CreateThread(void* security, std::size_t stack_size,
                                  LPTHREAD_START_ROUTINE start, void* argument, DWORD flags,
                                  DWORD* thread_id) noexcept;

// An event, set at first or not, that resets itself when it lets a wait go. `security` and `name`
// must be null and `manual_reset` FALSE. Null as CreateThread has it.
TESSELKIT_API HANDLE CreateEventA(void* security, BOOL manual_reset, BOOL initial_state,
                                  const char* name) noexcept;

// Sets the event: one wait, the next if there is none, returns. FALSE for what is no event's handle
// (ERROR_INVALID_HANDLE).
TESSELKIT_API BOOL SetEvent(HANDLE event) noexcept;

// Waits until the event is set or the thread has ended, `milliseconds` at most: WAIT_OBJECT_0 or
// WAIT_TIMEOUT, and WAIT_FAILED for what is no handle (ERROR_INVALID_HANDLE). A handle may be
// closed while others wait.
TESSELKIT_API DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) noexcept;

// Puts the thread's exit code into *exit_code. FALSE for what is no thread's handle
// (ERROR_INVALID_HANDLE).
TESSELKIT_API BOOL GetExitCodeThread(HANDLE thread, DWORD* exit_code) noexcept;

// Ends the thread by force, with that exit code, and returns when the host has done so; one that
// has ended already stays as it is. FALSE for what is no thread's handle (ERROR_INVALID_HANDLE),
// for the calling thread, and while another call is at it (ERROR_ACCESS_DENIED); and when the
// thread is still there after two seconds, which one is that blocks its signals or is held fast by
// the host (ERROR_BUSY): it ends when it can be reached.
TESSELKIT_API BOOL TerminateThread(HANDLE thread, DWORD exit_code) noexcept;

// Gives the handle back. After a thread has ended, returns when the host has cleared it away. FALSE
// for what is no handle (ERROR_INVALID_HANDLE).
TESSELKIT_API BOOL CloseHandle(HANDLE handle) noexcept;
