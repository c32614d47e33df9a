// One media file being recorded: the file, its segments and their indexes, and the playlist and manifest that
// list them.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "mp4box/boxes/sidx.h"
#include "mp4box/fragment.h"
#include "mp4box/output.h"
#include "mp4box/stream.h"
#include "os/disk_file.h"
#include "streaming/lists/mpd_writer.h"
#include "streaming/lists/playlist_writer.h"

namespace fmp4 {

// The bytes that the tracks of one fragment contribute, by mp4::TrackKind.
using TrackBytes = std::array<std::span<const std::uint8_t>, mp4::kTrackKinds.size()>;

// What a fragment adds to the index of its segment.
struct FragmentReference {
  std::uint32_t duration = 0;  // ticks of the index
  bool startsWithSap = false;  // of type 1
};

struct SegmentSettings {
  std::uint32_t trackNumber = 0;            // the track that the indexes time
  std::uint32_t timescale = 0;              // ticks a second
  std::uint64_t firstPresentationTime = 0;  // ticks, in the first index
  std::uint64_t duration = 0;               // ticks from one index to the next
  std::uint32_t fragmentsPerSegment = 0;    // also the references that an index has space for
};

class RecordedFile {
 public:
  // Maximum bytes of a fragment whose size a reference can hold.
  static constexpr std::uint32_t kMaxFragmentBytes = 0x7FFFFFFF;

  // Creates the file, replacing an existing one, and writes the file type box. False when that fails.
  bool create(const std::string& path, const std::string& playlistPath);
  VLHANDLE handle() const { return stream_.handle; }
  const std::string& path() const { return path_; }
  // Name and extension, as playlist and manifest refer to the file.
  std::string name() const;

  // Writes the movie box. After that segments can be written.
  bool start(mp4::Movie& movie, const SegmentSettings& settings);
  // Bytes before the first segment.
  std::uint64_t initialisationLength() const { return initialisationLength_; }
  // Where completed segments are listed.
  void listIn(const PlaylistSettings& playlist);
  void listIn(MpdWriter& manifest, MpdWriter::List list);

  // Writes a fragment, and before it the space of an index where a segment starts. Fills in sequence number
  // and data offsets. A failed write is reported, what it left is removed from the file, and no further
  // fragment is written. When memory runs out (std::bad_alloc), nothing has changed.
  bool AddFragment(mp4::MovieFragment& fragment, const TrackBytes& bytes, const FragmentReference& reference);
  bool failed() const { return failed_; }
  // No fragment is written from now on.
  void giveUp() { failed_ = true; }

  bool segmentOpen() const { return references_ != 0; }
  // Intended (quirk 40): with no space for references a segment is never full.
  bool segmentFull() const { return segmentOpen() && references_ == settings_.fragmentsPerSegment; }
  // Whether the next fragment completes its segment.
  bool oneFragmentShort() const { return references_ + 1 == settings_.fragmentsPerSegment; }
  // Completes the open segment's index, waits for the disk and lists the segment, which ends at `endPosition`
  // in video frames or audio samples. False, with nothing listed, when that fails. When memory runs out
  // (std::bad_alloc), the segment stays open, to be finished later.
  bool finishSegment(std::uint64_t endPosition);

  // Ends the playlist and closes the file.
  void close();

 private:
  void clearHead(std::size_t space);
  void beginSegment();
  bool write(std::uint64_t offset, std::span<const std::uint8_t> bytes);
  bool syncToDisk();

  Mp4Stream stream_;
  os::DiskFile disk_;
  std::string path_;
  std::string playlistPath_;
  SegmentSettings settings_;
  std::uint64_t initialisationLength_ = 0;
  bool failed_ = false;
  bool named_ = false;  // the file's name is on the disk

  Mp4MemoryOutput head_;  // what precedes a fragment's media data
  std::uint32_t sequenceNumber_ = 0;
  std::uint64_t end_ = 0;  // after the last fragment that is complete

  mp4::SegmentIndexBox index_;  // of the open segment
  std::uint32_t references_ = 0;
  std::uint64_t segmentStart_ = 0;
  std::uint64_t indexEnd_ = 0;
  std::uint64_t nextPresentationTime_ = 0;

  PlaylistWriter playlist_;
  MpdWriter* manifest_ = nullptr;
  MpdWriter::List list_ = MpdWriter::List::Video;
};

}  // namespace fmp4
