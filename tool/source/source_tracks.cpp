#include "tool/source/source_tracks.h"

#include <algorithm>

#include "base/user_error.h"
#include "mp4box/boxes/audio_entry.h"
#include "mp4box/boxes/avcC.h"
#include "mp4box/boxes/ctts.h"
#include "mp4box/boxes/elst.h"
#include "mp4box/boxes/esds.h"
#include "mp4box/boxes/hdlr.h"
#include "mp4box/boxes/mdhd.h"
#include "mp4box/boxes/mvhd.h"
#include "mp4box/boxes/stco.h"
#include "mp4box/boxes/stsc.h"
#include "mp4box/boxes/stss.h"
#include "mp4box/boxes/stsz.h"
#include "mp4box/boxes/stts.h"
#include "mp4box/boxes/tfdt.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/boxes/tkhd.h"
#include "mp4box/boxes/trex.h"
#include "mp4box/boxes/trun.h"
#include "mp4box/boxes/visual_entry.h"
#include "mp4box/sample_flags.h"
#include "streaming/index/track_defaults.h"
#include "streaming/index/track_fragment.h"

namespace {

[[noreturn]] void damaged(const char* what) {
  throw UserError(std::string("the source is damaged: ") + what + "; 'fmp4 boxes' shows what it holds");
}

template <class Payload>
const Payload* payloadAt(Mp4Box* box, const char* path) {
  return Mp4PayloadOf<Payload>(Mp4BoxGet(nullptr, box, true, "%s", path));
}

// ---- Sample tables ----------------------------------------------------------------------------------

std::vector<std::uint64_t> chunkOffsets(Mp4Box* table) {
  if (const auto* large = payloadAt<mp4::ChunkLargeOffsetBox>(table, "co64")) return large->chunkOffsets;
  if (const auto* small = payloadAt<mp4::ChunkOffsetBox>(table, "stco"))
    return {small->chunkOffsets.begin(), small->chunkOffsets.end()};
  return {};
}

void takeTimes(Mp4Box* table, std::vector<SourceSample>& samples) {
  std::size_t next = 0;
  std::uint64_t time = 0;
  std::uint32_t delta = 0;
  const auto take = [&] {
    samples[next].decodeTime = time;
    samples[next++].duration = delta;
    time += delta;
  };
  if (const auto* stts = payloadAt<mp4::TimeToSampleBox>(table, "stts")) {
    for (const auto& entry : stts->entries) {
      delta = entry.sampleDelta;
      for (std::uint32_t i = 0; i < entry.sampleCount && next < samples.size(); ++i) take();
    }
  }
  while (next < samples.size()) take();  // a table that ends early: its last delta continues
}

void takeCompositionOffsets(Mp4Box* table, std::vector<SourceSample>& samples) {
  const auto* ctts = payloadAt<mp4::CompositionOffsetBox>(table, "ctts");
  if (!ctts) return;
  std::size_t next = 0;
  for (const auto& entry : ctts->entries) {
    for (std::uint32_t i = 0; i < entry.sampleCount && next < samples.size(); ++i) {
      // Negative offsets occur in tables of version 0 too, written by QuickTime.
      samples[next++].compositionOffset = static_cast<std::int32_t>(entry.sampleOffset);
    }
  }
}

void takeSyncSamples(Mp4Box* table, std::vector<SourceSample>& samples) {
  const auto* stss = payloadAt<mp4::SyncSampleBox>(table, "stss");
  if (!stss) return;
  for (SourceSample& sample : samples) sample.key = false;
  for (const std::uint32_t number : stss->sampleNumbers) {
    if (number >= 1 && number <= samples.size()) samples[number - 1].key = true;
  }
}

void takePlaces(Mp4Box* table, std::vector<SourceSample>& samples) {
  const std::vector<std::uint64_t> chunks = chunkOffsets(table);
  const auto* stsc = payloadAt<mp4::SampleToChunkBox>(table, "stsc");
  if (!stsc || stsc->entries.empty()) damaged("its samples have no chunks");
  std::size_t next = 0;
  for (std::size_t i = 0; i < stsc->entries.size(); ++i) {
    const auto& entry = stsc->entries[i];
    const std::uint64_t last =
        i + 1 < stsc->entries.size() ? stsc->entries[i + 1].firstChunk : chunks.size() + std::uint64_t{1};
    if (entry.firstChunk == 0 || entry.firstChunk >= last) damaged("its runs of chunks are out of order");
    for (std::uint64_t chunk = entry.firstChunk; chunk < last && chunk <= chunks.size(); ++chunk) {
      std::uint64_t offset = chunks[chunk - 1];
      for (std::uint32_t k = 0; k < entry.samplesPerChunk && next < samples.size(); ++k) {
        samples[next].offset = offset;
        offset += samples[next++].size;
      }
    }
  }
  if (next < samples.size()) damaged("its chunks hold fewer samples than it has sizes of");
}

void readTables(Mp4Box* table, std::uint64_t fileSize, SourceTrack& track) {
  const auto* stsz = payloadAt<mp4::SampleSizeBox>(table, "stsz");
  if (!stsz || stsz->sampleCount == 0) return;
  // Samples of equal size have no table entries to bound their number; the file's size does.
  if (stsz->sampleSize != 0 && stsz->sampleCount > fileSize / stsz->sampleSize)
    damaged("its samples are larger than the file");
  track.samples.resize(stsz->sampleCount);
  for (std::uint32_t i = 0; i < stsz->sampleCount; ++i)
    track.samples[i].size = stsz->sampleSize != 0 ? stsz->sampleSize : stsz->entrySizes[i];
  takeTimes(table, track.samples);
  track.nextDecodeTime = track.samples.back().decodeTime + track.samples.back().duration;
  takeCompositionOffsets(table, track.samples);
  takeSyncSamples(table, track.samples);
  takePlaces(table, track.samples);
}

// ---- Tracks -----------------------------------------------------------------------------------------

const mp4::ESDBox* findDescriptor(const Mp4Box* entry) {
  for (const Mp4Box* child = entry->first; child; child = child->next) {
    if (const auto* esds = Mp4PayloadOf<mp4::ESDBox>(child)) return esds;
    if (const auto* deeper = findDescriptor(child)) return deeper;  // QuickTime's "wave"
  }
  return nullptr;
}

SourceTrack readTrack(Mp4Box* moov, Mp4Box* trak, std::uint64_t fileSize) {
  SourceTrack track;
  if (const auto* header = payloadAt<mp4::TrackHeaderBox>(trak, "tkhd")) track.trackId = header->trackId;
  if (const auto* media = payloadAt<mp4::MediaHeaderBox>(trak, "mdia/mdhd"))
    track.timescale = media->timescale;
  const auto* movie = payloadAt<mp4::MovieHeaderBox>(moov, "mvhd");
  if (const auto* edits = payloadAt<mp4::EditListBox>(trak, "edts/elst"); edits && movie) {
    const bool fragmented = Mp4BoxChild(moov, Mp4FourCc("mvex")) != nullptr;
    track.edits = EditList(*edits, movie->timescale, track.timescale, fragmented);
  }
  Mp4Box* const table = Mp4BoxGet(nullptr, trak, true, "mdia/minf/stbl");
  Mp4Box* const entry = Mp4BoxGet(nullptr, trak, true, "mdia/minf/stbl/stsd/[0]");
  if (!table || !entry) return track;
  track.codec = entry->type;
  if (const auto* handler = payloadAt<mp4::HandlerBox>(trak, "mdia/hdlr"))
    track.handler = handler->handlerType;
  if (const auto* visual = Mp4PayloadOf<mp4::VisualSampleEntry>(entry)) {
    track.width = visual->width;
    track.height = visual->height;
    if (const auto* avcC = payloadAt<mp4::AVCConfigurationBox>(entry, "avcC"))
      track.configuration = avcC->record;
  }
  if (const auto* audio = Mp4PayloadOf<mp4::AudioSampleEntry>(entry)) {
    track.channels = audio->channelCount;
    if (const auto* esds = findDescriptor(entry); esds && esds->decoderConfig) {
      track.configuration = esds->decoderConfig->decoderSpecificInfo;
      track.objectType = esds->decoderConfig->objectTypeIndication;
    }
  }
  readTables(table, fileSize, track);
  return track;
}

// The sample table of a plain file counts as one fragment.
NominalDuration nominalDurationOf(const SourceTrack& track, const mp4::TrackExtendsBox* trex) {
  NominalDuration nominal(trex ? trex->defaultSampleDuration : 0);
  for (const SourceSample& sample : track.samples) nominal.addSamples(sample.duration);
  nominal.endFragment();
  return nominal;
}

// ---- Fragments --------------------------------------------------------------------------------------

void readRun(const mp4::TrackRunBox& run, const SampleDefaults& defaults, std::uint64_t fileSize,
             SourceTrack& track, std::uint64_t& time, std::uint64_t& offset) {
  // A run without values of its own may state any sample count; each sample present takes a byte.
  if (track.samples.size() + run.sampleCount > fileSize) damaged("it counts more samples than it has bytes");
  for (std::uint32_t i = 0; i < run.sampleCount; ++i) {
    SourceSample sample;
    sample.offset = offset;
    sample.size = sizeOfSample(run, i, defaults);
    sample.duration = durationOfSample(run, i, defaults);
    sample.decodeTime = time;
    if (run.hasCompositionOffset())
      sample.compositionOffset = static_cast<std::int32_t>(run.compositionOffset(i));
    sample.key = !(flagsOfSample(run, i, defaults) & mp4::kNonSync);
    track.samples.push_back(sample);
    track.nominalDuration.addSamples(sample.duration);
    offset += sample.size;
    time += sample.duration;
  }
}

}  // namespace

std::vector<SourceTrack> readMovie(Mp4Box* moov, std::uint64_t end) {
  std::vector<SourceTrack> tracks;
  for (std::uint32_t i = 0; Mp4Box* trak = Mp4BoxChild(moov, Mp4FourCc("trak"), i); ++i)
    tracks.push_back(readTrack(moov, trak, end));
  const TrackDefaults defaults = readTrackDefaults(moov);
  for (SourceTrack& track : tracks)
    track.nominalDuration = nominalDurationOf(track, defaultsOfTrack(defaults, track.trackId));
  return tracks;
}

// Where runs without a data offset start: after those of the previous track, or at the start of the fragment
// (ISO/IEC 14496-12, 8.8.7).
void readFragment(Mp4Box* moov, Mp4Box* moof, std::uint64_t end, std::vector<SourceTrack>& tracks) {
  std::uint64_t dataEnd = moof->position;
  const TrackDefaults trackDefaults = readTrackDefaults(moov);
  for (Mp4Box* traf = moof->first; traf; traf = traf->next) {
    if (traf->type != Mp4FourCc("traf")) continue;
    const auto* tfhd = payloadAt<mp4::TrackFragmentHeaderBox>(traf, "tfhd");
    if (!tfhd) continue;
    const auto track = std::find_if(tracks.begin(), tracks.end(),
                                    [&](const SourceTrack& t) { return t.trackId == tfhd->trackId; });
    if (track == tracks.end()) continue;
    const SampleDefaults defaults(tfhd, defaultsOfTrack(trackDefaults, tfhd->trackId));
    const bool placed = tfhd->flags & mp4::TrackFragmentHeaderBox::kBaseDataOffset;
    const bool fromFragment = tfhd->flags & mp4::TrackFragmentHeaderBox::kDefaultBaseIsMoof;
    const std::uint64_t base = placed ? tfhd->baseDataOffset : fromFragment ? moof->position : dataEnd;
    std::uint64_t offset = base;
    std::uint64_t time = track->nextDecodeTime;
    if (const auto* tfdt = payloadAt<mp4::TrackFragmentDecodeTimeBox>(traf, "tfdt"))
      time = tfdt->baseMediaDecodeTime;
    for (const Mp4Box* child = traf->first; child; child = child->next) {
      const auto* run = Mp4PayloadOf<mp4::TrackRunBox>(child);
      if (!run) continue;
      if (run->hasDataOffset()) offset = base + static_cast<std::uint64_t>(std::int64_t{run->dataOffset});
      readRun(*run, defaults, end, *track, time, offset);
    }
    track->nextDecodeTime = time;
    track->nominalDuration.endFragment();
    dataEnd = offset;
  }
}

std::vector<SourceTrack> readTracks(Mp4Box* root, std::uint64_t fileSize) {
  Mp4Box* const moov = Mp4BoxGet(nullptr, root, true, "moov");
  if (!moov) throw UserError("the source holds no movie box; give an MP4 file");
  std::vector<SourceTrack> tracks = readMovie(moov, fileSize);
  for (Mp4Box* box = root->first; box; box = box->next) {
    if (box->type == Mp4FourCc("moof")) readFragment(moov, box, fileSize, tracks);
  }
  return tracks;
}
