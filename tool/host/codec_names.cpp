#include "tool/host/codec_names.h"

#include <algorithm>
#include <iterator>

#include "base/codec_code.h"
#include "base/fourcc.h"
#include "base/text.h"

namespace fmp4 {

namespace {

struct CodecName {
  std::uint32_t type;
  const char* name;
};

// The registered types found in files of today and of the last decades (mp4ra.org, QuickTime).
constexpr CodecName kNames[] = {
    // Video.
    {kAvc1, "H.264"},
    {Mp4FourCc("avc2"), "H.264"},
    {Mp4FourCc("avc3"), "H.264 with parameter sets among its samples"},
    {Mp4FourCc("avc4"), "H.264 with parameter sets among its samples"},
    {kHvc1, "HEVC"},
    {kHev1, "HEVC with parameter sets among its samples"},
    {Mp4FourCc("dvav"), "Dolby Vision"},
    {Mp4FourCc("dva1"), "Dolby Vision"},
    {Mp4FourCc("dvh1"), "Dolby Vision"},
    {Mp4FourCc("dvhe"), "Dolby Vision"},
    {Mp4FourCc("dav1"), "Dolby Vision"},
    {Mp4FourCc("av01"), "AV1"},
    {Mp4FourCc("vvc1"), "VVC"},
    {Mp4FourCc("vvi1"), "VVC"},
    {Mp4FourCc("evc1"), "EVC"},
    {Mp4FourCc("vp08"), "VP8"},
    {Mp4FourCc("vp09"), "VP9"},
    {Mp4FourCc("mp4v"), "MPEG-4 Visual"},
    {Mp4FourCc("mp2v"), "MPEG-2 video"},
    {Mp4FourCc("s263"), "H.263"},
    {Mp4FourCc("h263"), "H.263"},
    {Mp4FourCc("vc-1"), "VC-1"},
    {Mp4FourCc("mjp2"), "Motion JPEG 2000"},
    {Mp4FourCc("jpeg"), "Motion JPEG"},
    {Mp4FourCc("apch"), "ProRes"},
    {Mp4FourCc("apcn"), "ProRes"},
    {Mp4FourCc("apcs"), "ProRes"},
    {Mp4FourCc("apco"), "ProRes"},
    {Mp4FourCc("ap4h"), "ProRes"},
    {Mp4FourCc("AVdn"), "DNxHD"},
    // Audio.
    {kMp4a, "AAC"},
    {kAc3, "AC-3"},
    {kEac3, "E-AC-3"},
    {Mp4FourCc("ac-4"), "AC-4"},
    {Mp4FourCc("mlpa"), "Dolby TrueHD"},
    {Mp4FourCc("Opus"), "Opus"},
    {Mp4FourCc("fLaC"), "FLAC"},
    {Mp4FourCc("alac"), "ALAC"},
    {Mp4FourCc(".mp3"), "MP3"},
    {Mp4FourCc("dtsc"), "DTS"},
    {Mp4FourCc("dtse"), "DTS Express"},
    {Mp4FourCc("dtsh"), "DTS-HD"},
    {Mp4FourCc("dtsl"), "DTS-HD"},
    {Mp4FourCc("dtsx"), "DTS:X"},
    {Mp4FourCc("mha1"), "MPEG-H 3D Audio"},
    {Mp4FourCc("mha2"), "MPEG-H 3D Audio"},
    {Mp4FourCc("mhm1"), "MPEG-H 3D Audio"},
    {Mp4FourCc("mhm2"), "MPEG-H 3D Audio"},
    {Mp4FourCc("samr"), "AMR"},
    {Mp4FourCc("sawb"), "AMR-WB"},
    {Mp4FourCc("ipcm"), "PCM"},
    {Mp4FourCc("fpcm"), "PCM"},
    {Mp4FourCc("lpcm"), "PCM"},
    {Mp4FourCc("sowt"), "PCM"},
    {Mp4FourCc("twos"), "PCM"},
    // Captions, subtitles and the rest.
    {kC608, "CEA-608"},
    {kC708, "CEA-708"},
    {Mp4FourCc("wvtt"), "WebVTT"},
    {Mp4FourCc("stpp"), "TTML"},
    {Mp4FourCc("sbtt"), "text subtitles"},
    {Mp4FourCc("tx3g"), "3GPP timed text"},
    {Mp4FourCc("text"), "QuickTime text"},
    {Mp4FourCc("tmcd"), "timecode"},
    {Mp4FourCc("mett"), "timed metadata"},
    {Mp4FourCc("metx"), "timed metadata"},
    {Mp4FourCc("mebx"), "timed metadata"},
    {Mp4FourCc("urim"), "timed metadata"},
};

}  // namespace

std::string codecName(std::uint32_t sampleEntryType) {
  const auto* const found = std::find_if(std::begin(kNames), std::end(kNames),
                                         [&](const CodecName& row) { return row.type == sampleEntryType; });
  return found != std::end(kNames) ? found->name : fourCcText(sampleEntryType);
}

}  // namespace fmp4
