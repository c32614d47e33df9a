// File names as URIs, relative to the manifest or playlist that refers to them (RFC 3986).
#pragma once

#include <string>
#include <string_view>

namespace fmp4 {

// The reference to the file `name` next to a manifest or playlist. Percent-encodes characters that would end
// a path or start another component, those not permitted in URIs, and those that would end a quoted string;
// UTF-8 names stay readable.
std::string uriOfName(std::string_view name);

// The file name of a reference. A percent sign that does not start an encoded byte is kept as it is.
std::string nameOfUri(std::string_view uri);

}  // namespace fmp4
