// What the program says about files that cannot be read, or only in part.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using nlohmann::json;
using testing::HasSubstr;

const std::vector<std::string> kAac = {"-c:a", "aac"};

// What `fmp4 --quiet info` prints on standard error for a file that it does not open, without the program's
// name.
std::string reasonFor(const std::string& file) {
  const RunResult result = fmp4({"--quiet", "info", file});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(result.err.starts_with("fmp4: ")) << result.err;
  return result.err.substr(std::min<std::size_t>(result.err.size(), 6));
}

// Replaces every occurrence of a four-character code.
void replaceAll(const std::string& file, const std::string& from, const std::string& to) {
  Bytes bytes = readFile(file);
  auto at = bytes.begin();
  while ((at = std::search(at, bytes.end(), from.begin(), from.end())) != bytes.end())
    at = std::copy(to.begin(), to.end(), at);
  writeFile(file, bytes);
}

// The offset of a top-level box.
std::ptrdiff_t offsetOf(const Bytes& bytes, std::string_view type) {
  return std::search(bytes.begin(), bytes.end(), type.begin(), type.end()) - bytes.begin() - 4;
}

void write(const std::string& file, const std::string& content) {
  writeFile(file, Bytes(content.begin(), content.end()));
}

TEST(Refusal, OfEncryptedTracksNamesTheScheme) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(0.4) + toneInput(0.4) + h264Codec() + kAac + fragmented() +
                      std::vector<std::string>{"-encryption_scheme", "cenc-aes-ctr", "-encryption_key",
                                               "76a6c65c5ea762046bd749a2e632ccbb", "-encryption_kid",
                                               "a7e61c373e219033c21091fa607bf3b8"});
  EXPECT_EQ(reasonFor(file), "'" + file +
                                 "' could not be opened: it has no track that can be read: track 1 (vide, "
                                 "encv): encrypted H.264 (scheme cenc); track 2 (soun, enca): encrypted AAC "
                                 "(scheme cenc)\n");
  replaceAll(file, "cenc", "cbcs");
  EXPECT_THAT(reasonFor(file), HasSubstr("encrypted H.264 (scheme cbcs)"));
}

TEST(Refusal, NamesUnsupportedCodecs) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(0.2) + h264Codec() + fragmented());
  std::string previous = "avc1";
  for (const auto& [type, name] : {std::pair<std::string, std::string>{"av01", "AV1"},
                                   {"vvc1", "VVC"},
                                   {"vp09", "VP9"},
                                   {"mp4v", "MPEG-4 Visual"},
                                   {"hev1", "HEVC with parameter sets among its samples"},
                                   {"qqqq", "qqqq"}}) {
    replaceAll(file, previous, type);
    EXPECT_EQ(reasonFor(file),
              "'" + file + "' could not be opened: it has no track that can be read: track 1 (vide, " + type +
                  "): " + name + " is not supported\n");
    previous = type;
  }
}

TEST(Refusal, NamesUnsupportedAudioCodecs) {
  const TempFolder folder;
  const std::string opus = folder.file("opus.m4a"), dolby = folder.file("dolby.m4a");
  makeMedia(opus, toneInput(0.5) + std::vector<std::string>{"-c:a", "libopus", "-f", "mp4"} + fragmented());
  makeMedia(dolby, toneInput(0.5) + std::vector<std::string>{"-c:a", "eac3", "-f", "mp4"} +
                       fragmented("+delay_moov"));
  EXPECT_THAT(reasonFor(opus), HasSubstr(": track 1 (soun, Opus): Opus is not supported\n"));
  EXPECT_THAT(reasonFor(dolby), HasSubstr(": track 1 (soun, ec-3): E-AC-3 is not supported\n"));
  replaceAll(dolby, "ec-3", "ac-4");
  EXPECT_THAT(reasonFor(dolby), HasSubstr(": track 1 (soun, ac-4): AC-4 is not supported\n"));
  replaceAll(dolby, "ac-4", ".mp3");
  EXPECT_THAT(reasonFor(dolby), HasSubstr(": track 1 (soun, .mp3): MP3 is not supported\n"));
}

TEST(Refusal, OfHalfARecordingNamesTheOtherHalf) {
  const TempFolder folder;
  const std::string entire = folder.file("intact.mp4"), segment = folder.file("segment.mp4"),
                    initialisation = folder.file("init.mp4");
  makeMedia(entire, videoInput(0.2) + h264Codec() + fragmented());
  const Bytes bytes = readFile(entire);
  const std::ptrdiff_t moof = offsetOf(bytes, "moof");
  writeFile(segment, Bytes(bytes.begin() + moof, bytes.end()));
  writeFile(initialisation, Bytes(bytes.begin(), bytes.begin() + moof));
  EXPECT_EQ(reasonFor(segment),
            "'" + segment +
                "' could not be opened: it is a media segment without its initialisation: it "
                "has movie fragments but no movie box. Put the initialisation segment before "
                "it, cat init.mp4 segment.m4s > complete.mp4\n");
  EXPECT_EQ(reasonFor(initialisation),
            "'" + initialisation +
                "' is an initialisation segment alone: it has no movie fragments. Put "
                "its media segments after it, cat init.mp4 segment.m4s > complete.mp4\n");
}

TEST(Refusal, OfOtherFormatsNamesTheFormat) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  const auto reasonForContent = [&](const std::string& content) {
    write(file, content);
    return reasonFor(file);
  };
  const std::string subject = "'" + file + "' ";
  const std::string converted =
      "; H.264, AAC and AC-3 get into one without being encoded again by\n  ffmpeg -i '" + file +
      "' -c copy -movflags +frag_keyframe+empty_moov+default_base_moof fragmented.mp4\n";
  EXPECT_EQ(reasonForContent(""), subject + "is empty\n");
  EXPECT_EQ(reasonForContent("some text, longer than a box's header"), subject + "is not MP4\n");
  EXPECT_EQ(reasonForContent("#EXTM3U\n#EXT-X-VERSION:7\n"),
            subject + "is an HLS playlist; give the manifest (.mpd) or the media file that belongs to it\n");
  EXPECT_EQ(reasonForContent("\x1A\x45\xDF\xA3 and more"),
            subject + "is a Matroska or WebM file, not MP4" + converted);
  EXPECT_EQ(reasonForContent("G" + std::string(187, ' ') + "G" + std::string(187, ' ')),
            subject + "is an MPEG transport stream, not MP4" + converted);
  EXPECT_EQ(reasonForContent("<?xml version='1.0'?><MPD/>"),
            subject + "is an XML document, not MP4; the name of a manifest ends in .mpd or .xml\n");
  EXPECT_EQ(reasonForContent(std::string("\0\0\0\x10"
                                         "ftypiso5\0\0\2\0",
                                         16)),
            subject + "has no movie box; get a complete copy\n");
  std::filesystem::create_directory(folder.file("folder.mp4"));
  EXPECT_EQ(fmp4({"--quiet", "frames", folder.file("folder.mp4")}).err,
            "fmp4: '" + folder.file("folder.mp4") + "' is a folder; give a file in it\n");
}

TEST(Refusal, OfBoxesIsTheSame) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  const auto refusalOf = [&](const std::string& content) {
    write(file, content);
    const RunResult result = fmp4({"boxes", file});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    return result.err;
  };
  EXPECT_EQ(refusalOf(""), "fmp4: '" + file + "' is empty\n");
  EXPECT_EQ(refusalOf("some text, longer than a box's header"), "fmp4: '" + file + "' is not MP4\n");
  EXPECT_THAT(refusalOf("#EXTM3U\n#EXT-X-VERSION:7\n"), HasSubstr("is an HLS playlist; give the manifest"));
  EXPECT_EQ(fmp4({"boxes", folder.file("")}).err,
            "fmp4: '" + folder.file("") + "' is a folder; give a file in it\n");
}

// The name that was given to package leads to what it made.
TEST(RecordedName, LeadsToTheRecording) {
  const TempFolder folder;
  makeMedia(folder.file("source.mp4"), videoInput(0.4, "25") + toneInput(0.4) + h264Codec(5) + kAac);
  const std::string name = folder.file("out.mp4");
  ASSERT_EQ(fmp4({"-q", "package", folder.file("source.mp4"), "-o", name}).exitCode, 0);
  const auto described = json::parse(fmp4({"-q", "info", "--json", name}).out);
  EXPECT_EQ(described["file"], name);
  EXPECT_EQ(described["video"]["frames"], 10);
  EXPECT_EQ(described["audio"][0]["codec"], "mp4a");
  EXPECT_EQ(fmp4({"-q", "frames", name}).out, fmp4({"-q", "frames", folder.file("out.m4v")}).out);
  // A file of the name itself comes first.
  write(name, "some text, longer than a box's header");
  EXPECT_EQ(reasonFor(name), "'" + name + "' is not MP4\n");
}

TEST(Refusal, OfAManifestNamesItsMedia) {
  const TempFolder folder;
  const std::string manifest = folder.file("clip.mpd"), media = folder.file("video.dat");
  const auto naming = [&](const std::string& content) {
    write(manifest, "<MPD><Period><AdaptationSet><Representation mimeType='video/mp4'>" + content +
                        "</Representation></AdaptationSet></Period></MPD>");
    return reasonFor(manifest);
  };
  const std::string subject = "'" + manifest + "' could not be opened: ";
  EXPECT_EQ(
      naming(""),
      subject + "it names no media file, and there is none of its name (.mp4, .m4v or .m4a) beside it\n");
  EXPECT_EQ(
      naming("<SegmentTemplate media='$Number$.m4s'/>"),
      subject +
          "its media are in a file for each segment; manifests with one file for each track are read\n");
  EXPECT_EQ(naming("<BaseURL>video.dat</BaseURL>"),
            subject + "its media file '" + media + "' does not exist; check the name\n");
  makeMedia(folder.file("video.mp4"), videoInput(0.2) + h264Codec() + fragmented());
  std::filesystem::rename(folder.file("video.mp4"), media);
  replaceAll(media, "avc1", "av01");
  EXPECT_EQ(naming("<BaseURL>video.dat</BaseURL>"),
            subject + "its media file '" + media +
                "' has no track that can be read: track 1 (vide, av01): AV1 is not supported\n");
}

// Where the file itself looks right, the message quotes the plug-in.
TEST(Refusal, OtherwiseQuotesThePlugIn) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(0.2) + h264Codec() + fragmented());
  replaceAll(file, "tfhd", "free");
  EXPECT_EQ(reasonFor(file),
            "'" + file +
                "' could not be opened: the plug-in says \"No frame rate in the file, cannot "
                "address its frames\"; 'fmp4 boxes' shows what it holds\n");
}

TEST(OtherTracks, AreListedWithTheReason) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(0.4, "25") + videoInput(0.4, "25") + toneInput(0.4) +
                      std::vector<std::string>{"-map", "0", "-map", "1", "-map", "2"} + h264Codec() +
                      std::vector<std::string>{"-c:a", "libopus"} + fragmented());
  const RunResult result = fmp4({"--quiet", "info", "--json", file});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(
      json::parse(result.out)["otherTracks"],
      (json{
          {{"id", 2}, {"handler", "vide"}, {"codec", "avc1"}, {"why", "only the first video track is read"}},
          {{"id", 3}, {"handler", "soun"}, {"codec", "Opus"}, {"why", "Opus is not supported"}}}));
  const std::string text = fmp4({"--quiet", "info", file}).out;
  EXPECT_THAT(text, HasSubstr("track 2: video, H.264 (avc1), "));
  EXPECT_THAT(text, HasSubstr("; not read: only the first video track is read\n"));
  EXPECT_THAT(text, HasSubstr("track 3: audio, Opus, mono, 48000 Hz, "));
  EXPECT_THAT(text, HasSubstr("; not read: Opus is not supported\n"));
}

TEST(OtherTracks, ExplainWhyThereIsNoAudioToExport) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(0.4) + toneInput(0.4) + h264Codec() + std::vector<std::string>{"-c:a", "eac3"} +
                      fragmented("+delay_moov"));
  const RunResult result = fmp4({"--quiet", "export", file, "--audio", folder.file("out.wav")});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(
      result.err,
      "fmp4: '" + file + "' has no audio that can be read: track 2 (soun, ec-3): E-AC-3 is not supported\n");
}

// By default ffmpeg describes the samples before the first fragment in the movie box.
TEST(LeftOutSamples, OfTheMovieBoxAreCounted) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file,
            videoInput(2, "25") + h264Codec(10) + std::vector<std::string>{"-movflags", "frag_keyframe"});
  const RunResult result = fmp4({"--quiet", "info", "--json", file});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const std::size_t all = ffprobePackets(file, "v:0").size();
  EXPECT_EQ(all, 50u);
  EXPECT_EQ(json::parse(result.out)["video"]["frames"], 40);
  EXPECT_EQ(result.err,
            "fmp4: warning: '" + file +
                "' holds 10 frames in its movie box, before its fragments; they are left out. All "
                "come into fragments by\n  ffmpeg -i '" +
                file + "' -c copy -movflags +frag_keyframe+empty_moov+default_base_moof fragmented.mp4\n");
}

}  // namespace

}  // namespace fmp4
