// Functions that fault, compiled as code that may, and kept from the compiler's eyes: what it can
// see through it may assume not to fault.
#pragma once

namespace test {

// Each of these may be called with any number, which is not used by most.
using Faulting = void (*)(int number);

void DivideByZero(int number);
void WriteToNull(int number);
void ReadFromNull(int number);
void JumpToNull(int number);
void JumpToData(int number);
void ReadOffTheMap(int number);      // where no address can be
void ExecutePrivileged(int number);  // on x86-64 only; elsewhere as ExecuteIllegal
void ExecuteIllegal(int number);
void ExecuteBreakpoint(int number);
void ReadPastFileEnd(int number);
void ReadUnaligned(int number);  // on x86-64 with its check for that; elsewhere as on a bus error
void OverflowStack(int number);

// Uses 256 bytes of the stack, which may fault.
void TouchBelow(int number);

void Divide(double a, double b);

#ifdef __x86_64__
// Each divides the smallest number of its size by `divisor`, which its instruction finds in a form
// of its own.
extern const Faulting kDivisions[];
extern const int kDivisionCount;
#endif

// The line in this file's source where DivideByZero divides.
extern const int kDivisionLine;

// Calls `function` from so many frames below.
void CallFromDepth(int depth, void (*function)(void* context), void* context);

}  // namespace test
