// The known box types and their readers.
#include <unordered_map>

#include "mp4box/box.h"
#include "mp4box/boxes/audio_entry.h"
#include "mp4box/boxes/avcC.h"
#include "mp4box/boxes/chap.h"
#include "mp4box/boxes/chpl.h"
#include "mp4box/boxes/cmov.h"
#include "mp4box/boxes/cmvd.h"
#include "mp4box/boxes/cprt.h"
#include "mp4box/boxes/ctts.h"
#include "mp4box/boxes/dac3.h"
#include "mp4box/boxes/dcom.h"
#include "mp4box/boxes/dref.h"
#include "mp4box/boxes/elst.h"
#include "mp4box/boxes/enda.h"
#include "mp4box/boxes/esds.h"
#include "mp4box/boxes/frma.h"
#include "mp4box/boxes/ftyp.h"
#include "mp4box/boxes/gnre.h"
#include "mp4box/boxes/hdlr.h"
#include "mp4box/boxes/hmhd.h"
#include "mp4box/boxes/iods.h"
#include "mp4box/boxes/mdhd.h"
#include "mp4box/boxes/mehd.h"
#include "mp4box/boxes/meta.h"
#include "mp4box/boxes/mfhd.h"
#include "mp4box/boxes/mfro.h"
#include "mp4box/boxes/mp4s.h"
#include "mp4box/boxes/mvhd.h"
#include "mp4box/boxes/name.h"
#include "mp4box/boxes/opaque.h"
#include "mp4box/boxes/padb.h"
#include "mp4box/boxes/pasp.h"
#include "mp4box/boxes/rdrf.h"
#include "mp4box/boxes/rmdr.h"
#include "mp4box/boxes/rmqu.h"
#include "mp4box/boxes/rmvc.h"
#include "mp4box/boxes/sdtp.h"
#include "mp4box/boxes/sidx.h"
#include "mp4box/boxes/skcr.h"
#include "mp4box/boxes/smhd.h"
#include "mp4box/boxes/stco.h"
#include "mp4box/boxes/stdp.h"
#include "mp4box/boxes/stsc.h"
#include "mp4box/boxes/stsd.h"
#include "mp4box/boxes/stsh.h"
#include "mp4box/boxes/stss.h"
#include "mp4box/boxes/stsz.h"
#include "mp4box/boxes/stts.h"
#include "mp4box/boxes/text_item.h"
#include "mp4box/boxes/tfdt.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/boxes/tfra.h"
#include "mp4box/boxes/tkhd.h"
#include "mp4box/boxes/trex.h"
#include "mp4box/boxes/trkn.h"
#include "mp4box/boxes/trun.h"
#include "mp4box/boxes/url.h"
#include "mp4box/boxes/urn.h"
#include "mp4box/boxes/visual_entry.h"
#include "mp4box/boxes/vmhd.h"

namespace fmp4 {

namespace {

template <class Payload>
Mp4Payload* make() {
  return new Payload;
}

constexpr std::uint32_t type(const char (&text)[5]) {
  return Mp4FourCc(text);
}

// A type that consists of "ms" and a 16-bit WAVE format tag.
constexpr std::uint32_t microsoftType(std::uint16_t tag) {
  return static_cast<std::uint32_t>('m') << 24 | static_cast<std::uint32_t>('s') << 16 | tag;
}

// A type that consists of the byte 0xA9 and three letters.
constexpr std::uint32_t textItemType(const char (&letters)[4]) {
  return Mp4FourCc({'\xA9', letters[0], letters[1], letters[2], '\0'});
}

constexpr Mp4BoxType container(std::uint32_t type) {
  return {type, Mp4ReadContainer, nullptr};
}
constexpr Mp4BoxType mediaData(std::uint32_t type) {
  return {type, Mp4ReadMediaData, nullptr};
}
constexpr Mp4BoxType unknown(std::uint32_t type) {
  return {type, Mp4ReadUnknown, nullptr};
}
template <class Payload>
constexpr Mp4BoxType leaf(std::uint32_t type) {
  return {type, Mp4ReadLeaf, make<Payload>};
}
template <class Payload>
constexpr Mp4BoxType leafWithChildren(std::uint32_t type) {
  return {type, Mp4ReadLeafWithChildren, make<Payload>};
}
constexpr Mp4BoxType audio(std::uint32_t type) {
  return leafWithChildren<mp4::AudioSampleEntry>(type);
}
constexpr Mp4BoxType visual(std::uint32_t type) {
  return leafWithChildren<mp4::VisualSampleEntry>(type);
}
constexpr Mp4BoxType textItem(const char (&letters)[4]) {
  return leaf<mp4::TextItem>(textItemType(letters));
}

}  // namespace

const std::vector<Mp4BoxType>& Mp4BoxTypeTable() {
  static const std::vector<Mp4BoxType> rows = {
      container(type("moov")),
      container(type("trak")),
      container(type("mdia")),
      container(type("moof")),
      container(type("minf")),
      container(type("stbl")),
      container(type("dinf")),
      container(type("edts")),
      container(type("udta")),
      container(type("nmhd")),
      container(type("hnti")),
      container(type("rmra")),
      container(type("rmda")),
      container(type("tref")),
      container(type("gmhd")),
      container(type("wave")),
      container(type("ilst")),
      container(type("mvex")),
      container(type("sinf")),
      container(type("schi")),
      container(type("traf")),
      container(type("mfra")),

      leaf<mp4::FileTypeBox>(type("ftyp")),
      leaf<mp4::SegmentIndexBox>(type("sidx")),
      {type("cmov"), Mp4ReadCompressedMovie, make<mp4::CompressedMovieBox>},
      leaf<mp4::MovieHeaderBox>(type("mvhd")),
      leaf<mp4::TrackHeaderBox>(type("tkhd")),
      leaf<mp4::MediaHeaderBox>(type("mdhd")),
      leaf<mp4::HandlerBox>(type("hdlr")),
      leaf<mp4::VideoMediaHeaderBox>(type("vmhd")),
      leaf<mp4::SoundMediaHeaderBox>(type("smhd")),
      leaf<mp4::HintMediaHeaderBox>(type("hmhd")),
      leaf<mp4::DataEntryUrlBox>(type("url ")),
      leaf<mp4::DataEntryUrnBox>(type("urn ")),
      leafWithChildren<mp4::DataReferenceBox>(type("dref")),
      leaf<mp4::TimeToSampleBox>(type("stts")),
      leaf<mp4::CompositionOffsetBox>(type("ctts")),
      leafWithChildren<mp4::SampleDescriptionBox>(type("stsd")),
      leaf<mp4::SampleSizeBox>(type("stsz")),
      leaf<mp4::SampleToChunkBox>(type("stsc")),
      leaf<mp4::SyncSampleBox>(type("stss")),
      leaf<mp4::ShadowSyncSampleBox>(type("stsh")),
      leaf<mp4::DegradationPriorityBox>(type("stdp")),
      leaf<mp4::PaddingBitsBox>(type("padb")),
      leaf<mp4::EditListBox>(type("elst")),
      leaf<mp4::CopyrightBox>(type("cprt")),
      leaf<mp4::ESDBox>(type("esds")),
      leaf<mp4::DataCompressionBox>(type("dcom")),
      leaf<mp4::CompressedMovieDataBox>(type("cmvd")),
      leaf<mp4::AVCConfigurationBox>(type("avcC")),
      leaf<mp4::AC3SpecificBox>(type("dac3")),
      leaf<mp4::EndianBox>(type("enda")),
      leaf<mp4::GenreBox>(type("gnre")),
      leaf<mp4::TrackNumberBox>(type("trkn")),
      leaf<mp4::ObjectDescriptorBox>(type("iods")),
      leaf<mp4::PixelAspectRatioBox>(type("pasp")),
      leafWithChildren<mp4::MpegSampleEntry>(type("mp4s")),
      leaf<mp4::ChapterReferenceBox>(type("chap")),
      leaf<mp4::ReferenceMovieDataReferenceBox>(type("rdrf")),
      leaf<mp4::ReferenceMovieDataRateBox>(type("rmdr")),
      leaf<mp4::ReferenceMovieQualityBox>(type("rmqu")),
      leaf<mp4::ReferenceMovieVersionCheckBox>(type("rmvc")),
      leaf<mp4::OriginalFormatBox>(type("frma")),
      leaf<mp4::SkipCryptBox>(type("skcr")),
      leafWithChildren<mp4::MetaBox>(type("meta")),
      leaf<mp4::NameBox>(type("name")),
      leaf<mp4::ChapterListBox>(type("chpl")),
      leaf<mp4::MovieFragmentHeaderBox>(type("mfhd")),
      leaf<mp4::TrackFragmentHeaderBox>(type("tfhd")),
      leaf<mp4::TrackFragmentDecodeTimeBox>(type("tfdt")),
      leaf<mp4::TrackRunBox>(type("trun")),
      leaf<mp4::TrackExtendsBox>(type("trex")),
      leaf<mp4::MovieExtendsHeaderBox>(type("mehd")),
      leaf<mp4::SampleDependencyTypeBox>(type("sdtp")),
      leaf<mp4::TrackFragmentRandomAccessBox>(type("tfra")),
      leaf<mp4::MovieFragmentRandomAccessOffsetBox>(type("mfro")),

      leaf<mp4::ChunkOffsetBox>(type("stco")),
      leaf<mp4::ChunkLargeOffsetBox>(type("co64")),

      mediaData(type("mdat")),
      mediaData(type("skip")),
      mediaData(type("free")),
      mediaData(type("wide")),

      audio(type("soun")),
      audio(microsoftType(0x0002)),
      audio(microsoftType(0x0011)),
      audio(microsoftType(0x0055)),
      audio(type(".mp3")),
      audio(type("mp4a")),
      audio(type("twos")),
      audio(type("sowt")),
      audio(type("QDMC")),
      audio(type("QDM2")),
      audio(type("ima4")),
      audio(type("IMA4")),
      audio(type("dvi ")),
      audio(type("alaw")),
      audio(type("ulaw")),
      audio(type("raw ")),
      audio(type("MAC3")),
      audio(type("MAC6")),
      audio(type("Qclp")),
      audio(type("samr")),
      audio(type("sawb")),
      audio(type("OggS")),
      audio(type("alac")),
      audio(type("drms")),

      visual(type("drmi")),
      visual(type("vide")),
      visual(type("mp4v")),
      visual(type("SVQ1")),
      visual(type("SVQ3")),
      visual(type("ZyGo")),
      visual(type("DIVX")),
      visual(type("XVID")),
      visual(type("h263")),
      visual(type("s263")),
      visual(type("cvid")),
      visual(type("3IV1")),
      visual(type("3iv1")),
      visual(type("3IV2")),
      visual(type("3iv2")),
      visual(type("3IVD")),
      visual(type("3ivd")),
      visual(type("3VID")),
      visual(type("3vid")),
      visual(type("mjpa")),
      visual(type("mjqt")),
      visual(type("qdrw")),
      visual(type("mp2v")),
      visual(type("hdv2")),
      visual(type("dvc ")),
      visual(type("dvp ")),
      visual(type("dv5n")),
      visual(type("dv5p")),
      visual(type("VP31")),
      visual(type("vp31")),
      visual(type("h264")),
      visual(type("jpeg")),
      visual(type("avc1")),
      visual(type("yv12")),
      visual(type("yuv2")),

      textItem("nam"),
      textItem("aut"),
      textItem("cpy"),
      textItem("swr"),
      textItem("inf"),
      textItem("ART"),
      textItem("dir"),
      textItem("cmt"),
      textItem("req"),
      textItem("day"),
      textItem("des"),
      textItem("fmt"),
      textItem("prd"),
      textItem("prf"),
      textItem("src"),
      textItem("alb"),
      textItem("dis"),
      textItem("enc"),
      textItem("gen"),
      textItem("trk"),
      textItem("dsa"),
      textItem("hst"),
      textItem("url"),
      textItem("ope"),
      textItem("com"),
      textItem("wrt"),
      textItem("too"),
      textItem("wrn"),
      textItem("mak"),
      textItem("mod"),
      textItem("PRD"),
      textItem("grp"),
      textItem("grp"),

      leaf<mp4::OpaqueBox>(type("user")),
      leaf<mp4::OpaqueBox>(type("key ")),
      leaf<mp4::OpaqueBox>(type("iviv")),
      leaf<mp4::OpaqueBox>(type("priv")),

      unknown(type("mjht")),
      unknown(type("mjpb")),
      unknown(type("dpnd")),
      unknown(type("ipir")),
      unknown(type("mpod")),
      unknown(type("rtp ")),
      unknown(type("hint")),
      unknown(0),
  };
  return rows;
}

const Mp4BoxType& Mp4FindBoxType(std::uint32_t type) {
  static const auto rows = [] {
    std::unordered_map<std::uint32_t, const Mp4BoxType*> byType;
    for (const Mp4BoxType& row : Mp4BoxTypeTable()) byType.emplace(row.type, &row);
    return byType;
  }();
  const auto found = rows.find(type);
  return found != rows.end() ? *found->second : Mp4BoxTypeTable().back();
}

}  // namespace fmp4
