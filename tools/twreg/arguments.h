// The command line of twreg.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace twreg {

enum class Command {
  kHelp,
  kVersion,
  kList,
  kGet,
  kSet,
  kDelete,
  kExport,
  kImport,
  kLoginShow,
  kLoginSave,
  kCheck,
};

enum class ColorMode { kAuto, kAlways, kNever };

struct Arguments {
  Command command = Command::kHelp;
  std::vector<std::string> operands;           // without the command
  std::map<std::string, std::string> options;  // by long name ("--json"); empty without a value

  bool Has(const std::string& option) const { return options.contains(option); }

  // The option's value; empty when it is not there.
  std::string Option(const std::string& option) const;

  // The operand at `index`; empty when there are fewer.
  std::string Operand(std::size_t index) const;

  ColorMode Color() const;

  // The number of the code page, or of the file's, that the option names; nothing without it.
  std::optional<int> CodePage() const { return PageOption("--code-page"); }
  std::optional<int> FilePage() const { return PageOption("--file-page"); }
  std::optional<int> PageOption(const std::string& option) const;
};

// Reads the words behind the program's name. Options may stand anywhere before a "--"; "-" is an
// operand. Throws UsageError for what is no command line: a command, an option or a value of one
// that is unknown, an option that the command does not have, too few or too many operands.
Arguments ParseArguments(const std::vector<std::string>& words);

// What --help prints.
std::string_view HelpText();

}  // namespace twreg
