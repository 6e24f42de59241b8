// A file as Base64 text and back, a password's digest, and a text scrambled and read again.
#include <vector>

#include "examples/tour/scene.h"

namespace {

using namespace tour;

std::vector<char> BytesOf(const std::string& path) {
  CFile file(path.c_str(), CFile::modeRead | CFile::shareDenyWrite);
  std::vector<char> bytes(file.GetLength());
  file.Read(bytes.data(), static_cast<UINT>(bytes.size()));
  return bytes;
}

void Base64Scene(const Places& places) {
  std::vector<char> bytes = BytesOf(places.data + "/cities.txt");
  AdMimeUtil codec;
  codec.Initialize();
  CString text = codec.EncodeBase64(bytes.data(), static_cast<long>(bytes.size()), 64);
  Say("  %d bytes of cities.txt as Base64\n", static_cast<int>(bytes.size()));
  SayIndented("|", std::string(text));

  std::vector<char> decoded(static_cast<std::size_t>(codec.DecodeBase64(text)));
  codec.GetDecodedResults(decoded.data());
  codec.Finalize();
  decoded.resize(bytes.size());
  Say("    decoded: %s\n", decoded == bytes ? "the same bytes" : "other bytes");
}

}  // namespace

void tour::EncodingsScene(const Places& places) {
  Base64Scene(places);
  Say("\n  The digest of miles27 and a password: %s\n",
      static_cast<const char*>(AdEncryptPassword("miles27", "transporter")));
  const CString scrambled = AdEncryptStringReversibly("transporter");
  Say("  The password scrambled: %s\n", static_cast<const char*>(scrambled));
  Say("  and read again: %s\n", static_cast<const char*>(AdDecryptString(scrambled)));
}
