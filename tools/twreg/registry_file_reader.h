// Reads the text format of registry files that begin with "REGEDIT4".
//
//   REGEDIT4
//
//   [HKEY_CURRENT_USER\Software\Product]
//   @="the unnamed value"
//   "Path"="C:\\Data \"new\""
//   "Count"=dword:0000002a
//   "Bytes"=hex:01,02,03
//   "Any type"=hex(7):61,00,00
//   "Gone"=-
//   [-HKEY_CURRENT_USER\Software\Old]
//
// Lines end with CR LF or LF. Blanks around the parts of a line and lines without anything do not
// count; nor do comments, from a ";" behind a value or on a line of its own. Texts are characters
// of the code page; a trail byte is neither a backslash nor a quote. A quoted value may run over
// several lines, as old machines write them; a "\" at its end makes a line of bytes go on with the
// next one. The text's size bounds time and memory.
#pragma once

#include <string_view>

#include "tools/twreg/registry_file.h"

namespace twreg {

// Throws Failure, "line <n>: <what is wrong>", for a text that is not of this format, a name that
// the registry would not take, and a predefined key that is to be deleted.
RegistryFile ReadRegistryFile(std::string_view text);

}  // namespace twreg
