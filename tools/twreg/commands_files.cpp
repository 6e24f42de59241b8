// export and import.
#include <cerrno>
#include <cstdio>
#include <memory>

#include "tools/twreg/commands.h"
#include "tools/twreg/failure.h"
#include "tools/twreg/registry_file_reader.h"
#include "tools/twreg/registry_file_writer.h"
#include "tools/twreg/store.h"

namespace twreg {

namespace {

using File = std::unique_ptr<std::FILE, decltype(&std::fclose)>;

[[noreturn]] void ThrowFileFailure(const std::string& name) {
  const int error = errno;
  CFileException failure(CFileException::ErrnoToException(error), error, name.c_str());
  throw Failure(TextOf(failure));
}

bool IsStandardStream(const std::string& name) {
  return name.empty() || name == "-";
}

File Opened(const std::string& name, const char* mode) {
  File file(std::fopen(name.c_str(), mode), &std::fclose);
  if (file == nullptr) ThrowFileFailure(name);
  return file;
}

std::string WholeOf(std::FILE* file, const std::string& name) {
  std::string text;
  char block[65536];
  while (const std::size_t size = std::fread(block, 1, sizeof block, file))
    text.append(block, size);
  if (std::ferror(file) != 0) ThrowFileFailure(name);
  return text;
}

void WriteFile(const std::string& name, const std::string& text) {
  File file = Opened(name, "wb");
  const bool is_written = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
  if (!is_written || std::fclose(file.release()) != 0) ThrowFileFailure(name);
}

std::string ReadInput(const std::string& name) {
  if (IsStandardStream(name)) return WholeOf(stdin, "standard input");
  return WholeOf(Opened(name, "rb").get(), name);
}

RegistryFile ReadNamed(const std::string& name) {
  const std::string text = ReadInput(name);
  try {
    return ReadRegistryFile(text);
  } catch (const Failure& failure) {
    throw Failure((IsStandardStream(name) ? "standard input" : name) + ", " + failure.what());
  }
}

// How much a file holds.
void PutCounts(const RegistryFile& file, Json& json) {
  std::size_t values = 0;
  for (const FileKey& key : file) values += key.values.size();
  json.BeginObject().Name("keys").Number(file.size());
  json.Name("values").Number(values).EndObject();
}

}  // namespace

int Export(const Arguments& arguments, Output& output) {
  const std::string name = arguments.Operand(1);
  if (output.IsJson() && IsStandardStream(name)) {
    throw UsageError("\"export\" with --json needs a FILE");
  }
  const RegistryFile file = ReadTree(KeyOperand(arguments));
  const std::string text = WriteRegistryFile(file);
  PutCounts(file, output.Document());
  if (IsStandardStream(name)) {
    output.Text(text);
  } else {
    WriteFile(name, text);
  }
  return kDone;
}

int Import(const Arguments& arguments, Output& output) {
  const RegistryFile file = ReadNamed(arguments.Operand(0));
  Apply(file);
  PutCounts(file, output.Document());
  return kDone;
}

}  // namespace twreg
