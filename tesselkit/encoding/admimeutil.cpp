#include "tesselkit/encoding/admimeutil.h"

#include <string_view>

#include "tesselkit/encoding/base64_alphabet.h"
#include "tesselkit/encoding/base64_kernels.h"
#include "tesselkit/failure/condition.h"

IMPLEMENT_DYNAMIC(AdMimeUtil, AdObject)

namespace {

namespace encoding = tesselkit::encoding;

constexpr char kSourceName[] = "admimeutil";

constexpr std::size_t CountOf(long number) {
  return number > 0 ? static_cast<std::size_t>(number) : 0;
}

}  // namespace

AdMimeUtil::AdMimeUtil() = default;

AdMimeUtil::~AdMimeUtil() = default;

void AdMimeUtil::Initialize() {
  AdObject::Initialize();
  m_decoded.Release();
  m_encoded.Release();
}

void AdMimeUtil::Finalize() {
  m_decoded.Release();
  m_encoded.Release();
  AdObject::Finalize();
}

// The text is handed out, not copied: nothing ever looks at it again.
CString AdMimeUtil::EncodeBase64(char* data, long length, long line_length) {
  const std::size_t size = data != nullptr ? CountOf(length) : 0;
  const std::size_t groups = size > 0 ? (size - 1) / 3 : 0;  // the last one stands apart
  const std::size_t per_line = line_length % 4 == 0 ? CountOf(line_length) / 4 : 0;
  const std::size_t breaks = per_line > 0 ? groups / per_line : 0;
  char* const text = m_encoded.StartAnew(4 * groups + breaks + 4 + 1);
  m_encoded.SetEnd(encoding::CurrentBase64Kernel().encode(data, groups, per_line, text));
  int accumulator = 0;
  for (std::size_t i = 3 * groups; i < size; ++i) {
    accumulator = accumulator << 8 | static_cast<unsigned char>(data[i]);
  }
  EncodeOutputLastFew(accumulator, static_cast<int>(size - 3 * groups));
  m_encoded.Put('=');
  EncodeFlushOutput();
  return m_encoded.Take();
}

long AdMimeUtil::DecodeBase64(CString& text) {
  CalcDecoding();
  const std::string_view characters = text.View();
  const char* const end = characters.data() + characters.size();
  char* const bytes = m_decoded.StartAnew(characters.size() / 4 * 3 + 3 + encoding::kBase64Slack);
  const encoding::Base64Decoded state =
      encoding::CurrentBase64Kernel().decode(characters.data(), end, bytes);
  m_decoded.SetEnd(state.bytes_end);
  const bool is_valid = state.stop == end || *state.stop == '=';
  if (!is_valid || state.count == 1) {
    const auto groups = static_cast<std::size_t>(state.bytes_end - bytes) / 3;
    KeepFlushedBytes(state.count == 0 && groups > 0 ? groups - 1 : groups);
    AD_CHECK(0);
  }
  DecodeOutputLastFew(static_cast<int>(state.accumulator), state.count);
  DecodeFlushOutput();
  return static_cast<long>(m_decoded.View().size());
}

void AdMimeUtil::GetDecodedResults(char* out) {
  m_decoded.View().copy(out, std::string_view::npos);
}

char AdMimeUtil::EncodeOne(int value) const {
  return encoding::kBase64Alphabet[value & 63];
}

void AdMimeUtil::EncodeOutput4Bytes(int accumulator) {
  EncodeMakeRoom();
  for (int shift = 18; shift >= 0; shift -= 6) m_encoded.Put(EncodeOne(accumulator >> shift));
}

void AdMimeUtil::EncodeOutputLastFew(int accumulator, int count) {
  EncodeOutput4Bytes(accumulator << (3 - count) * 8);
}

void AdMimeUtil::EncodeMakeRoom() {
  m_encoded.MakeRoom(4);
}

void AdMimeUtil::EncodeFlushOutput() {
  m_encoded.Flush();
}

void AdMimeUtil::CalcDecoding() {
  m_pDecoding = encoding::kBase64Values.data();
}

void AdMimeUtil::DecodeOutput3Bytes(int accumulator) {
  DecodeOutputLastFew(accumulator, 4);
}

void AdMimeUtil::DecodeOutputLastFew(int accumulator, int count) {
  DecodeMakeRoom();
  const int group = accumulator << (4 - count) * 6;
  for (int i = 1; i < count; ++i) m_decoded.Put(static_cast<char>(group >> (24 - 8 * i)));
}

void AdMimeUtil::DecodeMakeRoom() {
  m_decoded.MakeRoom(3);
}

void AdMimeUtil::DecodeFlushOutput() {
  m_decoded.Flush();
}

// Decoded bytes count as such when the work buffer was flushed with them. After a failure, which
// flushes nothing, that can be seen: they are kept in whole work buffers.
void AdMimeUtil::KeepFlushedBytes(std::size_t written) {
  constexpr std::size_t kBuffer = encoding::GrowingText::kWorkBuffer;
  m_decoded.CutTo(written > 0 ? 3 * (written - 1) / kBuffer * kBuffer : 0);
}
