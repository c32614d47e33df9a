#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

#include "audio_config.h"
#include "commands.h"
#include "fourcc.h"
#include "master_playlist.h"
#include "package_plan.h"
#include "plugin_host.h"
#include "progress.h"
#include "replace_file.h"
#include "segment_geometry.h"
#include "source_captions.h"
#include "source_file.h"
#include "text.h"
#include "vlpath.h"

namespace {

constexpr std::uint32_t kStereo = 3;  // channel mask of the sound
constexpr std::uint32_t kKeyFrameIntervalOption = 8;
constexpr std::uint32_t kMostCopiedConfiguration = 4;

void warn(const std::string& text) {
  std::cerr << "fmp4: warning: " << text << '\n';
}

void checkStatus(std::uint32_t status, const std::string& what) {
  if (status != VL_OK)
    throw ToolError(what + " could not be written (status " + statusText(status) +
                    "); the host's log says why (run without --quiet to see it)");
}

const SourceTrack& findVideo(const SourceFile& source) {
  const SourceTrack* const video = source.findHandler(Mp4FourCc("vide"));
  if (!video) throw ToolError("'" + source.path() + "' has no video; 'fmp4 boxes' shows what it has");
  if (video->codec != Mp4FourCc("avc1") || video->configuration.empty())
    throw ToolError("'" + source.path() + "' has video of type '" + fourCcText(video->codec) +
                    "'; recordings take H.264 (avc1) with its configuration. ffmpeg -c:v libx264 makes it");
  return *video;
}

// Null when there is no sound to be packaged.
const SourceTrack* findAudio(const SourceFile& source, const PackageOptions& options) {
  const SourceTrack* const audio = source.findHandler(Mp4FourCc("soun"));
  if (!audio || options.noAudio) return nullptr;
  constexpr std::array<std::uint8_t, 4> kAac = {0x40, 0x66, 0x67, 0x68};  // ISO/IEC 14496-1, 7.2.6.6
  const bool aac = audio->codec == Mp4FourCc("mp4a") &&
                   std::find(kAac.begin(), kAac.end(), audio->objectType) != kAac.end() &&
                   parseAudioConfig(audio->configuration);
  if (!aac)
    throw ToolError("'" + source.path() + "' has sound of type '" + fourCcText(audio->codec) +
                    "', which a recording cannot hold: it takes AAC (mp4a). --no-audio leaves it out, ffmpeg "
                    "-c:v copy -c:a aac makes AAC of it");
  return audio;
}

class Packager {
 public:
  Packager(const Plugin& plugin, SourceFile& source, const PackageOptions& options)
      : source_(source),
        options_(options),
        video_(findVideo(source)),
        audio_(findAudio(source, options)),
        plan_(planPackage(video_, options, warn)),
        cc608_(source, source.findCodec(Mp4FourCc("c608")), videoOrigin(), plan_.framesPerSecond()),
        cc708_(source, source.findCodec(Mp4FourCc("c708")), videoOrigin(), plan_.framesPerSecond()),
        file_(plugin.create(options.output)) {
    if (audio_) audioConfig_ = *parseAudioConfig(audio_->configuration);
    descriptor_.size = sizeof(DFRAME);
  }

  void run() {
    describe();
    Progress progress("packaging", plan_.count);
    std::size_t sound = firstSound();
    for (std::uint32_t i = 0; i < plan_.count; ++i) {
      // Sound goes ahead of the picture that it plays with.
      while (sound < soundEnd() && soundTime(sound - firstSound()) < (i + 1) / plan_.framesPerSecond())
        writeSound(sound++);
      writeFrame(i);
      progress.show(i + 1);
    }
    // What the picture does not cover belongs to it only when all of it was asked for.
    if (plan_.first + plan_.count == video_.samples.size())
      while (sound < soundEnd()) writeSound(sound++);
    MFXCLOSE request = {};
    checkStatus(file_->MFXCmd(MFX_CLOSE, &request), "the end of '" + options_.output + "'");
  }

  MasterPlaylist master() const {
    MasterPlaylist master;
    master.codecs =
        codecsText(video_.configuration, audio_ ? audio_->configuration : std::vector<std::uint8_t>());
    master.width = video_.width;
    master.height = video_.height;
    master.framesPerSecond = plan_.framesPerSecond();
    return master;
  }

 private:
  double videoOrigin() const {
    return static_cast<double>(video_.samples.front().decodeTime) / video_.timescale;
  }

  // The first coded frame of sound that starts with the first chosen picture or later.
  std::size_t firstSound() {
    if (!audio_) return 0;
    if (firstSound_ == kUnknown) {
      const double start = static_cast<double>(video_.samples[plan_.first].decodeTime) / video_.timescale;
      firstSound_ = 0;
      while (plan_.first != 0 && firstSound_ < audio_->samples.size() &&
             static_cast<double>(audio_->samples[firstSound_].decodeTime) / audio_->timescale < start)
        ++firstSound_;
    }
    return firstSound_;
  }
  std::size_t soundEnd() const { return audio_ ? audio_->samples.size() : 0; }
  double soundTime(std::size_t frames) const {
    return static_cast<double>(frames) * kAacFrameSamples / audioConfig_.sampleRate;
  }

  void describe() {
    file_->SetCodecOption(kVideoChannel, 0, kKeyFrameIntervalOption, plan_.interval, nullptr);
    const auto video = std::make_unique<QVRVIDEO>();
    QVRAUDIO audio = {};
    QVRINFO info = {};
    file_->GetFileInfo(kVideoChannel, nullptr, video.get(), &audio, &info);
    describeVideo(*video);
    if (audio_) describeAudio(audio);
    info.captions = (cc608_.present() ? QVR_CAPTIONS_608 : 0) | (cc708_.present() ? QVR_CAPTIONS_708 : 0);
    checkStatus(file_->SetFileInfo(audio_ ? kStereo : kVideoChannel, nullptr, video.get(),
                                   audio_ ? &audio : nullptr, &info),
                "the description of '" + options_.output + "'");
  }

  void describeVideo(QVRVIDEO& video) const {
    video.bitmap.width = static_cast<std::int32_t>(video_.width);
    video.bitmap.height = static_cast<std::int32_t>(video_.height);
    video.bitmap.compression = video.stream.handler = Mp4FourCc("1cva");
    video.stream.rate = plan_.rate;
    video.stream.scale = plan_.scale;
    const auto& record = video_.configuration;
    const std::size_t size = 8 + record.size();
    if (size > sizeof video.colourTable) throw ToolError("the source's codec configuration is too long");
    video.bitmap.size = static_cast<std::uint32_t>(sizeof(QVRBITMAP) + size);
    for (unsigned i = 0; i < 4; ++i) {
      video.colourTable[i] = static_cast<std::uint8_t>(size >> (24 - 8 * i));
      video.colourTable[4 + i] = static_cast<std::uint8_t>("avcC"[i]);
    }
    std::copy(record.begin(), record.end(), video.colourTable + 8);
  }

  void describeAudio(QVRAUDIO& audio) const {
    audio.codec = audio.stream.handler = Mp4FourCc("mp4a");
    audio.wave.samplesPerSecond = audioConfig_.sampleRate;
    audio.wave.channels = static_cast<std::uint16_t>(audio_->channels);
    std::uint64_t bytes = 0;
    for (const SourceSample& sample : audio_->samples) bytes += sample.size;
    audio.wave.averageBytesPerSecond =
        static_cast<std::uint32_t>(static_cast<double>(bytes) / soundTime(audio_->samples.size()));
    // Longer configurations are not stored; their first two bytes describe the core.
    const auto& config = audio_->configuration;
    audio.wave.extraSize =
        static_cast<std::uint16_t>(config.size() <= kMostCopiedConfiguration ? config.size() : 2);
    std::copy_n(config.begin(), audio.wave.extraSize, audio.wave.extra);
  }

  void writeFrame(std::uint32_t i) {
    const SourceSample& sample = video_.samples[plan_.first + i];
    take(sample);
    descriptor_.flags = sample.key ? DFRAME_KEY : DFRAME_NOT_KEY;
    descriptor_.compositionOffset = plan_.compositionOffsets[i];
    descriptor_.captionFlags = descriptor_.captionBytes = 0;
    std::vector<std::uint8_t> held;
    // Captions are read through the same buffer.
    if (cc608_.present() || cc708_.present()) {
      held.assign(descriptor_.data, descriptor_.data + descriptor_.bytes);
      descriptor_.data = held.data();
      cc608_.addTo(descriptor_, plan_.first + i);
      cc708_.addTo(descriptor_, plan_.first + i);
    }
    checkStatus(file_->Write(i, 1, kVideoChannel, QVR_MODE_VIDEO, &descriptor_, nullptr),
                "frame " + std::to_string(i));
  }

  void writeSound(std::size_t i) {
    take(audio_->samples[i]);
    checkStatus(file_->Write(static_cast<std::uint32_t>(i - firstSound_), 1, kStereo, QVR_MODE_AUDIO,
                             &descriptor_, nullptr),
                "sound frame " + std::to_string(i));
  }

  void take(const SourceSample& sample) {
    const auto bytes = source_.read(sample);
    descriptor_.data = bytes.data();
    descriptor_.bytes = static_cast<std::uint32_t>(bytes.size());
  }

  static constexpr std::size_t kUnknown = ~std::size_t{0};

  SourceFile& source_;
  const PackageOptions& options_;
  const SourceTrack& video_;
  const SourceTrack* audio_;
  AudioConfig audioConfig_;
  PackagePlan plan_;
  SourceCaptions cc608_;
  SourceCaptions cc708_;
  MediaFile file_;
  std::size_t firstSound_ = kUnknown;
  DFRAME descriptor_ = {};
};

// The files that packaging may write over.
std::vector<std::filesystem::path> outputsOf(const std::filesystem::path& output) {
  std::vector<std::filesystem::path> files = {output};
  for (const char* extension : {".m4v", ".m4a", ".mpd", ".xml", ".m3u8", ".master.m3u8"})
    files.push_back(std::filesystem::path(output).replace_extension(extension));
  std::filesystem::path audioList = std::filesystem::path(output).replace_extension();
  audioList += "A.m3u8";
  files.push_back(audioList);
  return files;
}

void refuseToOverwrite(const PackageOptions& options) {
  std::error_code ignored;
  for (const auto& file : outputsOf(vlPath(options.output)))
    if (std::filesystem::equivalent(vlPath(options.input), file, ignored))
      throw ToolError("packaging would write over its source '" + vlName(file) +
                      "'; give another name for the output");
}

MasterPlaylist::Media readPlaylist(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw ToolError("'" + vlName(path) + "' cannot be read");
  return {vlName(path.filename()), {std::istreambuf_iterator<char>(file), {}}};
}

bool package(const Invocation& invocation, const PackageOptions& options) {
  const Plugin plugin(invocation.plugin);
  SourceFile source(options.input);
  refuseToOverwrite(options);
  Packager packager(plugin, source, options);
  packager.run();
  MasterPlaylist master = packager.master();
  const std::filesystem::path output = vlPath(options.output);
  master.video = readPlaylist(std::filesystem::path(output).replace_extension(".m3u8"));
  const bool soundApart =
      options.output.find(".mp4") != std::string::npos || options.output.find(".m4v") != std::string::npos;
  if (soundApart && source.findHandler(Mp4FourCc("soun")) && !options.noAudio)
    master.audio = readPlaylist(outputsOf(output).back());
  const std::string text = masterPlaylistText(master);
  const std::string path = vlName(std::filesystem::path(output).replace_extension(".master.m3u8"));
  if (os::replaceFile(path, text))
    throw ToolError("'" + path + "' could not be written; is the disk full?");
  return true;
}

}  // namespace

void addPackageCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command =
      app.add_subcommand("package", "Record the samples of an MP4 as fragments, with DASH and HLS lists");
  const auto options = std::make_shared<PackageOptions>();
  command->add_option("INPUT", options->input, "The MP4 to read, plain or fragmented")->required();
  command
      ->add_option("--output", options->output,
                   "The recording's name: OUT.mp4 becomes OUT.m4v and OUT.m4a, OUT.ismv holds both")
      ->type_name("OUT")
      ->required();
  command->add_option("--gop", options->interval, "Frames from one key frame to the next; else the source's")
      ->type_name("N")
      ->check(CLI::PositiveNumber);
  command->add_flag("--no-audio", options->noAudio, "Leave the sound out");
  command->add_option("--start", options->start, "The first frame to take, a key frame")->type_name("N");
  command->add_option("--count", options->count, "How many frames to take")
      ->type_name("N")
      ->check(CLI::PositiveNumber);
  command->callback([&invocation, options] {
    invocation.command = [&invocation, options] { return package(invocation, *options); };
  });
}
