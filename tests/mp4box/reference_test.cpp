// Files written here as other programs read them, and files of other programs rewritten here.
#include <gmock/gmock.h>

#include <cstring>
#include <set>

#include "mp4box/box.h"
#include "mp4box/boxes/mdhd.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/write.h"
#include "recording/write/default_boxes.h"
#include "tests/mp4box/payload_bytes.h"
#include "tests/mp4box/tree_file.h"
#include "tests/support/ffmpeg.h"

namespace fmp4 {

namespace {

using mp4::TrackKind;
using testing::HasSubstr;
using testing::IsSupersetOf;

// ---- Rewritten --------------------------------------------------------------------------------------

class Rewriter {
 public:
  explicit Rewriter(const Bytes& file) : file_(file) {
    Mp4MemoryStream stream(file_.data(), file_.size());
    const FileTree root(stream, true);
    for (Mp4Box* box = root->first; box; box = box->next) visit(*box);
    EXPECT_EQ(root->last->end(), file_.size());
  }

  std::set<std::string> types;  // of the boxes that were rewritten

 private:
  void visit(Mp4Box& box) {
    const std::string type = typeName(box);
    // Fields end where the first child starts.
    const std::uint64_t start = box.position + Mp4BoxHeaderSize(box);
    const std::uint64_t end = box.first ? box.first->position : box.end();
    ASSERT_LE(end, file_.size());
    // QuickTime's audio configuration repeats the entry's type as a box that is not a sample entry.
    if (box.data && !(type == "mp4a" && typeName(*box.father) == "wave")) {
      const Bytes stored(file_.begin() + static_cast<std::ptrdiff_t>(start),
                         file_.begin() + static_cast<std::ptrdiff_t>(end));
      EXPECT_EQ(bytesOf(*box.data), stored) << type << " at " << box.position;
      types.insert(type);
    }
    if (box.first) {
      EXPECT_EQ(box.last->end(), box.end()) << type << " at " << box.position;
    }
    for (Mp4Box* child = box.first; child; child = child->next) visit(*child);
  }

  const Bytes& file_;
};

std::set<std::string> typesWrittenAgain(const std::string& name, const std::vector<std::string>& arguments) {
  const TempFolder folder;
  const std::string file = folder.file(name);
  makeMedia(file, arguments);
  return Rewriter(readFile(file)).types;
}

const std::vector<std::string> kAac = {"-c:a", "aac", "-b:a", "96k"};

TEST(OtherWriters, FragmentedFilesAreRewrittenByteForByte) {
  EXPECT_THAT(typesWrittenAgain("a.mp4", videoInput(1) + toneInput(1) + h264Codec(10) + kAac +
                                             fragmented("+global_sidx+frag_discont")),
              IsSupersetOf({"ftyp", "mvhd", "tkhd", "mdhd", "hdlr", "vmhd", "smhd", "dref", "url ",
                            "stsd", "avc1", "avcC", "pasp", "mp4a", "esds", "stts", "stsc", "stsz",
                            "stco", "trex", "sidx", "mfhd", "tfhd", "tfdt", "trun", "tfra", "mfro"}));
}

TEST(OtherWriters, FragmentsWithBaseOffsetsAreRewrittenByteForByte) {
  EXPECT_THAT(typesWrittenAgain(
                  "a.mp4", videoInput(1) + toneInput(1) + h264Codec(10) + kAac +
                               std::vector<std::string>{"-movflags", "frag_keyframe", "-frag_size", "3000"}),
              IsSupersetOf({"trun", "tfhd", "stss", "ctts"}));
}

TEST(OtherWriters, SmoothFilesAreRewrittenByteForByte) {
  EXPECT_THAT(typesWrittenAgain("a.ismv", videoInput(1) + toneInput(1) + h264Codec(10) + kAac),
              IsSupersetOf({"mfhd", "tfhd", "trun", "tfra", "mfro"}));
}

TEST(OtherWriters, PlainFilesWithMetadataAreRewrittenByteForByte) {
  const TempFolder folder;
  const std::string chapters = folder.file("chapters");
  const std::string words =
      ";FFMETADATA1\ntitle=Name\nartist=Who\ngenre=Speech\ntrack=3/12\ncopyright=Mine\n"
      "[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=500\ntitle=First\n"
      "[CHAPTER]\nTIMEBASE=1/1000\nSTART=500\nEND=1000\ntitle=Second\n";
  writeFile(chapters, text(words));
  const std::string titles = folder.file("titles.srt");
  writeFile(titles, text("1\n00:00:00,000 --> 00:00:00,500\nWords\n\n"));
  const std::string file = folder.file("a.mp4");
  runOrThrow(std::vector<std::string>{"ffmpeg", "-nostdin", "-v", "error", "-y"} + videoInput(1) +
             toneInput(1) +
             std::vector<std::string>{"-i", titles, "-i", chapters, "-map", "0", "-map", "1", "-map", "2",
                                      "-map_metadata", "3"} +
             h264Codec(10) +
             std::vector<std::string>{"-c:a", "ac3", "-c:s", "mov_text", "-movflags", "+faststart", file});
  EXPECT_THAT(Rewriter(readFile(file)).types, IsSupersetOf({"stss", "ctts", "elst", "dac3", "meta", "\xA9nam",
                                                            "\xA9"
                                                            "ART",
                                                            "trkn", "tx3g", "chap", "chpl", "text"}));
}

TEST(OtherWriters, QuickTimeFilesAreRewrittenByteForByte) {
  EXPECT_THAT(typesWrittenAgain("a.mov",
                                videoInput(1) + toneInput(1) + h264Codec(10) +
                                    std::vector<std::string>{"-c:a", "pcm_s24le", "-metadata", "title=Name"}),
              IsSupersetOf({"hdlr", "url ", "enda", "frma"}));
  EXPECT_THAT(typesWrittenAgain("a.mov", videoInput(1) + toneInput(1) +
                                             std::vector<std::string>{"-c:v", "mjpeg", "-pix_fmt", "yuvj420p",
                                                                      "-c:a", "aac"}),
              IsSupersetOf({"jpeg", "esds", "mp4a"}));
  EXPECT_THAT(typesWrittenAgain("a.mov", toneInput(1, 96000) + std::vector<std::string>{"-c:a", "pcm_f64le"}),
              IsSupersetOf({"stsd"}));
}

// ---- As other programs read it ----------------------------------------------------------------------

// A fragmented file with the samples of a file that ffmpeg made: one fragment of all four tracks.
struct Presentation {
  mp4::Movie movie;
  mp4::MovieFragment fragment;
  Bytes video, audio, captions608, captions708;
};

constexpr std::uint32_t kFrames = 30;

// CEA-608: resume caption loading, row 15, "Hello", erase displayed memory, end of caption.
const Bytes kHello608 = {0x94, 0x20, 0x94, 0x70, 0xC8, 0xE5, 0xEC, 0xEC, 0xEF, 0x80, 0x94, 0x2C, 0x94, 0x2F};

// Appends the samples of a track's runs to `bytes` and to `run`, no more than `most` of them.
void takeSamples(const Bytes& file, Mp4Box* root, std::uint32_t trackId, std::uint32_t most, Bytes& bytes,
                 mp4::TrackRunBox& run) {
  for (Mp4Box* moof = root->first; moof; moof = moof->next) {
    for (std::uint32_t i = 0; Mp4Box* traf = Mp4BoxChild(moof, Mp4FourCc("traf"), i); ++i) {
      const auto* tfhd = Mp4PayloadOf<mp4::TrackFragmentHeaderBox>(Mp4BoxChild(traf, Mp4FourCc("tfhd")));
      const auto* trun = Mp4PayloadOf<mp4::TrackRunBox>(Mp4BoxChild(traf, Mp4FourCc("trun")));
      if (tfhd->trackId != trackId) continue;
      auto at = moof->position + static_cast<std::uint64_t>(trun->dataOffset);
      for (std::uint32_t s = 0; s < trun->sampleCount && run.sampleCount < most; ++s) {
        auto sample = trun->sample(s);
        if (!trun->hasSize()) sample.size = tfhd->defaultSampleSize;
        if (!trun->hasFlags()) sample.flags = tfhd->defaultSampleFlags;
        if (s == 0 && trun->hasFirstSampleFlags()) sample.flags = trun->firstSampleFlags;
        const auto first = file.begin() + static_cast<std::ptrdiff_t>(at);
        bytes.insert(bytes.end(), first, first + sample.size);
        run.addSample(sample);
        at += sample.size;
      }
    }
  }
}

Presentation presentationOf(const Bytes& source) {
  Mp4MemoryStream stream(source.data(), source.size());
  const FileTree root(stream, true);
  Mp4Box* moov = Mp4BoxChild(root.get(), Mp4FourCc("moov"));
  Presentation p;

  const mp4::TrackSet all = {.video = true, .audio = true, .captions608 = true, .captions708 = true};
  p.movie.mvhd = Mp4SetUpMovieHeader();
  p.movie.mvex = Mp4SetUpMovieExtends(all, 1001, false);
  p.movie.tracks[TrackKind::Video] = Mp4SetUpVideoTrack(1, 30000, 320, -180);
  p.movie.tracks[TrackKind::Audio] = Mp4SetUpAudioTrack(2, 48000);
  p.movie.tracks[TrackKind::Captions608] = Mp4SetUp608Track(3, 30000);
  p.movie.tracks[TrackKind::Captions708] = Mp4SetUp708Track(4, 30000);
  std::get<mp4::VideoMedia>(p.movie.tracks[TrackKind::Video]->media).avcC =
      *Mp4PayloadOf<mp4::AVCConfigurationBox>(
          Mp4BoxGet(nullptr, moov, true, "trak[0]/mdia/minf/stbl/stsd/avc1/avcC"));
  std::get<mp4::AudioMedia>(p.movie.tracks[TrackKind::Audio]->media).esds.decoderConfig =
      Mp4PayloadOf<mp4::ESDBox>(Mp4BoxGet(nullptr, moov, true, "trak[1]/mdia/minf/stbl/stsd/mp4a/esds"))
          ->decoderConfig;

  p.fragment = Mp4SetUpFragment(1, all);
  takeSamples(source, root.get(), 1, kFrames, p.video, p.fragment.tracks[TrackKind::Video]->trun);
  takeSamples(source, root.get(), 2, 46, p.audio, p.fragment.tracks[TrackKind::Audio]->trun);
  // One sample of a "cdat" box with a byte pair per frame, and one packet per frame.
  auto& cc608 = *p.fragment.tracks[TrackKind::Captions608];
  p.captions608 = box("cdat", {kHello608, repeat({0x80, 0x80}, kFrames - kHello608.size() / 2)});
  cc608.tfhd.defaultSampleDuration = 1001 * kFrames;
  cc608.tfhd.defaultSampleSize = static_cast<std::uint32_t>(p.captions608.size());
  cc608.trun.sampleCount = 1;
  for (std::uint32_t i = 0; i < kFrames; ++i) {
    p.captions708 = join({p.captions708, u32(8), u32(i)});
    p.fragment.tracks[TrackKind::Captions708]->trun.addSample({.size = 8});
  }
  return p;
}

void writePresentation(Mp4Output& out, Presentation& p) {
  mp4::FileTypeBox ftyp = Mp4SetUpFileType();
  Mp4WriteFileType(out, ftyp);
  Mp4WriteMovie(out, p.movie);

  mp4::SegmentIndexBox sidx;
  sidx.referenceId = 1;
  sidx.timescale = 30000;
  sidx.references.resize(1);
  const std::uint64_t sidxStart = out.tell();
  Mp4WriteSegmentIndex(out, sidx);

  const auto size = [](const Bytes& bytes) { return static_cast<std::uint32_t>(bytes.size()); };
  const Bytes data = join({p.video, p.audio, p.captions608, p.captions708});
  const std::uint32_t moofSize =
      Mp4WriteMovieFragment(out, p.fragment,
                            {.audio = size(p.video),
                             .captions608 = size(p.video) + size(p.audio),
                             .captions708 = size(p.video) + size(p.audio) + size(p.captions608)});
  Mp4WriteMediaData(out, data.data(), size(data));

  const std::uint64_t end = out.tell();
  sidx.references[0] = {.referencedSize = moofSize + 8 + size(data), .subsegmentDuration = 1001 * kFrames};
  out.seek(sidxStart);
  Mp4WriteSegmentIndex(out, sidx);
  out.seek(end);
}

class WrittenFile : public testing::Test {
 protected:
  WrittenFile() {
    const std::string source = folder_.file("source.mp4");
    makeMedia(source, videoInput(1.2) + toneInput(1.2) + h264Codec(kFrames) + kAac + fragmented());
    presentation_ = presentationOf(readFile(source));
    sourcePackets_ = {ffprobePackets(source, "v:0"), ffprobePackets(source, "a:0")};

    Mp4MemoryOutput out;
    writePresentation(out, presentation_);
    writeFile(path(), out.bytes);
  }

  std::string path() const { return folder_.file("written.m4v"); }
  std::string probed(const std::string& stream, const std::string& entry) const {
    return ffprobeStreamEntry(path(), stream, entry);
  }

  // The written file has exactly the packets that were taken from the source.
  void expectPackets(const std::string& stream, const std::vector<Packet>& expected,
                     std::size_t count) const {
    const std::vector<Packet> packets = ffprobePackets(path(), stream);
    ASSERT_EQ(packets.size(), count);
    ASSERT_GE(expected.size(), count);
    for (std::size_t i = 0; i < count; ++i) {
      EXPECT_EQ(packets[i].crc32, expected[i].crc32) << stream << " packet " << i;
      EXPECT_EQ(packets[i].key, expected[i].key) << stream << " packet " << i;
    }
  }

  TempFolder folder_;
  Presentation presentation_;
  std::array<std::vector<Packet>, 2> sourcePackets_;
};

TEST_F(WrittenFile, IsTheSameInMemoryAsOnDisk) {
  Mp4MemoryOutput out;
  writePresentation(out, presentation_);
  EXPECT_EQ(out.bytes, readFile(path()));
}

TEST_F(WrittenFile, ReadsBackAndIsRewrittenByteForByte) {
  const Bytes file = readFile(path());
  EXPECT_THAT(Rewriter(file).types,
              IsSupersetOf({"ftyp", "mvhd", "trex", "tkhd", "mdhd", "hdlr", "vmhd", "smhd",
                            "dref", "url ", "stsd", "avc1", "avcC", "mp4a", "esds", "stts",
                            "stsc", "stsz", "stco", "sidx", "mfhd", "tfhd", "tfdt", "trun"}));
  Mp4MemoryStream stream(file.data(), file.size());
  const FileTree root(stream, true);
  EXPECT_EQ(
      childrenOf(*root),
      "ftyp "
      "moov(mvhd mvex(trex trex trex trex) "
      "trak(tkhd mdia(mdhd hdlr minf(vmhd dinf(dref(url )) stbl(stsd(avc1(avcC)) stts stsc stsz stco) "
      "hdlr))) "
      "trak(tkhd mdia(mdhd hdlr minf(smhd dinf(dref(url )) stbl(stsd(mp4a(esds)) stts stsc stsz stco) "
      "hdlr))) "
      "trak(tkhd mdia(mdhd hdlr minf(nmhd dinf(dref(url )) stbl(stsd(c608) stts stsc stsz stco) hdlr))) "
      "trak(tkhd mdia(mdhd hdlr minf(nmhd dinf(dref(url )) stbl(stsd(c708) stts stsc stsz stco) hdlr)))) "
      "sidx "
      "moof(mfhd traf(tfhd tfdt trun) traf(tfhd tfdt trun) traf(tfhd tfdt trun) traf(tfhd tfdt trun)) "
      "mdat");
}

TEST_F(WrittenFile, IsReadByFfprobe) {
  EXPECT_EQ(probed("v:0", "codec_name"), "h264");
  EXPECT_EQ(probed("v:0", "width"), "320");
  EXPECT_EQ(probed("v:0", "height"), "180");
  EXPECT_EQ(probed("v:0", "time_base"), "1/30000");
  EXPECT_EQ(probed("v:0", "r_frame_rate"), "30000/1001");
  EXPECT_EQ(probed("a:0", "codec_name"), "aac");
  EXPECT_EQ(probed("a:0", "sample_rate"), "48000");
  EXPECT_EQ(probed("a:0", "time_base"), "1/48000");
  EXPECT_EQ(probed("2", "codec_tag_string"), "c608");
  EXPECT_EQ(probed("2", "time_base"), "1/30000");
  EXPECT_EQ(probed("3", "codec_tag_string"), "c708");
  expectPackets("v:0", sourcePackets_[0], kFrames);
  expectPackets("a:0", sourcePackets_[1], 46);
}

TEST_F(WrittenFile, IsDecodedByFfmpegWithoutErrors) {
  const RunResult result = runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-xerror", "-i", path(), "-map",
                                       "0:v", "-map", "0:a", "-f", "null", "-"});
  EXPECT_EQ(result.err, "");
}

TEST_F(WrittenFile, IsReadByMediainfo) {
  const auto report = [&](const std::string& what) {
    const std::string text = runOrThrow({"mediainfo", "--ParseSpeed=1", "--Inform=" + what, path()}).out;
    return text.substr(0, text.find('\n'));
  };
  EXPECT_EQ(report("General;%Format% %Format_Profile% %CodecID_Compatible% %IsStreamable%"),
            "MPEG-4 Base Media iso5/dash/msix Yes");
  EXPECT_EQ(report("General;%VideoCount% %AudioCount% %TextCount%"), "1 1 2");
  EXPECT_EQ(report("Video;%ID% %CodecID% %Width% %Height% %FrameRate_Num%/%FrameRate_Den% %FrameCount% "),
            "1 avc1 320 180 30000/1001 30 ");
  EXPECT_EQ(report("Audio;%ID% %CodecID% %SamplingRate% %FrameCount% "), "2 mp4a-40-2 48000 46 ");
  EXPECT_EQ(report("Text;%ID% %Format% %CodecID%"), "3-CC1 EIA-608 c6084 EIA-708 c708");
}

}  // namespace

}  // namespace fmp4
