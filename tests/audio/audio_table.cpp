// Prints how far the decoders' samples are from those of other decoders, as the tables of docs/audio.md,
// where scripts/audio_table.sh puts them. Streams are made by ffmpeg or at random, or come from tests/data.
#include <cstdio>

#include "tests/audio/aac_streams.h"
#include "tests/audio/ac3_generator.h"
#include "tests/audio/ac3_streams.h"
#include "tests/support/places.h"

namespace fmp4 {

namespace {

// ---- Streams -----------------------------------------------------------------------------------------

// Channel number `channel` of a signal, as ffmpeg's aevalsrc takes it.
std::string Expression(const std::string& signal, int channel) {
  const std::string c = std::to_string(channel + 1);
  if (signal == "tones") return "0.25*sin(2*PI*" + c + "*440*t)+0.1*sin(2*PI*(1900+400*" + c + "*t)*t)";
  if (signal == "noise") return "random(" + c + ")*0.8-0.4";
  return "exp(-40*mod(t+0.03*" + c + "\\,0.25))*(random(" + c + ")*1.6-0.8)";  // bursts
}

struct Source {
  const char* signal;
  const char* layout;  // ffmpeg's name
  int channels;
  int kilobits;
};

void Encode(const std::string& file, const Source& source, const std::vector<std::string>& options) {
  std::string expressions;
  for (int i = 0; i < source.channels; ++i) expressions += (i == 0 ? "" : "|") + Expression(source.signal, i);
  makeMedia(file, std::vector<std::string>{"-f", "lavfi", "-i",
                                           "aevalsrc=" + expressions + ":s=48000:d=2:c=" + source.layout} +
                      options + std::vector<std::string>{"-b:a", std::to_string(source.kilobits) + "k"});
}

std::string NameOf(const Source& source) {
  return std::string(source.layout) + ", " + std::to_string(source.kilobits) + " kbit/s, " + source.signal;
}

// ---- Rows --------------------------------------------------------------------------------------------

void PrintHead() {
  std::printf("| stream | reference decoder | largest difference | RMS |\n|---|---|---:|---:|\n");
}

// References that omit their first frames are compared with the rest of ours.
void PrintRow(const std::string& stream, const char* reference, const Samples& ours,
              const std::vector<float>& expected) {
  const auto missing =
      static_cast<std::ptrdiff_t>(ours.size()) - static_cast<std::ptrdiff_t>(expected.size());
  if (missing < 0 || expected.empty()) {
    std::printf("| %s | %s | other length | |\n", stream.c_str(), reference);
    return;
  }
  const Samples compared(ours.begin() + missing, ours.end());
  std::printf("| %s | %s | %d | %.3f |\n", stream.c_str(), reference, LargestDifference(compared, expected),
              RootMeanSquare(compared, expected));
}

std::vector<float> FaadDecode(const std::string& file) {
  const std::string pcm = runOrThrow({"faad", "-q", "-f", "2", "-w", file}).out;
  std::vector<std::int16_t> samples(pcm.size() / sizeof(std::int16_t));
  std::memcpy(samples.data(), pcm.data(), samples.size() * sizeof(std::int16_t));
  return {samples.begin(), samples.end()};
}

// Where a reference outputs one channel as two.
std::vector<float> FirstOfTwo(const std::vector<float>& samples) {
  std::vector<float> first;
  for (std::size_t i = 0; i < samples.size(); i += 2) first.push_back(samples[i]);
  return first;
}

Samples Rounded(const std::vector<float>& samples) {
  Samples rounded;
  for (const float sample : samples) {
    rounded.push_back(static_cast<std::int16_t>(std::lrint(std::clamp(sample, -32768.0f, 32767.0f))));
  }
  return rounded;
}

// ---- AAC ---------------------------------------------------------------------------------------------

Samples DecodeAac(const std::string& file) {
  return TestDecoder(0, 0).DecodeAll(readFile(file));
}

// Ours against both references, and these against each other.
void PrintAacRows(const std::string& stream, const Samples& ours, const std::vector<float>& ffmpeg,
                  const std::vector<float>& faad) {
  PrintRow(stream, "ffmpeg", ours, ffmpeg);
  PrintRow(stream, "faad", ours, faad);
  PrintRow(stream, "(ffmpeg against faad)", Rounded(ffmpeg), faad);
}

void PrintEncodedAac(const char* tools, const Source& source, const std::vector<std::string>& options) {
  TempFolder folder;
  const std::string file = folder.file("a.aac"), name = std::string(tools) + ", " + NameOf(source);
  Encode(file, source, options + std::vector<std::string>{"-c:a", "aac", "-strict", "-2"});
  const Samples ours = DecodeAac(file);
  const auto ffmpeg = FfmpegDecode(file, {"-c:a", "aac"});
  if (source.channels > 2) {
    PrintRow(name, "ffmpeg", ours, ffmpeg);
  } else {
    const auto faad = FaadDecode(file);
    PrintAacRows(name, ours, ffmpeg, source.channels == 1 ? FirstOfTwo(faad) : faad);
  }
}

struct Sample {
  const char* tools;
  const char* name;
  bool isMonoWithSbr;  // both references output its one channel as two
  bool withFaad;
};

void PrintSample(const Sample& sample) {
  const std::string file = std::string(VL_TEST_DATA) + "/" + sample.name;
  const std::string stream = std::string(sample.tools) + ", `" + sample.name + "`";
  const auto adapt = [&](const std::vector<float>& samples) {
    return sample.isMonoWithSbr ? FirstOfTwo(samples) : samples;
  };
  const Samples ours = DecodeAac(file);
  const auto ffmpeg = adapt(FfmpegDecode(file, {"-c:a", "aac"}));
  if (sample.withFaad) {
    PrintAacRows(stream, ours, ffmpeg, adapt(FaadDecode(file)));
  } else {
    PrintRow(stream, "ffmpeg", ours, ffmpeg);
  }
}

void PrintAac() {
  PrintHead();
  const std::vector<std::string> noNoise = {"-aac_pns", "0"};
  for (const char* signal : {"tones", "bursts", "noise"}) {
    PrintEncodedAac("LC", {signal, "stereo", 2, 128}, noNoise);
  }
  PrintEncodedAac("LC", {"tones", "mono", 1, 64}, noNoise);
  PrintEncodedAac("LC", {"tones", "5.1", 6, 384}, noNoise);
  PrintEncodedAac("Main", {"tones", "stereo", 2, 64},
                  noNoise + std::vector<std::string>{"-profile:a", "aac_main", "-aac_pred", "1"});
  PrintEncodedAac("LTP", {"tones", "stereo", 2, 64},
                  noNoise + std::vector<std::string>{"-profile:a", "aac_ltp", "-aac_ltp", "1"});
  // Below 24 kHz faad takes every stream as one with SBR.
  for (const Sample& sample : {Sample{"LC, mono", "lc_mono_16k.aac", false, false},
                               {"LC, 4.0", "lc_40_48k.aac", false, false},
                               {"LC, 5.1", "lc_51_48k.aac", false, false},
                               {"HE (SBR), mono", "he_v1_mono_48k.aac", true, true},
                               {"HE (SBR), stereo", "he_v1_stereo_48k.aac", false, true},
                               {"HE (SBR), 5.1", "he_v1_51_48k.aac", false, false},
                               {"HE v2 (SBR, PS)", "he_v2_48k.aac", false, true}}) {
    PrintSample(sample);
  }
}

// ---- AC-3 --------------------------------------------------------------------------------------------

const std::vector<std::string> kNoDynamicRange = {"-drc_scale", "0"};

// All channels against ffmpeg's, their stereo mix against a52dec's. Each decoder draws its own noise: ffmpeg
// against itself shows how far apart that is.
void PrintEncodedAc3(const Source& source, int mode, bool lfe) {
  TempFolder folder;
  const std::string file = folder.file("a.ac3"), name = NameOf(source);
  Encode(file, source, {"-c:a", "ac3"});
  const Bytes stream = readFile(file);
  const auto expected = FfmpegDecode(file, kNoDynamicRange);
  PrintRow(name, "ffmpeg", TestAc3Decoder(mode, lfe).DecodeAll(stream), expected);
  PrintRow(name, "(ffmpeg against itself, other noise)",
           Rounded(FfmpegDecode(file, kNoDynamicRange + std::vector<std::string>{"-cons_noisegen", "1"})),
           expected);
  if (mode != 1) {  // a52dec has its own gain for a single channel
    PrintRow(name + ", mixed to stereo", "a52dec", TestAc3Decoder().DecodeAll(stream), A52Decode(file));
  }
}

// Valid frames with every tool in them except noise, which no two decoders draw alike.
void PrintGeneratedAc3(int mode) {
  constexpr int kFrames = 60;
  TempFolder folder;
  const std::string file = folder.file("a.ac3");
  Ac3GeneratorOptions options;
  options.mode = mode;
  // Where ffmpeg and a52dec differ: one dynamic range word for two programmes, and in a52dec phase flags and
  // the origin of the coupling channel's delta segments.
  options.dynamicRange = mode != 0;
  options.phaseFlags = options.couplingDelta = false;
  Ac3Generator generator(static_cast<unsigned>(mode) + 1, options);
  Bytes stream;
  for (int i = 0; i < kFrames; ++i) stream = stream + generator.NextFrame();
  writeFile(file, stream);
  const std::string name = "random frames of coding mode " + std::to_string(mode) + " with LFE";
  PrintRow(name, "ffmpeg", TestAc3Decoder(mode, true).DecodeAll(stream), FfmpegDecode(file, {"-f", "ac3"}));
  if (mode != 1) {
    PrintRow(name + ", mixed to stereo", "a52dec", TestAc3Decoder().DecodeAll(stream), A52Decode(file));
  }
}

void PrintAc3() {
  PrintHead();
  PrintEncodedAc3({"tones", "mono", 1, 96}, 1, false);
  PrintEncodedAc3({"tones", "stereo", 2, 192}, 2, false);
  PrintEncodedAc3({"tones", "5.1(side)", 6, 448}, 7, true);
  PrintEncodedAc3({"bursts", "5.1(side)", 6, 448}, 7, true);
  PrintEncodedAc3({"noise", "stereo", 2, 192}, 2, false);
  for (int mode = 0; mode < 8; ++mode) PrintGeneratedAc3(mode);
}

}  // namespace

}  // namespace fmp4

using namespace fmp4;

int main() try {
  std::printf("### AAC\n\n");
  PrintAac();
  std::printf("\n### AC-3\n\n");
  PrintAc3();
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
