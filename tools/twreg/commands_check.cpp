// check.
#include "tesselkit/platform/hive.h"
#include "tools/twreg/commands.h"
#include "tools/twreg/failure.h"

namespace twreg {

namespace {

struct HiveOfRoot {
  const char* name;
  HKEY root;
};

const HiveOfRoot kHives[] = {{"user", HKEY_CURRENT_USER}, {"machine", HKEY_LOCAL_MACHINE}};

// What is wrong, one thing a text.
std::vector<std::string> ProblemsOf(HKEY root) {
  std::string report;
  const LONG status = tesselkit::platform::CheckHive(root, report);
  std::vector<std::string> problems;
  for (std::string_view rest = report; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    if (!line.empty()) problems.emplace_back(line);
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
  }
  if (status != ERROR_SUCCESS && problems.empty()) problems.push_back(SystemText(status));
  return problems;
}

void Show(const char* hive, const std::vector<std::string>& problems, Output& output) {
  output.Document().BeginObject().Name("hive").Text(hive);
  output.Document().Name("problems").Texts(problems).EndObject();
  if (problems.empty()) {
    output.Text(std::string(hive) + " hive: ");
    output.Line("in order", Style::kGood);
  }
  for (const std::string& problem : problems) {
    output.Text(std::string(hive) + " hive: ");
    output.Line(PrintableText(problem), Style::kBad);
  }
}

}  // namespace

int Check(const Arguments&, Output& output) {
  bool is_in_order = true;
  output.Document().BeginArray();
  for (const HiveOfRoot& hive : kHives) {
    const std::vector<std::string> problems = ProblemsOf(hive.root);
    Show(hive.name, problems, output);
    is_in_order = is_in_order && problems.empty();
  }
  output.Document().EndArray();
  return is_in_order ? kDone : kNo;
}

}  // namespace twreg
