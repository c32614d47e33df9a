// Audio exported as the access units that the file has, held against ffmpeg's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using Arguments = std::vector<std::string>;

RunResult exportAudioTo(const std::string& file, const std::string& output, const Arguments& selection = {}) {
  return fmp4(Arguments{"--quiet", "export", file, "--audio", output} + selection);
}

// The first audio stream as ffmpeg copies it to the format of the extension of `output`.
Bytes copiedByFfmpeg(const std::string& file, const std::string& output) {
  runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-y", "-i", file, "-map", "0:a:0", "-c", "copy", output});
  return readFile(output);
}

// The MD5 of a file's audio as ffmpeg decodes it, its priming included.
std::string decodedHash(const std::string& file, const Arguments& options = {}) {
  return runOrThrow(Arguments{"ffmpeg", "-nostdin", "-v", "error"} + options +
                    Arguments{"-i", file, "-map", "0:a:0", "-c:a", "pcm_f32le", "-f", "md5", "-"})
      .out;
}

void makeTone(const std::string& file, const std::string& layout, const std::string& codec) {
  makeMedia(file, toneInput(1) + Arguments{"-af", "aformat=channel_layouts=" + layout, "-c:a", codec} +
                      fragmented("+delay_moov"));
}

// Of these "quad", "6.1" and "octagonal" have no channel configuration: a program says what they are.
TEST(ExportStream, AacIsWhatFfmpegMakesOfIt) {
  for (const char* layout : {"mono", "stereo", "4.0", "5.1", "quad", "6.1", "octagonal"}) {
    const TempFolder folder;
    const std::string file = folder.file("clip.mp4"), output = folder.file("clip.aac");
    makeTone(file, layout, "aac");
    const RunResult result = exportAudioTo(file, output);
    ASSERT_EQ(result.exitCode, 0) << layout << ": " << result.err;
    EXPECT_EQ(result.err, "") << layout;
    EXPECT_EQ(readFile(output), copiedByFfmpeg(file, folder.file("reference.aac"))) << layout;
    EXPECT_EQ(ffprobeStreamEntry(output, "a:0", "channels"), ffprobeStreamEntry(file, "a:0", "channels"))
        << layout;
    EXPECT_EQ(decodedHash(output), decodedHash(file, {"-ignore_editlist", "1"})) << layout;
  }
}

TEST(ExportStream, Ac3FramesLeaveAsTheyAre) {
  for (const char* layout : {"mono", "stereo", "5.1"}) {
    const TempFolder folder;
    const std::string file = folder.file("clip.mp4"), output = folder.file("clip.AC3");
    makeTone(file, layout, "ac3");
    const RunResult result = exportAudioTo(file, output);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(readFile(output), copiedByFfmpeg(file, folder.file("reference.ac3"))) << layout;
    EXPECT_EQ(ffprobeStreamEntry(output, "a:0", "channel_layout"),
              ffprobeStreamEntry(file, "a:0", "channel_layout"));
    EXPECT_EQ(decodedHash(output), decodedHash(file, {"-ignore_editlist", "1"})) << layout;
  }
}

TEST(ExportStream, HeAacIsSignalledImplicitlyAtTheRateOfItsCore) {
  for (const std::string name : {"he_v1_48k_explicit.mp4", "he_v2_48k_explicit.mp4"}) {
    const TempFolder folder;
    const std::string file = std::string(VL_TEST_DATA) + "/" + name, output = folder.file("clip.aac");
    ASSERT_EQ(exportAudioTo(file, output).exitCode, 0);
    const Bytes stream = readFile(output);
    EXPECT_EQ(stream, copiedByFfmpeg(file, folder.file("reference.aac"))) << name;
    EXPECT_EQ(stream[2] >> 2 & 15, 6) << "24000 Hz";
    EXPECT_EQ(ffprobeStreamEntry(output, "a:0", "sample_rate"), "48000");
  }
}

TEST(ExportStream, ARecordingOfTwoFilesHasItsAudioExported) {
  const TempFolder folder;
  makeMedia(folder.file("source.mp4"), videoInput(2, "25", "160x96") + toneInput(2.048) + h264Codec(25) +
                                           Arguments{"-c:a", "aac", "-ac", "2"});
  ASSERT_EQ(fmp4({"package", folder.file("source.mp4"), "--output", folder.file("out.mp4")}).exitCode, 0);
  const Bytes expected = copiedByFfmpeg(folder.file("out.m4a"), folder.file("reference.aac"));
  for (const char* name : {"out.m4v", "out.mpd", "out.m4a"}) {
    ASSERT_EQ(exportAudioTo(folder.file(name), folder.file("out.aac"), {"--force"}).exitCode, 0) << name;
    EXPECT_EQ(readFile(folder.file("out.aac")), expected) << name;
  }
}

// Of several tracks the first is exported, decoded or not.
TEST(ExportStream, TheFirstTrackIsExported) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, toneInput(1) +
                      Arguments{"-map", "0:a", "-map", "0:a", "-ac:a:0", "6", "-c:a:0", "ac3", "-ac:a:1", "2",
                                "-c:a:1", "aac"} +
                      fragmented("+delay_moov"));
  ASSERT_EQ(exportAudioTo(file, folder.file("out.ac3")).exitCode, 0);
  EXPECT_EQ(readFile(folder.file("out.ac3")), copiedByFfmpeg(file, folder.file("reference.ac3")));
}

// Units 47 to 66: the tone begins 1024 samples before frame 0, and 25 frames a second are 1920 samples each.
TEST(ExportStream, SelectedFramesChooseTheUnitsThatCoverThem) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), output = folder.file("part.aac");
  makeMedia(file, videoInput(2, "25", "160x96") + toneInput(2.048) + h264Codec(25, 0) +
                      Arguments{"-ac", "6", "-c:a", "aac"} + fragmented("+delay_moov"));
  for (const Arguments& end : {Arguments{"--count", "10"}, Arguments{"--to", "00:00:01:10"}}) {
    ASSERT_EQ(exportAudioTo(file, output, Arguments{"--from", "25", "--force"} + end).exitCode, 0);
    const std::vector<Packet> all = ffprobePackets(file, "a:0", {"-ignore_editlist", "1"});
    const std::vector<Packet> part = ffprobePackets(output, "a:0");
    ASSERT_EQ(part.size(), 20u);
    const Bytes source = readFile(file), stream = readFile(output);
    std::size_t place = 0;
    for (std::size_t i = 47; i < 67; ++i) {
      const auto unit = source.begin() + all[i].offset;
      place += 7;
      ASSERT_LE(place + static_cast<std::size_t>(all[i].size), stream.size());
      EXPECT_TRUE(std::equal(unit, unit + all[i].size, stream.begin() + static_cast<std::ptrdiff_t>(place)))
          << i;
      place += static_cast<std::size_t>(all[i].size);
    }
    EXPECT_EQ(place, stream.size());
  }
}

TEST(ExportStream, TheExtensionMustBeThatOfTheCodec) {
  const TempFolder folder;
  const std::string aac = folder.file("aac.mp4"), ac3 = folder.file("ac3.mp4");
  makeTone(aac, "stereo", "aac");
  makeTone(ac3, "stereo", "ac3");
  const RunResult wrong = exportAudioTo(aac, folder.file("out.ac3"));
  EXPECT_EQ(wrong.exitCode, 1);
  EXPECT_EQ(wrong.err, "fmp4: the audio of '" + aac +
                           "' is AAC; give the output a name that ends in .aac, or in .wav to decode it\n");
  EXPECT_EQ(exportAudioTo(ac3, folder.file("out.aac")).err,
            "fmp4: the audio of '" + ac3 +
                "' is AC-3; give the output a name that ends in .ac3, or in .wav to decode it\n");
  const std::string mp3 = folder.file("mp3.mp4");
  makeTone(mp3, "stereo", "libmp3lame");
  EXPECT_EQ(
      exportAudioTo(mp3, folder.file("out.aac")).err,
      "fmp4: the audio of '" + mp3 +
          "' is MPEG-1 audio, which neither .aac nor .ac3 holds; ffmpeg -map 0:a -c copy extracts it\n");
  EXPECT_FALSE(std::filesystem::exists(folder.file("out.ac3")));
  EXPECT_FALSE(std::filesystem::exists(folder.file("out.aac")));
}

// A file of one AAC track, LC at 48000 Hz, stereo, with these access units.
std::string fileOfUnits(const TempFolder& folder, const std::vector<SampleSpec>& units,
                        const Bytes& configuration = {0x11, 0x90}) {
  const Bytes specific = join({u8(5), u8(configuration.size()), configuration});
  const Bytes decoder = join({u8(4), u8(13 + specific.size()), u8(0x40), u8(0x15), zeros(11), specific});
  const Bytes esds =
      fullBox("esds", 0, 0, {u8(3), u8(3 + decoder.size() + 3), u16(1), u8(0), decoder, u8(6), u8(1), u8(2)});
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize | kRunDuration, units}};
  const TrackSpec track = {1, "soun", 48000, audioEntry("mp4a", 2, 16, 48000, esds), 1024};
  const std::string path = folder.file("units.mp4");
  writeFile(path, join({fileTypeBox(), movieBox({track}), fragment(1, {traf})}));
  return path;
}

// The header of a frame of LC at 48000 Hz, stereo.
Bytes headerFor(std::size_t unit) {
  const std::size_t frame = unit + 7;
  return {0xFF,
          0xF1,
          0x4C,
          static_cast<std::uint8_t>(0x80 | frame >> 11),
          static_cast<std::uint8_t>(frame >> 3 & 0xFF),
          static_cast<std::uint8_t>((frame & 7) << 5 | 0x1F),
          0xFC};
}

TEST(ExportStream, GapsAreReportedAndClosed) {
  const TempFolder folder;
  const std::vector<SampleSpec> units = {sampleOf(50, 1, 1024), sampleOf(60, 2, 1024 + 48000),
                                         sampleOf(70, 3, 1024), sampleOf(0, 4, 1024), sampleOf(5, 5, 9999)};
  const std::string file = fileOfUnits(folder, units), output = folder.file("out.aac");
  const RunResult result = exportAudioTo(file, output);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "exported " + output + " (213 bytes, 00:00:00.085)\n");
  EXPECT_EQ(result.err, "fmp4: the audio of '" + file +
                            "' has 1 gap, 00:00:01.000 in all, which access units alone cannot keep; a .wav "
                            "file has silence there\n");
  EXPECT_EQ(readFile(output), join({headerFor(50), units[0].data, headerFor(60), units[1].data, headerFor(70),
                                    units[2].data, headerFor(5), units[4].data}));
}

TEST(ExportStream, ATruncatedFileIsExportedUpToItsEnd) {
  const TempFolder folder;
  const std::vector<SampleSpec> units = {sampleOf(50, 1, 4800), sampleOf(60, 2, 1024)};
  const std::string file = fileOfUnits(folder, units), output = folder.file("out.aac");
  std::filesystem::resize_file(file, std::filesystem::file_size(file) - 1);
  const RunResult result = exportAudioTo(file, output);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, testing::HasSubstr("the audio of '" + file +
                                             "' ends at 0:00:00.1, before its stated length\n"));
  EXPECT_EQ(readFile(output), join({headerFor(50), units[0].data}));
}

TEST(ExportStream, ADamagedFragmentEndsTheAudio) {
  const TempFolder folder;
  const std::vector<SampleSpec> units = {sampleOf(50, 1, 4800)};
  const std::string file = fileOfUnits(folder, units), output = folder.file("out.aac");
  writeFile(file, join({readFile(file), zeros(20)}));
  const RunResult result = exportAudioTo(file, output);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "fmp4: the audio of '" + file + "' ends at 0:00:00.1, before its stated length\n");
  EXPECT_EQ(readFile(output), join({headerFor(50), units[0].data}));
}

TEST(ExportStream, WhatAdtsCannotSayIsRefused) {
  const TempFolder folder;
  const std::string output = folder.file("out.aac");
  const std::string file = fileOfUnits(folder, {sampleOf(50, 1, 960)}, {0x11, 0x94});
  const RunResult result = exportAudioTo(file, output);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: ADTS (.aac) cannot hold the audio of '" + file +
                            "': its frames have 960 samples, and those of ADTS 1024; give the output a name "
                            "that ends in .wav to decode it\n");
  fileOfUnits(folder, {sampleOf(8185, 1, 1024)});
  EXPECT_EQ(
      exportAudioTo(file, output).err,
      "fmp4: an access unit of the audio of '" + file +
          "' has 8185 bytes, more than ADTS (.aac) can say; give the output a name that ends in .wav; the "
          "partial '" +
          output + "' has been removed\n");
  EXPECT_FALSE(std::filesystem::exists(output));
}

}  // namespace

}  // namespace fmp4
