#include "tests/support/faulting_code.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>

#define TEST_UNCHECKED __attribute__((no_sanitize("address", "thread", "undefined")))

namespace {

volatile int zero = 0;
volatile int kept = 0;
volatile std::uintptr_t no_address = 0;
int data_words[4] = {};

[[gnu::noinline]] TEST_UNCHECKED void ExecuteData(std::uintptr_t address) {
  reinterpret_cast<void (*)()>(address)();
  kept = kept + 1;  // so that the call is no jump
}

}  // namespace

namespace test {

TEST_UNCHECKED void DivideByZero(int number) {
  kept = (number + 7) / zero;
}
const int kDivisionLine = __LINE__ - 2;

TEST_UNCHECKED void WriteToNull(int number) {
  *reinterpret_cast<volatile int*>(no_address) = number;
}

TEST_UNCHECKED void ReadFromNull(int) {
  kept = *reinterpret_cast<volatile int*>(no_address + 8);
}

TEST_UNCHECKED void JumpToNull(int) {
  ExecuteData(no_address);
}

TEST_UNCHECKED void JumpToData(int) {
  ExecuteData(reinterpret_cast<std::uintptr_t>(data_words));
}

TEST_UNCHECKED void ReadOffTheMap(int) {
  kept = *reinterpret_cast<volatile int*>(no_address + 0x8000000000000000u);
}

TEST_UNCHECKED void Divide(double a, double b) {
  const volatile double quotient = a / b;
  static_cast<void>(quotient);
}

void ExecuteIllegal(int) {
#ifdef __x86_64__
  asm volatile("ud2");
#else
  asm volatile("udf #0");
#endif
}

void ExecutePrivileged(int) {
#ifdef __x86_64__
  asm volatile("hlt");
#else
  asm volatile("udf #0");
#endif
}

void ExecuteBreakpoint(int) {
#ifdef __x86_64__
  asm volatile("int3");
#else
  asm volatile("brk #0");
#endif
}

#ifdef __x86_64__

namespace {

volatile long long divisor_word = 0;

}  // namespace

#define TEST_DIVISION(smallest, instruction)                                          \
  [](int divisor) TEST_UNCHECKED {                                                    \
    const long long wide = divisor;                                                   \
    const long long words[4] = {wide, wide, wide, wide};                              \
    long long low = smallest, high = -1;                                              \
    divisor_word = wide;                                                              \
    asm volatile(                                                                     \
        "mov %2, %%r12\n\tmov %2, %%r13\n\tmov %3, %%rcx\n\tmov %3, %%r9\n\tmov $1, " \
        "%%r10\n\t" instruction                                                       \
        : "+a"(low), "+d"(high)                                                       \
        : "r"(words), "r"(wide), "m"(divisor_word)                                    \
        : "rcx", "r9", "r10", "r12", "r13", "rsi", "cc", "memory");                   \
  }

const Faulting kDivisions[] = {
    TEST_DIVISION(INT64_MIN, "idivq %%r9"),
    TEST_DIVISION(INT64_MIN, "idivq (%%r12)"),
    TEST_DIVISION(INT64_MIN, "idivq (%%r13)"),
    TEST_DIVISION(INT64_MIN, "idivq 8(%%r12)"),
    TEST_DIVISION(INT64_MIN, "idivq %4"),
    TEST_DIVISION(INT32_MIN, "idivl %%ecx"),
    TEST_DIVISION(INT32_MIN, "idivl 4(%%r12, %%r10, 4)"),
    TEST_DIVISION(INT32_MIN, "sub $0x1000, %%r13\n\tidivl 0x1000(%%r13, %%r10, 8)"),
    TEST_DIVISION(INT32_MIN, "divl (%%r12, %%r10, 8)"),
    TEST_DIVISION(INT32_MIN, "xchg %%r13, %%r10\n\tidivl (, %%r10, 1)"),
    TEST_DIVISION(INT16_MIN, "idivw %%cx"),
    TEST_DIVISION(INT16_MIN, "idivw (%%r13, %%r10, 2)"),
    TEST_DIVISION(INT8_MIN, "idivb %%ch"),
    TEST_DIVISION(INT8_MIN, "idivb %%r9b"),
    TEST_DIVISION(INT8_MIN, "xchg %%r9, %%rsi\n\tidivb %%sil"),
};
const int kDivisionCount = sizeof kDivisions / sizeof *kDivisions;

#endif

TEST_UNCHECKED void ReadPastFileEnd(int) {
  std::FILE* const file = std::tmpfile();
  void* const mapped = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fileno(file), 0);
  std::fclose(file);
  kept = *static_cast<volatile int*>(mapped);
}

TEST_UNCHECKED void ReadUnaligned(int) {
#ifdef __x86_64__
  asm volatile(
      "pushfq\n\t"
      "orl $0x40000, (%%rsp)\n\t"
      "popfq\n\t"
      "movl 1(%0), %%eax"
      :
      : "r"(data_words)
      : "eax", "cc", "memory");
#else
  ReadPastFileEnd(0);
#endif
}

__attribute__((noinline, no_sanitize("address", "thread", "undefined"))) void OverflowStack(
    int number) {
  volatile char room[512];
  room[number & 511] = 1;
  if (zero == 0) OverflowStack(number + 1);
  kept = room[number & 255];
}

TEST_UNCHECKED void TouchBelow(int number) {
  volatile char room[256];
  room[0] = 1;
  kept = room[number & 0] + number;
}

__attribute__((noinline)) void CallFromDepth(int depth, void (*function)(void*), void* context) {
  if (depth > 0) {
    CallFromDepth(depth - 1, function, context);
  } else {
    function(context);
  }
  kept = depth;
}

}  // namespace test
