// export and import.
#include <cerrno>
#include <cstdio>
#include <memory>

#include "tesselkit/platform/mbstring.h"
#include "tools/twreg/commands.h"
#include "tools/twreg/failure.h"
#include "tools/twreg/page_conversion.h"
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

RegistryFile ReadNamed(const std::string& name, int page) {
  const std::string text = ReadInput(name);
  const PageScope scope(page);
  try {
    return ReadRegistryFile(text);
  } catch (const Failure& failure) {
    throw Failure((IsStandardStream(name) ? "standard input" : name) + ", " + failure.what());
  }
}

std::string WrittenIn(int page, const RegistryFile& file) {
  const PageScope scope(page);
  return WriteRegistryFile(file);
}

int FilePageOf(const Arguments& arguments) {
  return arguments.FilePage().value_or(_getmbcp());
}

RegistryFile InPage(RegistryFile file, int from, int to) {
  return from == to ? file : Converted(std::move(file), from, to);
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
  const int page = FilePageOf(arguments);
  const std::string text = WrittenIn(page, InPage(file, _getmbcp(), page));
  PutCounts(file, output.Document());
  if (IsStandardStream(name)) {
    output.Text(text);
  } else {
    WriteFile(name, text);
  }
  return kDone;
}

int Import(const Arguments& arguments, Output& output) {
  const int page = FilePageOf(arguments);
  const RegistryFile file = InPage(ReadNamed(arguments.Operand(0), page), page, _getmbcp());
  Apply(file);
  PutCounts(file, output.Document());
  return kDone;
}

}  // namespace twreg
