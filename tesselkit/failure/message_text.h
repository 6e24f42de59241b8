// Filling the placeholders of a message's text.
//
// A text is filled in one pass: what a value contains is never filled again, and a placeholder
// without a value stays as it is.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/cstring.h"

namespace tesselkit::failure {

struct MessageValue {
  std::string_view name;
  std::string_view value;
};

// Values by name. A name entered twice keeps its last value. All names and values stand in one
// block, so that a copy costs two allocations however many there are.
class MessageValues {
 public:
  void Set(std::string_view name, std::string_view value);

  // The value of `name`, looked for from entry `hint` on, which becomes the next one: values are
  // mostly entered in the order in which a text asks for them.
  bool Find(std::string_view name, std::string_view& value, std::size_t& hint) const noexcept;
  std::size_t TotalSize() const noexcept { return m_text.size(); }

 private:
  struct Entry {
    std::size_t name;  // where it begins in the block
    std::size_t name_length;
    std::size_t value;
    std::size_t value_length;
    std::size_t value_room;
  };

  bool IsNamed(const Entry& entry, std::string_view name) const noexcept {
    return std::string_view(m_text.data() + entry.name, entry.name_length) == name;
  }

  void Change(Entry& entry, std::string_view value);

  platform::Text m_text;
  std::vector<Entry, platform::Allocator<Entry>> m_entries;
};

// Appends `text` to `out` with every placeholder filled that `find` knows a value for.
// `find(name, value)` returns whether it does. Placeholders are names between the delimiters;
// with an empty delimiter there are none.
template <class Find>
void AppendFilled(CString& out, std::string_view text, std::string_view begin, std::string_view end,
                  Find find) {
  constexpr auto npos = std::string_view::npos;
  std::size_t kept = 0;  // how much of the text has been dealt with
  std::size_t open = begin.empty() || end.empty() ? npos : platform::FindText(text, begin);
  while (open != npos) {
    const std::size_t name = open + begin.size();
    const std::size_t close = platform::FindText(text, end, name);
    if (close == npos) break;
    std::string_view value;
    if (find(text.substr(name, close - name), value)) {
      out.Append(text.substr(kept, open - kept)).Append(value);
      kept = close + end.size();
      open = platform::FindText(text, begin, kept);
    } else {
      open = platform::FindText(text, begin, name);
    }
  }
  out.Append(text.substr(kept));
}

// Sets `text` to the full text of the library's message `id` with these values, which must not lie
// in `text`, without making a message of it.
void SetMessageText(CString& text, int id, std::initializer_list<MessageValue> values);

}  // namespace tesselkit::failure
