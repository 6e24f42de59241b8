// export and import.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
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

bool IsTaken(std::FILE* file, const std::string& text) {
  return file != nullptr && std::fwrite(text.data(), 1, text.size(), file) == text.size();
}

bool IsWritten(File file, const std::string& text) {
  return IsTaken(file.get(), text) && std::fclose(file.release()) == 0;
}

// A file of that name, old or new; no link, device or pipe, to which text can only be written.
bool IsReplaceable(const std::string& name) {
  struct stat state {};
  return lstat(name.c_str(), &state) != 0 ? errno == ENOENT : S_ISREG(state.st_mode);
}

bool IsWriteProtected(const std::string& name) {
  return access(name.c_str(), W_OK) != 0 && errno != ENOENT;
}

// A new file is its owner's alone, as mkstemp makes it; an old one keeps its mode.
bool IsStored(int descriptor, const std::string& name, const std::string& text) {
  struct stat old {};
  if (stat(name.c_str(), &old) == 0) fchmod(descriptor, old.st_mode & 0777);
  File file(fdopen(descriptor, "wb"), &std::fclose);
  return IsTaken(file.get(), text) && std::fflush(file.get()) == 0 && fsync(descriptor) == 0 &&
         std::fclose(file.release()) == 0;
}

// The file keeps what it holds until the new text is whole.
bool IsReplaced(const std::string& name, const std::string& text) {
  if (IsWriteProtected(name)) return false;
  std::string temporary = name + ".XXXXXX";
  const int file = mkstemp(temporary.data());
  if (file < 0) return false;
  if (IsStored(file, name, text) && std::rename(temporary.c_str(), name.c_str()) == 0) return true;
  const int error = errno;
  unlink(temporary.c_str());
  errno = error;
  return false;
}

// Whether a file that is there can still be written to, though nothing beside it.
bool IsWrittenInPlace(const std::string& name, const std::string& text) {
  const bool may_be = errno == EACCES || errno == EPERM || errno == ENAMETOOLONG;
  if (!may_be || access(name.c_str(), W_OK) != 0) return false;
  return IsWritten(Opened(name, "wb"), text);
}

void WriteFile(const std::string& name, const std::string& text) {
  const bool is_done = IsReplaceable(name) ? IsReplaced(name, text) || IsWrittenInPlace(name, text)
                                           : IsWritten(Opened(name, "wb"), text);
  if (!is_done) ThrowFileFailure(name);
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
  return from == to ? std::move(file) : Converted(std::move(file), from, to);
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
  const int page = FilePageOf(arguments);
  const RegistryFile file = InPage(ReadTree(KeyOperand(arguments)), _getmbcp(), page);
  const std::string text = WrittenIn(page, file);
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
