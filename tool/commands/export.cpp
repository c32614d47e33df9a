#include <CLI/CLI.hpp>
#include <memory>

#include "tool/commands/commands.h"
#include "tool/export/export_streams.h"
#include "tool/host/plugin_host.h"

namespace {

struct ExportOptions {
  std::string file;
  std::string video;
  std::string audio;
  std::string captions;
  FrameSelection selection;
};

bool exportStreams(const Invocation& invocation, const ExportOptions& options) {
  const Plugin plugin(invocation.plugin);
  const MediaFile file = plugin.open(options.file);
  if (!options.video.empty()) exportVideo(*file, {options.file, options.video, options.selection});
  if (!options.audio.empty()) exportAudio(*file, {options.file, options.audio, options.selection});
  if (!options.captions.empty()) exportCaptions(*file, {options.file, options.captions, options.selection});
  return true;
}

}  // namespace

void addExportCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand("export", "Write the streams of a file to separate files");
  const auto options = std::make_shared<ExportOptions>();
  command->add_option("FILE", options->file, "The file to read")->required();
  CLI::Option_group* const outputs = command->add_option_group("outputs", "At least one of");
  outputs
      ->add_option("--video", options->video,
                   "Write the video as an elementary stream with start codes (H.264 or HEVC)")
      ->type_name("OUT");
  outputs->add_option("--audio", options->audio, "Write the audio as a WAV file")->type_name("OUT.wav");
  outputs->add_option("--captions", options->captions, "Write the captions as JSON lines, one per frame")
      ->type_name("OUT.json");
  outputs->require_option(1, 0);
  addFrameSelection(*command, options->selection);
  command->callback([&invocation, options] {
    invocation.command = [&invocation, options] { return exportStreams(invocation, *options); };
  });
}
