// Native exceptions and call stacks: the library's beside a bare signal handler that throws, and
// beside the C library's backtrace and backtrace_symbols.
#include <benchmark/benchmark.h>
#include <execinfo.h>
#include <signal.h>

#include <cstdlib>
#include <string>

#include "tesselkit/tesselkit.h"

namespace {

constexpr int kMostFrames = 128;

// No translator is set yet, and the thread is ready afterwards.
void Converter(benchmark::State& state) {
  const AdExceptionConverter first;
  for (auto _ : state) {
    const AdExceptionConverter converter;
    benchmark::ClobberMemory();
  }
}
BENCHMARK(Converter);

// What a pair of calls costs that each converter would otherwise make.
void Converter_peer_sigaction(benchmark::State& state) {
  for (auto _ : state) {
    struct sigaction before, action = {};
    action.sa_handler = SIG_DFL;
    sigaction(SIGUSR1, &action, &before);
    sigaction(SIGUSR1, &before, nullptr);
  }
}
BENCHMARK(Converter_peer_sigaction);

[[gnu::noinline]] void WriteTo(volatile int* address) {
  *address = 10;
}
volatile int* volatile nowhere = nullptr;

void NullWriteCaught(benchmark::State& state) {
  for (auto _ : state) {
    const AdExceptionConverter converter;
    try {
      WriteTo(nowhere);
    } catch (COleDispatchException* exception) {
      benchmark::DoNotOptimize(exception->m_strDescription.GetLength());
      exception->Delete();
    }
  }
}
BENCHMARK(NullWriteCaught);

std::string SymbolsText(void* const* frames, int count) {
  std::string text;
  char** const symbols = backtrace_symbols(frames, count);
  for (int i = 0; i < count; ++i) text.append(symbols[i]).append("\n");
  std::free(symbols);
  return text;
}

[[noreturn]] void ThrowBacktrace(int, siginfo_t*, void*) {
  void* frames[kMostFrames];
  throw SymbolsText(frames, backtrace(frames, kMostFrames));
}

void NullWriteCaught_peer_throwing_handler_backtrace_symbols(benchmark::State& state) {
  struct sigaction before, action = {};
  action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
  action.sa_sigaction = ThrowBacktrace;
  sigaction(SIGSEGV, &action, &before);
  for (auto _ : state) {
    try {
      WriteTo(nowhere);
    } catch (const std::string& text) {
      benchmark::DoNotOptimize(text.size());
    }
  }
  sigaction(SIGSEGV, &before, nullptr);
}
BENCHMARK(NullWriteCaught_peer_throwing_handler_backtrace_symbols);

// Runs `body` so many frames further down.
template <class Body>
[[gnu::noinline]] void RunAtDepth(int depth, const Body& body) {
  if (depth > 0) {
    RunAtDepth(depth - 1, body);
  } else {
    body();
  }
  benchmark::ClobberMemory();
}

int DepthFor(benchmark::State& state) {
  void* frames[kMostFrames];
  return static_cast<int>(state.range(0)) - backtrace(frames, kMostFrames);
}

void CallStackText(benchmark::State& state) {
  RunAtDepth(DepthFor(state), [&state] {
    CString stack;
    for (auto _ : state) {
      AdLookupCallStack(stack);
      benchmark::DoNotOptimize(stack.GetLength());
    }
  });
}
BENCHMARK(CallStackText)->Arg(15)->Arg(30)->Arg(60);

void CallStackText_peer_backtrace_symbols(benchmark::State& state) {
  RunAtDepth(DepthFor(state), [&state] {
    void* frames[kMostFrames];
    for (auto _ : state) {
      const int count = backtrace(frames, kMostFrames);
      benchmark::DoNotOptimize(SymbolsText(frames, count).size());
    }
  });
}
BENCHMARK(CallStackText_peer_backtrace_symbols)->Arg(15)->Arg(30)->Arg(60);

// The names alone, of frames that are known.
void CallStackText_peer_symbols_only(benchmark::State& state) {
  RunAtDepth(DepthFor(state), [&state] {
    void* frames[kMostFrames];
    const int count = backtrace(frames, kMostFrames);
    for (auto _ : state) std::free(backtrace_symbols(frames, count));
  });
}
BENCHMARK(CallStackText_peer_symbols_only)->Arg(15)->Arg(30)->Arg(60);

}  // namespace
