// The table of box types.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <set>
#include <string>

#include "mp4box/box.h"
#include "mp4box/boxes/audio_entry.h"
#include "mp4box/boxes/opaque.h"
#include "mp4box/boxes/text_item.h"
#include "mp4box/boxes/visual_entry.h"

namespace fmp4 {

namespace {

std::uint32_t code(const std::string& text) {
  std::uint32_t value = 0;
  for (const char c : text) value = value << 8 | static_cast<unsigned char>(c);
  return value;
}

template <class Payload>
bool makes(const Mp4BoxType& row) {
  if (!row.make) return false;
  const std::unique_ptr<Mp4Payload> payload(row.make());
  return dynamic_cast<Payload*>(payload.get()) != nullptr;
}

// Calls `check` for each four-character type of a list separated by "|".
template <class Check>
int forEachType(const std::string& list, Check check) {
  int count = 0;
  for (std::size_t start = 0; start < list.size(); start += 5, ++count) {
    SCOPED_TRACE(list.substr(start, 4));
    check(Mp4FindBoxType(code(list.substr(start, 4))));
  }
  return count;
}

TEST(TypeTable, Has186RowsTheLastOneForAnyOtherType) {
  const auto& table = Mp4BoxTypeTable();
  EXPECT_EQ(table.size(), 22u + 54 + 2 + 4 + 24 + 35 + 33 + 4 + 7 + 1);
  EXPECT_EQ(table.back().type, 0u);
  EXPECT_EQ(table.back().reader, Mp4ReadUnknown);
  EXPECT_EQ(table.back().make, nullptr);
}

TEST(TypeTable, OnlyOneTypeIsListedTwice) {
  std::map<std::uint32_t, int> rows;
  for (const Mp4BoxType& row : Mp4BoxTypeTable()) ++rows[row.type];
  for (const auto& [type, count] : rows) EXPECT_EQ(count, type == code("\xA9grp") ? 2 : 1) << type;
}

TEST(TypeTable, ReadsContainersWithoutAPayload) {
  const int count = forEachType(
      "moov|trak|mdia|moof|minf|stbl|dinf|edts|udta|nmhd|hnti|rmra|rmda|tref|gmhd|wave|ilst|mvex|sinf|schi|"
      "traf|mfra",
      [](const Mp4BoxType& row) {
        EXPECT_EQ(row.reader, Mp4ReadContainer);
        EXPECT_EQ(row.make, nullptr);
      });
  EXPECT_EQ(count, 22);
}

TEST(TypeTable, ReadsTheseLeavesEachWithItsOwnPayload) {
  std::set<Mp4Payload* (*)()> payloads;
  const int count = forEachType(
      "ftyp|sidx|mvhd|tkhd|mdhd|hdlr|vmhd|smhd|hmhd|url |urn |stts|ctts|stsz|stsc|stss|stsh|stdp|padb|elst|"
      "cprt|esds|dcom|cmvd|avcC|dac3|enda|gnre|trkn|iods|pasp|chap|rdrf|rmdr|rmqu|rmvc|frma|skcr|name|chpl|"
      "mfhd|tfhd|tfdt|trun|trex|mehd|sdtp|tfra|mfro|stco|co64",
      [&](const Mp4BoxType& row) {
        EXPECT_EQ(row.reader, Mp4ReadLeaf);
        EXPECT_TRUE(payloads.insert(row.make).second);
      });
  EXPECT_EQ(count, 51);
  EXPECT_EQ(payloads.count(nullptr), 0u);
}

TEST(TypeTable, ReadsChildrenAfterTheFieldsOfThese) {
  EXPECT_EQ(forEachType("stsd|dref|meta|mp4s",
                        [](const Mp4BoxType& row) {
                          EXPECT_EQ(row.reader, Mp4ReadLeafWithChildren);
                          EXPECT_NE(row.make, nullptr);
                        }),
            4);
}

TEST(TypeTable, ReadsTheCompressedMovieBoxInItsOwnWay) {
  EXPECT_EQ(Mp4FindBoxType(code("cmov")).reader, Mp4ReadCompressedMovie);
  EXPECT_NE(Mp4FindBoxType(code("cmov")).make, nullptr);
}

TEST(TypeTable, SkipsMediaDataAndPadding) {
  EXPECT_EQ(forEachType("mdat|skip|free|wide",
                        [](const Mp4BoxType& row) {
                          EXPECT_EQ(row.reader, Mp4ReadMediaData);
                          EXPECT_EQ(row.make, nullptr);
                        }),
            4);
}

TEST(TypeTable, ReadsAudioSampleEntries) {
  const std::string types = std::string("soun|ms\0\x02|ms\0\x11|ms\0\x55|", 20) +
                            ".mp3|mp4a|twos|sowt|QDMC|QDM2|ima4|IMA4|dvi |alaw|ulaw|raw |MAC3|MAC6|Qclp|samr|"
                            "sawb|OggS|alac|drms";
  EXPECT_EQ(forEachType(types,
                        [](const Mp4BoxType& row) {
                          EXPECT_EQ(row.reader, Mp4ReadLeafWithChildren);
                          EXPECT_TRUE(makes<mp4::AudioSampleEntry>(row));
                        }),
            24);
}

TEST(TypeTable, ReadsVisualSampleEntries) {
  EXPECT_EQ(
      forEachType("drmi|vide|mp4v|SVQ1|SVQ3|ZyGo|DIVX|XVID|h263|s263|cvid|3IV1|3iv1|3IV2|3iv2|3IVD|3ivd|"
                  "3VID|3vid|mjpa|mjqt|qdrw|mp2v|hdv2|dvc |dvp |dv5n|dv5p|VP31|vp31|h264|jpeg|avc1|yv12|"
                  "yuv2",
                  [](const Mp4BoxType& row) {
                    EXPECT_EQ(row.reader, Mp4ReadLeafWithChildren);
                    EXPECT_TRUE(makes<mp4::VisualSampleEntry>(row));
                  }),
      35);
}

TEST(TypeTable, ReadsTextMetadataItems) {
  EXPECT_EQ(forEachType("\xA9nam|\xA9"
                        "aut|\xA9"
                        "cpy|\xA9swr|\xA9inf|\xA9"
                        "ART|\xA9"
                        "dir|\xA9"
                        "cmt|\xA9req|\xA9"
                        "day|\xA9"
                        "des|\xA9"
                        "fmt|\xA9prd|\xA9prf|\xA9src|\xA9"
                        "alb|\xA9"
                        "dis|\xA9"
                        "enc|\xA9gen|\xA9trk|\xA9"
                        "dsa|\xA9hst|\xA9url|\xA9ope|\xA9"
                        "com|\xA9wrt|\xA9too|\xA9wrn|\xA9mak|\xA9mod|\xA9PRD|\xA9grp|",
                        [](const Mp4BoxType& row) {
                          EXPECT_EQ(row.reader, Mp4ReadLeaf);
                          EXPECT_TRUE(makes<mp4::TextItem>(row));
                        }),
            32);
}

TEST(TypeTable, KeepsNoContentOfProtectionBoxes) {
  EXPECT_EQ(forEachType("user|key |iviv|priv",
                        [](const Mp4BoxType& row) {
                          EXPECT_EQ(row.reader, Mp4ReadLeaf);
                          EXPECT_TRUE(makes<mp4::OpaqueBox>(row));
                        }),
            4);
}

TEST(TypeTable, TreatsTheseAsUnknown) {
  EXPECT_EQ(forEachType("mjht|mjpb|dpnd|ipir|mpod|rtp |hint|c608|c708|ac-3|hvc1|uuid|abcd",
                        [](const Mp4BoxType& row) {
                          EXPECT_EQ(row.reader, Mp4ReadUnknown);
                          EXPECT_EQ(row.make, nullptr);
                        }),
            13);
}

TEST(TypeTable, FindsTheFirstRowOfAType) {
  const auto& table = Mp4BoxTypeTable();
  for (const Mp4BoxType& row : table) {
    const Mp4BoxType* first = &table.front();
    while (first->type != row.type) ++first;
    EXPECT_EQ(&Mp4FindBoxType(row.type), first);
  }
}

}  // namespace

}  // namespace fmp4
