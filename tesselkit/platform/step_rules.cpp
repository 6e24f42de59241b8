#include "tesselkit/platform/step_rules.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace tesselkit::platform {

#ifdef __x86_64__

namespace {

constexpr ULONG_PTR kWord = sizeof(ULONG_PTR);

// Where the caller's stack begins, counted in words from the stack pointer, from the frame pointer,
// or from either: as long as their distance is the same, both are right.
struct Rule {
  enum Base : unsigned { kEither = 1, kStack = 2, kFrame = 3 };

  unsigned base;
  std::int32_t from_stack;
  std::int32_t from_frame;
  unsigned saved_below;  // the caller's frame pointer, in words below there; 0: it is unchanged
};

constexpr std::int32_t kMostWords = (1 << 23) - 1;
constexpr unsigned kMostSaved = (1 << 14) - 1;

std::uint64_t Packed(const Rule& rule) {
  return std::uint64_t{rule.base} << 62 | std::uint64_t{rule.saved_below} << 48 |
         (static_cast<std::uint64_t>(rule.from_stack) & 0xFFFFFF) << 24 |
         (static_cast<std::uint64_t>(rule.from_frame) & 0xFFFFFF);
}

std::int32_t SignedWords(std::uint64_t bits) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(bits & 0xFFFFFF) << 8) >> 8;
}

Rule Unpacked(std::uint64_t packed) {
  return {static_cast<unsigned>(packed >> 62), SignedWords(packed >> 24), SignedWords(packed),
          static_cast<unsigned>(packed >> 48 & kMostSaved)};
}

// The key of the place is kept mixed with the rule, so that halves of two entries are no entry.
struct Entry {
  std::atomic<std::uint64_t> mixed;
  std::atomic<std::uint64_t> rule;
};

constexpr std::size_t kEntryCount = 2048;
constinit std::array<Entry, kEntryCount> entries{};

constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15u;

// A module's record is never given up, so its address stands for it alone.
std::uint64_t KeyOf(const Place& place) {
  const auto record = reinterpret_cast<std::uintptr_t>(place.module.record);
  return place.at.program_counter - place.module.base + record * kSpread;
}

Entry& EntryOf(std::uint64_t key) {
  return entries[key * kSpread >> 53];
}

bool FindRule(std::uint64_t key, Rule& rule) {
  const Entry& entry = EntryOf(key);
  const std::uint64_t packed = entry.rule.load(std::memory_order_relaxed);
  if (packed == 0 || (entry.mixed.load(std::memory_order_relaxed) ^ packed) != key) return false;
  rule = Unpacked(packed);
  return true;
}

ULONG_PTR Above(ULONG_PTR base, std::int32_t words) {
  return base + static_cast<ULONG_PTR>(static_cast<std::intptr_t>(words)) * kWord;
}

std::intptr_t WordsBetween(ULONG_PTR from, ULONG_PTR to) {
  return static_cast<std::intptr_t>(to - from) / static_cast<std::intptr_t>(kWord);
}

bool FindEnd(const Rule& rule, const FrameRegisters& at, ULONG_PTR& end) {
  const ULONG_PTR by_stack = Above(at.stack_pointer, rule.from_stack);
  const ULONG_PTR by_frame = Above(at.frame_pointer, rule.from_frame);
  end = rule.base == Rule::kFrame ? by_frame : by_stack;
  return rule.base != Rule::kEither || by_stack == by_frame;
}

// Which of the two an earlier rule for the same place had right.
unsigned BaseAfter(const Rule& earlier, const FrameRegisters& at, ULONG_PTR end) {
  const bool by_stack = Above(at.stack_pointer, earlier.from_stack) == end;
  const bool by_frame = Above(at.frame_pointer, earlier.from_frame) == end;
  return by_stack == by_frame ? Rule::kEither : by_stack ? Rule::kStack : Rule::kFrame;
}

}  // namespace

bool FollowRule(const Place& from, StackReader& reader, Place& next) noexcept {
  Rule rule;
  ULONG_PTR end = 0;
  if (!from.module || !FindRule(KeyOf(from), rule) || !FindEnd(rule, from.at, end)) return false;
  if (end <= from.at.stack_pointer) return false;
  next.at = {0, end, from.at.frame_pointer};
  if (!reader.ReadWords(end - kWord, &next.at.program_counter, 1)) return false;
  if (rule.saved_below > 0 &&
      !reader.ReadWords(end - rule.saved_below * kWord, &next.at.frame_pointer, 1)) {
    return false;
  }
  next.module = FindModule(next.at.program_counter);
  return static_cast<bool>(next.module);
}

void LearnRule(const Place& from, const FrameRegisters& next, ULONG_PTR saved_at,
               StackReader& reader) noexcept {
  if (!from.module) return;
  const FrameRegisters& at = from.at;
  const ULONG_PTR end = next.stack_pointer;
  ULONG_PTR return_address = 0;
  if (!reader.ReadWords(end - kWord, &return_address, 1)) return;
  if (return_address != next.program_counter || (end - at.stack_pointer) % kWord != 0) return;
  const bool is_saved = saved_at >= at.stack_pointer && saved_at < end;
  if (!is_saved && next.frame_pointer != at.frame_pointer) return;
  const ULONG_PTR saved_below = is_saved ? (end - saved_at) / kWord : 0;
  // A function that aligns its stack anew: how far away its end is differs from call to call.
  if (is_saved && saved_at == at.frame_pointer && saved_below != 2) return;
  const std::intptr_t from_stack = WordsBetween(at.stack_pointer, end);
  std::intptr_t from_frame = WordsBetween(at.frame_pointer, end);
  if (from_stack > kMostWords || saved_below > kMostSaved) return;
  unsigned base = Rule::kEither;
  Rule earlier;
  if (FindRule(KeyOf(from), earlier)) base = BaseAfter(earlier, at, end);
  const bool is_frame_far =
      from_frame > kMostWords || from_frame < -kMostWords || (end - at.frame_pointer) % kWord != 0;
  if (is_frame_far) {
    base = Rule::kStack;
    from_frame = 0;
  }
  const std::uint64_t packed =
      Packed({base, static_cast<std::int32_t>(from_stack), static_cast<std::int32_t>(from_frame),
              static_cast<unsigned>(saved_below)});
  Entry& entry = EntryOf(KeyOf(from));
  entry.rule.store(packed, std::memory_order_relaxed);
  entry.mixed.store(packed ^ KeyOf(from), std::memory_order_relaxed);
}

#else

bool FollowRule(const Place&, StackReader&, Place&) noexcept {
  return false;
}

void LearnRule(const Place&, const FrameRegisters&, ULONG_PTR, StackReader&) noexcept {}

#endif

}  // namespace tesselkit::platform
