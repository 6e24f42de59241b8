// The place of a virtual function in its class's table, which callers built against an earlier
// version of a header rely on.
#pragma once

#include <cstdint>
#include <cstring>

namespace test {

// Counted from 0; a destructor takes two places. `Member` points to a virtual member function.
template <class Member>
std::size_t SlotOf(Member member) {
  // The platform's C++ ABI stores the offset in the table, on some processors with its lowest bit
  // set as a mark.
  std::uintptr_t words[2];
  static_assert(sizeof member == sizeof words);
  std::memcpy(words, &member, sizeof words);
  return (words[0] & ~std::uintptr_t{1}) / sizeof(void*);
}

}  // namespace test
