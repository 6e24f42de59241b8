// Foreign bytes as a registry file, under a code page that the first byte chooses. What is read is
// written, and must be read again as the same; what is written may be refused for a name only.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "tests/support/code_page.h"
#include "tools/twreg/failure.h"
#include "tools/twreg/registry_file_reader.h"
#include "tools/twreg/registry_file_writer.h"

namespace {

std::optional<twreg::RegistryFile> Read(std::string_view text) {
  try {
    return twreg::ReadRegistryFile(text);
  } catch (const twreg::Failure&) {
    return std::nullopt;
  }
}

std::optional<std::string> Written(const twreg::RegistryFile& file) {
  try {
    return twreg::WriteRegistryFile(file);
  } catch (const twreg::Failure& failure) {
    if (!std::string_view(failure.what()).starts_with("A registry file cannot hold the name")) {
      std::abort();
    }
    return std::nullopt;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const test::CodePage page(test::kCodePages[data[0] % std::size(test::kCodePages)]);
  const auto file = Read({reinterpret_cast<const char*>(data) + 1, size - 1});
  if (!file) return 0;
  const auto written = Written(*file);
  if (written && Read(*written) != file) std::abort();
  return 0;
}
