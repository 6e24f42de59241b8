#include "tesselkit/platform/system_message.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

struct SystemText {
  LONG code;
  std::string_view text;
};

// Ascending by code.
constexpr SystemText kTexts[] = {
    {ERROR_SUCCESS, "The operation completed successfully.\r\n"},
    {ERROR_FILE_NOT_FOUND, "The system cannot find the file specified.\r\n"},
    {ERROR_ACCESS_DENIED, "Access is denied.\r\n"},
    {ERROR_INVALID_HANDLE, "The handle is invalid.\r\n"},
    {ERROR_NOT_ENOUGH_MEMORY, "Not enough storage is available to process this command.\r\n"},
    {ERROR_INVALID_DATA, "The data is invalid.\r\n"},
    {ERROR_BAD_NETPATH, "The network path was not found.\r\n"},
    {ERROR_INVALID_PARAMETER, "The parameter is incorrect.\r\n"},
    {ERROR_DISK_FULL, "There is not enough space on the disk.\r\n"},
    {ERROR_BUSY, "The requested resource is in use.\r\n"},
    {ERROR_MORE_DATA, "More data is available.\r\n"},
    {ERROR_NO_MORE_ITEMS, "No more data is available.\r\n"},
    {ERROR_BADDB, "The configuration registry database is corrupt.\r\n"},
    {ERROR_REGISTRY_IO_FAILED,
     "An I/O operation initiated by the registry failed unrecoverably. The registry could not read "
     "in, or write out, or flush, one of the files that contain the system's image of the "
     "registry.\r\n"},
    {ERROR_KEY_DELETED,
     "Illegal operation attempted on a registry key that has been marked for deletion.\r\n"},
    {ERROR_NO_SYSTEM_RESOURCES,
     "Insufficient system resources exist to complete the requested service.\r\n"},
};

std::string_view TextOf(DWORD code) {
  const auto* found = std::ranges::find(kTexts, static_cast<LONG>(code), &SystemText::code);
  return found != std::end(kTexts) ? found->text : std::string_view();
}

char* NewBuffer(std::size_t text_size, DWORD wanted) {
  const std::size_t size = std::max<std::size_t>(text_size + 1, wanted);
  return static_cast<char*>(LocalAlloc(LMEM_FIXED, size));
}

}  // namespace

DWORD FormatMessageA(DWORD flags, LPCVOID, DWORD message_id, DWORD, LPSTR buffer, DWORD size,
                     std::va_list*) {
  if (buffer == nullptr) return 0;
  const bool allocates = (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0;
  char* no_memory = nullptr;
  if (allocates) std::memcpy(buffer, &no_memory, sizeof no_memory);
  if ((flags & FORMAT_MESSAGE_FROM_SYSTEM) == 0) return 0;

  const std::string_view text = TextOf(message_id);
  if (text.empty() || (!allocates && text.size() >= size)) return 0;
  char* out = allocates ? NewBuffer(text.size(), size) : buffer;
  if (out == nullptr) return 0;
  std::memcpy(out, text.data(), text.size());
  out[text.size()] = '\0';
  if (allocates) std::memcpy(buffer, &out, sizeof out);
  return static_cast<DWORD>(text.size());
}
