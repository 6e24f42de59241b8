// Strict parsing with the refusal as a text: nothing is thrown for bad input.
#include <tesselkit/tesselkit.h>

#include <cstdio>

int main() {
  long value;
  CString problem;
  for (const char* text : {"42", "-2147483648", "2147483648", "1e3", ""}) {
    AdStrToLong(text, value, problem);
    if (AdIsEmpty(problem)) {
      std::printf("%s is %ld\n", text, value);
    } else {
      std::printf("%s\n", static_cast<const char*>(problem));
    }
  }
}
