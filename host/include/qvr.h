// The host's descriptions of a file and its streams, and the descriptor of one read or write request. They
// cross the interface by address and are plain data: no constructors, no owned memory.
#pragma once

#include <cstdint>

// Marks a 32-bit word as not set.
inline constexpr std::uint32_t QVR_NOT_SET = 0xFFFFFFFFu;

// Stream kinds (QVRSTREAM::kind).
inline constexpr std::uint32_t QVR_KIND_VIDEO = 16;
inline constexpr std::uint32_t QVR_KIND_AUDIO = 256;

// Stream types: the four characters in file byte order.
inline constexpr std::uint32_t QVR_FCC_VIDS = 0x76696473u;  // "vids"
inline constexpr std::uint32_t QVR_FCC_AUDS = 0x61756473u;  // "auds"

// Bits of QVRINFO::captions.
inline constexpr std::uint32_t QVR_CAPTIONS_608 = 1;
inline constexpr std::uint32_t QVR_CAPTIONS_708 = 2;

// Bits of DFRAME::flags.
inline constexpr std::uint32_t DFRAME_NOT_KEY = 0x80000000u;   // frame that depends on other frames
inline constexpr std::uint32_t DFRAME_KEY = 0x10000000u;       // a key frame
inline constexpr std::uint32_t DFRAME_REPEATED = 0x00008000u;  // cleared by every read
// Bits of DFRAME::captionFlags.
inline constexpr std::uint32_t DFRAME_CAPTION_608 = 0x0100u;
inline constexpr std::uint32_t DFRAME_CAPTION_708 = 0x1000u;
inline constexpr std::uint32_t DFRAME_CAPTION_MASK = 0x3300u;

// Read and Write: the low byte of `mode`, and the bit that requests sample information without data.
inline constexpr std::uint32_t QVR_MODE_AUDIO = 0;
inline constexpr std::uint32_t QVR_MODE_VIDEO = 1;
inline constexpr std::uint32_t QVR_MODE_HEADER_ONLY = 0x08000000u;

// Bytes of codec configuration that a video description can hold. A colour table uses the same space.
inline constexpr std::uint32_t QVR_CODEC_CONFIGURATION_BYTES = 128 * 1024;
// Bytes of codec configuration that an audio description can hold.
inline constexpr std::uint32_t QVR_AUDIO_EXTRA_BYTES = 256;

// The time base and identity of a stream.
struct QVRSTREAMHEADER {
  std::uint32_t type;     // QVR_FCC_VIDS or QVR_FCC_AUDS
  std::uint32_t handler;  // compression code
  std::uint32_t flags;
  std::uint32_t scale;  // rate / scale: units per second
  std::uint32_t rate;
  std::uint32_t start;
  std::uint32_t length;  // units: video frames or PCM frames
  std::uint32_t initialFrames;
  std::uint32_t suggestedBufferSize;  // bytes
  std::uint32_t quality;              // all ones: not set
  std::uint32_t sampleSize;
  std::int32_t frameLeft, frameTop, frameRight, frameBottom;  // pixels
  std::uint32_t editCount;
  char name[64];
};

// A bitmap header, followed by a colour table or the codec configuration.
struct QVRBITMAP {
  std::uint32_t size;  // bytes: 40, or more if a codec configuration follows
  std::int32_t width;
  std::int32_t height;  // negative: rows bottom-up
  std::uint16_t planes;
  std::uint16_t bitCount;     // bits per pixel
  std::uint32_t compression;  // 0: uncompressed, otherwise a four-character code
  std::uint32_t sizeImage;    // bytes
  std::int32_t xPixelsPerMetre;
  std::int32_t yPixelsPerMetre;
  std::uint32_t coloursUsed;
  std::uint32_t coloursImportant;
};

// The video description.
struct QVRVIDEO {
  std::uint32_t fileType;
  std::uint32_t flags;
  std::uint32_t bufferSize;  // bytes, buffer for one frame
  std::uint32_t rowSize;     // bytes, one row
  QVRSTREAMHEADER stream;
  QVRBITMAP bitmap;
  // Directly after the bitmap header: the colour table (1024 bytes) of uncompressed video, or the codec
  // configuration as one box, including its header, whose first four bytes give its size, big-endian.
  std::uint8_t colourTable[QVR_CODEC_CONFIGURATION_BYTES];
};

// An audio format in the layout of WAVEFORMATEX, and its extra bytes.
struct QVRWAVE {
  std::uint16_t formatTag;  // 1: PCM
  std::uint16_t channels;
  std::uint32_t samplesPerSecond;
  std::uint32_t averageBytesPerSecond;
  std::uint16_t blockAlign;  // bytes, one PCM frame
  std::uint16_t bitsPerSample;
  std::uint16_t extraSize;  // bytes used in `extra`
  std::uint16_t reserved;
  std::uint8_t extra[QVR_AUDIO_EXTRA_BYTES];
};

// The audio description.
struct QVRAUDIO {
  std::uint32_t fileType;
  std::uint32_t channelMask;  // channels of the file that the stream carries; 0: unspecified
  std::uint32_t bufferSize;   // bytes, audio of one video frame
  std::uint32_t codec;        // four-character code of the stored codec, file byte order
  QVRSTREAMHEADER stream;
  QVRWAVE wave;
};

// The main header: a summary of the file.
struct QVRSYSTEM {
  std::uint32_t fileType;
  std::uint32_t microSecondsPerFrame;
  std::uint32_t maximumBytesPerSecond;
  std::uint32_t paddingGranularity;
  std::uint32_t flags;
  std::uint32_t totalFrames;
  std::uint32_t initialFrames;
  std::uint32_t streams;
  std::uint32_t suggestedBufferSize;
  std::uint32_t width;
  std::uint32_t height;
  std::uint32_t scale;
  std::uint32_t rate;
  std::uint32_t start;
  std::uint32_t length;
  char name[64];
};

// Properties of the file rather than of a stream.
struct QVRINFO {
  // Start timecodes in frames since midnight, QVR_NOT_SET if unknown: the active one, then the recorded
  // longitudinal and vertical-interval ones, which may replace it.
  std::uint32_t startTimecode;
  std::uint32_t startTimecodeLtc;
  std::uint32_t startTimecodeVitc;
  // Timecode rate: 1 = 24, 2 = 30, 4 = 30000/1001, 8 = 25, 128 = 24000/1001 frames per second.
  std::uint32_t timecodeRate;
  std::uint32_t captions;  // QVR_CAPTIONS_* present in the file
  // Time base of one PCM frame, reduced (audio sample rate x video scale, video rate).
  std::int64_t audioRate;
  std::int64_t audioScale;
  std::uint32_t aspectX, aspectY;  // picture aspect ratio
};

// A stream holder: one stream of an open file, owned by the media-file base.
struct QVRSTREAM {
  std::uint32_t kind;  // QVR_KIND_VIDEO or QVR_KIND_AUDIO
  std::uint32_t reserved;
  QVRVIDEO video;  // valid if kind is QVR_KIND_VIDEO
  QVRAUDIO audio;  // valid if kind is QVR_KIND_AUDIO
};

// One read or write request with its buffer.
struct DFRAME {
  std::uint32_t size;  // bytes, this descriptor: sizeof(DFRAME)
  std::uint32_t frame;
  std::uint32_t timecode;       // frames since midnight
  std::uint32_t timecodeOther;  // the second timecode, or the first one repeated
  std::uint32_t flags;          // DFRAME_*
  std::uint32_t bytes;          // bytes delivered, or bytes to write
  std::uint8_t* data;           // null if no sample data is requested
  std::uint32_t dataCapacity;   // bytes at `data`; 0: the largest sample, or audio as counted by the host
  std::uint32_t sampleSize;     // header-only request: bytes, the sample
  std::int32_t compositionOffset;
  std::uint32_t reserved;
  std::uint32_t captionFlags;  // DFRAME_CAPTION_*
  std::uint32_t captionBytes;
  std::uint8_t firstByte;  // header-only request: first byte of the sample
  std::uint8_t padding[3];
  std::uint32_t lostUnits;  // audio: access units that could not be read or decoded, delivered as silence
  // The CEA-608 pair in bytes 0 and 1; the CEA-708 packet from byte 4.
  std::uint8_t captions[8496];
};
static_assert(sizeof(DFRAME) == 8560, "the host knows descriptors by their size");

// SetMode: a mode command.
struct MEDIACMD {
  std::uint32_t command;
  std::uint32_t channelMask;
  std::int32_t speed;  // 65520: normal forward speed
  std::uint32_t position;
  std::uint32_t flags;
};

// GetCodecOptions and SetCodecOption: the options of a codec.
struct CODEC_DESCRIPTION {
  std::uint32_t fourcc;
  char name[64];
  std::uint32_t flags;
  std::uint32_t options[64];
};
