// The stream through which box files are read and written: a table of operations over a host file handle.
#pragma once

#include <cstdint>
#include <memory>

#include "vlutil.h"

// Mode bits of Mp4Stream::open. The low two bits hold the access.
inline constexpr std::uint32_t MP4_MODE_ACCESS = 3;
inline constexpr std::uint32_t MP4_MODE_READ = 1;    // read only
inline constexpr std::uint32_t MP4_MODE_UPDATE = 4;  // an existing file, for reading and writing
inline constexpr std::uint32_t MP4_MODE_CREATE = 8;  // a new file, replacing one of that name

// The plain stream: every operation is one host operation. The order of the operations is part of the
// interface.
class Mp4Stream {
 public:
  Mp4Stream() = default;
  Mp4Stream(const Mp4Stream&) = delete;
  Mp4Stream& operator=(const Mp4Stream&) = delete;

  // Opens `path`. Returns the host file handle, which `handle` keeps: VL_NO_HANDLE when the mode asks for
  // nothing that can be opened, VL_INVALID_HANDLE when the host failed.
  virtual VLHANDLE open(const char* path, std::uint32_t mode);
  // Returns the bytes read, 0 after a host failure, which is printed.
  virtual std::int64_t read(void* buffer, std::int64_t count);
  // Returns the bytes written, negative after a host failure, which is printed.
  virtual std::int64_t write(const void* buffer, std::int64_t count);
  // Reads without moving the position. Returns the bytes read.
  virtual std::int64_t peek(void* buffer, std::int64_t count);
  // The current byte offset.
  virtual std::uint64_t tell();
  // Closes the handle and forgets it. Returns the host's result, 0 when nothing was open.
  virtual std::int64_t close();

  VLHANDLE handle = VL_NO_HANDLE;

  // Moves the position to a byte offset. Returns whether it could.
  virtual bool seek(std::uint64_t offset);
  // The size of the file in bytes, 0 when nothing is open.
  virtual std::uint64_t size();
  // `count` bytes at `offset` when they lie in memory already, else null. Moves nothing.
  virtual const std::uint8_t* view(std::uint64_t offset, std::uint64_t count);

  // Closes what is open.
  virtual ~Mp4Stream();
};

// The buffered stream: the same table with 10 MiB in front of the host's reads and of its writes.
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
  // Writes out what waits. Returns 0, all ones when the seek fails, or a negative write result.
  std::int64_t flush();

  bool seekHost(std::int64_t offset);

  std::unique_ptr<std::uint8_t[]> readBuffer_;
  std::int64_t readOffset_ = -1;  // file offset of the buffered bytes, -1: nothing buffered
  std::int64_t readFill_ = 0;
  std::unique_ptr<std::uint8_t[]> writeBuffer_;
  std::int64_t writeFill_ = 0;
  std::int64_t writeOffset_ = 0;  // file offset of the first waiting byte
  std::int64_t position_ = 0;     // the stream's offset as its users see it
};

// A stream over bytes in memory that stand at a known place of a file: what has been read in one go is
// parsed without further host calls. The bytes must outlive it.
class Mp4MemoryStream : public Mp4Stream {
 public:
  // `data[0]` is the file's byte `base`.
  Mp4MemoryStream(const std::uint8_t* data, std::uint64_t count, std::uint64_t base = 0)
      : data_(data), count_(count), base_(base), position_(base) {}

  VLHANDLE open(const char* path, std::uint32_t mode) override;  // VL_NO_HANDLE: there is nothing to open
  std::int64_t read(void* buffer, std::int64_t count) override;
  std::int64_t write(const void* buffer, std::int64_t count) override;  // -1: the bytes are not ours
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
