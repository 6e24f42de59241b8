#include "tesselkit/platform/system_message.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>

namespace {

struct SystemText {
  DWORD code;
  std::string_view text;
};

// Ascending by code.
constexpr SystemText kStatusTexts[] = {
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

// What programs raise beside the codes that have a name in native_exception.h. Ascending by code.
constexpr SystemText kExceptionTexts[] = {
    {0x40010005, "Debugger got control C.\r\n"},
    {0xC0000001, "{Operation Failed}\r\nThe requested operation was unsuccessful.\r\n"},
    {0xC0000002, "{Not Implemented}\r\nThe requested operation is not implemented.\r\n"},
    {0xC000000D, "An invalid parameter was passed to a service or function.\r\n"},
    {0xC0000017,
     "{Not Enough Quota}\r\nNot enough virtual memory or paging file quota is available to "
     "complete "
     "the specified operation.\r\n"},
    {0xC0000022,
     "{Access Denied}\r\nA process has requested access to an object, but has not been granted "
     "those access rights.\r\n"},
    {0xC000009A, "Insufficient system resources exist to complete the API.\r\n"},
    {0xC000013A,
     "{Application Exit by CTRL+C}\r\nThe application terminated as a result of a CTRL+C.\r\n"},
    {0xC0000194, "{EXCEPTION}\r\nPossible deadlock condition.\r\n"},
    {0xC00002B4, "{EXCEPTION}\r\nMultiple floating point faults.\r\n"},
    {0xC00002B5, "{EXCEPTION}\r\nMultiple floating point traps.\r\n"},
    {0xC0000374, "A heap has been corrupted.\r\n"},
    {0xC0000409,
     "The system detected an overrun of a stack-based buffer in this application. This overrun "
     "could potentially allow a malicious user to gain control of this application.\r\n"},
    {0xC0000420, "An assertion failure has occurred.\r\n"},
};

std::string_view TextIn(std::span<const SystemText> texts, DWORD code) {
  const auto found = std::ranges::find(texts, code, &SystemText::code);
  return found != texts.end() ? found->text : std::string_view();
}

std::string_view TextOf(DWORD flags, DWORD code) {
  std::string_view text;
  if ((flags & FORMAT_MESSAGE_FROM_HMODULE) != 0) text = TextIn(kExceptionTexts, code);
  const bool wants_status = text.empty() && (flags & FORMAT_MESSAGE_FROM_SYSTEM) != 0;
  return wants_status ? TextIn(kStatusTexts, code) : text;
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

  const std::string_view text = TextOf(flags, message_id);
  if (text.empty() || (!allocates && text.size() >= size)) return 0;
  char* out = allocates ? NewBuffer(text.size(), size) : buffer;
  if (out == nullptr) return 0;
  std::memcpy(out, text.data(), text.size());
  out[text.size()] = '\0';
  if (allocates) std::memcpy(buffer, &out, sizeof out);
  return static_cast<DWORD>(text.size());
}
