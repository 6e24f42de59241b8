// Writes the text format that registry_file_reader.h describes.
#pragma once

#include <string>

#include "tools/twreg/registry_file.h"

namespace twreg {

// The file's text: lines end with CR LF, and those with bytes are broken at 80 columns. What is
// read from it is equal to `file`. A text that a quoted one cannot hold (a line break, a NUL
// inside, none at the end) is written as bytes. Throws Failure for a name that the format cannot
// hold: one with a line break, or with half a character before a quote or at its end.
std::string WriteRegistryFile(const RegistryFile& file);

}  // namespace twreg
