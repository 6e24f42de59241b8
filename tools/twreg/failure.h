// Why a command of twreg ends without having done what it was asked.
#pragma once

#include <stdexcept>
#include <string>

#include "tesselkit/platform/exceptions.h"
#include "tesselkit/platform/types.h"

namespace twreg {

// The work failed, or the answer is no: exit code 1. The text is one line for standard error.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The command line is none: exit code 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws the library's message for the registry function `function` that answered `status` for the
// key `key` (its whole path), unless the status is ERROR_SUCCESS.
void RequireSuccess(LONG status, const char* function, const std::string& key);

// The same always.
[[noreturn]] void ThrowCallFailure(LONG status, const char* function, const std::string& key);

// The system's text for a status, without its line end; "status <n>" when it has none.
std::string SystemText(LONG status);

// The exception's text.
std::string TextOf(CException& exception);

}  // namespace twreg
