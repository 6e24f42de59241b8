#include "tools/twreg/failure.h"

#include <array>

#include "tesselkit/failure/message.h"
#include "tesselkit/platform/system_message.h"

namespace twreg {

namespace {

constexpr int kRegistryCallFailed = 18058;

}  // namespace

std::string SystemText(LONG status) {
  std::array<char, 512> text{};
  const DWORD length =
      FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                     static_cast<DWORD>(status), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                     text.data(), text.size(), nullptr);
  if (length == 0) return "status " + std::to_string(status);
  std::string line(text.data(), length);
  line.erase(line.find_last_not_of("\r\n") + 1);
  return line;
}

void ThrowCallFailure(LONG status, const char* function, const std::string& key) {
  PaMessage message(kRegistryCallFailed);
  message.SetParam("func", function);
  message.SetParam("key", key.c_str());
  message.SetParam("msg", SystemText(status).c_str());
  throw Failure(std::string(message.FullMsg().View()));
}

void RequireSuccess(LONG status, const char* function, const std::string& key) {
  if (status != ERROR_SUCCESS) ThrowCallFailure(status, function, key);
}

std::string TextOf(CException& exception) {
  std::array<char, 1024> text{};
  exception.GetErrorMessage(text.data(), text.size());
  return text.data();
}

}  // namespace twreg
