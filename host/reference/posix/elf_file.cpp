#include "host/reference/posix/elf_file.h"

#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace vlhost {

namespace {

using Header = ElfW(Ehdr);
using Segment = ElfW(Phdr);
using DynamicEntry = ElfW(Dyn);

class InputFile {
 public:
  // Never blocks, as opening a pipe might.
  explicit InputFile(const std::string& path) : fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat facts = {};
    if (fd_ >= 0 && fstat(fd_, &facts) == 0 && S_ISREG(facts.st_mode))
      size_ = static_cast<std::uint64_t>(facts.st_size);
  }
  ~InputFile() {
    if (fd_ >= 0) close(fd_);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  bool holds(std::uint64_t offset, std::uint64_t bytes) const {
    return offset <= size_ && bytes <= size_ - offset;
  }

  // Reads `count` values at `offset`. Returns false without them if the file does not contain them all.
  template <class T>
  bool read(std::uint64_t offset, std::uint64_t count, std::vector<T>& values) const {
    if (count > size_ / sizeof(T) || !holds(offset, count * sizeof(T))) return false;
    values.resize(count);
    return readBytes(offset, reinterpret_cast<char*>(values.data()), count * sizeof(T));
  }

 private:
  bool readBytes(std::uint64_t offset, char* out, std::size_t bytes) const {
    while (bytes > 0) {
      const ssize_t done = pread(fd_, out, bytes, static_cast<off_t>(offset));
      if (done < 0 && errno == EINTR) continue;
      if (done <= 0) return false;
      out += done;
      offset += static_cast<std::uint64_t>(done);
      bytes -= static_cast<std::size_t>(done);
    }
    return true;
  }

  int fd_;
  std::uint64_t size_ = 0;
};

bool isOfThisMachine(const Header& header) {
  constexpr unsigned char kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
  constexpr unsigned char kOrder = std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;
  return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 && header.e_ident[EI_CLASS] == kClass &&
         header.e_ident[EI_DATA] == kOrder && header.e_phentsize == sizeof(Segment);
}

// The file offset of an address of the loaded library; past the end of the file if there is none.
std::uint64_t offsetOf(std::uint64_t address, const std::vector<Segment>& segments) {
  for (const Segment& segment : segments) {
    if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
        address - segment.p_vaddr < segment.p_filesz)
      return segment.p_offset + (address - segment.p_vaddr);
  }
  return ~std::uint64_t{0};
}

std::uint64_t valueOf(const std::vector<DynamicEntry>& entries, std::int64_t tag) {
  for (const DynamicEntry& entry : entries)
    if (entry.d_tag == tag) return entry.d_un.d_val;
  return 0;
}

std::vector<std::string> neededNames(const InputFile& file, const std::vector<Segment>& segments,
                                     const Segment& dynamic) {
  std::vector<DynamicEntry> entries;
  std::vector<char> names;
  if (!file.read(dynamic.p_offset, dynamic.p_filesz / sizeof(DynamicEntry), entries)) return {};
  const std::uint64_t start = offsetOf(valueOf(entries, DT_STRTAB), segments);
  if (!file.read(start, valueOf(entries, DT_STRSZ), names)) return {};
  names.push_back('\0');
  std::vector<std::string> needed;
  for (const DynamicEntry& entry : entries) {
    if (entry.d_tag == DT_NULL) break;
    if (entry.d_tag != DT_NEEDED || entry.d_un.d_val >= names.size()) continue;
    const std::string_view name = names.data() + entry.d_un.d_val;
    if (name.size() <= NAME_MAX) needed.emplace_back(name);
  }
  return needed;
}

}  // namespace

ElfFile readElfFile(const std::string& path) {
  const InputFile file(path);
  ElfFile elf;
  std::vector<Header> header;
  std::vector<Segment> segments;
  if (!file.read(0, 1, header) || !isOfThisMachine(header[0])) return elf;
  elf.complete = file.read(header[0].e_phoff, header[0].e_phnum, segments);
  for (const Segment& segment : segments) {
    if (segment.p_type == PT_LOAD && !file.holds(segment.p_offset, segment.p_filesz)) elf.complete = false;
  }
  const auto dynamic = std::find_if(segments.begin(), segments.end(),
                                    [](const Segment& segment) { return segment.p_type == PT_DYNAMIC; });
  if (dynamic != segments.end()) elf.needed = neededNames(file, segments, *dynamic);
  return elf;
}

}  // namespace vlhost
