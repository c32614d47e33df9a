// A host that writes less than requested, and reports how much.
#include "mp4box/output.h"
#include "tests/recovery/recovery.h"

namespace fmp4 {

namespace {

// While it lives, the host writes no more than so many bytes at a time.
class LimitedWrites {
 public:
  explicit LimitedWrites(std::uint32_t bytes) { limitHostWrites(bytes); }
  ~LimitedWrites() { limitHostWrites(0); }
};

std::map<std::string, Bytes> recorded(const Kind& kind) {
  const TempFolder folder;
  MediaFile file = startKind(folder, kind);
  EXPECT_TRUE(writeAll(*file, kind, kSegmentFrames + 7));
  EXPECT_EQ(closeFile(file), VL_OK);
  std::map<std::string, Bytes> files = filesOf(folder);
  for (const char* name : {"out.mpd", "out.xml", "out.m3u8", "outA.m3u8"}) files.erase(name);  // dated
  return files;
}

TEST(ShortWrites, ARecordingIsTheSame) {
  setFaults({});
  for (const Kind& kind : {kAudioApart, kAllInOne}) {
    const auto entire = recorded(kind);
    const LimitedWrites limited(7);
    EXPECT_EQ(recorded(kind), entire) << kind.name;
  }
}

TEST(ShortWrites, StreamsWriteAllAndCountIt) {
  setFaults({});
  const TempFolder folder;
  const Bytes bytes = frameBytes(1, 100);
  const LimitedWrites limited(40);
  {
    Mp4Stream stream;
    stream.open(folder.file("plain").c_str(), MP4_MODE_CREATE);
    EXPECT_EQ(stream.write(bytes.data(), 100), 100);
  }
  EXPECT_EQ(readFile(folder.file("plain")), bytes);
  {
    auto plain = std::make_unique<Mp4Stream>();
    plain->open(folder.file("buffered").c_str(), MP4_MODE_CREATE);
    Mp4BufferedStream stream(std::move(plain));
    EXPECT_EQ(stream.write(bytes.data(), 100), 100);
    EXPECT_EQ(stream.close(), 1);
  }
  EXPECT_EQ(readFile(folder.file("buffered")), bytes);
}

}  // namespace

}  // namespace fmp4
