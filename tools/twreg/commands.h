// The commands of twreg. Each puts its answer into the output and returns the exit code; what fails
// throws Failure, or UsageError when the operands turn out to be none.
#pragma once

#include "tools/twreg/arguments.h"
#include "tools/twreg/key_path.h"
#include "tools/twreg/output.h"

namespace twreg {

constexpr int kDone = 0;
constexpr int kNo = 1;
constexpr int kUsage = 2;

int List(const Arguments& arguments, Output& output);
int Get(const Arguments& arguments, Output& output);
int Set(const Arguments& arguments, Output& output);
int Delete(const Arguments& arguments, Output& output);
int Export(const Arguments& arguments, Output& output);
int Import(const Arguments& arguments, Output& output);
int LoginShow(const Arguments& arguments, Output& output);
int LoginSave(const Arguments& arguments, Output& output);
int Check(const Arguments& arguments, Output& output);

// The operand KEY. Throws UsageError when it begins with no predefined key.
KeyPath KeyOperand(const Arguments& arguments);

}  // namespace twreg
