// The host's media-file library: the base class of every media-file plug-in's object.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "qvr.h"
#include "vlutil.h"

// Commands of MFXCmd.
inline constexpr std::uint32_t MFX_OPEN = 1;
inline constexpr std::uint32_t MFX_CLOSE = 2;

// Open flags.
inline constexpr std::uint32_t MF_OPEN_AUDIO_ONLY = 0x01000000u;
inline constexpr std::uint32_t MF_OPEN_NO_AUDIO = 0x02000000u;

// What a plug-in says about a format it handles: a row of the host's format table. The texts stay the
// plug-in's.
struct FormatRecord {
  std::uint32_t fileType;
  std::uint32_t padding;
  const char* patterns;  // file-name patterns, separated by ";"
  const char* shortDescription;
  const char* longDescription;
  std::uint32_t capabilities;
  std::uint32_t furtherFlags;
  std::uint64_t reserved;
  double reservedNumber;
};
static_assert(sizeof(void*) != 8 || sizeof(FormatRecord) == 56, "the layout is the host's");

// The argument of MFX_OPEN. It begins with the word that the object is constructed with.
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

// Checks a caption area of `length` bytes, as DFRAME::captions holds it: from byte 4 on an ancillary data
// packet (SMPTE ST 334-1: 0x61, 0x01, data count) whose data is a caption distribution packet (0x96, 0x69,
// its own length), or a bare caption distribution packet, or other caption data. A caption distribution
// packet must lie within the area, and a data count before it must equal its length. Returns 0 when the area
// is sound, else VL_FAILED. Reads nothing past `length`.
VLHOST_API std::uint32_t mfCheck608708(const std::uint8_t* captions, std::uint32_t length);

}  // extern "C"

// One open media file. A plug-in derives from it and overrides what depends on its format; the rest is the
// host's. Its virtual operations number 82, in the order below: plug-in and host agree on nothing else, so
// a new operation takes a reserved place and the order never changes. Operations return status words (0 is
// success) unless their comment says otherwise. Those marked "not served" answer VL_E_NOT_SUPPORTED here.
//
// Calls on one object must not overlap.
class VLHOST_API CAMediaFile {
 protected:
  // The file's name as given to Open. It stays the first member: hosts read it right behind the table of
  // virtual operations.
  char m_fileName[VL_MAX_PATH] = {};

 public:
  // `fileType` is the plug-in's file-type code or whatever word the host made the object with.
  explicit CAMediaFile(std::uint32_t fileType);
  CAMediaFile(const CAMediaFile&) = delete;
  CAMediaFile& operator=(const CAMediaFile&) = delete;

  // 1
  virtual ~CAMediaFile();

  // 2. Opens or creates a file; see vlOSCreateFile for the arguments, MF_OPEN_* for the flags. The base only
  // notes them, see m_setOpen.
  virtual std::uint32_t Open(const char* fileName, std::uint32_t access, std::uint32_t share, void* security,
                             std::uint32_t creation, std::uint32_t attributes, std::uint32_t openFlags);
  // 3
  virtual std::uint32_t Close();
  // 4. Copies out the descriptions; each pointer may be null. `channelMask` selects the audio stream: the one
  // whose holder says that it serves the mask's first channel, or the presentation's where none does.
  virtual std::uint32_t GetFileInfo(std::uint32_t channelMask, QVRSYSTEM* system, QVRVIDEO* video,
                                    QVRAUDIO* audio, QVRINFO* info);
  // 5. Takes the host's descriptions; each pointer may be null.
  virtual std::uint32_t SetFileInfo(std::uint32_t channelMask, const QVRSYSTEM* system, const QVRVIDEO* video,
                                    const QVRAUDIO* audio, const QVRINFO* info);
  // 6. The same without the information record.
  virtual std::uint32_t SetSysInfo(const QVRSYSTEM* system, const QVRVIDEO* video, const QVRAUDIO* audio);
  // 7. The base takes any command and does nothing; a null one is VL_FAILED.
  virtual std::uint32_t SetMode(const MEDIACMD* command);
  // 8. Writes `count` units from `frame` on; see QVR_MODE_*. Without a format: VL_E_NOT_SUPPORTED.
  virtual std::uint32_t Write(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask,
                              std::uint32_t mode, DFRAME* descriptor, void* extra);
  // 9. Reads `count` units from `frame` on; see QVR_MODE_*. Without a format: VL_E_NOT_SUPPORTED.
  virtual std::uint32_t Read(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask,
                             std::uint32_t mode, DFRAME* descriptor, void* extra);
  // 10. Whether the format can do what `capability` names: 1 or 0 (the base).
  virtual std::uint32_t QueryCapability(std::uint32_t capability);
  // 11. Length of the video stream in frames.
  virtual std::uint32_t GetTotalFrames();
  // 12. The key frame nearest to `frame`; the frame itself where the question has no answer.
  virtual std::uint32_t FindKeyFrame(std::uint32_t channelMask, std::int8_t directionMode,
                                     std::uint32_t frame, std::int32_t direction);
  // 13. The codecs the format can write: `stream` negative for audio, else video. Returns a four-character
  // code or VL_FAILED past the last. Each pointer may be null; `shortCode` and `name` hold 64 characters.
  virtual std::uint32_t EnumCodecs(std::int32_t stream, std::int32_t index, char* shortCode, char* name,
                                   std::uint32_t* flags, std::uint32_t* extra);
  // 14. The base knows no options: VL_E_NOT_SUPPORTED.
  virtual std::uint32_t GetCodecOptions(std::uint32_t channelMask, std::uint32_t stream, std::uint32_t option,
                                        std::uint32_t* value, CODEC_DESCRIPTION* description);
  // 15. The base takes any option and keeps none.
  virtual std::uint32_t SetCodecOption(std::uint32_t channelMask, std::uint32_t stream, std::uint32_t option,
                                       std::uint32_t value, const CODEC_DESCRIPTION* description);

  virtual std::uint32_t Channels();                     // 16. mask of all audio channels
  virtual std::uint32_t AudChan();                      // 17. number of audio channels
  virtual std::uint32_t VidChan();                      // 18. number of video channels
  virtual std::uint32_t InfChan();                      // 19. number of information channels
  virtual std::uint32_t GetSysInfo(QVRSYSTEM* system);  // 20. copies out the main header
  virtual std::uint32_t GetActive();                    // 21. mask of the active channels
  virtual std::uint32_t SetActive(std::uint32_t mask);  // 22
  virtual std::uint32_t WriteUnc(std::uint32_t frame, const void* data,
                                 std::uint32_t bytes);                                  // 23. not served
  virtual std::uint32_t ReadUnc(std::uint32_t frame, void* data, std::uint32_t bytes);  // 24. not served
  virtual std::uint32_t GetOverlappedResult(std::uint32_t wait);                        // 25. not served
  virtual std::uint32_t Status();       // 26. 0 closed, 1 open for reading, 2 open for writing
  virtual std::uint32_t GetCurFrame();  // 27. the last frame read or written, QVR_NOT_SET before
  virtual std::uint32_t OpenCopyFileInfo(CAMediaFile* source);                 // 28. not served
  virtual std::uint32_t Rename(const char* fileName);                          // 29. not served
  virtual std::uint32_t Move(const char* fileName);                            // 30. not served
  virtual std::uint32_t Copy(const char* fileName);                            // 31. not served
  virtual std::uint32_t Alias(const char* fileName);                           // 32. not served
  virtual std::uint32_t Delete();                                              // 33. not served
  virtual std::uint32_t GetItem(std::uint32_t item, void* data);               // 34. not served
  virtual std::uint32_t GetAudItem(std::uint32_t item, void* data);            // 35. not served
  virtual std::uint32_t SetItem(std::uint32_t item, const void* data);         // 36. not served
  virtual std::uint32_t SetGraphicItem(std::uint32_t item, const void* data);  // 37. not served
  virtual std::uint32_t SetAudioItem(std::uint32_t item, const void* data);    // 38. not served
  virtual std::uint32_t InstanceData(void* data);                              // 39. not served
  virtual std::uint32_t forbid();                                              // 40. not served
  virtual std::uint32_t permit();                                              // 41. not served
  // 42. The command channel: MFX_OPEN calls Open, MFX_CLOSE calls Close; others are not served.
  virtual std::uint32_t MFXCmd(std::uint32_t command, void* argument);
  virtual std::uint32_t GetPreferredAudType();                                       // 43. not served
  virtual std::uint32_t SepAudOpen(const char* fileName);                            // 44. not served
  virtual std::uint32_t SepAudRead(std::uint32_t frame, DFRAME* descriptor);         // 45. not served
  virtual std::uint32_t SepAudWrite(std::uint32_t frame, DFRAME* descriptor);        // 46. not served
  virtual std::uint32_t SepAudClose();                                               // 47. not served
  virtual std::uint32_t ccOpenFile(const char* fileName);                            // 48. not served
  virtual std::uint32_t ccCreateFile(const char* fileName);                          // 49. not served
  virtual std::uint32_t ccReadFile(std::uint32_t frame, DFRAME* descriptor);         // 50. not served
  virtual std::uint32_t ccWriteFile(std::uint32_t frame, const DFRAME* descriptor);  // 51. not served
  virtual std::uint32_t ccCloseFile();                                               // 52. not served
  virtual std::uint32_t ccPluginCanWriteCC();                                        // 53. not served
  virtual std::uint32_t tcOpenFile(const char* fileName);                            // 54. not served
  virtual std::uint32_t tcCreateFile(const char* fileName);                          // 55. not served
  virtual std::uint32_t tcReadFile(std::uint32_t frame, DFRAME* descriptor);         // 56. not served
  virtual std::uint32_t tcWriteFile(std::uint32_t frame, const DFRAME* descriptor);  // 57. not served
  virtual std::uint32_t tcCloseFile();                                               // 58. not served
  virtual std::uint32_t __Dump();                                                    // 59. not served
  virtual std::uint32_t reserved60();  // 60 to 82: reserved, not served
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
  // Notes the arguments of an open; the object counts as open from here until m_setClose. What is known of
  // the streams of an earlier open is dropped: holders, channels, current frame. Returns 0, or VL_FAILED for
  // a null or empty name or one that does not fit; nothing is noted then.
  std::uint32_t m_setOpen(const char* fileName, std::uint32_t access, std::uint32_t share, void* security,
                          std::uint32_t creation, std::uint32_t attributes, std::uint32_t openFlags);
  // Notes that the file is closed. All else stays readable, so that closing can still finish the file.
  void m_setClose();
  // Whether the noted open makes a new file: it asks for write access and VL_CREATE_NEW or VL_CREATE_ALWAYS.
  // VL_OPEN_ALWAYS keeps what exists and is no creation.
  bool m_fCreateFile() const;
  std::uint32_t m_GetOpenFlags() const;
  std::uint32_t m_GetFileType() const;
  void m_SetFileType(std::uint32_t fileType);
  VLHANDLE m_GetHandle() const;         // the file that the plug-in noted in m_handle
  std::uint32_t m_GetfccCodec() const;  // the video description's compression code
  // A new stream holder, zeroed, owned by this object until it is opened again or destroyed; null when memory
  // is short or 65 (one video, 64 audio) are out.
  QVRSTREAM* m_AllocAStream();
  // Makes an audio description consistent: block alignment and bytes a second follow from the channel
  // count, bits and rate where they are 0, and the extra size never exceeds what the record holds.
  void m_fixQVRStruct(QVRAUDIO* audio) const;
  // The codec configuration behind the bitmap header of compressed video: its address and length (`bytes`
  // may be null), or null and 0.
  const std::uint8_t* m_GetCodecPrivateData(std::uint32_t* bytes) const;
  // Stores one; VL_FAILED when it does not fit or is no box of exactly `bytes` bytes.
  std::uint32_t m_SetCodecPrivateData(const std::uint8_t* data, std::uint32_t bytes);

  // The presentation's descriptions, which the base hands out.
  QVRSYSTEM m_system = {};
  QVRVIDEO m_video = {};
  QVRAUDIO m_audio = {};
  QVRINFO m_info = {};

  // The noted open.
  std::uint32_t m_access = 0;
  std::uint32_t m_share = 0;
  void* m_security = nullptr;
  std::uint32_t m_creation = 0;
  std::uint32_t m_attributes = 0;
  std::uint32_t m_openFlags = 0;
  bool m_isOpen = false;

  VLHANDLE m_handle = VL_NO_HANDLE;
  std::uint32_t m_fileType = 0;
  std::uint32_t m_audioMask = 0;      // one bit an audio channel of the file
  std::uint32_t m_videoChannels = 0;  // 0 or 1
  std::uint32_t m_activeMask = 0xFFFFFFFFu;
  std::uint32_t m_currentFrame = QVR_NOT_SET;
  std::uint32_t m_ioAlignment = 4096;  // bytes; video buffers are rounded up to it

  std::vector<std::unique_ptr<QVRSTREAM>> m_streams;  // in the order of m_AllocAStream
};
