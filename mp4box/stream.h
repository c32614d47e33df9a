// The stream for reading and writing box files: a table of operations on a host file handle.
#pragma once

#include <cstdint>
#include <memory>

#include "vlutil.h"

namespace fmp4 {

// Mode bits of Mp4Stream::open. The low two bits hold the access mode.
inline constexpr std::uint32_t MP4_MODE_ACCESS = 3;
inline constexpr std::uint32_t MP4_MODE_READ = 1;    // read only
inline constexpr std::uint32_t MP4_MODE_UPDATE = 4;  // an existing file, for reading and writing
inline constexpr std::uint32_t MP4_MODE_CREATE = 8;  // a new file, replacing an existing one

// The plain stream: each operation is one host operation. The order of the operations is part of the
// interface.
class Mp4Stream {
 public:
  Mp4Stream() = default;
  Mp4Stream(const Mp4Stream&) = delete;
  Mp4Stream& operator=(const Mp4Stream&) = delete;

  // Opens `path`. Returns the host file handle, which is kept in `handle`: VL_NO_HANDLE if the mode is
  // invalid, VL_INVALID_HANDLE if the host failed.
  virtual VLHANDLE open(const char* path, std::uint32_t mode);
  // Returns the bytes read, 0 after a host failure, which is logged.
  virtual std::int64_t read(void* buffer, std::int64_t count);
  // Returns the bytes written, negative after a host failure, which is logged.
  virtual std::int64_t write(const void* buffer, std::int64_t count);
  // Reads without moving the position. Returns the bytes read.
  virtual std::int64_t peek(void* buffer, std::int64_t count);
  // The current byte offset.
  virtual std::uint64_t tell();
  // Closes and resets the handle. Returns the host's result, 0 if nothing was open.
  virtual std::int64_t close();

  VLHANDLE handle = VL_NO_HANDLE;

  // Seeks to a byte offset. Returns whether this succeeded.
  virtual bool seek(std::uint64_t offset);
  // The size of the file in bytes, 0 if nothing is open.
  virtual std::uint64_t size();
  // The `count` bytes at `offset` if they are in memory already, otherwise null. Does not move the position.
  virtual const std::uint8_t* view(std::uint64_t offset, std::uint64_t count);
  // How often the host has failed to read, to seek or to give the size since the file was opened. A read that
  // ends early is the end of the file only if this has not grown.
  virtual std::uint64_t readFailures() const { return readFailures_; }
  // Reads up to `count` bytes from a byte offset on; when the host fails, the `needed` first ones alone, for
  // what follows does not matter yet. Returns the bytes read.
  std::int64_t readAhead(std::uint64_t offset, void* buffer, std::int64_t needed, std::int64_t count);

  // Closes an open handle.
  virtual ~Mp4Stream();

 private:
  std::uint64_t readFailures_ = 0;
};

// The buffered stream: the same operations with buffers of 10 MiB for reading and for writing.
class Mp4BufferedStream : public Mp4Stream {
 public:
  static constexpr std::uint32_t kBufferBytes = 0xA00000;

  // Takes over the handle of a plain stream, whose own allocation is freed.
  explicit Mp4BufferedStream(std::unique_ptr<Mp4Stream> plain);
  ~Mp4BufferedStream() override;

  std::int64_t read(void* buffer, std::int64_t count) override;
  std::int64_t write(const void* buffer, std::int64_t count) override;
  std::int64_t peek(void* buffer, std::int64_t count) override;
  std::uint64_t tell() override;  // the logical position
  std::int64_t close() override;
  bool seek(std::uint64_t offset) override;

 private:
  // Flushes the write buffer. Returns 0, all ones if the seek fails, or a negative write result.
  std::int64_t flush();

  bool seekHost(std::int64_t offset);

  std::unique_ptr<std::uint8_t[]> readBuffer_;
  std::int64_t readOffset_ = -1;  // file offset of the read buffer, -1: empty
  std::int64_t readFill_ = 0;
  std::unique_ptr<std::uint8_t[]> writeBuffer_;
  std::int64_t writeFill_ = 0;
  std::int64_t writeOffset_ = 0;  // file offset of the write buffer
  std::int64_t position_ = 0;     // the offset visible to users
};

// A stream over bytes in memory from a known position in a file: bytes read in one go are parsed without
// further host calls. The bytes must outlive it.
class Mp4MemoryStream : public Mp4Stream {
 public:
  // `data[0]` is the byte of the file at offset `base`.
  Mp4MemoryStream(const std::uint8_t* data, std::uint64_t count, std::uint64_t base = 0)
      : data_(data), count_(count), base_(base), position_(base) {}

  VLHANDLE open(const char* path, std::uint32_t mode) override;  // VL_NO_HANDLE: not supported
  std::int64_t read(void* buffer, std::int64_t count) override;
  std::int64_t write(const void* buffer, std::int64_t count) override;  // -1: the bytes are read-only
  std::int64_t peek(void* buffer, std::int64_t count) override;
  std::uint64_t tell() override { return position_; }
  std::int64_t close() override { return 0; }
  bool seek(std::uint64_t offset) override;
  std::uint64_t size() override { return base_ + count_; }
  const std::uint8_t* view(std::uint64_t offset, std::uint64_t count) override;

 private:
  const std::uint8_t* data_;
  std::uint64_t count_;
  std::uint64_t base_;
  std::uint64_t position_;
};

}  // namespace fmp4
