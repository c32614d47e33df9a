// Writes "moov" and its contents down to the sample tables.
#include "mp4box/boxes/dref.h"
#include "mp4box/boxes/stco.h"
#include "mp4box/boxes/stsc.h"
#include "mp4box/boxes/stsz.h"
#include "mp4box/boxes/stts.h"
#include "mp4box/boxes/url.h"
#include "mp4box/write.h"

namespace fmp4 {

namespace {

void writeMediaHeader(Mp4Output& out, mp4::VideoMedia& media) {
  Mp4WriteBox(out, Mp4FourCc("vmhd"), media.vmhd);
}
void writeMediaHeader(Mp4Output& out, mp4::AudioMedia& media) {
  Mp4WriteBox(out, Mp4FourCc("smhd"), media.smhd);
}
void writeMediaHeader(Mp4Output& out, mp4::CaptionMedia& media) {
  Mp4WriteBox(out, Mp4FourCc("nmhd"), media.nmhd);
}

// One data reference: the media are in the same file.
void writeDataInformation(Mp4Output& out) {
  Mp4WriteContainer(out, Mp4FourCc("dinf"), [&] {
    mp4::DataReferenceBox dref;
    dref.entryCount = 1;
    Mp4WriteBox(out, Mp4FourCc("dref"), dref, [&] {
      mp4::DataEntryUrlBox url;
      url.flags = mp4::DataEntryUrlBox::kSameFile;
      Mp4WriteBox(out, Mp4FourCc("url "), url);
    });
  });
}

// All samples are in movie fragments, so the tables are empty.
void writeSampleTable(Mp4Output& out, mp4::Track& track) {
  Mp4WriteContainer(out, Mp4FourCc("stbl"), [&] {
    Mp4WriteSampleDescription(out, track);
    mp4::TimeToSampleBox stts;
    Mp4WriteBox(out, Mp4FourCc("stts"), stts);
    mp4::SampleToChunkBox stsc;
    Mp4WriteBox(out, Mp4FourCc("stsc"), stsc);
    mp4::SampleSizeBox stsz;
    Mp4WriteBox(out, Mp4FourCc("stsz"), stsz);
    mp4::ChunkOffsetBox stco;
    Mp4WriteBox(out, Mp4FourCc("stco"), stco);
  });
}

void writeMediaInformation(Mp4Output& out, mp4::Track& track) {
  Mp4WriteContainer(out, Mp4FourCc("minf"), [&] {
    std::visit([&](auto& media) { writeMediaHeader(out, media); }, track.media);
    writeDataInformation(out);
    writeSampleTable(out, track);
    Mp4WriteBox(out, Mp4FourCc("hdlr"),
                track.hdlr);  // a second copy after the one in "mdia": intended (quirk 44)
  });
}

void writeTrack(Mp4Output& out, mp4::Track& track) {
  Mp4WriteContainer(out, Mp4FourCc("trak"), [&] {
    Mp4WriteBox(out, Mp4FourCc("tkhd"), track.tkhd);
    Mp4WriteContainer(out, Mp4FourCc("mdia"), [&] {
      Mp4WriteBox(out, Mp4FourCc("mdhd"), track.mdhd);
      Mp4WriteBox(out, Mp4FourCc("hdlr"), track.hdlr);
      writeMediaInformation(out, track);
    });
  });
}

void writeMovieExtends(Mp4Output& out, mp4::MovieExtends& mvex) {
  Mp4WriteContainer(out, Mp4FourCc("mvex"), [&] {
    if (mvex.mehd) Mp4WriteBox(out, Mp4FourCc("mehd"), *mvex.mehd);
    for (const mp4::TrackKind kind : mp4::kTrackKinds) {
      if (auto& trex = mvex.trex[kind]) Mp4WriteBox(out, Mp4FourCc("trex"), *trex);
    }
  });
}

}  // namespace

void Mp4WriteMovie(Mp4Output& out, mp4::Movie& movie) {
  Mp4WriteContainer(out, Mp4FourCc("moov"), [&] {
    Mp4WriteBox(out, Mp4FourCc("mvhd"), movie.mvhd);
    writeMovieExtends(out, movie.mvex);  // before the tracks: intended (quirk 44)
    for (const mp4::TrackKind kind : mp4::kTrackKinds) {
      if (auto& track = movie.tracks[kind]) writeTrack(out, *track);
    }
  });
}

}  // namespace fmp4
