// Reading and writing text files, beside what else a program would use for it.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tesselkit/util/text_file.h"

namespace {

// A file of `count` lines of 5 to 80 bytes in a directory of its own.
class Sample {
 public:
  explicit Sample(long count) {
    char directory[] = "/tmp/text_file_benchmark.XXXXXX";
    m_directory = mkdtemp(directory);
    m_path = m_directory + "/sample.txt";
    std::mt19937 random(1);
    for (long i = 0; i < count; ++i) {
      m_lines.Add(CString(std::string(5 + random() % 76, static_cast<char>('a' + i % 26)).c_str()));
    }
    AdWriteTextFile(Path(), m_lines, 0);
    struct stat status;
    stat(Path(), &status);
    m_bytes = status.st_size;
  }
  ~Sample() {
    unlink(Path());
    rmdir(m_directory.c_str());
  }

  const char* Path() const { return m_path.c_str(); }
  CStringArray& Lines() { return m_lines; }
  void Report(benchmark::State& state) const {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * m_bytes);
  }

 private:
  std::string m_directory;
  std::string m_path;
  CStringArray m_lines;
  std::int64_t m_bytes = 0;
};

void Read(benchmark::State& state) {
  const Sample sample(state.range(0));
  for (auto _ : state) {
    CStringArray lines;
    AdGetTextFile(sample.Path(), lines);
    benchmark::DoNotOptimize(lines.GetData());
  }
  sample.Report(state);
}

void PeerMapped(benchmark::State& state) {
  const Sample sample(state.range(0));
  for (auto _ : state) {
    std::vector<std::string> lines;
    const int descriptor = open(sample.Path(), O_RDONLY | O_CLOEXEC);
    struct stat status;
    fstat(descriptor, &status);
    const auto size = static_cast<std::size_t>(status.st_size);
    void* const memory = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, descriptor, 0);
    const char* from = static_cast<const char*>(memory);
    const char* const end = from + size;
    while (from < end) {
      const auto left = static_cast<std::size_t>(end - from);
      const auto* line_feed = static_cast<const char*>(std::memchr(from, '\n', left));
      const char* const line_end = line_feed != nullptr ? line_feed : end;
      const bool cr = line_feed != nullptr && line_end > from && line_end[-1] == '\r';
      lines.emplace_back(from, line_end - (cr ? 1 : 0));
      from = line_end + 1;
    }
    munmap(memory, size);
    close(descriptor);
    benchmark::DoNotOptimize(lines.data());
  }
  sample.Report(state);
}

void PeerGetline(benchmark::State& state) {
  const Sample sample(state.range(0));
  for (auto _ : state) {
    std::vector<std::string> lines;
    std::ifstream file(sample.Path(), std::ios::binary);
    for (std::string line; std::getline(file, line);) {
      if (line.ends_with('\r')) line.pop_back();
      lines.push_back(line);
    }
    benchmark::DoNotOptimize(lines.data());
  }
  sample.Report(state);
}

// The bound: the bytes alone, in a block that is there already.
void LimitOneRead(benchmark::State& state) {
  const Sample sample(state.range(0));
  std::vector<char> block(std::size_t{16} << 20);
  for (auto _ : state) {
    const int descriptor = open(sample.Path(), O_RDONLY | O_CLOEXEC);
    ssize_t length = read(descriptor, block.data(), block.size());
    close(descriptor);
    std::vector<std::string_view> lines;
    std::string_view text(block.data(), static_cast<std::size_t>(length));
    for (std::size_t at = 0; (at = text.find('\n')) != std::string_view::npos;) {
      lines.push_back(text.substr(0, at));
      text.remove_prefix(at + 1);
    }
    benchmark::DoNotOptimize(lines.data());
  }
  sample.Report(state);
}

void Write(benchmark::State& state) {
  Sample sample(state.range(0));
  for (auto _ : state) AdWriteTextFile(sample.Path(), sample.Lines(), 0);
  sample.Report(state);
}

void PeerOfstream(benchmark::State& state) {
  Sample sample(state.range(0));
  CStringArray& lines = sample.Lines();
  for (auto _ : state) {
    std::ofstream file(sample.Path(), std::ios::binary);
    for (int i = 0; i < lines.GetSize(); ++i) {
      file.write(lines[i], lines[i].GetLength());
      file << "\r\n";
    }
  }
  sample.Report(state);
}

#define EACH_SIZE Arg(200)->Arg(100000)->UseRealTime()

BENCHMARK(Read)->EACH_SIZE;
BENCHMARK(PeerMapped)->EACH_SIZE;
BENCHMARK(PeerGetline)->EACH_SIZE;
BENCHMARK(LimitOneRead)->EACH_SIZE;
BENCHMARK(Write)->EACH_SIZE;
BENCHMARK(PeerOfstream)->EACH_SIZE;

}  // namespace
