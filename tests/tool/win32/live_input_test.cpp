// Packaging a fragmented MP4 as it arrives through a pipe, and requests of the console to end.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <span>
#include <thread>

#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

// `fmp4 package -` with a pipe to its standard input, in a console of its own.
class Recorder {
 public:
  Recorder(const std::string& output, const std::string& errors) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE readEnd = nullptr;
    if (!CreatePipe(&readEnd, &input_, &inherited, 0)) throw std::runtime_error("no pipe");
    SetHandleInformation(input_, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = readEnd;
    startup.hStdOutput = startup.hStdError = run_details::inheritable(vlPath(errors).c_str(), GENERIC_WRITE);
    process_ =
        run_details::start({VL_BIN_DIR "/fmp4", "--quiet", "package", "-", "--force", "--output", output},
                           startup, CREATE_NO_WINDOW);
    CloseHandle(readEnd);
    CloseHandle(startup.hStdError);
  }
  ~Recorder() {
    TerminateProcess(process_.hProcess, 255);
    closeInput();
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
  }

  bool feed(std::span<const std::uint8_t> bytes) {
    DWORD count = 0;
    while (WriteFile(input_, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr)) {
      bytes = bytes.subspan(count);
      if (bytes.empty()) return true;
    }
    return false;
  }
  void closeInput() {
    if (input_) CloseHandle(input_);
    input_ = nullptr;
  }
  // Presses Ctrl-C in its console, which reaches every process attached to it.
  bool askForEnd() {
    FreeConsole();
    SetConsoleCtrlHandler([](DWORD) { return TRUE; }, TRUE);
    const bool asked = AttachConsole(process_.dwProcessId) && GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    FreeConsole();
    return asked;
  }
  // Waits and returns the exit code.
  DWORD wait() {
    constexpr DWORD kTimeout = 60'000;  // milliseconds
    EXPECT_EQ(WaitForSingleObject(process_.hProcess, kTimeout), WAIT_OBJECT_0) << "it does not end";
    DWORD code = 0;
    GetExitCodeProcess(process_.hProcess, &code);
    return code;
  }

 private:
  HANDLE input_ = nullptr;
  PROCESS_INFORMATION process_ = {};
};

class LiveInput : public testing::Test {
 protected:
  LiveInput() {
    makeMedia(folder_.file("live.mp4"),
              videoInput(4, "25", "160x96") + toneInput(4) + h264Codec(25, 0) +
                  std::vector<std::string>{"-c:a", "aac", "-movflags",
                                           "frag_keyframe+empty_moov+default_base_moof"});
    live_ = readFile(folder_.file("live.mp4"));
  }
  std::size_t lastFragment() const {
    const Bytes type = {'m', 'o', 'o', 'f'};
    const auto last = std::find_end(live_.begin(), live_.end(), type.begin(), type.end());
    return static_cast<std::size_t>(last - live_.begin()) - 4;
  }
  std::string errors() const { return folder_.file("errors"); }
  void expectIntact(std::size_t frames) {
    const RunResult result = fmp4({"--quiet", "verify", folder_.file("out.mpd")});
    EXPECT_EQ(result.exitCode, 0) << result.out;
    EXPECT_TRUE(std::filesystem::exists(folder_.file("out.master.m3u8")));
    EXPECT_EQ(ffprobePackets(folder_.file("out.m4v"), "v:0").size(), frames);
  }
  void awaitRecording() {
    for (int i = 0; i < 600; ++i) {
      std::error_code none;
      if (const auto size = std::filesystem::file_size(folder_.file("out.m4v"), none); !none && size > 1000)
        return;
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  }

  TempFolder folder_;
  Bytes live_;
};

TEST_F(LiveInput, IsRecordedUpToItsEnd) {
  Recorder recorder(folder_.file("out.mp4"), errors());
  ASSERT_TRUE(recorder.feed(live_));
  recorder.closeInput();
  EXPECT_EQ(recorder.wait(), 0u);
  expectIntact(100);
}

TEST_F(LiveInput, AnEmptyWriteIsNotItsEnd) {
  Recorder recorder(folder_.file("out.mp4"), errors());
  const std::span<const std::uint8_t> bytes(live_);
  ASSERT_TRUE(recorder.feed(bytes.first(lastFragment())));
  awaitRecording();
  ASSERT_TRUE(recorder.feed({}));
  ASSERT_TRUE(recorder.feed(bytes.subspan(lastFragment())));
  recorder.closeInput();
  EXPECT_EQ(recorder.wait(), 0u);
  expectIntact(100);
}

// The pipe stays open, so that the program waits in a read.
TEST_F(LiveInput, ARequestToEndLeavesAnIntactRecording) {
  Recorder recorder(folder_.file("out.mp4"), errors());
  ASSERT_TRUE(recorder.feed(std::span(live_).first(lastFragment() + 100)));
  awaitRecording();
  ASSERT_TRUE(recorder.askForEnd());
  EXPECT_EQ(recorder.wait(), 0u);
  expectIntact(75);
}

}  // namespace

}  // namespace fmp4
