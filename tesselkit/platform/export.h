// What marks a declaration as exported from the shared libraries. Everything else is hidden.
#pragma once

#if __cplusplus < 202002L
#error "Tesselkit's headers need C++20 (-std=c++20)"
#endif

#define TESSELKIT_API __attribute__((visibility("default")))

// Lets the compiler check the arguments of a printf-like function.
#define TESSELKIT_PRINTF(format_index, first_argument) \
  __attribute__((format(printf, format_index, first_argument)))
