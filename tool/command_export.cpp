#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "annexb.h"
#include "codec_configuration.h"
#include "commands.h"
#include "frame_selection.h"
#include "plugin_host.h"
#include "progress.h"
#include "video_reader.h"

namespace {

struct ExportOptions {
  std::string file;
  std::string video;  // path of the elementary stream
  FrameSelection selection;
};

// A file being made. It is removed again unless it is finished.
class OutputFile {
 public:
  explicit OutputFile(const std::string& path) : path_(path), file_(path, std::ios::binary) {
    if (!file_) throw ToolError("'" + path_ + "' cannot be created; check the folder and its permissions");
  }
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile() {
    if (!finished_) remove();
  }

  void write(const std::vector<std::uint8_t>& bytes) {
    file_.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    check();
  }
  void finish() {
    file_.close();
    check();
    finished_ = true;
  }
  // Removes the file, unless it is a device. Returns whether it did.
  bool remove() {
    std::error_code ignored;
    file_.close();
    return std::filesystem::is_regular_file(path_, ignored) && std::filesystem::remove(path_, ignored);
  }

 private:
  void check() {
    if (!file_) throw ToolError("'" + path_ + "' could not be written; is the disk full?");
  }

  std::string path_;
  std::ofstream file_;
  bool finished_ = false;
};

AnnexB annexBOf(CAMediaFile& file, const std::string& name) {
  const auto video = std::make_unique<QVRVIDEO>();
  file.GetFileInfo(kVideoChannel, nullptr, video.get(), nullptr, nullptr);
  auto annexB = AnnexB::fromConfiguration(codecConfiguration(*video));
  if (!annexB)
    throw ToolError("'" + name +
                    "' has no sound H.264 or HEVC configuration, without which its video cannot be decoded; "
                    "'fmp4 boxes' shows what it has");
  return *annexB;
}

void refuseToOverwrite(const std::string& input, const std::string& output) {
  std::error_code ignored;
  if (std::filesystem::equivalent(input, output, ignored))
    throw ToolError("'" + output + "' is the file to be exported; give another name for the output");
}

void writeFrames(VideoReader& reader, const FrameRange& range, const AnnexB& annexB, OutputFile& output,
                 const std::string& name) {
  Progress progress("exporting", range.count);
  std::vector<std::uint8_t> stream;
  for (std::uint32_t i = 0; i < range.count; ++i) {
    const std::uint32_t frame = range.from + i;
    const bool key = (reader.read(frame).flags & DFRAME_KEY) != 0;
    stream.clear();
    if (!annexB.append(reader.sample(), key, stream))
      throw ToolError("frame " + std::to_string(frame) + " of '" + name +
                      "' is damaged: a length in it reaches past its end; export what lies around it with "
                      "--from and --count");
    output.write(stream);
    progress.show(i + 1);
  }
  output.finish();
}

void exportVideo(CAMediaFile& file, const ExportOptions& options) {
  VideoReader reader(file, options.file);
  const FrameRange range = reader.range(options.selection);
  const AnnexB annexB = annexBOf(file, options.file);
  refuseToOverwrite(options.file, options.video);
  OutputFile output(options.video);
  try {
    writeFrames(reader, range, annexB, output, options.file);
  } catch (const ToolError& error) {
    if (!output.remove()) throw;
    throw ToolError(std::string(error.what()) + "; the partial '" + options.video + "' has been removed");
  }
}

bool exportStreams(const Invocation& invocation, const ExportOptions& options) {
  const Plugin plugin(invocation.plugin);
  const MediaFile file = plugin.open(options.file);
  exportVideo(*file, options);
  return true;
}

}  // namespace

void addExportCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand("export", "Write a stream of a file to a file of its own");
  const auto options = std::make_shared<ExportOptions>();
  command->add_option("FILE", options->file, "The file to read")->required();
  command
      ->add_option("--video", options->video,
                   "Write the video as an elementary stream with start codes (H.264 or HEVC)")
      ->type_name("OUT")
      ->required();
  addFrameSelection(*command, options->selection);
  command->callback([&invocation, options] {
    invocation.command = [&invocation, options] { return exportStreams(invocation, *options); };
  });
}
