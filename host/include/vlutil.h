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

// Maximum path length in characters, including the terminating zero.
inline constexpr std::size_t VL_MAX_PATH = 260;

// An open file. Zero means that nothing was opened, all ones that the open failed.
using VLHANDLE = std::uint64_t;
inline constexpr VLHANDLE VL_NO_HANDLE = 0;
inline constexpr VLHANDLE VL_INVALID_HANDLE = ~VLHANDLE{0};

// Status words shared by all host libraries. 0 is success, all ones an unspecified failure.
inline constexpr std::uint32_t VL_OK = 0;
inline constexpr std::uint32_t VL_FAILED = 0xFFFFFFFFu;
inline constexpr std::uint32_t VL_E_NOT_SUPPORTED = 0xE8020001u;  // the operation exists but is not supported

// vlOSCreateFile: access bits, share mode, creation dispositions.
inline constexpr std::uint32_t VL_GENERIC_READ = 0x80000000u;
inline constexpr std::uint32_t VL_GENERIC_WRITE = 0x40000000u;
inline constexpr std::uint32_t VL_SHARE_READ_WRITE = 3;
inline constexpr std::uint32_t VL_CREATE_NEW = 1;
inline constexpr std::uint32_t VL_CREATE_ALWAYS = 2;
inline constexpr std::uint32_t VL_OPEN_EXISTING = 3;
inline constexpr std::uint32_t VL_OPEN_ALWAYS = 4;

// vlOSSeek: the origin of the offset.
inline constexpr std::uint32_t VL_SEEK_BEGIN = 0;
inline constexpr std::uint32_t VL_SEEK_CURRENT = 1;
inline constexpr std::uint32_t VL_SEEK_END = 2;

// Log levels of ErrFmtOut.
inline constexpr std::uint32_t VL_LOG_ERROR = 0xC0000000u;
inline constexpr std::uint32_t VL_LOG_WARNING = 0x80000000u;
inline constexpr std::uint32_t VL_LOG_CAUTION = 0x40000000u;
inline constexpr std::uint32_t VL_LOG_STATUS = 0;
// vlCFGValueDword: the default store, and the operation on the value.
inline constexpr std::int64_t VL_CFG_DEFAULT_ROOT = -1;
inline constexpr std::uint32_t VL_CFG_READ = 0;
inline constexpr std::uint32_t VL_CFG_WRITE = 1;

// A lock; its content is private to the host library.
struct VLCRITICALSECTION {
  void* opaque = nullptr;
};

extern "C" {

// ---- Files. Offsets are bytes from the start of the file. -------------------------------------------

// Opens or creates a file. `access` is a combination of VL_GENERIC_*, `disposition` one of VL_CREATE_* and
// VL_OPEN_*; `share`, `security` and `attributes` apply where the system supports them (Windows),
// `templateFile` is reserved for the host. Names are UTF-8. Only an open with write access creates a file:
// without it VL_CREATE_* fail, and VL_OPEN_ALWAYS opens an existing file only. Directories are rejected, and
// so is anything that cannot seek, such as a pipe. Returns VL_INVALID_HANDLE on failure (see
// vlOSGetLastError).
//
// Threads may share a handle: each call is atomic, including the change of position.
VLHOST_API VLHANDLE vlOSCreateFile(const char* path, std::uint32_t access, std::uint32_t share,
                                   void* security, std::uint32_t disposition, std::uint32_t attributes,
                                   VLHANDLE templateFile);

// Reads up to `count` bytes at the file position and advances it. `*done` (may be null) receives the bytes
// read; fewer than requested only at the end of the file or on failure. Returns 1 on success (including end
// of file), otherwise 0.
VLHOST_API std::int32_t vlOSReadFile(VLHANDLE file, void* buffer, std::uint32_t count, std::uint32_t* done);

// Writes `count` bytes at the file position and advances it. `*done` (may be null) receives the bytes written
// to the file. Returns 1 if all were written, otherwise 0.
VLHOST_API std::int32_t vlOSWriteFile(VLHANDLE file, const void* buffer, std::uint32_t count,
                                      std::uint32_t* done);

// Moves the file position; past the end is allowed. Returns the new offset. Returns -1 without moving for a
// handle that is not open, an unknown origin or an offset before the start.
VLHOST_API std::int64_t vlOSSeek(VLHANDLE file, std::int64_t offset, std::uint32_t origin);

// The file position, or -1 if the handle is not open.
VLHOST_API std::int64_t vlOSTell(VLHANDLE file);

// The size of the file: returns the low half, stores the high half in `*high` (may be null). Both are all
// ones on failure.
VLHOST_API std::uint32_t vlOSGetFileSize(VLHANDLE file, std::uint32_t* high);

// Closes a file. Returns 1 on success. Returns 0 if the handle is not open, or if the system reports a
// delayed write error on close (the file is closed then too).
VLHOST_API std::int32_t vlOSCloseFile(VLHANDLE file);

// Returns 1 if a file (not a directory) of this name exists, otherwise 0.
VLHOST_API std::int32_t vlOSFileExists(const char* path);

// The system error code of this thread's last failed file, library or vlCFGSave call.
VLHOST_API std::uint32_t vlOSGetLastError();

// ---- Paths ------------------------------------------------------------------------------------------

// Splits `path` into drive ("C:" or empty), directory (with its trailing separator), name and extension (with
// its dot). Each output holds VL_MAX_PATH characters and may be null. Both kinds of separator are accepted.
// Returns 0, or VL_FAILED with empty outputs if the path is null or has VL_MAX_PATH or more characters.
VLHOST_API std::uint32_t vlOSSplitPath(const char* path, char* drive, char* directory, char* name,
                                       char* extension);

// Joins the four parts (null counts as empty) into `path` of `size` characters. Adds the separator after the
// directory (of the kind used in the directory) and the dot before the extension if missing. The parts may
// alias `path`. Returns 0, or VL_FAILED with an empty path if the result does not fit the buffer or has
// VL_MAX_PATH or more characters.
VLHOST_API std::uint32_t vlOSMakePath(char* path, std::size_t size, const char* drive, const char* directory,
                                      const char* name, const char* extension);

// Replaces the extension of `path` (a buffer of `size` characters) with `extension`, or appends it if there
// is none; null or empty removes it. Adds the dot if missing. Returns 0, or VL_FAILED with `path` unchanged
// if the result does not fit.
VLHOST_API std::uint32_t ChangeFileExtension(char* path, std::size_t size, const char* extension);

// ---- Libraries --------------------------------------------------------------------------------------

// Loads a shared library; returns null on failure. A Windows library name is translated to the system's own
// form: on Linux "avcodec-57.dll" becomes "libavcodec.so.57", and a name without a version is tried as
// "libNAME.so" and then "NAME.so". A relative name is searched for in the host library's directory, then in
// the program's; a name without a directory finally along the system's search path; never in the working
// directory. An absolute path is loaded as given, and a path with a drive is found only on systems that have
// drives. Dependencies of a library are searched for next to it first. `flags` is reserved for the host; 2
// requests exactly this order. If an existing file fails to load, the reason is logged.
VLHOST_API void* vlOSLoadLibrary(const char* path, std::uint32_t flags);

// The address of an exported symbol, or null.
VLHOST_API void* vlOSGetProcAddress(void* library, const char* name);

// Unloads a library. Returns 1 on success, otherwise 0.
VLHOST_API std::int32_t vlOSFreeLibrary(void* library);

// ---- Locks (recursive). An initialised lock lives as long as the process. ----------------------------

VLHOST_API void vlOSInitializeCriticalSection(VLCRITICALSECTION* section);
VLHOST_API void vlOSEnterCriticalSection(VLCRITICALSECTION* section);
VLHOST_API void vlOSLeaveCriticalSection(VLCRITICALSECTION* section);

// ---- Time -------------------------------------------------------------------------------------------

// The current date and time (UTC) as two texts that form an ISO 8601 date-time when joined: "2016-09-21" and
// "T08:15:30.250Z". A text that does not fit its buffer is left empty.
VLHOST_API void vlOSGetDateTimeString(char* date, std::size_t dateSize, char* time, std::size_t timeSize);

// ---- Memory -----------------------------------------------------------------------------------------

// The areas may overlap.
VLHOST_API void vlOSCopyMemory(void* destination, const void* source, std::size_t count);
VLHOST_API void CopyMemoryFast(void* destination, const void* source, std::size_t count);
VLHOST_API void ZeroMemoryFast(void* destination, std::size_t count);

// ---- Configuration: 32-bit values in a text store in the user's configuration directory --------------
// The store is "$XDG_CONFIG_HOME/vlhost/vlhost.conf" ("~/.config/...", "%APPDATA%\..."), or the file named by
// the environment variable VLHOST_CONFIG. A line holds KEY\NAME=VALUE with a decimal value; lines that start
// with "#" or ";" are comments.

// Reads (VL_CFG_READ) or sets (VL_CFG_WRITE) a value; vlCFGSave writes set values to disk. `root` is
// VL_CFG_DEFAULT_ROOT. Reading returns the last value set, saved or not. Returns 0, or VL_FAILED if a value
// to be read does not exist or is not a 32-bit number, or if a line cannot hold the key or name.
VLHOST_API std::uint32_t vlCFGValueDword(std::int64_t root, const char* key, const char* name,
                                         std::uint32_t* value, std::uint32_t mode);

// Saves the set values to disk atomically; all other lines of the store are kept. Returns 0, or VL_FAILED, in
// which case the set values stay pending. `flags` is 0.
VLHOST_API std::uint32_t vlCFGSave(std::int64_t root, std::uint32_t flags);

// ---- Logging ----------------------------------------------------------------------------------------

// A plain line.
VLHOST_API void ErrOut(const char* format, ...) VLHOST_PRINTF(1, 2);

// A line with a level. `status` and `detail` are reserved for the host; callers here pass 0.
VLHOST_API void ErrFmtOut(std::uint32_t level, std::uint32_t status, std::uint32_t detail, const char* format,
                          ...) VLHOST_PRINTF(4, 5);

// A status word with the name of the operation that returned it, "OPERATION: 0xSTATUS\n" (eight upper-case
// digits). `detail1` and `detail2` are reserved for the host; callers here pass 0.
VLHOST_API void ErrMsgOut(std::uint32_t status, const char* operation, std::uint32_t detail1,
                          std::uint32_t detail2);

// ---- Codes ------------------------------------------------------------------------------------------

// Returns 1 if the four-character code (file byte order, 'mp4a' = 0x6D703461) identifies compressed audio.
VLHOST_API std::int32_t fccIsCompressedAudio(std::uint32_t fourcc);

}  // extern "C"
