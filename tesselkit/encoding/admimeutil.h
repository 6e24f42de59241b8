// Base64: any bytes as printable text and back.
//
// The alphabet and the packing are those of RFC 4648; the end of the text is the codec's own. The
// last group of 1 to 3 bytes (of none, for no bytes) is filled up with zero bytes, so that it has
// four characters, and one "=" ends the text: "abc" gives "YWJj=", "ab" gives "YWIA=", "a" gives
// "YQAA=", and no bytes give "AAAA=". Reading such a text back gives the zero bytes too: where the
// number of bytes matters, the caller keeps it. Text of other codecs is read as RFC 4648 has it.
//
// The owner calls Initialize before the first use and Finalize after the last; an object that was
// only constructed holds nothing, and whatever one holds goes with it. An object belongs to one
// thread at a time. When memory runs out, CMemoryException* is thrown.
#pragma once

#include <cstddef>

#include "tesselkit/encoding/growing_text.h"
#include "tesselkit/objects/adobject.h"

class TESSELKIT_API AdMimeUtil : public AdObject {
  DECLARE_DYNAMIC(AdMimeUtil)

 public:
  AdMimeUtil();
  ~AdMimeUtil() override;

  // Both let go of whatever the object holds.
  void Initialize() override;
  void Finalize() override;

  // The text of `length` bytes at `data`. A line feed stands behind each group, except the last,
  // with which a line becomes exactly `line_length` characters long: a length that is no positive
  // multiple of 4 breaks no line. Null and a length of 0 or less count as no bytes.
  CString EncodeBase64(char* data, long length, long line_length);

  // Decodes `text` up to its first "=" or its end and returns how many bytes that gave; the object
  // keeps them for GetDecodedResults until the next decoding. Line feeds are skipped. A last group
  // of 2 or 3 characters gives 1 or 2 bytes. Throws the condition failure "0" (PaMsgException*,
  // message 18019) at the first byte outside the alphabet, carriage returns, blanks and NULs
  // included, and for a last group of one character; what was decoded before stays in the object.
  long DecodeBase64(CString& text);

  // Copies the bytes of the last DecodeBase64 to `out`, which must have room for as many as that
  // returned. Nothing when there are none.
  void GetDecodedResults(char* out);

 protected:
  // The steps of the above. What the Output steps write goes to a work buffer, for which the
  // MakeRoom steps see to it that there is room; the Flush steps append what is in it to the
  // encoded text or to the decoded bytes.

  // The character of a value of 6 bits.
  char EncodeOne(int value) const;
  // The four characters of the three bytes in `accumulator`, first byte highest.
  void EncodeOutput4Bytes(int accumulator);
  // The same of only `count` bytes, 0 to 3.
  void EncodeOutputLastFew(int accumulator, int count);
  void EncodeMakeRoom();
  void EncodeFlushOutput();

  // Sets m_pDecoding.
  void CalcDecoding();
  // The three bytes of the four 6-bit values in `accumulator`, first value highest.
  void DecodeOutput3Bytes(int accumulator);
  // The same of only `count` values: 0 to 4 of them give 0, 0, 1, 2 or 3 bytes.
  void DecodeOutputLastFew(int accumulator, int count);
  void DecodeMakeRoom();
  void DecodeFlushOutput();

  // For each of the 256 bytes, its index in the alphabet or 255. Null before the first decoding.
  const unsigned char* m_pDecoding = nullptr;

 private:
  void KeepFlushedBytes(std::size_t written);

  tesselkit::encoding::GrowingText m_encoded;
  tesselkit::encoding::GrowingText m_decoded;
};
