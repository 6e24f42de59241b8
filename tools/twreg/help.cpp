#include "tools/twreg/arguments.h"

namespace twreg {

std::string_view HelpText() {
  return R"(Usage: twreg COMMAND [OPTION]... [OPERAND]...
Shows and changes what the product keeps in its registry.

  list KEY                     the values and the subkeys of a key
      -r, --recursive          and of every key below it
  get KEY [NAME]               the data of a value, as "set" takes them
  set KEY NAME [VALUE]...      sets a value; the key is made when it is missing
      -t, --type TYPE          sz (default), expand_sz, dword (decimal or 0x...),
                               binary (hex digits), multi_sz (several VALUEs),
                               none, dword_big_endian, link, or a number
  delete KEY [NAME]            deletes a value, or a key without subkeys
      --tree                   deletes a key and everything below it
  export KEY [FILE]            writes a key and everything below it to a
                               registry file ("REGEDIT4")
  import [FILE]                does what a registry file says
      --file-page NUMBER       (both) the file's code page; texts are converted
  login show ENTRY             shows a saved login
      --password               and its password
  login save ENTRY             saves a login; the password is read from standard
                               input, one line
      --user USER, --database DATABASE, --set SET
                               the login's fields; one that is not given is empty
  check                        examines the files of the registry

A KEY is HKCU\Software\... or HKEY_CURRENT_USER\Software\...; likewise HKLM, HKCR,
HKU, HKCC, HKPD and HKDD. The NAME "@", or none, is that of the unnamed value. The
FILE "-", or none, is standard input or output.

      --json                   answers in one JSON document (UTF-8)
      --color WHEN             auto (default: on a terminal), always or never
      --code-page NUMBER       the code page of the texts; by default that of the
                               environment's locale
      --                       everything behind it is an operand
  -h, --help                   prints this
  -V, --version                prints the version

Exit code: 0 when it is done; 1 when the answer is no, or something failed; 2 when
the command line is wrong.
)";
}

}  // namespace twreg
