# The tests that cannot run on both systems, and why. All others are the same on both.
# vl_test leaves the named files, and whole programs where one is named, out of the other system's build.

set(VL_LINUX_TESTS
  # Resource limits, pipes, /dev/full and what other programs inherit: Windows has none of them, or Wine none.
  host/posix/file_test.cpp
  plugin/posix/full_disk_test.cpp
  streaming/posix/playlist_writer_test.cpp
  tool/posix/full_output_test.cpp
  tool/posix/interrupt_test.cpp
  tool/posix/live_input_test.cpp
  # A shell's commands, and pipes that are closed.
  tool/posix/walkthrough_test.cpp
  tool/posix/closed_pipe_test.cpp
  # The program runs ffmpeg, which on Windows is not that of the development machine.
  tool/posix/export_picture_test.cpp
  # Clients without a library.
  tool/posix/serve_limits_test.cpp
  # Names of bytes that are no text, and symbolic links.
  tool/posix/links_test.cpp
  tool/posix/names_test.cpp
  # The niceness of threads.
  os/posix/background_thread_test.cpp
  # Blocks of the disk that a file has.
  os/posix/claimed_space_test.cpp
  # Permission bits, links, and readers that keep the old content; on Windows a reader holds the name.
  os/posix/replace_file_test.cpp
  tool/posix/permission_test.cpp
  # The store's place follows the XDG base directory specification.
  host/posix/config_test.cpp
  # Library names and their translation, and the files of libraries.
  host/posix/library_test.cpp
  host/posix/elf_file_test.cpp
  # Installs into a folder, and builds against it with the native compiler.
  examples/posix/installed_package_test.cpp
  # The export table as nm prints it.
  plugin/posix/exports_test.cpp
  # The open files of a process, as Linux lists them.
  plugin/posix/probe_test.cpp
  # Its readers keep the lists open at all times; on Windows those cannot be replaced then.
  threads/posix/growing_file_test.cpp
  # The threads of a process, as Linux lists them.
  threads/posix/no_threads_test.cpp
  # They take the place of operator new, or of calls of the host or the C library, in the libraries too, by name;
  # Windows binds names to libraries.
  corrupt_test
  plugin_memory_test
  tool_source_test
  faults/posix/call_layer.cpp
  recovery_day_test
  recovery_memory_test
  soak_test
  recovery/../support/posix/fault_host.cpp
  recovery/../support/no_disk_wait.cpp
  audio/ffmpeg_loader_test.cpp
  # The same, in processes that are made by copying, to be killed.
  recovery/kill_test.cpp
  # The open files of a process, and files that are replaced or removed while somebody reads them.
  faults/posix/open_descriptors.cpp
  faults/posix/removed_files_test.cpp
  # Documents are the same on both systems, and the completion is a shell's.
  docs_test
  # Links and pipes as parts of a folder, and signals that end a program.
  tool/posix/serve_test.cpp)

set(VL_WINDOWS_TESTS
  # Share modes, long and UTF-8 names, drive letters.
  host/win32/file_test.cpp
  # The replacement waits for a reader.
  os/win32/replace_file_test.cpp
  # The store's place is the user's application data.
  host/win32/config_test.cpp
  # Library names and places.
  host/win32/library_test.cpp
  # The imports of the modules under test, and the handles of a process.
  faults/win32/call_layer.cpp
  recovery/../support/win32/fault_host.cpp
  faults/win32/open_descriptors.cpp
  # Requests of the console to end, and pipes through which nothing was written.
  tool/win32/live_input_test.cpp
  # Playlists are texts, whose lines end as Windows ends them.
  plugin/win32/line_ends_test.cpp
  # The export and import tables as objdump prints them.
  plugin/win32/exports_test.cpp)

# Left out on Windows for their time alone, as a pattern of GoogleTest. They hold the same code against a Linux
# program at dozens of settings, and starting one from Wine is slow: those from 10 on stay, of long rows 10 to 19, of bit
# rates none.
set(VL_LONG_WINDOWS_TESTS
  All/Encoded*/?
  All/EncodedBitRate.*
  All/GeneratedSize.*/?
  All/GeneratedSize.*/2?
  All/GeneratedSize.*/3?
  All/SamplingIndex.*/?
  All/StereoModes.*/?
  All/StereoModes.*/2?
  All/StereoModes.*/3?
  All/PhaseModes.*/?
  All/PhaseModes.*/2?
  All/PhaseModes.*/3?
  All/PhaseModes.*/4?
  Ac3BadInput.FrameSizeCodesOutOfRange
  # A day of frames one by one, in code that knows no system.
  Cc608OfADay.*
  # A file name inside a filter graph, where it is not translated for ffmpeg.
  PackageCaptions.AreThoseThatFfmpegFindsInTheSource
  # Nearly all its time is the test's own spectrum analysis.
  NoiseSubstitution.HasTheBandEnergiesOfTheReference)

if(WIN32)
  set(VL_OTHER_SYSTEMS_TESTS ${VL_LINUX_TESTS})
else()
  set(VL_OTHER_SYSTEMS_TESTS ${VL_WINDOWS_TESTS})
endif()
