#include "streaming/lists/uri.h"

namespace fmp4 {

namespace {

constexpr std::string_view kEncoded = " \"#%:<>?[\\]^`{|}";
constexpr std::string_view kDigits = "0123456789ABCDEF";

// The value of a hexadecimal digit, 16 for any other character.
unsigned valueOf(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<unsigned>(digit - '0');
  if (digit >= 'a' && digit <= 'f') return static_cast<unsigned>(digit - 'a' + 10);
  if (digit >= 'A' && digit <= 'F') return static_cast<unsigned>(digit - 'A' + 10);
  return 16;
}

}  // namespace

std::string uriOfName(std::string_view name) {
  std::string uri;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F || kEncoded.find(c) != kEncoded.npos) {
      uri += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    } else {
      uri += c;
    }
  }
  return uri;
}

std::string nameOfUri(std::string_view uri) {
  std::string name;
  for (std::size_t i = 0; i < uri.size(); ++i) {
    const bool triplet =
        uri[i] == '%' && uri.size() - i > 2 && valueOf(uri[i + 1]) < 16 && valueOf(uri[i + 2]) < 16;
    const unsigned byte = triplet ? valueOf(uri[i + 1]) << 4 | valueOf(uri[i + 2]) : 0;
    // A name cannot contain a zero byte, which would truncate it: "%00" is kept as it is.
    name += byte != 0 ? static_cast<char>(byte) : uri[i];
    if (byte != 0) i += 2;
  }
  return name;
}

}  // namespace fmp4
