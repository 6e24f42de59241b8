// list, get, set and delete.
#include "tools/twreg/commands.h"
#include "tools/twreg/failure.h"
#include "tools/twreg/store.h"

namespace twreg {

namespace {

// The operand NAME at `index`: "@" stands for the unnamed value.
std::string NameOperand(const Arguments& arguments, std::size_t index) {
  const std::string name = arguments.Operand(index);
  return name == "@" ? std::string() : name;
}

DWORD TypeOption(const Arguments& arguments) {
  if (!arguments.Has("--type")) return REG_SZ;
  const std::optional<DWORD> type = ParseType(arguments.Option("--type"));
  if (!type) throw UsageError("There is no type \"" + arguments.Option("--type") + "\"");
  return *type;
}

void PutKey(const Key& key, Json& json) {
  json.BeginObject().Name("key").Text(key.Path().Name());
  json.Name("subkeys").Texts(key.Subkeys());
  json.Name("values").BeginArray();
  for (const Value& value : key.Values()) PutValue(value, json);
  json.EndArray().EndObject();
}

void ShowSubkeys(const Key& key, Output& output) {
  for (const std::string& name : key.Subkeys()) output.Line(TableName(name) + "\\", Style::kKey);
}

void ListOne(const Key& key, Output& output) {
  if (output.IsJson()) return PutKey(key, output.Document());
  ShowSubkeys(key, output);
  output.Table(key.Values());
}

int ListTree(const Key& key, Output& output) {
  output.Document().BeginArray();
  bool is_first = true;
  const auto show = [&](const Key& visited) {
    if (output.IsJson()) return PutKey(visited, output.Document());
    if (!is_first) output.Line("");
    is_first = false;
    output.Line(PrintableText(visited.Path().Name()), Style::kKey);
    output.Table(visited.Values());
  };
  VisitTree(key, show, [&](const KeyPath& path) { output.Complain(UnreachableText(path)); });
  output.Document().EndArray();
  return output.Complaints().empty() ? kDone : kNo;
}

// The document of a value of a key.
void PutValueOf(const KeyPath& path, const Value& value, Json& json) {
  json.BeginObject().Name("key").Text(path.Name());
  PutValueMembers(value, json);
  json.EndObject();
}

}  // namespace

KeyPath KeyOperand(const Arguments& arguments) {
  std::optional<KeyPath> path = ParseKeyPath(arguments.Operand(0));
  if (path) return *std::move(path);
  throw UsageError("\"" + arguments.Operand(0) + "\" begins with no predefined key");
}

int List(const Arguments& arguments, Output& output) {
  const Key key(KeyOperand(arguments), KEY_READ);
  if (arguments.Has("--recursive")) return ListTree(key, output);
  ListOne(key, output);
  return kDone;
}

int Get(const Arguments& arguments, Output& output) {
  const Key key(KeyOperand(arguments), KEY_READ);
  const Value value = key.ValueOf(NameOperand(arguments, 1));
  PutValueOf(key.Path(), value, output.Document());
  output.Line(PlainText(value));
  return kDone;
}

int Set(const Arguments& arguments, Output& output) {
  const KeyPath path = KeyOperand(arguments);
  Value value{NameOperand(arguments, 1), TypeOption(arguments), {}};
  value.data = DataOfWords(value.type, {arguments.operands.begin() + 2, arguments.operands.end()});
  Key::Made(path).Set(value);
  PutValueOf(path, value, output.Document());
  return kDone;
}

int Delete(const Arguments& arguments, Output& output) {
  const KeyPath path = KeyOperand(arguments);
  const bool is_value = arguments.operands.size() > 1;
  const bool is_tree = arguments.Has("--tree");
  if (is_value && is_tree) throw UsageError("--tree deletes a key and takes no NAME");
  const std::string name = NameOperand(arguments, 1);
  if (!is_value) {
    DeleteKey(path, is_tree);
  } else if (!Key(path, KEY_SET_VALUE).DeleteValue(name)) {
    ThrowCallFailure(ERROR_FILE_NOT_FOUND, "RegDeleteValue", path.Name());
  }
  Json& json = output.Document().BeginObject();
  json.Name("key").Text(path.Name());
  if (is_value) json.Name("name").Text(name);
  json.EndObject();
  return kDone;
}

}  // namespace twreg
