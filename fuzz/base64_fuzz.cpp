// The Base64 codec against its model, with every kernel: the input is decoded as a text, encoded as
// bytes with the line length that its first byte gives, and read back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "tesselkit/encoding/admimeutil.h"
#include "tesselkit/encoding/base64_kernels.h"
#include "tesselkit/failure/message_exception.h"
#include "tesselkit/platform/debug_output.h"
#include "tests/support/base64_model.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

std::optional<std::string> Decode(AdMimeUtil& codec, const std::string& text) {
  CString copy{std::string_view(text)};
  try {
    std::string bytes(static_cast<std::size_t>(codec.DecodeBase64(copy)), '\0');
    codec.GetDecodedResults(bytes.data());
    return bytes;
  } catch (PaMsgException* exception) {
    exception->Delete();
    return std::nullopt;
  }
}

void Run(const std::string& input) {
  AdMimeUtil codec;
  codec.Initialize();
  const test::ModelDecoded expected = test::ModelDecode(input);
  const std::optional<std::string> decoded = Decode(codec, input);
  Require(decoded.has_value() == expected.is_valid);
  Require(!decoded || *decoded == expected.bytes);
  const long line_length = input.empty() ? 0 : input[0];
  std::string bytes = input;
  const CString text =
      codec.EncodeBase64(bytes.data(), static_cast<long>(bytes.size()), line_length);
  Require(text.View() == test::ModelEncoded(input, line_length));
  const std::optional<std::string> back = Decode(codec, std::string(text.View()));
  Require(back && back->substr(0, input.size()) == input);
  codec.Finalize();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool quiet = [] {
    tesselkit::platform::SetDebugOutputSink([](const char*) {});
    return true;
  }();
  const std::string input(reinterpret_cast<const char*>(data), quiet ? size : 0);
  for (const auto* kernel : tesselkit::encoding::UsableBase64Kernels()) {
    tesselkit::encoding::SetBase64Kernel(*kernel);
    Run(input);
  }
  return 0;
}
