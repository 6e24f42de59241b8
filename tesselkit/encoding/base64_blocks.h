// How every kernel goes through a text; what it does with a block is its own.
//
// A block type has
//   kGroups                  the groups that Encode takes, and the most that Decode takes
//   Encode(bytes, text)      writes kGroups groups
//   EncodeFew(bytes, groups, text)             writes fewer than that
//   kFewestCharacters        how many characters Decode needs
//   Decode(text, available, bytes)             of at most 4 * kGroups characters, decodes whole
//                            groups up to the first byte that is not in the alphabet, or fewer,
//                            and returns how many groups these are; may write kBase64Slack more
//   DecodeRest(end, state)   decodes the last characters, fewer than kFewestCharacters
// The functions here are compiled into each kernel with the instructions that it may use.
#pragma once

#include <cstddef>

#include "tesselkit/encoding/base64_alphabet.h"
#include "tesselkit/encoding/base64_kernels.h"

#define TESSELKIT_INTO_KERNEL __attribute__((always_inline)) inline

namespace tesselkit::encoding {

template <class Block>
TESSELKIT_INTO_KERNEL char* EncodeGroups(const char* bytes, std::size_t groups, char* text) {
  for (; groups >= Block::kGroups; groups -= Block::kGroups) {
    Block::Encode(bytes, text);
    bytes += 3 * Block::kGroups;
    text += 4 * Block::kGroups;
  }
  Block::EncodeFew(bytes, groups, text);
  return text + 4 * groups;
}

// While the groups of the next line are there to be written too, a line is written in whole blocks;
// what goes beyond its end is written over by the next.
template <class Block>
TESSELKIT_INTO_KERNEL char* EncodeText(const char* bytes, std::size_t groups,
                                       std::size_t groups_per_line, char* text) {
  if (groups_per_line == 0) return EncodeGroups<Block>(bytes, groups, text);
  const std::size_t blocks = (groups_per_line + Block::kGroups - 1) / Block::kGroups;
  while (groups >= groups_per_line) {
    if (groups >= blocks * Block::kGroups) {
      for (std::size_t i = 0; i < blocks; ++i) {
        Block::Encode(bytes + i * 3 * Block::kGroups, text + i * 4 * Block::kGroups);
      }
      text += 4 * groups_per_line;
    } else {
      text = EncodeGroups<Block>(bytes, groups_per_line, text);
    }
    *text++ = '\n';
    bytes += 3 * groups_per_line;
    groups -= groups_per_line;
  }
  return EncodeGroups<Block>(bytes, groups, text);
}

// Reads one group, past line feeds. False when the text, or what of it is valid, ends before: then
// the group's values are in `state`.
inline bool DecodeGroup(const char* end, Base64Decoded& state) {
  state.accumulator = 0;
  for (state.count = 0; state.count < 4; ++state.stop) {
    if (state.stop == end) return false;
    const unsigned char value = kBase64Values[static_cast<unsigned char>(*state.stop)];
    if (value < 64) {
      state.accumulator = state.accumulator << 6 | value;
      ++state.count;
    } else if (*state.stop != '\n') {
      return false;
    }
  }
  for (int shift = 16; shift >= 0; shift -= 8) {
    *state.bytes_end++ = static_cast<char>(state.accumulator >> shift);
  }
  return true;
}

inline void DecodeGroups(const char* end, Base64Decoded& state) {
  while (DecodeGroup(end, state)) {
  }
}

// Reads one line of `groups` groups and its line feed. False, with nothing taken, when the text
// does not go on like that.
template <class Block>
TESSELKIT_INTO_KERNEL bool DecodeLine(const char* end, std::size_t groups, Base64Decoded& state) {
  const std::size_t blocks = (groups + Block::kGroups - 1) / Block::kGroups;
  const auto left = static_cast<std::size_t>(end - state.stop);
  if (left <= 4 * Block::kGroups * blocks || state.stop[4 * groups] != '\n') return false;
  for (std::size_t i = 0; i < blocks; ++i) {
    const std::size_t at = i * Block::kGroups;
    const std::size_t decoded =
        Block::Decode(state.stop + 4 * at, 4 * Block::kGroups, state.bytes_end + 3 * at);
    if (decoded != Block::kGroups && decoded != groups - at) return false;
  }
  state.stop += 4 * groups + 1;
  state.bytes_end += 3 * groups;
  return true;
}

// Lines mostly have one length: from the second on, whole lines are read, with no wait for where
// each one ends.
template <class Block>
TESSELKIT_INTO_KERNEL Base64Decoded DecodeText(const char* text, const char* end, char* bytes) {
  Base64Decoded state = {text, bytes, 0, 0};
  const char* line = text;
  while (end - state.stop >= static_cast<std::ptrdiff_t>(Block::kFewestCharacters)) {
    const auto available = static_cast<std::size_t>(end - state.stop);
    const std::size_t groups = Block::Decode(state.stop, available, state.bytes_end);
    state.stop += 4 * groups;
    state.bytes_end += 3 * groups;
    if (groups == Block::kGroups) continue;
    if (state.stop != end && *state.stop == '\n') {
      const auto length = static_cast<std::size_t>(state.stop++ - line);
      while (length % 4 == 0 && DecodeLine<Block>(end, length / 4, state)) {
      }
      line = state.stop;
    } else if (!DecodeGroup(end, state)) {
      return state;
    }
  }
  Block::DecodeRest(end, state);
  return state;
}

}  // namespace tesselkit::encoding
