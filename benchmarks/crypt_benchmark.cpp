// The digest beside its own formula as a plain loop and a common hash of bytes; the scrambling
// beside Abseil's hexadecimal coding, which makes texts of the same length.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "tesselkit/encoding/adcrypt.h"
#include "tesselkit/encoding/adcrypt_tables.h"
#ifdef TESSELKIT_PEER_ABSL
#include <absl/strings/escaping.h>
#endif

namespace {

std::string Text(const benchmark::State& state) {
  std::string text(static_cast<std::size_t>(state.range(0)), '\0');
  for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(i * 37 % 255 + 1);
  return text;
}

void SetBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void Digest(benchmark::State& state) {
  const std::string text = Text(state);
  for (auto _ : state) benchmark::DoNotOptimize(AdEncodeChars(text.data(), state.range(0)));
  SetBytes(state);
}

[[gnu::noinline]] std::uint32_t PlainFormula(const char* data, std::size_t length) {
  using tesselkit::encoding::kDigestWords;
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i < length; ++i) {
    sum += kDigestWords[(static_cast<unsigned char>(data[i]) + i) % 2048];
  }
  return sum + kDigestWords[length % 2048];
}

void DigestPlain(benchmark::State& state) {
  const std::string text = Text(state);
  for (auto _ : state) benchmark::DoNotOptimize(PlainFormula(text.data(), text.size()));
  SetBytes(state);
}

[[gnu::noinline]] std::uint32_t Fnv(const char* data, std::size_t length) {
  std::uint32_t hash = 2166136261u;
  for (std::size_t i = 0; i < length; ++i) {
    hash = (hash ^ static_cast<unsigned char>(data[i])) * 16777619u;
  }
  return hash;
}

void DigestFnv(benchmark::State& state) {
  const std::string text = Text(state);
  for (auto _ : state) benchmark::DoNotOptimize(Fnv(text.data(), text.size()));
  SetBytes(state);
}

void Scramble(benchmark::State& state) {
  const std::string text = Text(state);
  for (auto _ : state) benchmark::DoNotOptimize(AdEncryptStringReversibly(text.c_str()));
  SetBytes(state);
}

void Unscramble(benchmark::State& state) {
  const CString digits = AdEncryptStringReversibly(Text(state).c_str());
  for (auto _ : state) benchmark::DoNotOptimize(AdDecryptString(digits));
  SetBytes(state);
}

#ifdef TESSELKIT_PEER_ABSL
void ToHexAbsl(benchmark::State& state) {
  const std::string text = Text(state);
  for (auto _ : state) benchmark::DoNotOptimize(absl::BytesToHexString(text));
  SetBytes(state);
}

void FromHexAbsl(benchmark::State& state) {
  const std::string digits = absl::BytesToHexString(Text(state));
  for (auto _ : state) benchmark::DoNotOptimize(absl::HexStringToBytes(digits));
  SetBytes(state);
}
#endif

void Register(const char* name, void (*body)(benchmark::State&)) {
  benchmark::RegisterBenchmark(name, body)->Arg(8)->Arg(16)->Arg(256)->Arg(4096)->Arg(65536);
}

const bool kRegistered = [] {
  Register("digest/ours", Digest);
  Register("digest/plain_formula", DigestPlain);
  Register("digest/fnv1a", DigestFnv);
  Register("scramble/ours", Scramble);
  Register("unscramble/ours", Unscramble);
#ifdef TESSELKIT_PEER_ABSL
  Register("scramble/absl", ToHexAbsl);
  Register("unscramble/absl", FromHexAbsl);
#endif
  return true;
}();

}  // namespace
