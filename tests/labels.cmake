# How suites are labelled, as regular expressions on "PROGRAM: SUITE".

# Rows of many settings held against another program or a generated stream, and what is about the build as shipped. The
# sanitizers see the same code in the suites beside them; they are not run twice.
set(VL_MATRIX_SUITES
  "ac3_test: All/(EncodedBitRate|EncodedLayout|Generated(Size|Version)|LevelledLayout)"
  "audio_test: All/(EncodedBitRate|PhaseModes|SamplingIndex|SbrSamplingIndex|StereoModes)"
  "examples_test: InstalledPackage"
  "plugin_test: (Broadcast/MuxedRates|Muxings/.*|LargeFile)"
  "streaming_test: (Cc608OfADay|Layouts/OpenCost)"
  "tool_test: (DescriptorLimit|InStep)")  # UBSan needs descriptors of its own

# What takes more than about three seconds: left out where somebody waits for each run.
set(VL_SLOW_SUITES
  ${VL_MATRIX_SUITES}
  "(ac3|audio|audio_ffmpeg|audio_steady|corrupt|plugin_he|plugin_memory|faults|recovery|recovery_day|recovery_memory|soak)_test: .*"
  "dsp_test: SbrFilterBank"
  "mp4box_test: (BufferedStream|Hostile|Payload|WrittenFile)"
  "plugin_test: (All/ReadPredicted|Of/LostUnit|Read.*)"
  "streaming_test: (Cc608Reader|ManifestDocument|ParseFrameRate|PlaylistWriter)"
  "tool_test: (EndedRecording|Export.*|Info|LiveInput|Package|SilentAccessUnit)")
