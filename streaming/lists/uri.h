// Names of files as URIs, relative to the list that mentions them (RFC 3986).
#pragma once

#include <string>
#include <string_view>

// The reference that leads to the file `name` beside a list. Percent-encoded is what would end a path or
// begin something else in it, what no URI may hold, and what would end a quoted string; names in UTF-8 stay
// readable.
std::string UriOfName(std::string_view name);

// The name that a reference leads to. A percent sign that encodes nothing stands for itself.
std::string NameOfUri(std::string_view uri);
