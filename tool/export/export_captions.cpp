#include <filesystem>
#include <string>

#include "base/letter_case.h"
#include "base/user_error.h"
#include "os/path_name.h"
#include "tool/export/caption_bytes.h"
#include "tool/export/decoded_captions.h"
#include "tool/export/export_streams.h"
#include "tool/export/field_pairs.h"
#include "tool/export/output_file.h"
#include "tool/export/scenarist.h"
#include "tool/export/subrip.h"
#include "tool/export/web_vtt.h"
#include "tool/terminal/messages.h"

namespace fmp4 {

namespace {

using captions::CaptionChannel;

// Writes the file, and says what is in it.
void writeText(const ExportRequest& request, const std::string& text, const std::string& what) {
  OutputFile output(request.output, request.input, request.force);
  output.make([&] { output.write(text); });
  say("'" + request.output + "' has " + what);
}

std::string described(const DecodedCaptions& decoded) {
  const std::size_t count = decoded.cues.size();
  return std::to_string(count) + (count == 1 ? " caption of " : " captions of ") + decoded.channel.name();
}

void exportCues(CAMediaFile& file, const CaptionRequest& request, decltype(subRipText)& textOf) {
  const DecodedCaptions decoded = decodeCaptions(file, request);
  writeText(request.streams, textOf(decoded.cues, decoded.rate), described(decoded));
}

void exportPairs(CAMediaFile& file, const CaptionRequest& request) {
  FieldPairs pairs;
  const DecodedCaptions decoded =
      decodeCaptions(file, request, [&pairs](const FrameCaptions& frame) { pairs.add(frame); });
  if (decoded.channel.standard != CaptionChannel::Standard::Cea608)
    throw UserError("an .scc file holds CEA-608; " + decoded.channel.name() +
                    " is CEA-708, which .srt and .vtt hold as text");
  const bool first = decoded.channel.number <= 2;
  writeText(request.streams, scenaristText(first ? pairs.field1() : pairs.field2(), decoded.rate),
            "the byte pairs of " + std::string(first ? "CC1 and CC2" : "CC3 and CC4"));
}

}  // namespace

void exportCaptions(CAMediaFile& file, const CaptionRequest& request) {
  const std::string extension = vlName(vlPath(request.streams.output).extension());
  if (equalsIgnoringCase(extension, ".srt")) return exportCues(file, request, subRipText);
  if (equalsIgnoringCase(extension, ".vtt")) return exportCues(file, request, webVttText);
  if (equalsIgnoringCase(extension, ".scc")) return exportPairs(file, request);
  if (!extension.empty() && !equalsIgnoringCase(extension, ".json"))
    throw UserError("captions cannot be written as '" + extension +
                    "'; name the output .srt, .vtt, .scc or .json");
  if (request.channel)
    throw UserError(
        "JSON lines hold the bytes of all channels; --channel and --service need .srt, .vtt or .scc");
  exportCaptionBytes(file, request.streams);
}

}  // namespace fmp4
