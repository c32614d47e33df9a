// The host's utility library: files, paths, libraries, locks, time, memory, configuration, logging.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#if defined(VLHOST_BUILDING)
#define VLHOST_API __declspec(dllexport)
#else
#define VLHOST_API __declspec(dllimport)
#endif
#else
#define VLHOST_API __attribute__((visibility("default")))
#endif

#if defined(__GNUC__)
#define VLHOST_PRINTF(text, arguments) __attribute__((format(printf, text, arguments)))
#else
#define VLHOST_PRINTF(text, arguments)
#endif

// Longest path, terminating zero included.
inline constexpr std::size_t VL_MAX_PATH = 260;

// An open file. Zero is "nothing was opened"; all ones is "the open failed".
using VLHANDLE = std::uint64_t;
inline constexpr VLHANDLE VL_NO_HANDLE = 0;
inline constexpr VLHANDLE VL_INVALID_HANDLE = ~VLHANDLE{0};

// Status words shared by all host libraries. 0 is success, all ones a failure without a code of its own.
inline constexpr std::uint32_t VL_OK = 0;
inline constexpr std::uint32_t VL_FAILED = 0xFFFFFFFFu;
inline constexpr std::uint32_t VL_E_NOT_SUPPORTED = 0xE8020001u;  // the operation exists, nobody serves it

// vlOSCreateFile: access bits, share mode, creation dispositions.
inline constexpr std::uint32_t VL_GENERIC_READ = 0x80000000u;
inline constexpr std::uint32_t VL_GENERIC_WRITE = 0x40000000u;
inline constexpr std::uint32_t VL_SHARE_READ_WRITE = 3;
inline constexpr std::uint32_t VL_CREATE_NEW = 1;
inline constexpr std::uint32_t VL_CREATE_ALWAYS = 2;
inline constexpr std::uint32_t VL_OPEN_EXISTING = 3;
inline constexpr std::uint32_t VL_OPEN_ALWAYS = 4;

// vlOSSeek: what the offset counts from.
inline constexpr std::uint32_t VL_SEEK_BEGIN = 0;
inline constexpr std::uint32_t VL_SEEK_CURRENT = 1;
inline constexpr std::uint32_t VL_SEEK_END = 2;

// Log levels of ErrFmtOut.
inline constexpr std::uint32_t VL_LOG_ERROR = 0xC0000000u;
inline constexpr std::uint32_t VL_LOG_WARNING = 0x80000000u;
inline constexpr std::uint32_t VL_LOG_CAUTION = 0x40000000u;
inline constexpr std::uint32_t VL_LOG_STATUS = 0;
// vlCFGValueDword: the default store, and what to do with the value.
inline constexpr std::int64_t VL_CFG_DEFAULT_ROOT = -1;
inline constexpr std::uint32_t VL_CFG_READ = 0;
inline constexpr std::uint32_t VL_CFG_WRITE = 1;

// A lock; its content belongs to the host library.
struct VLCRITICALSECTION {
  void* opaque = nullptr;
};

extern "C" {

// ---- Files. Offsets are bytes from the start of the file. -------------------------------------------

// Opens or creates a file. `access` is a union of VL_GENERIC_*, `disposition` one of VL_CREATE_* and
// VL_OPEN_*; `share`, `security` and `attributes` matter where the system has them (Windows), `templateFile`
// is kept for the host. Names are UTF-8. Only an open with write access makes a file: VL_CREATE_* without it
// fail, VL_OPEN_ALWAYS then opens what exists. Folders are refused, and so is whatever has no position, such
// as a pipe. Returns VL_INVALID_HANDLE on failure (vlOSGetLastError tells why).
//
// Threads may share a handle: each call on it is one step, position included.
VLHOST_API VLHANDLE vlOSCreateFile(const char* path, std::uint32_t access, std::uint32_t share,
                                   void* security, std::uint32_t disposition, std::uint32_t attributes,
                                   VLHANDLE templateFile);

// Reads up to `count` bytes at the file position and advances it. `*done` (may be null) receives the bytes
// read; fewer than asked for only at the end of the file or on failure. Returns 1 on success (the end of the
// file included), else 0.
VLHOST_API std::int32_t vlOSReadFile(VLHANDLE file, void* buffer, std::uint32_t count, std::uint32_t* done);

// Writes `count` bytes at the file position and advances it. `*done` (may be null) receives the bytes that
// reached the file. Returns 1 when all of them did, else 0.
VLHOST_API std::int32_t vlOSWriteFile(VLHANDLE file, const void* buffer, std::uint32_t count,
                                      std::uint32_t* done);

// Moves the file position; past the end is allowed. Returns the new offset, or -1 for a handle that is not
// open, an unknown origin and an offset before the start, all of which move nothing.
VLHOST_API std::int64_t vlOSSeek(VLHANDLE file, std::int64_t offset, std::uint32_t origin);

// The file position, or -1 for a handle that is not open.
VLHOST_API std::int64_t vlOSTell(VLHANDLE file);

// The size of the file: its low half, the high half through `high` (may be null). All ones in both on
// failure.
VLHOST_API std::uint32_t vlOSGetFileSize(VLHANDLE file, std::uint32_t* high);

// Closes a file. Returns 1 on success, 0 for a handle that is not open, and when the system reports only now
// that a write failed (the file is closed then too).
VLHOST_API std::int32_t vlOSCloseFile(VLHANDLE file);

// 1 when a file (not a folder) of this name exists, else 0.
VLHOST_API std::int32_t vlOSFileExists(const char* path);

// The system's error code of this thread's last file, library or vlCFGSave call that failed.
VLHOST_API std::uint32_t vlOSGetLastError();

// ---- Paths ------------------------------------------------------------------------------------------

// Splits `path` into drive ("C:" or empty), directory (with its trailing separator), name and extension
// (with its dot). Each output holds VL_MAX_PATH characters and may be null. Both separators are taken.
// Returns 0, or VL_FAILED, all outputs empty, for a null path or one of VL_MAX_PATH characters and more.
VLHOST_API std::uint32_t vlOSSplitPath(const char* path, char* drive, char* directory, char* name,
                                       char* extension);

// Joins the four parts (null counts as empty) into `path` of `size` characters. Adds the separator after
// the directory (of the kind that the directory uses) and the dot before the extension where they are
// missing. The parts may lie in `path`. Returns 0, or VL_FAILED with an empty path when the result does not
// fit the buffer or has VL_MAX_PATH characters and more.
VLHOST_API std::uint32_t vlOSMakePath(char* path, std::size_t size, const char* drive, const char* directory,
                                      const char* name, const char* extension);

// Replaces the extension of `path` (a buffer of `size` characters) by `extension`, or adds it where there is
// none; null or empty takes it away. Adds the dot where it is missing. Returns 0, or VL_FAILED with `path`
// unchanged when the result does not fit.
VLHOST_API std::uint32_t ChangeFileExtension(char* path, std::size_t size, const char* extension);

// ---- Libraries --------------------------------------------------------------------------------------

// Loads a shared library; null on failure. A Windows library name is translated to the system's own form:
// on Linux "avcodec-57.dll" is looked for as "libavcodec.so.57", a name without a version as
// "libNAME.so" and then "NAME.so". A relative name is looked for beneath the folder of the host library, then
// beneath that of the program, and one without a folder along the system's search path at last; never beneath
// the working folder. An absolute path is loaded as it is, and a path with a drive is found only where there
// are drives. What a library needs is looked for beside it first. `flags` is kept for the host; 2 asks for
// exactly that order. Why a file that is there does not load is logged.
VLHOST_API void* vlOSLoadLibrary(const char* path, std::uint32_t flags);

// The address of an exported symbol, or null.
VLHOST_API void* vlOSGetProcAddress(void* library, const char* name);

// Unloads a library. Returns 1 on success, else 0.
VLHOST_API std::int32_t vlOSFreeLibrary(void* library);

// ---- Locks (recursive). An initialised lock lives as long as the process. ----------------------------

VLHOST_API void vlOSInitializeCriticalSection(VLCRITICALSECTION* section);
VLHOST_API void vlOSEnterCriticalSection(VLCRITICALSECTION* section);
VLHOST_API void vlOSLeaveCriticalSection(VLCRITICALSECTION* section);

// ---- Time -------------------------------------------------------------------------------------------

// The current date and time (UTC) as two texts which, joined, read as one ISO 8601 date-time:
// "2016-09-21" and "T08:15:30.250Z". A text that does not fit its buffer is left empty.
VLHOST_API void vlOSGetDateTimeString(char* date, std::size_t dateSize, char* time, std::size_t timeSize);

// ---- Memory -----------------------------------------------------------------------------------------

// The areas may overlap.
VLHOST_API void vlOSCopyMemory(void* destination, const void* source, std::size_t count);
VLHOST_API void CopyMemoryFast(void* destination, const void* source, std::size_t count);
VLHOST_API void ZeroMemoryFast(void* destination, std::size_t count);

// ---- Configuration: 32-bit values in a text store in the user's configuration folder -----------------
// The store is "$XDG_CONFIG_HOME/vlhost/vlhost.conf" ("~/.config/...", "%APPDATA%\..."), or the file that the
// environment variable VLHOST_CONFIG names. A line holds KEY\NAME=VALUE, the value in decimal; lines that
// begin with "#" or ";" are comments.

// Reads (VL_CFG_READ) or sets (VL_CFG_WRITE) a value; a set value reaches the disk with vlCFGSave. `root`
// is VL_CFG_DEFAULT_ROOT. Reading finds what was set last, saved or not. Returns 0, or VL_FAILED when a value
// to be read does not exist or is no 32-bit number, and for a key or name that a line cannot hold.
VLHOST_API std::uint32_t vlCFGValueDword(std::int64_t root, const char* key, const char* name,
                                         std::uint32_t* value, std::uint32_t mode);

// Writes what was set to disk, in one step; all other lines of the store stay as they are. Returns 0 or
// VL_FAILED, what was set is then kept. `flags` is 0.
VLHOST_API std::uint32_t vlCFGSave(std::int64_t root, std::uint32_t flags);

// ---- Logging ----------------------------------------------------------------------------------------

// A plain line.
VLHOST_API void ErrOut(const char* format, ...) VLHOST_PRINTF(1, 2);

// A line with a level. `status` and `detail` are kept for the host; callers here give 0.
VLHOST_API void ErrFmtOut(std::uint32_t level, std::uint32_t status, std::uint32_t detail, const char* format,
                          ...) VLHOST_PRINTF(4, 5);

// A status word with the name of the operation that met it, "OPERATION: 0xSTATUS\n" (eight upper-case
// digits). `detail1` and `detail2` are kept for the host; callers here give 0.
VLHOST_API void ErrMsgOut(std::uint32_t status, const char* operation, std::uint32_t detail1,
                          std::uint32_t detail2);

// ---- Codes ------------------------------------------------------------------------------------------

// 1 when the four-character code (file byte order, 'mp4a' = 0x6D703461) names compressed audio.
VLHOST_API std::int32_t fccIsCompressedAudio(std::uint32_t fourcc);

}  // extern "C"
