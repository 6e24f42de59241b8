// The editing functions, the line ends and the name checks beside what one would write otherwise.
// Names are <operation>/<who>/<text>: a line of 200 bytes or a text of 1 MiB; "932" is the same
// text under page 932, "pairs" a text of two-byte characters under it.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tesselkit/platform/mbstring.h"
#include "tesselkit/util/adutil_edit.h"
#include "tesselkit/util/adutil_line_ends.h"
#include "tesselkit/util/adutil_names.h"

#ifdef TESSELKIT_PEER_ABSL
#include <absl/strings/str_join.h>
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>
#endif

namespace {

constexpr std::size_t kLine = 200;
constexpr std::size_t kLarge = 1 << 20;

// Words of two to eleven letters with `separator` between them.
std::string Words(std::size_t size, const std::string& separator) {
  std::string text;
  for (std::size_t i = 0; text.size() < size; ++i) {
    text += std::string(2 + i * 7 % 10, static_cast<char>('a' + i % 26)) + separator;
  }
  text.resize(size);
  if (!text.empty()) text.back() = '.';
  return text;
}

// The same of two-byte characters of page 932, their trails being letters and backslashes.
std::string Pairs(std::size_t size, const std::string& separator) {
  std::string text;
  for (std::size_t i = 0; text.size() < size; ++i) {
    for (std::size_t letters = 1 + i * 7 % 5; letters > 0; --letters) text += "\x95\x5C";
    text += separator;
  }
  text.resize(size - 1);
  return text + '.';
}

struct Input {
  const char* name;
  int page;
  std::string (*make)(std::size_t size, const std::string& separator);
  std::size_t size;
};

const Input kInputs[] = {
    {"line", 0, Words, kLine},        {"1M", 0, Words, kLarge},
    {"line932", 932, Words, kLine},   {"1M932", 932, Words, kLarge},
    {"linepairs", 932, Pairs, kLine}, {"1Mpairs", 932, Pairs, kLarge},
};

using Run = void (*)(const std::string& text);

// Peers know no pages, so they run on the plain texts alone.
void Register(const std::string& name, const std::string& separator, bool knows_pages, Run run) {
  for (const Input& input : kInputs) {
    if (input.page != 0 && !knows_pages) continue;
    const auto measure = [=, text = input.make(input.size, separator)](benchmark::State& state) {
      _setmbcp(input.page);
      for (auto _ : state) run(text);
      _setmbcp(0);
      state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
    };
    benchmark::RegisterBenchmark((name + "/" + input.name).c_str(), measure);
  }
}

template <class Result>
void Keep(const Result& result) {
  benchmark::DoNotOptimize(&result);
  benchmark::ClobberMemory();
}

void RegisterSplit() {
  Register("Split/tesselkit", ",", true, [](const std::string& text) {
    CStringArray parts;
    AdSplitString(text.c_str(), ",", parts);
    Keep(parts);
  });
  Register("SplitSet/tesselkit", ",", true, [](const std::string& text) {
    CStringArray parts;
    AdSplitString(text.c_str(), ",;|", parts);
    Keep(parts);
  });
#ifdef TESSELKIT_PEER_ABSL
  Register("Split/absl", ",", false, [](const std::string& text) {
    Keep(std::vector<std::string>(absl::StrSplit(text, ',')));
  });
  Register("SplitSet/absl", ",", false, [](const std::string& text) {
    Keep(std::vector<std::string>(absl::StrSplit(text, absl::ByAnyChar(",;|"))));
  });
#endif
}

[[maybe_unused]] std::vector<std::string> PlainParts(const std::string& text) {
  std::vector<std::string> parts(1);
  for (char c : text) {
    if (c == ',') {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

void RegisterJoin() {
  for (const Input& input : kInputs) {
    if (input.page != 0) continue;
    const std::string text = input.make(input.size, ",");
    const auto bytes = static_cast<std::int64_t>(text.size());
    benchmark::RegisterBenchmark((std::string("Join/tesselkit/") + input.name).c_str(),
                                 [=](benchmark::State& state) {
                                   CStringArray parts;
                                   AdSplitString(text.c_str(), ",", parts);
                                   for (auto _ : state) {
                                     CString joined;
                                     AdCStringArrayToCString(parts, joined, ",");
                                     Keep(joined);
                                   }
                                   state.SetBytesProcessed(state.iterations() * bytes);
                                 });
#ifdef TESSELKIT_PEER_ABSL
    benchmark::RegisterBenchmark((std::string("Join/absl/") + input.name).c_str(),
                                 [=](benchmark::State& state) {
                                   const auto parts = PlainParts(text);
                                   for (auto _ : state) Keep(absl::StrJoin(parts, ","));
                                   state.SetBytesProcessed(state.iterations() * bytes);
                                 });
#endif
  }
}

std::string FindAndAppend(const std::string& text, const std::string& from, const std::string& to) {
  std::string result;
  std::size_t kept = 0;
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, kept)) {
    result.append(text, kept, at - kept).append(to);
    kept = at + from.size();
  }
  return result.append(text, kept);
}

// The copy that is changed is part of what is measured, since the peer makes its result as well.
void RegisterReplace() {
  Register("ReplaceShort/tesselkit", ",", true, [](const std::string& text) {
    CString changed(text);
    AdReplaceString(changed, ",", ";");
    Keep(changed);
  });
  Register("ReplaceShort/find", ",", false,
           [](const std::string& text) { Keep(FindAndAppend(text, ",", ";")); });
  Register("ReplaceLonger/tesselkit", "stop,", true, [](const std::string& text) {
    CString changed(text);
    AdReplaceString(changed, "stop", "go on");
    Keep(changed);
  });
  Register("ReplaceLonger/find", "stop,", false,
           [](const std::string& text) { Keep(FindAndAppend(text, "stop", "go on")); });
  Register("ReplaceNothing/tesselkit", ",", true, [](const std::string& text) {
    CString changed(text);
    AdReplaceString(changed, "stop", "go on");
    Keep(changed);
  });
  Register("ReplaceNothing/find", ",", false,
           [](const std::string& text) { Keep(FindAndAppend(text, "stop", "go on")); });
}

// What the tests' model does, byte by byte.
std::string ByteLoop(const std::string& text, const char* line_end) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' || text[i] == '\n') {
      if (text[i] == '\r' && text[i + 1] == '\n') ++i;
      result += line_end;
    } else {
      result += text[i];
    }
  }
  return result;
}

void RegisterLineEnds() {
  const std::string forty = "line of forty letters and so on to here";
  Register("ToNewline/tesselkit", forty + "\r\n", true,
           [](const std::string& text) { Keep(AdStringToNewlineFormat(text.c_str())); });
  Register("ToNewline/byte_loop", forty + "\r\n", false,
           [](const std::string& text) { Keep(ByteLoop(text, "\n")); });
  Register("ToCRLF/tesselkit", forty + "\n", true,
           [](const std::string& text) { Keep(AdStringToCRLFFormat(text.c_str())); });
  Register("ToCRLF/byte_loop", forty + "\n", false,
           [](const std::string& text) { Keep(ByteLoop(text, "\r\n")); });
#ifdef TESSELKIT_PEER_ABSL
  Register("ToNewline/absl", forty + "\r\n", false, [](const std::string& text) {
    Keep(absl::StrReplaceAll(text, {{"\r\n", "\n"}, {"\r", "\n"}}));
  });
#endif
}

void RegisterWords() {
  Register("Words/tesselkit", " ", true, [](const std::string& text) {
    CString rest(text.c_str(), static_cast<int>(std::min(text.size(), kLine)));
    while (!rest.IsEmpty()) Keep(AdRemoveWord(rest, " \t"));
  });
  Register("Words/strtok_r", " ", false, [](const std::string& text) {
    std::string rest(text, 0, kLine);
    char* state = nullptr;
    for (char* word = strtok_r(rest.data(), " \t", &state); word != nullptr;
         word = strtok_r(nullptr, " \t", &state)) {
      Keep(std::string(word));
    }
  });
}

void CheckName(benchmark::State& state, int page, int (*check)(const char*, CString&)) {
  _setmbcp(page);
  CString reason;
  const char* name = "Customer_Order_Line_7";
  for (auto _ : state) {
    benchmark::DoNotOptimize(name);
    benchmark::DoNotOptimize(check(name, reason));
  }
  _setmbcp(0);
}

void SpanOf(benchmark::State& state, std::size_t (*span)(const char*, const char*),
            const char* set) {
  const char* name = "Customer_Order_Line_7";
  for (auto _ : state) {
    benchmark::DoNotOptimize(name);
    benchmark::DoNotOptimize(span(name, set));
  }
}

constexpr char kAlphabet[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789";
constexpr char kForbidden[] = "! \"#$%&'()*+,./:;<=>?@[\\]^`{|}~";

BENCHMARK_CAPTURE(CheckName, identifier, 0, AdIsValidIdentifier);
BENCHMARK_CAPTURE(CheckName, identifier932, 932, AdIsValidIdentifier);
BENCHMARK_CAPTURE(CheckName, ascii, 0, AdIsValidIdentifierAscii);
BENCHMARK_CAPTURE(CheckName, ascii932, 932, AdIsValidIdentifierAscii);
BENCHMARK_CAPTURE(CheckName, login, 0, AdIsValidLogin);
BENCHMARK_CAPTURE(SpanOf, strspn, strspn, kAlphabet);
BENCHMARK_CAPTURE(SpanOf, strcspn, strcspn, kForbidden);

}  // namespace

int main(int argc, char** argv) {
  RegisterSplit();
  RegisterJoin();
  RegisterReplace();
  RegisterLineEnds();
  RegisterWords();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
