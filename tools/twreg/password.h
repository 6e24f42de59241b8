// A password from standard input.
#pragma once

#include <string>

namespace twreg {

// The first line of standard input, without its end. On a terminal it is asked for and not shown;
// a signal that ends or stops the process finds the terminal as it was. Throws Failure when there
// is not a byte, reading fails, a NUL stands in the line, or a terminal would show it.
std::string ReadPassword();

}  // namespace twreg
