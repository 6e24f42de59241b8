#include "tesselkit/encoding/admimeutil.h"

#include <string_view>
#include <utility>

#include "tesselkit/encoding/base64_alphabet.h"
#include "tesselkit/encoding/base64_kernels.h"
#include "tesselkit/encoding/text_buffer.h"
#include "tesselkit/failure/condition.h"

IMPLEMENT_DYNAMIC(AdMimeUtil, AdObject)

namespace {

namespace encoding = tesselkit::encoding;

constexpr char kSourceName[] = "admimeutil";

constexpr std::size_t kWorkBufferSize = 49152;

constexpr std::size_t CountOf(long number) {
  return number > 0 ? static_cast<std::size_t>(number) : 0;
}

}  // namespace

AdMimeUtil::AdMimeUtil() = default;

AdMimeUtil::~AdMimeUtil() = default;

void AdMimeUtil::Initialize() {
  AdObject::Initialize();
  ReleaseWorkBuffer();
  m_decoded.Empty();
  m_encoded.Empty();
}

void AdMimeUtil::Finalize() {
  m_decoded.Empty();
  ReleaseWorkBuffer();
  AdObject::Finalize();
}

CString AdMimeUtil::EncodeBase64(char* data, long length, long line_length) {
  const std::size_t size = data != nullptr ? CountOf(length) : 0;
  const std::size_t groups = size > 0 ? (size - 1) / 3 : 0;  // the last one stands apart
  const std::size_t per_line = line_length % 4 == 0 ? CountOf(line_length) / 4 : 0;
  const std::size_t breaks = per_line > 0 ? groups / per_line : 0;
  m_encoded.Empty();
  TakeWorkBuffer(4 * groups + breaks + 4 + 1);
  const encoding::Base64Kernel& kernel = encoding::CurrentBase64Kernel();
  m_pWorkPosition = kernel.encode(data, groups, per_line, m_pWorkPosition);
  int accumulator = 0;
  for (std::size_t i = 3 * groups; i < size; ++i) {
    accumulator = accumulator << 8 | static_cast<unsigned char>(data[i]);
  }
  EncodeOutputLastFew(accumulator, static_cast<int>(size - 3 * groups));
  Put('=');
  EncodeFlushOutput();
  return m_encoded;
}

long AdMimeUtil::DecodeBase64(CString& text) {
  CalcDecoding();
  const std::string_view characters = text.View();
  const char* const end = characters.data() + characters.size();
  const std::size_t size = characters.size() / 4 * 3 + 3 + encoding::kBase64Slack;
  ReuseMemoryOfDecodedBytes(size);
  TakeWorkBuffer(size);
  const encoding::Base64Decoded state =
      encoding::CurrentBase64Kernel().decode(characters.data(), end, m_pWorkPosition);
  m_pWorkPosition = state.bytes_end;
  const bool is_valid = state.stop == end || *state.stop == '=';
  if (!is_valid || state.count == 1) {
    const auto groups = static_cast<std::size_t>(state.bytes_end - m_pWorkStart) / 3;
    KeepFlushedBytes(state.count == 0 && groups > 0 ? groups - 1 : groups);
    AD_CHECK(0);
  }
  DecodeOutputLastFew(static_cast<int>(state.accumulator), state.count);
  DecodeFlushOutput();
  return m_decoded.GetLength();
}

void AdMimeUtil::GetDecodedResults(char* out) {
  m_decoded.View().copy(out, std::string_view::npos);
}

char AdMimeUtil::EncodeOne(int value) const {
  return encoding::kBase64Alphabet[value & 63];
}

void AdMimeUtil::EncodeOutput4Bytes(int accumulator) {
  EncodeMakeRoom();
  for (int shift = 18; shift >= 0; shift -= 6) Put(EncodeOne(accumulator >> shift));
}

void AdMimeUtil::EncodeOutputLastFew(int accumulator, int count) {
  EncodeOutput4Bytes(accumulator << (3 - count) * 8);
}

void AdMimeUtil::EncodeMakeRoom() {
  MakeRoom(m_encoded, 4);
}

void AdMimeUtil::EncodeFlushOutput() {
  FlushTo(m_encoded);
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
  for (int i = 1; i < count; ++i) Put(group >> (24 - 8 * i));
}

void AdMimeUtil::DecodeMakeRoom() {
  MakeRoom(m_decoded, 3);
}

void AdMimeUtil::DecodeFlushOutput() {
  FlushTo(m_decoded);
}

void AdMimeUtil::TakeWorkBuffer(std::size_t size) {
  m_pWorkStart = m_pWorkPosition = m_pWorkEnd = nullptr;
  m_pWorkStart = m_pWorkPosition = encoding::BufferOf(m_work, size);
  m_pWorkEnd = m_pWorkStart + size;
}

void AdMimeUtil::ReleaseWorkBuffer() noexcept {
  m_work.Empty();
  m_pWorkStart = m_pWorkPosition = m_pWorkEnd = nullptr;
}

void AdMimeUtil::MakeRoom(CString& output, std::ptrdiff_t size) {
  if (m_pWorkEnd - m_pWorkPosition >= size) return;
  FlushTo(output);
  TakeWorkBuffer(kWorkBufferSize);
}

// An output that is still empty takes the memory over.
void AdMimeUtil::FlushTo(CString& output) {
  m_work.ReleaseBuffer(static_cast<int>(m_pWorkPosition - m_pWorkStart));
  if (output.IsEmpty()) {
    swap(output, m_work);
  } else {
    output.Append(m_work.View());
  }
  ReleaseWorkBuffer();
}

// Fresh memory is dear; but one long text must not hold its memory through many short ones.
void AdMimeUtil::ReuseMemoryOfDecodedBytes(std::size_t size) noexcept {
  ReleaseWorkBuffer();
  const auto before = static_cast<std::size_t>(m_decoded.GetLength());
  if (before <= 4 * (size + kWorkBufferSize)) swap(m_work, m_decoded);
  m_decoded.Empty();
}

// Decoded bytes count as such when the work buffer, taken to be of its usual size, has been flushed
// with them; after a failure, which flushes nothing, that can be seen.
void AdMimeUtil::KeepFlushedBytes(std::size_t written) {
  const std::size_t flushes = written > 0 ? 3 * (written - 1) / kWorkBufferSize : 0;
  m_pWorkPosition = m_pWorkStart + flushes * kWorkBufferSize;
  DecodeFlushOutput();
}
