#include "tesselkit/util/text_order.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/mbstring.h"

// Every text has a sort key: a row of bytes that orders as the text does. Eight bytes of it at a
// time are kept as a number beside the text's index, so that most comparisons touch no text. Where
// these are equal, the next eight decide.
//
// In the key, a character is its code's bytes; on a multibyte page, where one-byte characters come
// before all longer ones, one of 0x80 and above has 0x80 before it, which begins no longer one.
// Beyond the end of the text all bytes are 0, which no character begins with.

namespace tesselkit::util {
namespace {

using Key = std::uint64_t;

struct Item {
  Key key;
  std::uint32_t index;
  std::uint32_t next;  // where in the text the next part of the key begins
};

using Items = std::vector<Item, platform::Allocator<Item>>;

constexpr auto kFoldedAscii = [] {
  std::array<unsigned char, 0x80> codes{};
  for (unsigned code = 0; code < codes.size(); ++code) {
    const bool is_upper = code >= 'A' && code <= 'Z';
    codes[code] = static_cast<unsigned char>(is_upper ? code - 'A' + 'a' : code);
  }
  return codes;
}();

class KeyMaker {
 public:
  KeyMaker(bool fold, bool ascending)
      : m_fold(fold),
        m_single(platform::CurrentCodePageKind() == platform::CodePageKind::kSingleByte),
        m_turn(ascending ? 0 : ~Key{0}) {}

  // Sets the item's key to the part that begins at its `next`, and moves that on.
  void Fill(Item& item, const char* text) const {
    const char* at = text + item.next;
    Key key = 0;
    int room = 8;
    while (room > 0 && *at != '\0') {
      const auto byte = static_cast<unsigned char>(*at);
      if (byte >= kFoldedAscii.size() && !m_single) {
        if (!AppendLong(key, room, at)) break;
        continue;
      }
      key = key << 8 | CodeOf(byte);
      --room;
      ++at;
    }
    item.key = (key << (4 * room) << (4 * room)) ^ m_turn;  // 64 is too far for one shift
    item.next = static_cast<std::uint32_t>(at - text);
  }

  // Whether the key's part reaches beyond the end of the text.
  bool IsLast(Key key) const { return ((key ^ m_turn) & 0xFF) == 0; }

 private:
  unsigned char CodeOf(unsigned char byte) const {
    if (!m_fold) return byte;
    if (byte < kFoldedAscii.size()) return kFoldedAscii[byte];
    char c = static_cast<char>(byte);
    platform::MakeLowerCase(&c, 1);
    return static_cast<unsigned char>(c);
  }

  // Appends what a longer character at `at` is in the key. When there is no room for all of it, as
  // much as there is, and the next part begins with the character again: false.
  bool AppendLong(Key& key, int& room, const char*& at) const {
    const std::size_t length = _mbclen(at);
    std::array<char, 4> bytes{static_cast<char>(0x80), *at};
    if (length > 1) {
      std::memcpy(bytes.data(), at, length);
      if (m_fold) platform::MakeLowerCase(bytes.data(), length);
    }
    const std::size_t size = std::max<std::size_t>(length, 2);
    for (std::size_t i = 0; i < size; ++i, --room) {
      if (room == 0) return false;
      key = key << 8 | static_cast<unsigned char>(bytes[i]);
    }
    at += length;
    return true;
  }

  const bool m_fold;
  const bool m_single;
  const Key m_turn;
};

struct Range {
  Item* begin;
  Item* end;
};

bool ComesBefore(const Item& a, const Item& b) {
  return a.key != b.key ? a.key < b.key : a.index < b.index;
}

void SortByKeys(const CStringArray& array, const KeyMaker& keys, Items& items) {
  std::vector<Range, platform::Allocator<Range>> ranges;
  ranges.push_back({items.data(), items.data() + items.size()});
  while (!ranges.empty()) {
    const Range range = ranges.back();
    ranges.pop_back();
    for (Item* item = range.begin; item != range.end; ++item) {
      keys.Fill(*item, array.GetData()[item->index]);
    }
    if (!std::is_sorted(range.begin, range.end, ComesBefore)) {
      std::sort(range.begin, range.end, ComesBefore);
    }
    for (Item *item = range.begin, *next; item != range.end; item = next) {
      next =
          std::find_if(item, range.end, [&](const Item& other) { return other.key != item->key; });
      if (next - item > 1 && !keys.IsLast(item->key)) ranges.push_back({item, next});
    }
  }
}

}  // namespace

void SortStable(CStringArray& array, bool fold, bool ascending) {
  Items items;
  items.reserve(static_cast<std::size_t>(array.GetSize()));
  for (int i = 0; i < array.GetSize(); ++i) items.push_back({0, static_cast<std::uint32_t>(i), 0});
  SortByKeys(array, KeyMaker(fold, ascending), items);
  Arrange(array, [&](std::uint32_t place) -> std::uint32_t& { return items[place].index; });
}

}  // namespace tesselkit::util
