#include "tesselkit/failure/message_text.h"

#include "tesselkit/platform/string_table.h"

namespace tesselkit::failure {

void MessageValues::Set(std::string_view name, std::string_view value) {
  for (Entry& entry : m_entries) {
    if (IsNamed(entry, name)) return Change(entry, value);
  }
  if (m_entries.empty()) {
    // Room for what a failure with four values needs, so that few messages ever grow.
    m_entries.reserve(10);
    m_text.reserve(240);
  }
  const std::size_t at = m_text.size();
  m_text.append(name).append(value);
  m_entries.push_back({at, name.size(), at + name.size(), value.size(), value.size()});
}

void MessageValues::Change(Entry& entry, std::string_view value) {
  if (value.size() > entry.value_room) {
    const std::size_t at = m_text.size();
    m_text.append(value);
    entry.value = at;
    entry.value_room = value.size();
  } else {
    m_text.replace(entry.value, value.size(), value);
  }
  entry.value_length = value.size();
}

bool MessageValues::Find(std::string_view name, std::string_view& value,
                         std::size_t& hint) const noexcept {
  for (std::size_t tried = 0; tried < m_entries.size(); ++tried, ++hint) {
    if (hint >= m_entries.size()) hint = 0;
    const Entry& entry = m_entries[hint];
    if (!IsNamed(entry, name)) continue;
    value = {m_text.data() + entry.value, entry.value_length};
    ++hint;
    return true;
  }
  return false;
}

void SetMessageText(CString& text, int id, std::initializer_list<MessageValue> values) {
  const platform::StringResource resource(static_cast<UINT>(id));
  std::size_t size = resource.Text().size();
  for (const MessageValue& each : values) size += each.value.size();

  text.Truncate(0);
  text.Preallocate(size);
  AppendFilled(text, resource.Text(), "%", "%",
               [&](std::string_view name, std::string_view& value) {
                 for (const MessageValue& each : values) {
                   if (each.name != name) continue;
                   value = each.value;
                   return true;
                 }
                 return false;
               });
}

}  // namespace tesselkit::failure
