#include "tools/twreg/arguments.h"

#include <algorithm>
#include <climits>
#include <string_view>

#include "tools/twreg/failure.h"
#include "tools/twreg/value_text.h"

namespace twreg {

namespace {

constexpr std::size_t kAny = SIZE_MAX;

struct CommandSyntax {
  std::string_view name;
  Command command;
  std::size_t least_operands;
  std::size_t most_operands;
  std::string_view options;  // besides the ones that all commands have; a blank around each
};

constexpr CommandSyntax kCommands[] = {
    {"list", Command::kList, 1, 1, " --recursive "},
    {"get", Command::kGet, 1, 2, ""},
    {"set", Command::kSet, 2, kAny, " --type "},
    {"delete", Command::kDelete, 1, 2, " --tree "},
    {"export", Command::kExport, 1, 2, " --file-page "},
    {"import", Command::kImport, 0, 1, " --file-page "},
    {"login show", Command::kLoginShow, 1, 1, " --password "},
    {"login save", Command::kLoginSave, 1, 1, " --user --database --set "},
    {"check", Command::kCheck, 0, 0, ""},
};

constexpr std::string_view kCommonOptions = " --json --color --code-page --help --version ";

struct OptionSyntax {
  std::string_view name;
  std::string_view short_name;
  bool has_value;
};

constexpr OptionSyntax kOptions[] = {
    {"--recursive", "-r", false}, {"--type", "-t", true},    {"--tree", "", false},
    {"--password", "", false},    {"--user", "", true},      {"--database", "", true},
    {"--set", "", true},          {"--json", "", false},     {"--color", "", true},
    {"--code-page", "", true},    {"--file-page", "", true}, {"--help", "-h", false},
    {"--version", "-V", false},
};

std::string Quote(std::string_view word) {
  return std::string("\"").append(word) + '"';
}

bool IsOptionOf(std::string_view options, std::string_view name) {
  return options.find(std::string(" ").append(name) + ' ') != std::string_view::npos;
}

const OptionSyntax& OptionNamed(std::string_view word) {
  const auto* found = std::ranges::find_if(kOptions, [&](const OptionSyntax& option) {
    return option.name == word || (!option.short_name.empty() && option.short_name == word);
  });
  if (found == std::end(kOptions)) throw UsageError("There is no option " + Quote(word));
  return *found;
}

// Tells operands from options.
class Words {
 public:
  explicit Words(const std::vector<std::string>& words) : m_words(words) {}

  void SortInto(Arguments& arguments) {
    while (m_at < m_words.size()) {
      const std::string& word = m_words[m_at++];
      if (word == "--" && !m_takes_all) {
        m_takes_all = true;
      } else if (m_takes_all || word == "-" || !word.starts_with('-')) {
        arguments.operands.push_back(word);
      } else {
        TakeOption(word, arguments);
      }
    }
  }

 private:
  void TakeOption(std::string_view word, Arguments& arguments) {
    const std::size_t sign = word.starts_with("--") ? word.find('=') : std::string_view::npos;
    const OptionSyntax& option = OptionNamed(word.substr(0, sign));
    std::string& value = arguments.options[std::string(option.name)];
    const bool is_given = sign != std::string_view::npos;
    if (is_given && !option.has_value) {
      throw UsageError("The option " + Quote(option.name) + " takes no value");
    }
    if (is_given) value = word.substr(sign + 1);
    if (!is_given && option.has_value) value = NextWord(option.name);
  }

  const std::string& NextWord(std::string_view option) {
    if (m_at == m_words.size()) throw UsageError("The option " + Quote(option) + " takes a value");
    return m_words[m_at++];
  }

  const std::vector<std::string>& m_words;
  std::size_t m_at = 0;
  bool m_takes_all = false;
};

// Takes the command's one or two words from the front of the operands.
const CommandSyntax& TakeCommand(std::vector<std::string>& operands) {
  if (operands.empty()) throw UsageError("A command is missing");
  const std::size_t words = operands[0] == "login" && operands.size() > 1 ? 2 : 1;
  const std::string name = words == 2 ? operands[0] + " " + operands[1] : operands[0];
  const auto* found = std::ranges::find(kCommands, name, &CommandSyntax::name);
  if (found == std::end(kCommands)) throw UsageError("There is no command " + Quote(name));
  operands.erase(operands.begin(), operands.begin() + static_cast<std::ptrdiff_t>(words));
  return *found;
}

void RequireSyntax(const CommandSyntax& syntax, const Arguments& arguments) {
  const std::string name(syntax.name);
  if (arguments.operands.size() < syntax.least_operands) {
    throw UsageError(Quote(name) + " needs more operands");
  }
  if (arguments.operands.size() > syntax.most_operands) {
    throw UsageError(Quote(name) + " takes no operand " +
                     Quote(arguments.operands[syntax.most_operands]));
  }
  for (const auto& [option, value] : arguments.options) {
    if (IsOptionOf(kCommonOptions, option) || IsOptionOf(syntax.options, option)) continue;
    throw UsageError(Quote(name) + " has no option " + Quote(option));
  }
}

}  // namespace

std::string Arguments::Option(const std::string& option) const {
  const auto found = options.find(option);
  return found != options.end() ? found->second : std::string();
}

std::string Arguments::Operand(std::size_t index) const {
  return index < operands.size() ? operands[index] : std::string();
}

ColorMode Arguments::Color() const {
  if (!Has("--color") || Option("--color") == "auto") return ColorMode::kAuto;
  if (Option("--color") == "always") return ColorMode::kAlways;
  if (Option("--color") == "never") return ColorMode::kNever;
  throw UsageError("--color takes \"auto\", \"always\" or \"never\"");
}

std::optional<int> Arguments::PageOption(const std::string& option) const {
  if (!Has(option)) return std::nullopt;
  const std::optional<DWORD> number = ParseNumber(Option(option));
  if (!number || *number > INT_MAX) throw UsageError(option + " takes a number");
  return static_cast<int>(*number);
}

Arguments ParseArguments(const std::vector<std::string>& words) {
  Arguments arguments;
  Words(words).SortInto(arguments);
  arguments.Color();
  arguments.CodePage();
  arguments.FilePage();
  if (arguments.Has("--help")) return arguments;
  if (arguments.Has("--version")) {
    arguments.command = Command::kVersion;
    return arguments;
  }
  const CommandSyntax& syntax = TakeCommand(arguments.operands);
  arguments.command = syntax.command;
  RequireSyntax(syntax, arguments);
  return arguments;
}

}  // namespace twreg
