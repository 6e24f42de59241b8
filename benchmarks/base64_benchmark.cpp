// The Base64 codec beside OpenSSL's block and streaming functions and Abseil's, in both directions,
// in one line and with line feeds. OpenSSL's functions write into a buffer that is there already,
// except as openssl_text; the others make their results. Bytes per second are those of the decoded
// side.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tesselkit/encoding/admimeutil.h"
#include "tesselkit/encoding/base64_kernels.h"
#ifdef TESSELKIT_PEER_ABSL
#include <absl/strings/escaping.h>
#endif
#ifdef TESSELKIT_PEER_OPENSSL
#include <openssl/evp.h>
#endif

namespace {

using tesselkit::encoding::Base64Kernel;

constexpr long kOneLine = 2000000000;
constexpr long kLine = 64;

std::string Bytes(std::size_t size) {
  std::string bytes(size, '\0');
  std::uint32_t state = 1;
  for (char& byte : bytes) byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
  return bytes;
}

// The kernel is the process's while a benchmark runs.
class WithKernel {
 public:
  explicit WithKernel(const Base64Kernel& kernel) {
    tesselkit::encoding::SetBase64Kernel(kernel);
    m_codec.Initialize();
  }
  ~WithKernel() {
    m_codec.Finalize();
    tesselkit::encoding::SetBase64Kernel(*tesselkit::encoding::UsableBase64Kernels().front());
  }
  WithKernel(const WithKernel&) = delete;
  WithKernel& operator=(const WithKernel&) = delete;

  AdMimeUtil& Codec() { return m_codec; }

 private:
  AdMimeUtil m_codec;
};

void SetBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void Encode(benchmark::State& state, const Base64Kernel* kernel, long line_length) {
  WithKernel with(*kernel);
  std::string bytes = Bytes(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(with.Codec().EncodeBase64(bytes.data(), state.range(0), line_length));
  }
  SetBytes(state);
}

void Decode(benchmark::State& state, const Base64Kernel* kernel, long line_length) {
  WithKernel with(*kernel);
  std::string bytes = Bytes(static_cast<std::size_t>(state.range(0)));
  CString text = with.Codec().EncodeBase64(bytes.data(), state.range(0), line_length);
  for (auto _ : state) {
    benchmark::DoNotOptimize(with.Codec().DecodeBase64(text));
    with.Codec().GetDecodedResults(bytes.data());
    benchmark::ClobberMemory();
  }
  SetBytes(state);
}

#ifdef TESSELKIT_PEER_OPENSSL
unsigned char* Unsigned(std::string& text) {
  return reinterpret_cast<unsigned char*>(text.data());
}

void EncodeOpenSsl(benchmark::State& state) {
  std::string bytes = Bytes(static_cast<std::size_t>(state.range(0)));
  std::string text(bytes.size() * 2, '\0');
  for (auto _ : state) {
    EVP_EncodeBlock(Unsigned(text), Unsigned(bytes), static_cast<int>(bytes.size()));
    benchmark::ClobberMemory();
  }
  SetBytes(state);
}

// With a text of its own, as ours has.
void EncodeOpenSslText(benchmark::State& state) {
  std::string bytes = Bytes(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    std::string text((bytes.size() + 2) / 3 * 4, '\0');
    EVP_EncodeBlock(Unsigned(text), Unsigned(bytes), static_cast<int>(bytes.size()));
    benchmark::DoNotOptimize(text);
  }
  SetBytes(state);
}

std::string OpenSslLines(std::string bytes) {
  std::string text(bytes.size() * 2 + 80, '\0');
  EVP_ENCODE_CTX* context = EVP_ENCODE_CTX_new();
  int first = 0, last = 0;
  EVP_EncodeInit(context);
  EVP_EncodeUpdate(context, Unsigned(text), &first, Unsigned(bytes),
                   static_cast<int>(bytes.size()));
  EVP_EncodeFinal(context, Unsigned(text) + first, &last);
  EVP_ENCODE_CTX_free(context);
  text.resize(static_cast<std::size_t>(first + last));
  return text;
}

void EncodeLinesOpenSsl(benchmark::State& state) {
  std::string bytes = Bytes(static_cast<std::size_t>(state.range(0)));
  std::string text(bytes.size() * 2 + 80, '\0');
  EVP_ENCODE_CTX* context = EVP_ENCODE_CTX_new();
  for (auto _ : state) {
    int first = 0, last = 0;
    EVP_EncodeInit(context);
    EVP_EncodeUpdate(context, Unsigned(text), &first, Unsigned(bytes),
                     static_cast<int>(bytes.size()));
    EVP_EncodeFinal(context, Unsigned(text) + first, &last);
    benchmark::ClobberMemory();
  }
  EVP_ENCODE_CTX_free(context);
  SetBytes(state);
}

void DecodeOpenSsl(benchmark::State& state) {
  std::string bytes = Bytes(static_cast<std::size_t>(state.range(0)));
  std::string text(bytes.size() * 2, '\0');
  text.resize(static_cast<std::size_t>(
      EVP_EncodeBlock(Unsigned(text), Unsigned(bytes), static_cast<int>(bytes.size()))));
  bytes.resize(bytes.size() + 3);
  for (auto _ : state) {
    EVP_DecodeBlock(Unsigned(bytes), Unsigned(text), static_cast<int>(text.size()));
    benchmark::ClobberMemory();
  }
  SetBytes(state);
}

void DecodeLinesOpenSsl(benchmark::State& state) {
  std::string bytes = Bytes(static_cast<std::size_t>(state.range(0)));
  std::string text = OpenSslLines(bytes);
  EVP_ENCODE_CTX* context = EVP_ENCODE_CTX_new();
  for (auto _ : state) {
    int first = 0, last = 0;
    EVP_DecodeInit(context);
    EVP_DecodeUpdate(context, Unsigned(bytes), &first, Unsigned(text),
                     static_cast<int>(text.size()));
    EVP_DecodeFinal(context, Unsigned(bytes) + first, &last);
    benchmark::ClobberMemory();
  }
  EVP_ENCODE_CTX_free(context);
  SetBytes(state);
}
#endif

#ifdef TESSELKIT_PEER_ABSL
void EncodeAbsl(benchmark::State& state) {
  const std::string bytes = Bytes(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(absl::Base64Escape(bytes));
  SetBytes(state);
}

void DecodeAbsl(benchmark::State& state, bool in_lines) {
  const std::string bytes = Bytes(static_cast<std::size_t>(state.range(0)));
  std::string text;
  for (std::size_t at = 0; in_lines && at < bytes.size(); at += 48) {
    text += absl::Base64Escape(bytes.substr(at, 48)) + "\n";
  }
  if (!in_lines) text = absl::Base64Escape(bytes);
  for (auto _ : state) {
    std::string decoded;
    absl::Base64Unescape(text, &decoded);
    benchmark::DoNotOptimize(decoded);
  }
  SetBytes(state);
}
#endif

template <class Body>
void Register(const std::string& name, Body body) {
  benchmark::RegisterBenchmark(name.c_str(), body)->Arg(24)->Arg(1536)->Arg(49152)->Arg(1 << 20);
}

const bool kRegistered = [] {
  for (const Base64Kernel* kernel : tesselkit::encoding::UsableBase64Kernels()) {
    const std::string name = std::string("/") + kernel->name;
    Register("encode" + name, [=](auto& state) { Encode(state, kernel, kOneLine); });
    Register("encode_lines" + name, [=](auto& state) { Encode(state, kernel, kLine); });
    Register("encode_lines_76" + name, [=](auto& state) { Encode(state, kernel, 76); });
    Register("decode" + name, [=](auto& state) { Decode(state, kernel, kOneLine); });
    Register("decode_lines" + name, [=](auto& state) { Decode(state, kernel, kLine); });
    Register("decode_lines_76" + name, [=](auto& state) { Decode(state, kernel, 76); });
  }
#ifdef TESSELKIT_PEER_OPENSSL
  Register("encode/openssl", EncodeOpenSsl);
  Register("encode/openssl_text", EncodeOpenSslText);
  Register("encode_lines/openssl", EncodeLinesOpenSsl);
  Register("decode/openssl", DecodeOpenSsl);
  Register("decode_lines/openssl", DecodeLinesOpenSsl);
#endif
#ifdef TESSELKIT_PEER_ABSL
  Register("encode/absl", EncodeAbsl);
  Register("decode/absl", [](auto& state) { DecodeAbsl(state, false); });
  Register("decode_lines/absl", [](auto& state) { DecodeAbsl(state, true); });
#endif
  return true;
}();

}  // namespace
