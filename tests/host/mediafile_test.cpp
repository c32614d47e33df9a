#include "mediafile.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace fmp4 {

namespace {

// A plug-in's object with its protected members made public.
class TestFile : public CAMediaFile {
 public:
  using CAMediaFile::CAMediaFile;
  using CAMediaFile::m_access;
  using CAMediaFile::m_AllocAStream;
  using CAMediaFile::m_attributes;
  using CAMediaFile::m_audio;
  using CAMediaFile::m_audioMask;
  using CAMediaFile::m_creation;
  using CAMediaFile::m_currentFrame;
  using CAMediaFile::m_fCreateFile;
  using CAMediaFile::m_fixQVRStruct;
  using CAMediaFile::m_GetCodecPrivateData;
  using CAMediaFile::m_GetfccCodec;
  using CAMediaFile::m_GetFileType;
  using CAMediaFile::m_GetHandle;
  using CAMediaFile::m_GetOpenFlags;
  using CAMediaFile::m_handle;
  using CAMediaFile::m_info;
  using CAMediaFile::m_ioAlignment;
  using CAMediaFile::m_security;
  using CAMediaFile::m_setClose;
  using CAMediaFile::m_SetCodecPrivateData;
  using CAMediaFile::m_SetFileType;
  using CAMediaFile::m_setOpen;
  using CAMediaFile::m_share;
  using CAMediaFile::m_system;
  using CAMediaFile::m_video;
  using CAMediaFile::m_videoChannels;
};

class MediaFile : public testing::Test {
 protected:
  TestFile& file() { return *m_file; }

  QVRSTREAM& addStream(std::uint32_t kind, std::uint32_t codec, std::uint32_t channels) {
    QVRSTREAM* stream = m_file->m_AllocAStream();
    stream->kind = kind;
    stream->audio.codec = codec;
    stream->audio.channelMask = channels;
    return *stream;
  }

  std::uint32_t codecFor(std::uint32_t mask) {
    QVRAUDIO audio = {};
    EXPECT_EQ(m_file->GetFileInfo(mask, nullptr, nullptr, &audio, nullptr), VL_OK);
    return audio.codec;
  }

 private:
  const std::unique_ptr<TestFile> m_file = std::make_unique<TestFile>(147u);
};

// The name that is stored right after the pointer to the table of virtual operations.
std::string storedName(const CAMediaFile& file) {
  return reinterpret_cast<const char*>(&file) + sizeof(void*);
}

#if defined(__x86_64__) && !defined(_WIN32)
// The Itanium C++ ABI, 2.3: a pointer to a virtual member function is 1 plus its offset in the table.
template <typename Operation>
std::size_t slotOf(Operation operation) {
  std::size_t pointer = 0;
  static_assert(sizeof operation >= sizeof pointer);
  std::memcpy(&pointer, &operation, sizeof pointer);
  EXPECT_EQ(pointer % sizeof(void*), 1u) << "not virtual";
  return pointer / sizeof(void*);
}

template <typename... Operations>
std::vector<std::size_t> slotsOf(Operations... operations) {
  return {slotOf(operations)...};
}

// The destructor is operation 1 and takes two slots, 0 and 1: operation n is in slot n.
TEST(MediaFileTable, OperationsAreInOrder) {
  using F = CAMediaFile;
  const std::vector<std::size_t> slots = slotsOf(
      &F::Open, &F::Close, &F::GetFileInfo, &F::SetFileInfo, &F::SetSysInfo, &F::SetMode, &F::Write, &F::Read,
      &F::QueryCapability, &F::GetTotalFrames, &F::FindKeyFrame, &F::EnumCodecs, &F::GetCodecOptions,
      &F::SetCodecOption, &F::Channels, &F::AudChan, &F::VidChan, &F::InfChan, &F::GetSysInfo, &F::GetActive,
      &F::SetActive, &F::WriteUnc, &F::ReadUnc, &F::GetOverlappedResult, &F::Status, &F::GetCurFrame,
      &F::OpenCopyFileInfo, &F::Rename, &F::Move, &F::Copy, &F::Alias, &F::Delete, &F::GetItem,
      &F::GetAudItem, &F::SetItem, &F::SetGraphicItem, &F::SetAudioItem, &F::InstanceData, &F::forbid,
      &F::permit, &F::MFXCmd, &F::GetPreferredAudType, &F::SepAudOpen, &F::SepAudRead, &F::SepAudWrite,
      &F::SepAudClose, &F::ccOpenFile, &F::ccCreateFile, &F::ccReadFile, &F::ccWriteFile, &F::ccCloseFile,
      &F::ccPluginCanWriteCC, &F::tcOpenFile, &F::tcCreateFile, &F::tcReadFile, &F::tcWriteFile,
      &F::tcCloseFile, &F::__Dump, &F::reserved60, &F::reserved61, &F::reserved62, &F::reserved63,
      &F::reserved64, &F::reserved65, &F::reserved66, &F::reserved67, &F::reserved68, &F::reserved69,
      &F::reserved70, &F::reserved71, &F::reserved72, &F::reserved73, &F::reserved74, &F::reserved75,
      &F::reserved76, &F::reserved77, &F::reserved78, &F::reserved79, &F::reserved80, &F::reserved81,
      &F::reserved82);
  ASSERT_EQ(slots.size(), 81u) << "82 operations except the destructor";
  for (std::size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i], i + 2);
}

// A new operation of a derived class takes the slot after the last one.
TEST(MediaFileTable, EndsWithTheLastReservedOperation) {
  class Longer : public CAMediaFile {
   public:
    using CAMediaFile::CAMediaFile;
    virtual std::uint32_t next() { return 0; }
  };
  EXPECT_EQ(slotOf(&CAMediaFile::reserved82), 82u);
  EXPECT_EQ(slotOf(&Longer::next), 83u);
}
#endif

TEST_F(MediaFile, NewObjectIsClosedAndEmpty) {
  EXPECT_EQ(file().m_GetFileType(), 147u);
  EXPECT_EQ(file().Status(), 0u);
  EXPECT_EQ(file().GetCurFrame(), 0xFFFFFFFFu);
  EXPECT_EQ(file().GetActive(), 0xFFFFFFFFu);
  EXPECT_EQ(file().Channels(), 0u);
  EXPECT_EQ(file().AudChan(), 0u);
  EXPECT_EQ(file().VidChan(), 0u);
  EXPECT_EQ(file().InfChan(), 0u);
  EXPECT_EQ(file().GetTotalFrames(), 0u);
  EXPECT_EQ(file().m_GetOpenFlags(), 0u);
  EXPECT_EQ(file().m_GetHandle(), VL_NO_HANDLE);
  EXPECT_EQ(file().m_ioAlignment, 4096u);
  EXPECT_EQ(storedName(file()), "");
  QVRINFO info = {};
  EXPECT_EQ(file().GetFileInfo(0, nullptr, nullptr, nullptr, &info), VL_OK);
  EXPECT_EQ(info.startTimecode, QVR_NOT_SET);
  EXPECT_EQ(info.startTimecodeLtc, QVR_NOT_SET);
  EXPECT_EQ(info.startTimecodeVitc, QVR_NOT_SET);
  EXPECT_EQ(info.captions, 0u);
}

TEST_F(MediaFile, OpenStoresItsArgumentsAndTheNameAfterTheTable) {
  int security = 0;
  EXPECT_EQ(file().Open("/media/clip.mp4", 0xC0000000u, 3, &security, 2, 5, 0x01000000u), VL_OK);
  EXPECT_EQ(storedName(file()), "/media/clip.mp4");
  EXPECT_EQ(file().m_access, 0xC0000000u);
  EXPECT_EQ(file().m_share, 3u);
  EXPECT_EQ(file().m_security, &security);
  EXPECT_EQ(file().m_creation, 2u);
  EXPECT_EQ(file().m_attributes, 5u);
  EXPECT_EQ(file().m_GetOpenFlags(), 0x01000000u);
  EXPECT_EQ(file().Status(), 2u);
  EXPECT_EQ(file().Close(), VL_OK);
  EXPECT_EQ(file().Status(), 0u);
  EXPECT_EQ(storedName(file()), "/media/clip.mp4");
  EXPECT_TRUE(file().m_fCreateFile()) << "closing may still query it";
  EXPECT_EQ(file().Open("b", 0x80000000u, 3, nullptr, 3, 0, 0), VL_OK);
  EXPECT_EQ(file().Status(), 1u);
  EXPECT_EQ(std::memcmp(storedName(file()).c_str(), "b", 2), 0);
}

TEST_F(MediaFile, NameMustFit) {
  EXPECT_EQ(file().m_setOpen("first", 1, 0, nullptr, 0, 0, 0), VL_OK);
  file().m_setClose();
  const std::string longest(VL_MAX_PATH - 1, 'n');
  EXPECT_EQ(file().m_setOpen(nullptr, 2, 0, nullptr, 0, 0, 0), VL_FAILED);
  EXPECT_EQ(file().m_setOpen("", 2, 0, nullptr, 0, 0, 0), VL_FAILED);
  EXPECT_EQ(file().m_setOpen((longest + 'n').c_str(), 2, 0, nullptr, 0, 0, 0), VL_FAILED);
  EXPECT_EQ(storedName(file()), "first");
  EXPECT_EQ(file().m_access, 1u);
  EXPECT_EQ(file().Status(), 0u);
  EXPECT_EQ(file().m_setOpen(longest.c_str(), 2, 0, nullptr, 0, 0, 0), VL_OK);
  EXPECT_EQ(storedName(file()), longest);
  EXPECT_EQ(file().m_setOpen(reinterpret_cast<char*>(&file()) + sizeof(void*) + 200, 2, 0, nullptr, 0, 0, 0),
            VL_OK);
  EXPECT_EQ(storedName(file()), longest.substr(200)) << "the name may be part of the stored one";
}

TEST_F(MediaFile, CreatesOnlyWithWriteAccessAndACreatingDisposition) {
  const auto creates = [this](std::uint32_t access, std::uint32_t creation) {
    EXPECT_EQ(file().m_setOpen("x", access, 0, nullptr, creation, 0, 0), VL_OK);
    return file().m_fCreateFile();
  };
  EXPECT_TRUE(creates(VL_GENERIC_READ | VL_GENERIC_WRITE, VL_CREATE_ALWAYS));
  EXPECT_TRUE(creates(VL_GENERIC_WRITE, VL_CREATE_NEW));
  EXPECT_FALSE(creates(VL_GENERIC_READ, VL_CREATE_ALWAYS));
  EXPECT_FALSE(creates(VL_GENERIC_READ | VL_GENERIC_WRITE, VL_OPEN_EXISTING));
  EXPECT_FALSE(creates(VL_GENERIC_READ | VL_GENERIC_WRITE, VL_OPEN_ALWAYS));
  EXPECT_FALSE(creates(VL_GENERIC_READ | VL_GENERIC_WRITE, 0));
}

TEST_F(MediaFile, ReopeningDropsTheStreamsDescriptions) {
  ASSERT_EQ(file().m_setOpen("x", VL_GENERIC_READ, 3, nullptr, 3, 0, 0), VL_OK);
  addStream(QVR_KIND_AUDIO, 7, 0x3);
  file().m_audioMask = 3;
  file().m_videoChannels = 1;
  file().m_currentFrame = 5;
  file().m_setClose();
  EXPECT_EQ(codecFor(3), 7u) << "closing keeps the slots";
  ASSERT_EQ(file().m_setOpen("y", VL_GENERIC_READ, 3, nullptr, 3, 0, 0), VL_OK);
  EXPECT_EQ(codecFor(3), 0u);
  EXPECT_EQ(file().Channels(), 0u);
  EXPECT_EQ(file().VidChan(), 0u);
  EXPECT_EQ(file().GetCurFrame(), QVR_NOT_SET);
}

TEST_F(MediaFile, ReturnsTheDescriptionsThatWereSet) {
  const auto video = std::make_unique<QVRVIDEO>();
  video->stream.length = 250;
  video->bitmap.width = 1280;
  video->bitmap.compression = 0x31637661u;
  QVRSYSTEM system = {};
  system.totalFrames = 250;
  QVRAUDIO audio = {};
  audio.wave.channels = 6;
  QVRINFO info = {};
  info.captions = QVR_CAPTIONS_608;
  EXPECT_EQ(file().SetFileInfo(0xFFFFFFFFu, &system, video.get(), &audio, &info), VL_OK);
  EXPECT_EQ(file().SetFileInfo(0xFFFFFFFFu, nullptr, nullptr, nullptr, nullptr), VL_OK);

  const auto videoOut = std::make_unique<QVRVIDEO>();
  QVRSYSTEM systemOut = {};
  QVRAUDIO audioOut = {};
  QVRINFO infoOut = {};
  EXPECT_EQ(file().GetFileInfo(1, &systemOut, videoOut.get(), &audioOut, &infoOut), VL_OK);
  EXPECT_EQ(std::memcmp(&systemOut, &system, sizeof system), 0);
  EXPECT_EQ(std::memcmp(videoOut.get(), video.get(), sizeof *video), 0);
  EXPECT_EQ(std::memcmp(&audioOut, &audio, sizeof audio), 0);
  EXPECT_EQ(infoOut.captions, QVR_CAPTIONS_608);
  EXPECT_EQ(file().GetFileInfo(1, nullptr, nullptr, nullptr, nullptr), VL_OK);
  EXPECT_EQ(file().GetTotalFrames(), 250u);
  EXPECT_EQ(file().m_GetfccCodec(), 0x31637661u);

  system.totalFrames = 300;
  audio.wave.channels = 2;
  video->bitmap.width = 640;
  EXPECT_EQ(file().SetSysInfo(&system, video.get(), &audio), VL_OK);
  EXPECT_EQ(file().SetSysInfo(nullptr, nullptr, nullptr), VL_OK);
  EXPECT_EQ(file().GetSysInfo(&systemOut), VL_OK);
  EXPECT_EQ(systemOut.totalFrames, 300u);
  EXPECT_EQ(file().m_audio.wave.channels, 2u);
  EXPECT_EQ(file().m_video.bitmap.width, 640);
  EXPECT_EQ(file().GetSysInfo(nullptr), VL_FAILED);
}

TEST_F(MediaFile, AudioDescriptionIsThatOfTheStreamOfTheMasksFirstChannel) {
  file().m_audio.codec = 99;
  addStream(QVR_KIND_AUDIO, 10, 0x3F);
  addStream(QVR_KIND_VIDEO, 11, 0x40);
  addStream(QVR_KIND_AUDIO, 12, 0x80);
  addStream(QVR_KIND_AUDIO, 13, 0x80000000u);
  EXPECT_EQ(codecFor(0x1), 10u);
  EXPECT_EQ(codecFor(0x20), 10u);
  EXPECT_EQ(codecFor(0xFFFFFFFFu), 10u);
  EXPECT_EQ(codecFor(0x40), 99u);
  EXPECT_EQ(codecFor(0x80), 12u);
  EXPECT_EQ(codecFor(0x180), 12u);
  EXPECT_EQ(codecFor(0x80000000u), 13u);
  EXPECT_EQ(codecFor(0), 99u);
}

TEST_F(MediaFile, SlotsAreZeroedAndLimitedTo65) {
  for (int i = 0; i < 65; ++i) {
    QVRSTREAM* stream = file().m_AllocAStream();
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->kind, 0u);
    EXPECT_EQ(stream->audio.codec, 0u);
  }
  EXPECT_EQ(file().m_AllocAStream(), nullptr);
  ASSERT_EQ(file().m_setOpen("x", VL_GENERIC_READ, 3, nullptr, 3, 0, 0), VL_OK);
  EXPECT_NE(file().m_AllocAStream(), nullptr);
}

TEST_F(MediaFile, ChannelsComeFromTheMask) {
  file().m_audioMask = 0x3F;
  file().m_videoChannels = 1;
  EXPECT_EQ(file().Channels(), 0x3Fu);
  EXPECT_EQ(file().AudChan(), 6u);
  EXPECT_EQ(file().VidChan(), 1u);
  EXPECT_EQ(file().SetActive(3), VL_OK);
  EXPECT_EQ(file().GetActive(), 3u);
}

TEST_F(MediaFile, CommandsReachTheOverridingOperations) {
  class Recording : public CAMediaFile {
   public:
    using CAMediaFile::CAMediaFile;
    std::uint32_t Open(const char* fileName, std::uint32_t access, std::uint32_t share, void* security,
                       std::uint32_t creation, std::uint32_t attributes, std::uint32_t openFlags) override {
      calls += std::string("open ") + fileName + ' ' + std::to_string(access) + ' ' + std::to_string(share) +
               ' ' + (security == nullptr ? "none" : "some") + ' ' + std::to_string(creation) + ' ' +
               std::to_string(attributes) + ' ' + std::to_string(openFlags) + '\n';
      return 0xE802500Cu;
    }
    std::uint32_t Close() override {
      calls += "close\n";
      return 5;
    }
    std::string calls;
  };
  Recording recording(147);
  MFXOPEN open = {147, 1, "name", 2, 3, nullptr, 4, 5};
  MFXCLOSE close = {};
  EXPECT_EQ(recording.MFXCmd(MFX_OPEN, &open), 0xE802500Cu);
  EXPECT_EQ(recording.MFXCmd(MFX_CLOSE, &close), 5u);
  EXPECT_EQ(recording.MFXCmd(MFX_CLOSE, nullptr), 5u);
  EXPECT_EQ(recording.MFXCmd(MFX_OPEN, nullptr), VL_FAILED);
  EXPECT_EQ(recording.MFXCmd(0, nullptr), VL_E_NOT_SUPPORTED);
  EXPECT_EQ(recording.MFXCmd(3, &open), VL_E_NOT_SUPPORTED);
  EXPECT_EQ(recording.calls, "open name 1 2 none 3 4 5\nclose\nclose\n");
}

TEST_F(MediaFile, BaseSupportsNoFormat) {
  DFRAME frame = {};
  MEDIACMD command = {};
  EXPECT_EQ(file().Read(0, 1, 1, QVR_MODE_VIDEO, &frame, nullptr), VL_E_NOT_SUPPORTED);
  EXPECT_EQ(file().Write(0, 1, 1, QVR_MODE_VIDEO, &frame, nullptr), VL_E_NOT_SUPPORTED);
  EXPECT_EQ(file().QueryCapability(1), 0u);
  EXPECT_EQ(file().FindKeyFrame(1, 1, 42, 1), 42u);
  EXPECT_EQ(file().EnumCodecs(0, 0, nullptr, nullptr, nullptr, nullptr), VL_FAILED);
  EXPECT_EQ(file().GetCodecOptions(1, 0, 8, nullptr, nullptr), VL_E_NOT_SUPPORTED);
  EXPECT_EQ(file().SetCodecOption(1, 0, 8, 30, nullptr), VL_OK);
  EXPECT_EQ(file().SetMode(&command), VL_OK);
  EXPECT_EQ(file().SetMode(nullptr), VL_FAILED);
}

TEST_F(MediaFile, UnsupportedOperationsSaySo) {
  TestFile& f = file();
  const std::vector<std::uint32_t> answers = {f.WriteUnc(0, nullptr, 0),
                                              f.ReadUnc(0, nullptr, 0),
                                              f.GetOverlappedResult(0),
                                              f.OpenCopyFileInfo(nullptr),
                                              f.Rename("x"),
                                              f.Move("x"),
                                              f.Copy("x"),
                                              f.Alias("x"),
                                              f.Delete(),
                                              f.GetItem(0, nullptr),
                                              f.GetAudItem(0, nullptr),
                                              f.SetItem(0, nullptr),
                                              f.SetGraphicItem(0, nullptr),
                                              f.SetAudioItem(0, nullptr),
                                              f.InstanceData(nullptr),
                                              f.forbid(),
                                              f.permit(),
                                              f.GetPreferredAudType(),
                                              f.SepAudOpen("x"),
                                              f.SepAudRead(0, nullptr),
                                              f.SepAudWrite(0, nullptr),
                                              f.SepAudClose(),
                                              f.ccOpenFile("x"),
                                              f.ccCreateFile("x"),
                                              f.ccReadFile(0, nullptr),
                                              f.ccWriteFile(0, nullptr),
                                              f.ccCloseFile(),
                                              f.ccPluginCanWriteCC(),
                                              f.tcOpenFile("x"),
                                              f.tcCreateFile("x"),
                                              f.tcReadFile(0, nullptr),
                                              f.tcWriteFile(0, nullptr),
                                              f.tcCloseFile(),
                                              f.__Dump(),
                                              f.reserved60(),
                                              f.reserved61(),
                                              f.reserved62(),
                                              f.reserved63(),
                                              f.reserved64(),
                                              f.reserved65(),
                                              f.reserved66(),
                                              f.reserved67(),
                                              f.reserved68(),
                                              f.reserved69(),
                                              f.reserved70(),
                                              f.reserved71(),
                                              f.reserved72(),
                                              f.reserved73(),
                                              f.reserved74(),
                                              f.reserved75(),
                                              f.reserved76(),
                                              f.reserved77(),
                                              f.reserved78(),
                                              f.reserved79(),
                                              f.reserved80(),
                                              f.reserved81(),
                                              f.reserved82()};
  EXPECT_EQ(answers, std::vector<std::uint32_t>(57, 0xE8020001u));
}

TEST_F(MediaFile, AudioDescriptionIsMadeConsistent) {
  QVRAUDIO audio = {};
  audio.wave.channels = 2;
  audio.wave.bitsPerSample = 20;
  audio.wave.samplesPerSecond = 48000;
  audio.wave.extraSize = 257;
  file().m_fixQVRStruct(&audio);
  EXPECT_EQ(audio.wave.blockAlign, 6u);
  EXPECT_EQ(audio.wave.averageBytesPerSecond, 288000u);
  EXPECT_EQ(audio.wave.extraSize, 256u);

  audio.wave.blockAlign = 8;
  audio.wave.averageBytesPerSecond = 384000;
  audio.wave.extraSize = 5;
  file().m_fixQVRStruct(&audio);
  EXPECT_EQ(audio.wave.blockAlign, 8u);
  EXPECT_EQ(audio.wave.averageBytesPerSecond, 384000u);
  EXPECT_EQ(audio.wave.extraSize, 5u);

  audio = {};
  audio.wave.channels = 0xFFFF;
  audio.wave.bitsPerSample = 0xFFFF;
  audio.wave.samplesPerSecond = 0xFFFFFFFFu;
  file().m_fixQVRStruct(&audio);
  EXPECT_EQ(audio.wave.blockAlign, 0xFFFFu);
  EXPECT_EQ(audio.wave.averageBytesPerSecond, 0xFFFFFFFFu);
  file().m_fixQVRStruct(nullptr);
}

TEST_F(MediaFile, CodecConfigurationIsTheBoxAfterTheBitmapHeader) {
  std::uint32_t bytes = 7;
  EXPECT_EQ(file().m_GetCodecPrivateData(&bytes), nullptr);
  EXPECT_EQ(bytes, 0u);
  std::vector<std::uint8_t> box = {0, 0, 0, 11, 'a', 'v', 'c', 'C', 1, 2, 3};
  EXPECT_EQ(file().m_SetCodecPrivateData(box.data(), 11), VL_OK);
  EXPECT_EQ(file().m_GetCodecPrivateData(&bytes), nullptr)
      << "a colour table while the video is uncompressed";
  file().m_video.bitmap.compression = 0x31637661u;
  const std::uint8_t* found = file().m_GetCodecPrivateData(&bytes);
  EXPECT_EQ(found, reinterpret_cast<const std::uint8_t*>(&file().m_video.bitmap + 1));
  ASSERT_EQ(bytes, 11u);
  EXPECT_EQ(std::vector<std::uint8_t>(found, found + bytes), box);
  EXPECT_EQ(file().m_GetCodecPrivateData(nullptr), found);
}

TEST_F(MediaFile, CodecConfigurationThatIsNotABoxOrTooLargeIsRejected) {
  file().m_video.bitmap.compression = 0x31637661u;
  std::vector<std::uint8_t> box(QVR_CODEC_CONFIGURATION_BYTES + 1);
  const auto store = [&](std::uint32_t stated, std::uint32_t bytes) {
    box[0] = static_cast<std::uint8_t>(stated >> 24);
    box[1] = static_cast<std::uint8_t>(stated >> 16);
    box[2] = static_cast<std::uint8_t>(stated >> 8);
    box[3] = static_cast<std::uint8_t>(stated);
    return file().m_SetCodecPrivateData(box.data(), bytes);
  };
  EXPECT_EQ(store(7, 7), VL_FAILED);
  EXPECT_EQ(store(9, 8), VL_FAILED);
  EXPECT_EQ(store(QVR_CODEC_CONFIGURATION_BYTES + 1, QVR_CODEC_CONFIGURATION_BYTES + 1), VL_FAILED);
  EXPECT_EQ(file().m_SetCodecPrivateData(nullptr, 8), VL_FAILED);
  EXPECT_EQ(file().m_GetCodecPrivateData(nullptr), nullptr);
  EXPECT_EQ(store(QVR_CODEC_CONFIGURATION_BYTES, QVR_CODEC_CONFIGURATION_BYTES), VL_OK);
  std::uint32_t bytes = 0;
  EXPECT_NE(file().m_GetCodecPrivateData(&bytes), nullptr);
  EXPECT_EQ(bytes, QVR_CODEC_CONFIGURATION_BYTES);
  for (const std::uint32_t stated : {0u, 7u, QVR_CODEC_CONFIGURATION_BYTES + 1, 0xFFFFFFFFu}) {
    for (int i = 0; i < 4; ++i)
      file().m_video.colourTable[i] = static_cast<std::uint8_t>(stated >> (24 - 8 * i));
    EXPECT_EQ(file().m_GetCodecPrivateData(&bytes), nullptr) << stated;
    EXPECT_EQ(bytes, 0u);
  }
}

TEST_F(MediaFile, PlugInSetsFileTypeAndHandle) {
  file().m_SetFileType(200);
  EXPECT_EQ(file().m_GetFileType(), 200u);
  file().m_handle = 77;
  EXPECT_EQ(file().m_GetHandle(), 77u);
}

}  // namespace

}  // namespace fmp4
