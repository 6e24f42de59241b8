#include "tesselkit/platform/module_symbols.h"

#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <limits.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <utility>

#include "tesselkit/platform/descriptor.h"
#include "tesselkit/platform/foreign_memory.h"
#include "tesselkit/platform/mapped_file.h"

namespace tesselkit::platform {
namespace {

using FileHeader = ElfW(Ehdr);
using SegmentHeader = ElfW(Phdr);
using SectionHeader = ElfW(Shdr);
using SymbolEntry = ElfW(Sym);

// Memory straight from the system, zeroed.
class Block {
 public:
  Block() = default;
  explicit Block(std::size_t size) noexcept : m_size(size) {
    if (size == 0) return;
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory != MAP_FAILED) m_memory = static_cast<char*>(memory);
  }
  ~Block() {
    if (m_memory != nullptr) munmap(m_memory, m_size);
  }
  Block(Block&& other) noexcept { Swap(other); }
  Block& operator=(Block&& other) noexcept {
    Swap(other);
    return *this;
  }

  char* Data() const noexcept { return m_memory; }
  std::size_t Size() const noexcept { return m_memory != nullptr ? m_size : 0; }

  // Leaves the memory to whoever uses it.
  void Release() noexcept { m_memory = nullptr; }

 private:
  void Swap(Block& other) noexcept {
    std::swap(m_memory, other.m_memory);
    std::swap(m_size, other.m_size);
  }

  char* m_memory = nullptr;
  std::size_t m_size = 0;
};

class File {
 public:
  explicit File(const char* path) noexcept : m_file(open(path, O_RDONLY | O_CLOEXEC)) {}

  std::size_t Size() const noexcept {
    struct stat status = {};
    const bool is_file = fstat(m_file.Get(), &status) == 0 && S_ISREG(status.st_mode);
    return is_file ? static_cast<std::size_t>(status.st_size) : 0;
  }

  bool Read(std::size_t at, void* to, std::size_t size) const noexcept {
    auto* next = static_cast<char*>(to);
    while (size > 0) {
      const ssize_t count = pread(m_file.Get(), next, size, static_cast<off_t>(at));
      if (count <= 0) return false;
      next += count;
      at += static_cast<std::size_t>(count);
      size -= static_cast<std::size_t>(count);
    }
    return true;
  }

  // Empty when not all of it is there.
  Block ReadBlock(std::size_t at, std::size_t size) const noexcept {
    if (at > Size() || size > Size() - at) return {};
    Block block(size);
    return block.Size() > 0 && Read(at, block.Data(), size) ? std::move(block) : Block();
  }

 private:
  Descriptor m_file;
};

struct Symbol {
  std::uintptr_t start;
  std::uint32_t size;
  std::uint32_t name;  // where it begins among the names
};

// A module's functions, sorted by address, and their names.
class SymbolIndex {
 public:
  SymbolIndex() = default;
  explicit SymbolIndex(const char* path) noexcept {
    const File file(path);
    FileHeader header;
    if (!file.Read(0, &header, sizeof header)) return;
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return;
    if (header.e_shentsize != sizeof(SectionHeader)) return;
    const Block sections =
        file.ReadBlock(header.e_shoff, std::size_t{header.e_shnum} * sizeof(SectionHeader));
    const SectionHeader* table = FindTable(sections, SHT_SYMTAB);
    if (table == nullptr) table = FindTable(sections, SHT_DYNSYM);
    if (table == nullptr || table->sh_link >= header.e_shnum) return;
    const auto& names = reinterpret_cast<const SectionHeader*>(sections.Data())[table->sh_link];
    m_names = file.ReadBlock(names.sh_offset, names.sh_size);
    Take(file.ReadBlock(table->sh_offset, table->sh_size));
  }

  bool Find(std::uintptr_t address, NearSymbol& result) const noexcept {
    const Symbol* const begin = Symbols();
    const Symbol* const after =
        std::upper_bound(begin, begin + m_count, address,
                         [](std::uintptr_t at, const Symbol& symbol) { return at < symbol.start; });
    if (after == begin) return false;
    const Symbol& symbol = after[-1];
    if (symbol.size > 0 && address - symbol.start >= symbol.size) return false;
    result.name = m_names.Data() + symbol.name;
    result.displacement = address - symbol.start;
    return true;
  }

 private:
  static const SectionHeader* FindTable(const Block& sections, unsigned type) noexcept {
    const auto* const begin = reinterpret_cast<const SectionHeader*>(sections.Data());
    const auto* const end = begin + sections.Size() / sizeof(SectionHeader);
    const auto* const found = std::find_if(
        begin, end, [type](const SectionHeader& section) { return section.sh_type == type; });
    return found != end ? found : nullptr;
  }

  bool IsFunction(const SymbolEntry& entry) const noexcept {
    const unsigned type = entry.st_info & 0xF;
    const bool is_code = type == STT_FUNC || type == STT_GNU_IFUNC || type == STT_NOTYPE;
    return is_code && entry.st_shndx != SHN_UNDEF && entry.st_shndx < SHN_LORESERVE &&
           entry.st_name < m_names.Size() && m_names.Data()[entry.st_name] != '\0' &&
           m_names.Data()[entry.st_name] != '$';  // marks of the assembler's
  }

  void Take(const Block& table) noexcept {
    if (m_names.Size() == 0 || m_names.Data()[m_names.Size() - 1] != '\0') return;
    const auto* const entries = reinterpret_cast<const SymbolEntry*>(table.Data());
    const std::size_t count = table.Size() / sizeof(SymbolEntry);
    m_symbols = Block(count * sizeof(Symbol));
    if (m_symbols.Size() == 0) return;
    auto* const symbols = reinterpret_cast<Symbol*>(m_symbols.Data());
    for (std::size_t i = 0; i < count; ++i) {
      if (!IsFunction(entries[i])) continue;
      const auto size = std::min<std::uint64_t>(entries[i].st_size, UINT32_MAX);
      symbols[m_count++] = {entries[i].st_value, static_cast<std::uint32_t>(size),
                            entries[i].st_name};
    }
    // Of several names for one place the longest function stands last, and is found.
    std::sort(symbols, symbols + m_count, [](const Symbol& a, const Symbol& b) {
      if (a.start != b.start) return a.start < b.start;
      return a.size != b.size ? a.size < b.size : a.name > b.name;
    });
  }

  const Symbol* Symbols() const noexcept {
    return reinterpret_cast<const Symbol*>(m_symbols.Data());
  }

  Block m_names;
  Block m_symbols;
  std::size_t m_count = 0;
};

// What the loader knows of the module at an address.
struct Found {
  const link_map* map = nullptr;
  std::uintptr_t start = 0;  // where its file header is
};

#if __GLIBC_PREREQ(2, 35)
// This one takes no lock.
Found AskLoader(std::uintptr_t address) noexcept {
  dl_find_object object;
  if (_dl_find_object(reinterpret_cast<void*>(address), &object) != 0) return {};
  return {object.dlfo_link_map, reinterpret_cast<std::uintptr_t>(object.dlfo_map_start)};
}
#else
Found AskLoader(std::uintptr_t address) noexcept {
  Dl_info info;
  void* map = nullptr;
  if (dladdr1(reinterpret_cast<void*>(address), &info, &map, RTLD_DL_LINKMAP) == 0) return {};
  return {static_cast<link_map*>(map), reinterpret_cast<std::uintptr_t>(info.dli_fbase)};
}
#endif

}  // namespace

class ModuleRecord {
 public:
  static constexpr std::size_t kMaxSegments = 16;

  explicit ModuleRecord(const Found& found) noexcept : m_dynamic(DynamicOf(found)) {
    const char* const name = found.map->l_name;
    std::memcpy(m_loader_name, name, strnlen(name, sizeof m_loader_name - 1));
    // The program's file is found there also after it has been replaced.
    constexpr char kProgram[] = "/proc/self/exe";
    if (IsProgram()) {
      const ssize_t length = readlink(kProgram, m_found_path, sizeof m_found_path - 1);
      m_found_path[std::max<ssize_t>(length, 0)] = '\0';
    } else if (*m_loader_name != '/') {
      // Relative to where the process once was.
      FindMappedFile(found.start, m_found_path, sizeof m_found_path);
    }
    ReadSegments(found);
    if (!Path().empty()) m_symbols = SymbolIndex(IsProgram() ? kProgram : PathText());
  }

  bool Is(const Found& found) const noexcept {
    return m_dynamic == DynamicOf(found) && std::strcmp(m_loader_name, found.map->l_name) == 0;
  }

  std::string_view Path() const noexcept {
    const char* const path = PathText();
    return *path == '/' ? path : "";
  }

  bool FindSymbol(std::uintptr_t offset, NearSymbol& result) const noexcept {
    return m_symbols.Find(offset, result);
  }

  bool FindLogicalAddress(std::uintptr_t offset, LogicalAddress& result) const noexcept {
    for (unsigned i = 0; i < m_segment_count; ++i) {
      const SegmentHeader& segment = m_segments[i];
      const std::uintptr_t end = segment.p_vaddr + std::max(segment.p_filesz, segment.p_memsz);
      if (offset < segment.p_vaddr || offset > end) continue;
      result = {i + 1, offset - segment.p_vaddr};
      return true;
    }
    return false;
  }

  ModuleRecord* next = nullptr;

 private:
  bool IsProgram() const noexcept { return *m_loader_name == '\0'; }
  const char* PathText() const noexcept {
    return *m_loader_name == '/' ? m_loader_name : m_found_path;
  }

  // Tells modules apart that come from one path, one after the other.
  static std::uintptr_t DynamicOf(const Found& found) noexcept {
    return reinterpret_cast<std::uintptr_t>(found.map->l_ld) - found.map->l_addr;
  }

  void ReadSegments(const Found& found) noexcept {
    FileHeader header;
    if (!ReadForeign(found.start, &header, sizeof header)) return;
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return;
    for (unsigned i = 0; i < header.e_phnum && m_segment_count < kMaxSegments; ++i) {
      SegmentHeader segment;
      const std::uintptr_t at = found.start + header.e_phoff + i * sizeof segment;
      if (!ReadForeign(at, &segment, sizeof segment)) return;
      if (segment.p_type == PT_LOAD) m_segments[m_segment_count++] = segment;
    }
  }

  std::uintptr_t m_dynamic;
  char m_loader_name[PATH_MAX] = "";
  char m_found_path[PATH_MAX] = "";  // where the loader's name is no path
  SegmentHeader m_segments[kMaxSegments];
  unsigned m_segment_count = 0;
  SymbolIndex m_symbols;
};

namespace {

// Every record that was ever made, the newest first.
constinit std::atomic<ModuleRecord*> records{nullptr};

ModuleRecord* FindRecord(ModuleRecord* first, const ModuleRecord* end,
                         const Found& found) noexcept {
  while (first != end && !first->Is(found)) first = first->next;
  return first != end ? first : nullptr;
}

// `seen` is the newest of those that have been looked at.
const ModuleRecord* MakeRecord(const Found& found, ModuleRecord* seen) noexcept {
  Block memory(sizeof(ModuleRecord));
  if (memory.Size() == 0) return nullptr;
  auto* const made = new (memory.Data()) ModuleRecord(found);
  made->next = seen;
  while (!records.compare_exchange_weak(made->next, made, std::memory_order_acq_rel)) {
    // Another thread may have made the same.
    if (const ModuleRecord* other = FindRecord(made->next, seen, found)) {
      made->~ModuleRecord();
      return other;
    }
    seen = made->next;
  }
  memory.Release();
  return made;
}

}  // namespace

LoadedModule FindModule(std::uintptr_t address) noexcept {
  const Found found = AskLoader(address);
  if (found.map == nullptr) return {};
  ModuleRecord* const newest = records.load(std::memory_order_acquire);
  const ModuleRecord* record = FindRecord(newest, nullptr, found);
  if (record == nullptr) record = MakeRecord(found, newest);
  return {record, found.map->l_addr};
}

std::string_view ModulePath(const LoadedModule& module) noexcept {
  return module ? module.record->Path() : std::string_view();
}

bool FindLogicalAddress(const LoadedModule& module, std::uintptr_t address,
                        LogicalAddress& result) noexcept {
  return module && module.record->FindLogicalAddress(address - module.base, result);
}

bool FindSymbol(const LoadedModule& module, std::uintptr_t address, NearSymbol& result) noexcept {
  return module && module.record->FindSymbol(address - module.base, result);
}

}  // namespace tesselkit::platform
