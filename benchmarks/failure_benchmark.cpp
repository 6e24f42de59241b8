// A failure thrown, caught and ended: the library's beside std::runtime_error with the same text
// made by {fmt}.
#include <benchmark/benchmark.h>

#include <stdexcept>
#include <string>

#include "tesselkit/tesselkit.h"

#ifdef TESSELKIT_PEER_FMT
#include <fmt/format.h>
#endif

namespace {

void DiscardTraces() {
  tesselkit::platform::SetDebugOutputSink([](const char*) {});
}

void SetFourValues(PaMessage& message, long number) {
  message.SetParam("value1name", "first").SetParam("value1", AdStr(number));
  message.SetParam("value2name", "second").SetParam("value2", AdStr(number + 1));
  message.SetParam("value3name", "third").SetParam("value3", AdStr(number + 2));
  message.SetParam("value4name", "fourth").SetParam("value4", AdStr(number + 3));
}

// Thrown and caught in one function, the message a local of the try block.
void ThrowCatchNear(benchmark::State& state) {
  DiscardTraces();
  long number = 0;
  for (auto _ : state) {
    try {
      PaMessage message(AdGetBadValue4MsgID());
      SetFourValues(message, ++number);
      AdThrowMsgExcept(message, "number >= 0", "adutil", 120);
    } catch (PaMsgException* exception) {
      benchmark::DoNotOptimize(exception);
      exception->Delete();
    }
  }
}
BENCHMARK(ThrowCatchNear);

// Thrown in a function of its own, which the unwinder has to clean up.
[[gnu::noinline]] void ThrowFourValues(long number) {
  PaMessage message(AdGetBadValue4MsgID());
  SetFourValues(message, number);
  AdThrowMsgExcept(message, "number >= 0", "adutil", 120);
}

void ThrowCatchCalled(benchmark::State& state) {
  DiscardTraces();
  long number = 0;
  for (auto _ : state) {
    try {
      ThrowFourValues(++number);
    } catch (PaMsgException* exception) {
      benchmark::DoNotOptimize(exception);
      exception->Delete();
    }
  }
}
BENCHMARK(ThrowCatchCalled);

#ifdef TESSELKIT_PEER_FMT
std::string FourValuesText(long number) {
  return fmt::format("Failed condition: {}\nLocation: {}: {}, line {}\n{}={}\n{}={}\n{}={}\n{}={}",
                     "number >= 0", "Tarnwell Core", "adutil", 120, "first", number, "second",
                     number + 1, "third", number + 2, "fourth", number + 3);
}

void ThrowCatchNear_peer_runtime_error_fmt(benchmark::State& state) {
  long number = 0;
  for (auto _ : state) {
    try {
      const std::string text = FourValuesText(++number);
      throw std::runtime_error(text);
    } catch (const std::exception& exception) {
      benchmark::DoNotOptimize(exception.what());
    }
  }
}
BENCHMARK(ThrowCatchNear_peer_runtime_error_fmt);

[[gnu::noinline]] void ThrowRuntimeError(long number) {
  const std::string text = FourValuesText(number);
  throw std::runtime_error(text);
}

void ThrowCatchCalled_peer_runtime_error_fmt(benchmark::State& state) {
  long number = 0;
  for (auto _ : state) {
    try {
      ThrowRuntimeError(++number);
    } catch (const std::exception& exception) {
      benchmark::DoNotOptimize(exception.what());
    }
  }
}
BENCHMARK(ThrowCatchCalled_peer_runtime_error_fmt);
#endif

void MessageFullText(benchmark::State& state) {
  PaMessage message(AdGetBadValue1MsgID());
  message.SetParam("failed_expr", "a >= 1").SetParam("failure_location", "adutil, line 12");
  message.SetParam("value1name", "a").SetParam("value1", "0");
  for (auto _ : state) benchmark::DoNotOptimize(message.GetFullMsg());
}
BENCHMARK(MessageFullText);

void MessageMadeById(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(PaMessage(18045));
}
BENCHMARK(MessageMadeById);

}  // namespace
