// The frames of a file in the order in which they are shown, as the page steps through them.
#pragma once

#include <string>

#include "tool/host/fragment_table.h"
#include "tool/serve/media_data.h"

namespace fmp4 {

// JSON of the frames that a request asks for: those from number `from` on (0), or from the fragment on that
// is decoded at `at` seconds, at most `count` and no more than 1000.
//   frames      number of all frames
//   from        number of the first of these, as they are shown
//   timescale   ticks in a second
//   ticks       composition time of each
//   seconds     when each is presented: composition time with the edit list applied
//   delivered   the number of each as the plug-in delivers it, which B-frames make another
//   keys        1 for each that can be decoded alone, else 0
// Throws BadRequest for other parameters, UserError when the file has changed meanwhile.
std::string frameListJson(const FragmentTable& table, const DataRequest& request);

}  // namespace fmp4
