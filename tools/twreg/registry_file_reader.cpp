#include "tools/twreg/registry_file_reader.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <utility>

#include "tesselkit/platform/code_page.h"
#include "tools/twreg/failure.h"

namespace twreg {

namespace {

constexpr std::string_view kHead = "REGEDIT4";
constexpr std::string_view kLaterHead = "Windows Registry Editor";
constexpr std::string_view kByteOrderMarks[] = {"\xFF\xFE", "\xFE\xFF", "\xEF\xBB\xBF"};
constexpr std::string_view kBlanks = " \t";
constexpr std::size_t kDigitsOfNumber = 8;
constexpr std::size_t kDigitsOfByte = 2;

[[noreturn]] void Fail(int line, const std::string& what) {
  throw Failure("line " + std::to_string(line) + ": " + what);
}

bool IsHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

std::string_view WithoutLineEnd(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line.substr(0, line.find_last_not_of(kBlanks) + 1);
}

// The text and the place in it. It holds no NUL, which here stands for its end.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : m_text(text) {}

  int Line() const { return m_line; }
  bool IsAtEnd() const { return m_at == m_text.size(); }
  char Peek() const { return IsAtEnd() ? '\0' : m_text[m_at]; }

  bool IsAtLineEnd() const {
    const std::string_view rest = m_text.substr(m_at);
    return rest.empty() || rest[0] == '\n' || rest == "\r" || rest.starts_with("\r\n");
  }

  // Takes one character.
  std::string_view Take() {
    const char* const c = m_text.data() + m_at;
    const std::size_t length =
        tesselkit::platform::CharacterLength(c, m_text.data() + m_text.size());
    m_at += length;
    if (*c == '\n') ++m_line;
    return {c, length};
  }

  bool TakeIf(char wanted) {
    if (Peek() != wanted || IsAtEnd()) return false;
    Take();
    return true;
  }

  template <class Predicate>
  std::string_view TakeWhile(Predicate predicate, std::size_t most = std::string_view::npos) {
    const std::size_t begin = m_at;
    while (!IsAtEnd() && m_at - begin < most && predicate(Peek())) Take();
    return m_text.substr(begin, m_at - begin);
  }

  void SkipBlanks() {
    TakeWhile([](char c) { return kBlanks.find(c) != std::string_view::npos; });
  }

  // What is left of the line, without its end and the blanks before it.
  std::string_view RestOfLine() const {
    return WithoutLineEnd(m_text.substr(m_at, m_text.find('\n', m_at) - m_at));
  }

  void SkipLine() {
    const std::size_t end = m_text.find('\n', m_at);
    m_at = end == std::string_view::npos ? m_text.size() : end + 1;
    if (end != std::string_view::npos) ++m_line;
  }

 private:
  std::string_view m_text;
  std::size_t m_at = 0;
  int m_line = 1;
};

class Reader {
 public:
  explicit Reader(std::string_view text) : m_cursor(text) {}

  RegistryFile Read() {
    ReadHead();
    while (!m_cursor.IsAtEnd()) ReadEntry();
    return std::move(m_file);
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const { twreg::Fail(m_cursor.Line(), what); }

  void ReadHead() {
    const std::string_view head = m_cursor.RestOfLine();
    if (head.starts_with(kLaterHead)) {
      Fail("This is a file of a later version; export it as \"REGEDIT4\"");
    }
    if (head != kHead) Fail("The file does not begin with \"REGEDIT4\"");
    m_cursor.SkipLine();
  }

  void ReadEntry() {
    m_cursor.SkipBlanks();
    const char first = m_cursor.Peek();
    if (m_cursor.IsAtLineEnd() || first == ';') {
      m_cursor.SkipLine();
    } else if (first == '[') {
      ReadKey();
    } else if (first == '"' || first == '@') {
      ReadValue();
    } else {
      Fail("Neither a key, a value nor a comment");
    }
  }

  // A name may hold brackets: the last one of the line ends it.
  void ReadKey() {
    std::string_view name = m_cursor.RestOfLine();
    if (tesselkit::platform::FindLastCharacter(name, ']') != name.size() - 1) {
      Fail("The key has no closing \"]\"");
    }
    if (name.find('\r') != std::string_view::npos) Fail("A line break stands in a name");
    name = name.substr(1, name.size() - 2);
    const bool is_deleted = name.starts_with('-');
    if (is_deleted) name.remove_prefix(1);
    m_file.push_back({PathOf(name), is_deleted, {}});
    if (is_deleted && m_file.back().path.below.empty()) Fail("A predefined key cannot be deleted");
    m_cursor.SkipLine();
  }

  KeyPath PathOf(std::string_view name) const {
    std::optional<KeyPath> path = ParseKeyPath(name);
    if (!path) Fail("The key begins with no predefined key: \"" + std::string(name) + "\"");
    if (!IsWithinLimits(*path)) Fail("The key's name is too long or has too many levels");
    return *std::move(path);
  }

  void ReadValue() {
    if (m_file.empty()) Fail("A value stands before the first key");
    if (m_file.back().is_deleted) Fail("A value stands below a key that is deleted");
    FileValue entry;
    entry.value.name = ReadName();
    m_cursor.SkipBlanks();
    if (!m_cursor.TakeIf('=')) Fail("The value's name has no \"=\" behind it");
    m_cursor.SkipBlanks();
    ReadData(entry);
    m_file.back().values.push_back(std::move(entry));
    m_cursor.SkipBlanks();
    if (!m_cursor.IsAtLineEnd() && m_cursor.Peek() != ';') {
      Fail("Something stands behind the value");
    }
    m_cursor.SkipLine();
  }

  std::string ReadName() {
    if (m_cursor.TakeIf('@')) return {};
    const int line = m_cursor.Line();
    std::string name = ReadQuoted();
    if (name.find_first_of("\r\n") != std::string::npos) {
      twreg::Fail(line, "A line break stands in a name");
    }
    if (name.size() > kLongestValueName) Fail("The value's name is too long");
    return name;
  }

  std::string ReadQuoted() {
    const int line = m_cursor.Line();
    m_cursor.Take();
    std::string text;
    while (!m_cursor.TakeIf('"')) {
      if (m_cursor.IsAtEnd()) twreg::Fail(line, "The text has no closing quote");
      text += m_cursor.TakeIf('\\') ? ReadEscaped() : m_cursor.Take();
    }
    return text;
  }

  std::string_view ReadEscaped() {
    if (m_cursor.Peek() != '\\' && m_cursor.Peek() != '"') {
      Fail("A \"\\\" in a text has neither \"\\\" nor a quote behind it");
    }
    return m_cursor.Take();
  }

  void ReadData(FileValue& entry) {
    if (m_cursor.TakeIf('-')) {
      entry.is_deleted = true;
    } else if (m_cursor.Peek() == '"') {
      entry.value.type = REG_SZ;
      entry.value.data = ReadQuoted() + '\0';
    } else {
      ReadTyped(entry.value);
    }
  }

  void ReadTyped(Value& value) {
    const std::string_view word = m_cursor.TakeWhile([](char c) { return c >= 'a' && c <= 'z'; });
    if (word != "dword" && word != "hex") {
      Fail("The data are neither a text in quotes, \"dword:\", \"hex:\" nor \"-\"");
    }
    value.type = word == "dword" ? REG_DWORD : REG_BINARY;
    if (word == "hex" && m_cursor.TakeIf('(')) {
      value.type = ReadNumber();
      if (!m_cursor.TakeIf(')')) Fail("The type's number has no closing \")\"");
    }
    if (!m_cursor.TakeIf(':')) Fail("The type has no \":\" behind it");
    value.data = word == "dword" ? ReadDword() : ReadBytes();
  }

  DWORD ReadNumber(std::size_t most_digits = kDigitsOfNumber) {
    const std::string_view digits = m_cursor.TakeWhile(IsHexDigit, most_digits);
    if (digits.empty()) Fail("A number in hex digits is missing");
    DWORD number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    return number;
  }

  std::string ReadDword() {
    m_cursor.SkipBlanks();
    return DataOfNumber(REG_DWORD, ReadNumber());
  }

  std::string ReadBytes() {
    std::string data;
    SkipBlanksAndBreaks();
    if (m_cursor.IsAtLineEnd() || m_cursor.Peek() == ';') return data;
    for (;;) {
      data += static_cast<char>(ReadNumber(kDigitsOfByte));
      SkipBlanksAndBreaks();
      if (!m_cursor.TakeIf(',')) return data;
      SkipBlanksAndBreaks();
    }
  }

  // A backslash at its end makes a line go on with the next one.
  void SkipBlanksAndBreaks() {
    m_cursor.SkipBlanks();
    while (m_cursor.TakeIf('\\')) {
      m_cursor.SkipBlanks();
      if (!m_cursor.IsAtLineEnd()) Fail("Something stands behind the \"\\\" of a line");
      m_cursor.SkipLine();
      m_cursor.SkipBlanks();
    }
  }

  Cursor m_cursor;
  RegistryFile m_file;
};

}  // namespace

RegistryFile ReadRegistryFile(std::string_view text) {
  const auto is_beginning = [&](std::string_view mark) { return text.starts_with(mark); };
  if (std::ranges::any_of(kByteOrderMarks, is_beginning)) {
    Fail(1, "The file begins with a byte order mark; export it as \"REGEDIT4\"");
  }
  const std::size_t nul = text.find('\0');
  if (nul != std::string_view::npos) {
    const auto line = 1 + std::ranges::count(text.substr(0, nul), '\n');
    Fail(static_cast<int>(line), "A NUL byte stands in the file");
  }
  return Reader(text).Read();
}

}  // namespace twreg
