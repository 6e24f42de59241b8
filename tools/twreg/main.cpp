#include "tools/twreg/program.h"

int main(int count, char** words) {
  return twreg::Run({words + (count > 0 ? 1 : 0), words + count});
}
