#include "tool/source/source_tracks.h"

#include <algorithm>

#include "base/user_error.h"
#include "mp4box/box_type.h"
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
#include "mp4box/top_level_reader.h"
#include "mp4box/window_stream.h"
#include "streaming/index/track_defaults.h"
#include "streaming/index/track_fragment.h"

namespace fmp4 {

void damagedSource(const char* what) {
  throw UserError(std::string("the source is damaged: ") + what + "; 'fmp4 boxes' shows what it holds");
}

namespace {

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

// A table whose entries apply to a number of samples each.
template <class Entry>
class EntryOfSamples {
 public:
  // Null: there is no table.
  explicit EntryOfSamples(const std::vector<Entry>* entries) : entries_(entries) {}

  // The entry of the next sample; null after the last.
  const Entry* next() {
    if (!entries_) return nullptr;
    while (entry_ < entries_->size() && taken_ == (*entries_)[entry_].sampleCount) {
      ++entry_;
      taken_ = 0;
    }
    if (entry_ == entries_->size()) return nullptr;
    ++taken_;
    return &(*entries_)[entry_];
  }

 private:
  const std::vector<Entry>* entries_;
  std::size_t entry_ = 0;
  std::uint32_t taken_ = 0;
};

template <class Payload>
auto* entriesOf(const Payload* table) {
  return table ? &table->entries : nullptr;
}

// Appends the samples of a track's tables to it, in order.
class TableSamples {
 public:
  TableSamples(Mp4Box* table, const mp4::SampleSizeBox& sizes, SampleList& samples)
      : sizes_(sizes),
        times_(entriesOf(payloadAt<mp4::TimeToSampleBox>(table, "stts"))),
        compositionOffsets_(entriesOf(payloadAt<mp4::CompositionOffsetBox>(table, "ctts"))),
        samples_(samples) {
    if (const auto* stts = payloadAt<mp4::TimeToSampleBox>(table, "stts"); stts && !stts->entries.empty())
      lastDelta_ = stts->entries.back().sampleDelta;
    if (const auto* stss = payloadAt<mp4::SyncSampleBox>(table, "stss")) {
      allKeys_ = false;
      keys_ = stss->sampleNumbers;
      std::sort(keys_.begin(), keys_.end());
    }
  }

  bool done() const { return samples_.size() == sizes_.sampleCount; }

  // Appends the next sample, which lies at `offset`. Returns its size.
  std::uint32_t add(std::uint64_t offset) {
    const std::size_t index = samples_.size();
    SourceSample sample;
    sample.offset = offset;
    sample.size = sizes_.sampleSize != 0 ? sizes_.sampleSize : sizes_.entrySizes[index];
    sample.key = isKey(index + 1);
    sample.decodeTime = time_;
    // A table that ends early: its last delta continues.
    const auto* entry = times_.next();
    sample.duration = entry ? entry->sampleDelta : lastDelta_;
    // Negative offsets occur in tables of version 0 too, written by QuickTime.
    if (const auto* shift = compositionOffsets_.next())
      sample.compositionOffset = static_cast<std::int32_t>(shift->sampleOffset);
    time_ += sample.duration;
    samples_.push_back(sample);
    return sample.size;
  }

 private:
  // To be asked in ascending order.
  bool isKey(std::size_t number) {
    while (nextKey_ < keys_.size() && keys_[nextKey_] < number) ++nextKey_;
    return allKeys_ || (nextKey_ < keys_.size() && keys_[nextKey_] == number);
  }

  const mp4::SampleSizeBox& sizes_;
  EntryOfSamples<decltype(mp4::TimeToSampleBox::entries)::value_type> times_;
  EntryOfSamples<decltype(mp4::CompositionOffsetBox::entries)::value_type> compositionOffsets_;
  std::uint32_t lastDelta_ = 0;
  std::uint64_t time_ = 0;
  bool allKeys_ = true;
  std::vector<std::uint32_t> keys_;  // sample numbers
  std::size_t nextKey_ = 0;
  SampleList& samples_;
};

// Adds the samples of all chunks.
void addChunks(Mp4Box* table, TableSamples& samples) {
  const std::vector<std::uint64_t> chunks = chunkOffsets(table);
  const auto* stsc = payloadAt<mp4::SampleToChunkBox>(table, "stsc");
  if (!stsc || stsc->entries.empty()) damagedSource("its samples have no chunks");
  for (std::size_t i = 0; i < stsc->entries.size(); ++i) {
    const auto& entry = stsc->entries[i];
    const std::uint64_t last =
        i + 1 < stsc->entries.size() ? stsc->entries[i + 1].firstChunk : chunks.size() + std::uint64_t{1};
    if (entry.firstChunk == 0 || entry.firstChunk >= last)
      damagedSource("its runs of chunks are out of order");
    for (std::uint64_t chunk = entry.firstChunk; chunk < last && chunk <= chunks.size(); ++chunk) {
      std::uint64_t offset = chunks[chunk - 1];
      for (std::uint32_t k = 0; k < entry.samplesPerChunk && !samples.done(); ++k)
        offset += samples.add(offset);
    }
  }
  if (!samples.done()) damagedSource("its chunks hold fewer samples than it has sizes of");
}

void readTables(Mp4Box* table, std::uint64_t fileSize, SourceTrack& track) {
  const auto* stsz = payloadAt<mp4::SampleSizeBox>(table, "stsz");
  if (!stsz || stsz->sampleCount == 0) return;
  // Samples of equal size have no table entries to bound their number; the file's size does.
  if (stsz->sampleSize != 0 && stsz->sampleCount > fileSize / stsz->sampleSize)
    damagedSource("its samples are larger than the file");
  TableSamples samples(table, *stsz, track.samples);
  addChunks(table, samples);
  const SourceSample last = track.samples.back();
  track.nextDecodeTime = last.decodeTime + last.duration;
  track.tableSamples = track.samples.size();
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
    const bool fragmented = Mp4BoxChild(moov, box_type::kMvex) != nullptr;
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
  for (const SourceSample sample : track.samples) nominal.addSamples(sample.duration);
  nominal.endFragment();
  return nominal;
}

// ---- Fragments --------------------------------------------------------------------------------------

void readRun(const mp4::TrackRunBox& run, const SampleDefaults& defaults, std::uint64_t fileSize,
             SourceTrack& track, std::uint64_t& time, std::uint64_t& offset) {
  // A run without values of its own may state any sample count; each sample present takes a byte.
  if (track.samples.size() + run.sampleCount > fileSize)
    damagedSource("it counts more samples than it has bytes");
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
  for (std::uint32_t i = 0; Mp4Box* trak = Mp4BoxChild(moov, box_type::kTrak, i); ++i)
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
    if (traf->type != box_type::kTraf) continue;
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

// The boxes of a fragment are needed for its samples only; all of them together take many times their size.
std::vector<SourceTrack> readTracks(Mp4Stream& stream) {
  constexpr std::uint64_t kReadAhead = 4096;  // bytes; the boxes of a second take about a thousand
  const std::uint64_t size = stream.size();
  const auto movie = Mp4ReadRoot(stream, false);
  Mp4Box* const moov = movie ? Mp4BoxGet(nullptr, movie->root(), true, "moov") : nullptr;
  if (!movie || movie->memoryShort()) throw std::bad_alloc();
  if (!moov) throw UserError("the source holds no movie box; give an MP4 file");
  std::vector<SourceTrack> tracks = readMovie(moov, size);
  Mp4Window window;
  Mp4WindowStream file(stream, window, size, kReadAhead);
  Mp4Box header;
  for (bool more = file.seek(0); more && Mp4ReadBoxHeader(file, header).ok();) {
    header.father = movie->root();
    if (header.type == box_type::kMoof) {
      Mp4BoxPtr moof;
      if (!Mp4ReadBox(file, movie->root(), moof).ok()) break;
      readFragment(moov, moof.get(), size, tracks);
    }
    more = Mp4SeekNextBox(file, header) == Mp4NextBox::Sibling;
  }
  if (movie->memoryShort()) throw std::bad_alloc();
  return tracks;
}

}  // namespace fmp4
