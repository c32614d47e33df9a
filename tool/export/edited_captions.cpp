#include "tool/export/edited_captions.h"

#include "base/codec_code.h"
#include "base/user_error.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/elst.h"
#include "mp4box/boxes/hdlr.h"
#include "tool/host/movie_file.h"

namespace fmp4 {

namespace {

// Whether the movie has captions, and an edit list for them or for its video.
bool movesCaptions(Mp4Box* movie) {
  bool captions = false, edits = false;
  for (std::uint32_t i = 0; Mp4Box* const trak = movie ? Mp4BoxChild(movie, box_type::kTrak, i) : nullptr;
       ++i) {
    const auto* handler = Mp4PayloadOf<mp4::HandlerBox>(Mp4BoxGet(nullptr, trak, true, "mdia/hdlr"));
    const bool ofCaptions = handler && handler->handlerType == mp4::kCaptionHandler;
    const bool ofVideo = handler && handler->handlerType == mp4::kVideoHandler;
    const auto* list = Mp4PayloadOf<mp4::EditListBox>(Mp4BoxGet(nullptr, trak, true, "edts/elst"));
    captions = captions || ofCaptions;
    edits = edits || ((ofCaptions || ofVideo) && list && !list->entries.empty());
  }
  return captions && edits;
}

}  // namespace

std::unique_ptr<EditedCaptions> EditedCaptions::of(const std::string& name) {
  const std::string path = openedFiles(name).media;
  MovieFile file(path);
  if (!file.isOpen() || !movesCaptions(file.movie())) return nullptr;
  return std::unique_ptr<EditedCaptions>(new EditedCaptions(path));
}

EditedCaptions::EditedCaptions(const std::string& path)
    : source_(path),
      times_(video(), PackagePlan::asRead(video())),
      cc608_(source_, source_.trackOfCodec(kC608)),
      cc708_(source_, source_.trackOfCodec(kC708)) {}

const SourceTrack& EditedCaptions::video() {
  const SourceTrack* const track = source_.trackOfHandler(mp4::kVideoHandler);
  if (!track) throw UserError("'" + source_.path() + "' has no video; 'fmp4 boxes' shows what it has");
  return *track;
}

void EditedCaptions::replaceIn(DFRAME& descriptor, std::uint32_t frame) {
  descriptor.captionFlags = descriptor.captionBytes = 0;
  const auto frameOf = [this](double seconds) { return times_.frameOf(seconds); };
  cc608_.addTo(descriptor, frame, frameOf);
  cc708_.addTo(descriptor, frame, frameOf);
}

void EditedCaptions::rewind() {
  cc608_.rewind();
  cc708_.rewind();
}

}  // namespace fmp4
