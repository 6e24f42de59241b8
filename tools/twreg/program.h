// twreg from its words to its exit code.
#pragma once

#include <string>
#include <vector>

namespace twreg {

// Runs the command line behind the program's name, writes to the standard streams and returns the
// exit code. Throws nothing. The library's debugger output is dropped from now on.
int Run(const std::vector<std::string>& words) noexcept;

}  // namespace twreg
