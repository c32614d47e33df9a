// The boxes of a file, piece by piece, as the page's tree asks for them.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "tool/host/fragment_table.h"
#include "tool/serve/media_data.h"

namespace fmp4 {

// JSON (docs/json.md) of what a request asks for of the file `media`:
//   from, count   the boxes at the top level from byte `from` (0) on, at most `count` (100, which is the
//   most) frame, count  the same from the fragment on that has this frame, numbered as frames are shown box,
//   path     the box at byte `box` of the top level, or the one inside it to which the indices in `path`
//                 lead ("0.2.1"): its fields, its first bytes, and the boxes in it
// `table` gives the fragments, and is called for `frame` alone. Throws BadRequest for other parameters,
// UserError when the file cannot be read.
std::string boxTreeJson(const std::string& media, const DataRequest& request,
                        const std::function<std::shared_ptr<const FragmentTable>()>& table);

}  // namespace fmp4
