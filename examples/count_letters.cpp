// Text goes by the characters of the code page: a letter may be several bytes, and none is ever cut
// in two.
#include <tesselkit/tesselkit.h>

#include <cstdio>

int main() {
  _setmbcp(65001);
  const char* street = "Grüner Weg";
  std::printf("%ld letters, %ld bytes\n", AdNumberOfLetters(street), AdNumberOfTCHARS(street));

  char cut[4];
  AdSafeStrcpy(street, cut, sizeof(cut));  // room for three bytes: "Gr", and not half of the next
  std::printf("%s\n", cut);
  std::printf("%s\n", static_cast<const char*>(AdSqlStr("O'Brien")));
}
