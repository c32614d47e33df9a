// The host's media-file library: the base class of every plug-in's media-file object.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "qvr.h"
#include "vlutil.h"

// Commands of MFXCmd.
inline constexpr std::uint32_t MFX_OPEN = 1;
inline constexpr std::uint32_t MFX_CLOSE = 2;

// Flags of CAMediaFile::Open.
inline constexpr std::uint32_t MF_OPEN_AUDIO_ONLY = 0x01000000u;
inline constexpr std::uint32_t MF_OPEN_NO_AUDIO = 0x02000000u;

// A format that a plug-in supports: one row of the host's format table. The plug-in owns the texts.
struct FormatRecord {
  std::uint32_t fileType;
  std::uint32_t padding;
  const char* patterns;  // file name patterns, separated by ";"
  const char* shortDescription;
  const char* longDescription;
  std::uint32_t capabilities;
  std::uint32_t furtherFlags;
  std::uint64_t reserved;
  double reservedNumber;
};
static_assert(sizeof(void*) != 8 || sizeof(FormatRecord) == 56, "the layout is the host's");

// The argument of MFX_OPEN. It starts with the word that is passed to the object's constructor.
struct MFXOPEN {
  std::uint32_t fileType;
  std::uint32_t access;
  const char* fileName;
  std::uint32_t share;
  std::uint32_t creation;
  void* security;
  std::uint32_t attributes;
  std::uint32_t openFlags;  // MF_OPEN_*
};

// The argument of MFX_CLOSE.
struct MFXCLOSE {
  std::uint64_t reserved;
};

extern "C" {

// Checks a caption area of `length` bytes in the layout of DFRAME::captions: from byte 4 on it holds an
// ancillary data packet (SMPTE ST 334-1: 0x61, 0x01, data count) that contains a caption distribution packet
// (0x96, 0x69, its length), or a bare caption distribution packet, or other caption data. A caption
// distribution packet must lie within the area, and a preceding data count must equal its length. Returns 0
// if the area is valid, otherwise VL_FAILED. Never reads past `length`.
VLHOST_API std::uint32_t mfCheck608708(const std::uint8_t* captions, std::uint32_t length);

}  // extern "C"

// One open media file. A plug-in derives from it and overrides the operations that depend on its format; the
// host implements the rest. The order of its 82 virtual operations is the binary interface between plug-in
// and host: a new operation takes a reserved slot, and the order never changes. Operations return status
// words (0 is success) unless their comment says otherwise. Operations marked "unsupported" return
// VL_E_NOT_SUPPORTED here.
//
// Calls on one object must not overlap.
class VLHOST_API CAMediaFile {
 protected:
  // The file name as passed to Open. It stays the first member: hosts read it directly after the pointer to
  // the table of virtual operations.
  char m_fileName[VL_MAX_PATH] = {};

 public:
  // `fileType` is the plug-in's file-type code, or any other word that the host passes on construction.
  explicit CAMediaFile(std::uint32_t fileType);
  CAMediaFile(const CAMediaFile&) = delete;
  CAMediaFile& operator=(const CAMediaFile&) = delete;

  // 1
  virtual ~CAMediaFile();

  // 2. Opens or creates a file; see vlOSCreateFile for the arguments and MF_OPEN_* for the flags. The base
  // only records them, see m_setOpen.
  virtual std::uint32_t Open(const char* fileName, std::uint32_t access, std::uint32_t share, void* security,
                             std::uint32_t creation, std::uint32_t attributes, std::uint32_t openFlags);
  // 3
  virtual std::uint32_t Close();
  // 4. Copies out the descriptions; each pointer may be null. `channelMask` selects the audio stream: the one
  // whose holder carries the first channel of the mask, or the presentation's audio if there is none.
  virtual std::uint32_t GetFileInfo(std::uint32_t channelMask, QVRSYSTEM* system, QVRVIDEO* video,
                                    QVRAUDIO* audio, QVRINFO* info);
  // 5. Sets the descriptions from the host; each pointer may be null.
  virtual std::uint32_t SetFileInfo(std::uint32_t channelMask, const QVRSYSTEM* system, const QVRVIDEO* video,
                                    const QVRAUDIO* audio, const QVRINFO* info);
  // 6. As 5, without the information record.
  virtual std::uint32_t SetSysInfo(const QVRSYSTEM* system, const QVRVIDEO* video, const QVRAUDIO* audio);
  // 7. The base accepts any command and ignores it; returns VL_FAILED for null.
  virtual std::uint32_t SetMode(const MEDIACMD* command);
  // 8. Writes `count` units starting at `frame`; see QVR_MODE_*. The base returns VL_E_NOT_SUPPORTED.
  virtual std::uint32_t Write(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask,
                              std::uint32_t mode, DFRAME* descriptor, void* extra);
  // 9. Reads `count` units starting at `frame`; see QVR_MODE_*. The base returns VL_E_NOT_SUPPORTED.
  virtual std::uint32_t Read(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask,
                             std::uint32_t mode, DFRAME* descriptor, void* extra);
  // 10. Whether the format has the capability `capability`: 1 or 0 (the base).
  virtual std::uint32_t QueryCapability(std::uint32_t capability);
  // 11. Length of the video stream in frames.
  virtual std::uint32_t GetTotalFrames();
  // 12. The key frame nearest to `frame`; `frame` itself if this is unknown.
  virtual std::uint32_t FindKeyFrame(std::uint32_t channelMask, std::int8_t directionMode,
                                     std::uint32_t frame, std::int32_t direction);
  // 13. Enumerates the codecs that the format can write: audio if `stream` is negative, otherwise video.
  // Returns a four-character code, or VL_FAILED past the last one. Each pointer may be null; `shortCode` and
  // `name` hold 64 characters.
  virtual std::uint32_t EnumCodecs(std::int32_t stream, std::int32_t index, char* shortCode, char* name,
                                   std::uint32_t* flags, std::uint32_t* extra);
  // 14. The base has no options: VL_E_NOT_SUPPORTED.
  virtual std::uint32_t GetCodecOptions(std::uint32_t channelMask, std::uint32_t stream, std::uint32_t option,
                                        std::uint32_t* value, CODEC_DESCRIPTION* description);
  // 15. The base accepts any option and ignores it.
  virtual std::uint32_t SetCodecOption(std::uint32_t channelMask, std::uint32_t stream, std::uint32_t option,
                                       std::uint32_t value, const CODEC_DESCRIPTION* description);

  virtual std::uint32_t Channels();                     // 16. mask of all audio channels
  virtual std::uint32_t AudChan();                      // 17. number of audio channels
  virtual std::uint32_t VidChan();                      // 18. number of video channels
  virtual std::uint32_t InfChan();                      // 19. number of information channels
  virtual std::uint32_t GetSysInfo(QVRSYSTEM* system);  // 20. copies the main header to `system`
  virtual std::uint32_t GetActive();                    // 21. mask of the active channels
  virtual std::uint32_t SetActive(std::uint32_t mask);  // 22
  virtual std::uint32_t WriteUnc(std::uint32_t frame, const void* data,
                                 std::uint32_t bytes);                                  // 23. unsupported
  virtual std::uint32_t ReadUnc(std::uint32_t frame, void* data, std::uint32_t bytes);  // 24. unsupported
  virtual std::uint32_t GetOverlappedResult(std::uint32_t wait);                        // 25. unsupported
  virtual std::uint32_t Status();       // 26. 0: closed, 1: open for reading, 2: open for writing
  virtual std::uint32_t GetCurFrame();  // 27. the last frame read or written; initially QVR_NOT_SET
  virtual std::uint32_t OpenCopyFileInfo(CAMediaFile* source);                 // 28. unsupported
  virtual std::uint32_t Rename(const char* fileName);                          // 29. unsupported
  virtual std::uint32_t Move(const char* fileName);                            // 30. unsupported
  virtual std::uint32_t Copy(const char* fileName);                            // 31. unsupported
  virtual std::uint32_t Alias(const char* fileName);                           // 32. unsupported
  virtual std::uint32_t Delete();                                              // 33. unsupported
  virtual std::uint32_t GetItem(std::uint32_t item, void* data);               // 34. unsupported
  virtual std::uint32_t GetAudItem(std::uint32_t item, void* data);            // 35. unsupported
  virtual std::uint32_t SetItem(std::uint32_t item, const void* data);         // 36. unsupported
  virtual std::uint32_t SetGraphicItem(std::uint32_t item, const void* data);  // 37. unsupported
  virtual std::uint32_t SetAudioItem(std::uint32_t item, const void* data);    // 38. unsupported
  virtual std::uint32_t InstanceData(void* data);                              // 39. unsupported
  virtual std::uint32_t forbid();                                              // 40. unsupported
  virtual std::uint32_t permit();                                              // 41. unsupported
  // 42. The command channel: MFX_OPEN calls Open, MFX_CLOSE calls Close; other commands are unsupported.
  virtual std::uint32_t MFXCmd(std::uint32_t command, void* argument);
  virtual std::uint32_t GetPreferredAudType();                                       // 43. unsupported
  virtual std::uint32_t SepAudOpen(const char* fileName);                            // 44. unsupported
  virtual std::uint32_t SepAudRead(std::uint32_t frame, DFRAME* descriptor);         // 45. unsupported
  virtual std::uint32_t SepAudWrite(std::uint32_t frame, DFRAME* descriptor);        // 46. unsupported
  virtual std::uint32_t SepAudClose();                                               // 47. unsupported
  virtual std::uint32_t ccOpenFile(const char* fileName);                            // 48. unsupported
  virtual std::uint32_t ccCreateFile(const char* fileName);                          // 49. unsupported
  virtual std::uint32_t ccReadFile(std::uint32_t frame, DFRAME* descriptor);         // 50. unsupported
  virtual std::uint32_t ccWriteFile(std::uint32_t frame, const DFRAME* descriptor);  // 51. unsupported
  virtual std::uint32_t ccCloseFile();                                               // 52. unsupported
  virtual std::uint32_t ccPluginCanWriteCC();                                        // 53. unsupported
  virtual std::uint32_t tcOpenFile(const char* fileName);                            // 54. unsupported
  virtual std::uint32_t tcCreateFile(const char* fileName);                          // 55. unsupported
  virtual std::uint32_t tcReadFile(std::uint32_t frame, DFRAME* descriptor);         // 56. unsupported
  virtual std::uint32_t tcWriteFile(std::uint32_t frame, const DFRAME* descriptor);  // 57. unsupported
  virtual std::uint32_t tcCloseFile();                                               // 58. unsupported
  virtual std::uint32_t __Dump();                                                    // 59. unsupported
  virtual std::uint32_t reserved60();  // 60 to 82: reserved, unsupported
  virtual std::uint32_t reserved61();
  virtual std::uint32_t reserved62();
  virtual std::uint32_t reserved63();
  virtual std::uint32_t reserved64();
  virtual std::uint32_t reserved65();
  virtual std::uint32_t reserved66();
  virtual std::uint32_t reserved67();
  virtual std::uint32_t reserved68();
  virtual std::uint32_t reserved69();
  virtual std::uint32_t reserved70();
  virtual std::uint32_t reserved71();
  virtual std::uint32_t reserved72();
  virtual std::uint32_t reserved73();
  virtual std::uint32_t reserved74();
  virtual std::uint32_t reserved75();
  virtual std::uint32_t reserved76();
  virtual std::uint32_t reserved77();
  virtual std::uint32_t reserved78();
  virtual std::uint32_t reserved79();
  virtual std::uint32_t reserved80();
  virtual std::uint32_t reserved81();
  virtual std::uint32_t reserved82();

 protected:
  // Records the arguments of an open; the object counts as open until m_setClose. Resets what is known about
  // the streams of an earlier open: holders, channels, current frame. Returns 0, or VL_FAILED without
  // recording anything if the name is null, empty or too long.
  std::uint32_t m_setOpen(const char* fileName, std::uint32_t access, std::uint32_t share, void* security,
                          std::uint32_t creation, std::uint32_t attributes, std::uint32_t openFlags);
  // Marks the file as closed. Everything else stays readable, so that closing can still finish the file.
  void m_setClose();
  // Whether the recorded open creates a new file: it requests write access and VL_CREATE_NEW or
  // VL_CREATE_ALWAYS. VL_OPEN_ALWAYS keeps an existing file and does not count as creation.
  bool m_fCreateFile() const;
  std::uint32_t m_GetOpenFlags() const;
  std::uint32_t m_GetFileType() const;
  void m_SetFileType(std::uint32_t fileType);
  VLHANDLE m_GetHandle() const;         // the file handle that the plug-in stored in m_handle
  std::uint32_t m_GetfccCodec() const;  // compression code of the video description
  // Returns a new, zeroed stream holder, owned by this object until it is opened again or destroyed; null if
  // memory is short or all 65 (one video, 64 audio) are in use.
  QVRSTREAM* m_AllocAStream();
  // Makes an audio description consistent: derives block alignment and bytes per second from channel count,
  // bits and rate if they are 0, and limits the extra size to what the record holds.
  void m_fixQVRStruct(QVRAUDIO* audio) const;
  // The codec configuration after the bitmap header of compressed video: its address and length (`bytes` may
  // be null), or null and 0.
  const std::uint8_t* m_GetCodecPrivateData(std::uint32_t* bytes) const;
  // Stores one. Returns VL_FAILED if it does not fit or is not a box of exactly `bytes` bytes.
  std::uint32_t m_SetCodecPrivateData(const std::uint8_t* data, std::uint32_t bytes);

  // The descriptions of the presentation, as returned by the base.
  QVRSYSTEM m_system = {};
  QVRVIDEO m_video = {};
  QVRAUDIO m_audio = {};
  QVRINFO m_info = {};

  // The arguments of the recorded open.
  std::uint32_t m_access = 0;
  std::uint32_t m_share = 0;
  void* m_security = nullptr;
  std::uint32_t m_creation = 0;
  std::uint32_t m_attributes = 0;
  std::uint32_t m_openFlags = 0;
  bool m_isOpen = false;

  VLHANDLE m_handle = VL_NO_HANDLE;
  std::uint32_t m_fileType = 0;
  std::uint32_t m_audioMask = 0;      // one bit per audio channel of the file
  std::uint32_t m_videoChannels = 0;  // 0 or 1
  std::uint32_t m_activeMask = 0xFFFFFFFFu;
  std::uint32_t m_currentFrame = QVR_NOT_SET;
  std::uint32_t m_ioAlignment = 4096;  // bytes; sizes of video buffers are rounded up to a multiple

  std::vector<std::unique_ptr<QVRSTREAM>> m_streams;  // in order of allocation
};
