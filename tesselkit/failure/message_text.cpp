#include "tesselkit/failure/message_text.h"

#include "tesselkit/platform/string_table.h"

namespace tesselkit::failure {

void MessageValues::Set(std::string_view name, std::string_view value) {
  Entry* known = nullptr;
  for (Entry& entry : m_entries) {
    if (NameOf(entry) == name) known = &entry;
  }
  if (known == nullptr) {
    const std::size_t at = m_text.size();
    m_text.append(name).append(value);
    m_entries.push_back({at, name.size(), at + name.size(), value.size()});
    return;
  }
  known->value = m_text.size();
  m_text.append(value);
  known->value_length = value.size();
}

bool MessageValues::Find(std::string_view name, std::string_view& value) const noexcept {
  for (const Entry& entry : m_entries) {
    if (NameOf(entry) != name) continue;
    value = {m_text.data() + entry.value, entry.value_length};
    return true;
  }
  return false;
}

void MessageValues::Clear() noexcept {
  m_text.clear();
  m_entries.clear();
}

CString MessageText(int id, std::initializer_list<MessageValue> values) {
  const platform::StringResource resource(static_cast<UINT>(id));
  std::size_t size = resource.Text().size();
  for (const MessageValue& each : values) size += each.value.size();

  CString text;
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
  return text;
}

}  // namespace tesselkit::failure
