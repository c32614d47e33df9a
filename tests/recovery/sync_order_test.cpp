// What a list names is durable before the list names it, at every segment.
#include "tests/recovery/recovery.h"

namespace fmp4 {

namespace {

// What a power cut would leave on the disk: every file as it was at its last flush.
class Disk {
 public:
  explicit Disk(const TempFolder& folder) : folder_(folder) {
    observeHostCalls([this](const HostCall& call) { take(call); });
  }
  ~Disk() { observeHostCalls({}); }

  int listings = 0;      // that named segments
  bool hasName = false;  // the name of the last replacement is durable

 private:
  void take(const HostCall& call) {
    if (call.kind == HostCallKind::Flush) {
      lasting_[fileNameOf(call.path)] = readFile(call.path);
    } else if (call.kind == HostCallKind::FlushNew) {
      lastingList_ = call.content;
    } else if (call.kind == HostCallKind::FlushName) {
      hasName = true;
    } else if (call.kind == HostCallKind::Replace) {
      EXPECT_EQ(lastingList_, call.content) << "its bytes before its name";
      hasName = false;
      check(segmentsOfManifest(call.content));
    } else if (call.kind == HostCallKind::FlushStream) {
      for (const char* name : {"out.m3u8", "outA.m3u8"}) {
        if (std::filesystem::exists(folder_.file(name)))
          check(segmentsOfPlaylist(textOf(folder_.file(name))));
      }
    }
  }

  void check(const std::vector<ListedSegment>& segments) {
    for (const ListedSegment& segment : segments) {
      const Bytes& lasting = lasting_[segment.media];
      const Bytes now = readFile(folder_.file(segment.media));
      ASSERT_LE(segment.end, lasting.size()) << segment.media;
      ASSERT_TRUE(std::equal(now.begin() + static_cast<std::ptrdiff_t>(segment.start),
                             now.begin() + static_cast<std::ptrdiff_t>(segment.end),
                             lasting.begin() + static_cast<std::ptrdiff_t>(segment.start)))
          << segment.media << " at " << segment.start;
      expectIntact(folder_, segment);
    }
    if (!segments.empty()) ++listings;
  }

  const TempFolder& folder_;
  std::map<std::string, Bytes> lasting_;
  std::string lastingList_;  // of the last file that is to replace another
};

// Media files whose names are waited for when a list first needs them.
std::uint64_t mediaNames([[maybe_unused]] const Kind& kind) {
#if defined(_WIN32)
  return 0;  // the file system keeps names and data in order
#else
  return kind.audioApart() ? 2 : 1;
#endif
}

class SyncOrder : public testing::TestWithParam<Kind> {};

TEST_P(SyncOrder, MediaReachTheDiskBeforeTheListsThatNameThem) {
  const Kind& kind = GetParam();
  const TempFolder folder;
  setFaults({});
  const Disk disk(folder);
  MediaFile file = startKind(folder, kind);
  ASSERT_TRUE(writeAll(*file, kind, 4 * kSegmentFrames + 7));
  ASSERT_EQ(closeFile(file), VL_OK);
  // Each of five segments is listed in a playlist of its file; the manifest is saved after each of the video,
  // and once more at the end.
  EXPECT_GE(disk.listings, kind.audioApart() ? 16 : 11);
  EXPECT_TRUE(disk.hasName);
}

TEST_P(SyncOrder, ASegmentFlushesEachFileAndTheManifestOnce) {
  const Kind& kind = GetParam();
  const TempFolder folder;
  setFaults({});
  MediaFile file = startKind(folder, kind);
  ASSERT_TRUE(writeAll(*file, kind, 4 * kSegmentFrames + 1));
  const std::uint64_t audioSegments =
      kind.audioApart() ? audioOf(4 * kSegmentFrames + 1) / (kAudioFragmentFrames * 10) : 0;
  EXPECT_EQ(diskWaits().data, 4 + audioSegments);
  EXPECT_EQ(diskWaits().replacements, 4u);
  EXPECT_EQ(diskWaits().names, mediaNames(kind) + 1) << "of the media and the manifest, at the first";
  ASSERT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(diskWaits().data, 5 + audioSegments + (kind.audioApart() ? 1 : 0));
  EXPECT_EQ(diskWaits().names, mediaNames(kind) + 2);
}

TEST_P(SyncOrder, RepairedMediaReachTheDiskBeforeTheLists) {
  const Kind& kind = GetParam();
  const TempFolder folder;
  {
    const TempFolder original;
    MediaFile file = startKind(original, kind);
    writeAll(*file, kind, kSegmentFrames + 9);
    fill(folder, filesOf(original));
  }
  setFaults({});
  std::vector<HostCallKind> calls;
  observeHostCalls([&](const HostCall& call) { calls.push_back(call.kind); });
  repairRecording(folder.file(kind.media()));
  observeHostCalls({});
  // For each media file the index and its flush; then the lists.
  const auto firstList = std::find(calls.begin(), calls.end(), HostCallKind::FlushNew);
  ASSERT_NE(firstList, calls.end());
  ASSERT_NE(firstList, calls.begin());
  EXPECT_EQ(*std::prev(firstList), HostCallKind::Flush);
  EXPECT_EQ(std::count(calls.begin(), firstList, HostCallKind::Replace), 0);
  EXPECT_EQ(std::count(firstList, calls.end(), HostCallKind::Write), 0);
  EXPECT_EQ(std::count(calls.begin(), firstList, HostCallKind::Write), kind.audioApart() ? 2 : 1);
}

// A list that ends with the media must not outlast bytes after their end.
TEST_P(SyncOrder, ARepairedEndReachesTheDiskBeforeTheLists) {
  const Kind& kind = GetParam();
  const TempFolder folder;
  {
    MediaFile file = startKind(folder, kind);
    writeAll(*file, kind, kSegmentFrames + 9);
    ASSERT_EQ(closeFile(file), VL_OK);
  }
  const std::string media = folder.file(kind.media());
  std::filesystem::resize_file(media, std::filesystem::file_size(media) - 1);
  setFaults({});
  std::vector<HostCallKind> calls;
  observeHostCalls([&](const HostCall& call) { calls.push_back(call.kind); });
  repairRecording(media);
  observeHostCalls({});
  const std::vector<HostCallKind> first = {HostCallKind::Write, HostCallKind::Flush, HostCallKind::Cut,
                                           HostCallKind::Flush, HostCallKind::FlushNew};
  ASSERT_GE(calls.size(), first.size());
  EXPECT_TRUE(std::equal(first.begin(), first.end(), calls.begin()));
}

INSTANTIATE_TEST_SUITE_P(Recording, SyncOrder, testing::Values(kVideoAlone, kAudioApart, kAllInOne),
                         [](const auto& info) {
                           return !info.param.hasAudio      ? "VideoOnly"
                                  : info.param.audioApart() ? "SeparateAudio"
                                                            : "AllInOne";
                         });

}  // namespace

}  // namespace fmp4
