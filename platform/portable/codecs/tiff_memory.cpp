// The procedures through which libtiff reads and writes, and the options of a handle.
//
// Sources are given as mapped memory: libtiff 4.5 refuses uncompressed tiles that it has to read
// into a buffer of its own unless their size is a multiple of 1024.
#include "codecs/tiff_memory.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>

#include "shared/tiff_files.h"

namespace pixtola::portable {

namespace {

constexpr std::uint64_t kSeekFailed = std::numeric_limits<std::uint64_t>::max();

/// Where a seek leads; `offset` holds the bits of a negative number when it leads backwards.
std::uint64_t Target(std::uint64_t offset, int origin, std::uint64_t position, std::uint64_t end) {
  switch (origin) {
    case SEEK_SET:
      return offset;
    case SEEK_CUR:
      return position + offset;
    case SEEK_END:
      return end + offset;
    default:
      return kSeekFailed;
  }
}

tmsize_t ReadSource(thandle_t handle, void* destination, tmsize_t size) {
  auto* source = static_cast<TiffSource*>(handle);
  const std::uint64_t end = source->bytes.size();
  if (size <= 0 || source->position >= end) return 0;
  const auto read =
      std::min<std::uint64_t>(static_cast<std::uint64_t>(size), end - source->position);
  std::memcpy(destination, source->bytes.data() + source->position, read);
  source->position += read;
  return static_cast<tmsize_t>(read);
}

std::uint64_t SeekSource(thandle_t handle, std::uint64_t offset, int origin) {
  auto* source = static_cast<TiffSource*>(handle);
  const std::uint64_t target = Target(offset, origin, source->position, source->bytes.size());
  if (target != kSeekFailed) source->position = target;
  return target;
}

std::uint64_t SourceSize(thandle_t handle) {
  return static_cast<TiffSource*>(handle)->bytes.size();
}

int MapSource(thandle_t handle, void** start, toff_t* size) {
  auto* source = static_cast<TiffSource*>(handle);
  *start = const_cast<std::uint8_t*>(source->bytes.data());  // libtiff only reads it
  *size = source->bytes.size();
  return 1;
}

void UnmapNothing(thandle_t, void*, toff_t) {}

tmsize_t RefuseToWrite(thandle_t, void*, tmsize_t) { return -1; }
tmsize_t RefuseToRead(thandle_t, void*, tmsize_t) { return -1; }

tmsize_t WriteDestination(thandle_t handle, void* bytes, tmsize_t size) {
  auto* destination = static_cast<TiffDestination*>(handle);
  if (size < 0 || destination->failed ||
      !destination->sink->Write(bytes, static_cast<std::size_t>(size))) {
    destination->failed = true;
    return -1;
  }
  destination->end = std::max(destination->end, destination->sink->Position());
  return size;
}

std::uint64_t SeekDestination(thandle_t handle, std::uint64_t offset, int origin) {
  auto* destination = static_cast<TiffDestination*>(handle);
  const std::uint64_t target =
      Target(offset, origin, destination->sink->Position(), destination->end);
  const std::uint64_t inside = std::min(target, destination->end);
  if (target == kSeekFailed || !destination->sink->Seek(inside)) {
    destination->failed = true;
    return kSeekFailed;
  }
  // libtiff leaves room for a directory and writes the values after it first. The room is filled
  // with zeros, so that a sink need not support gaps.
  std::array<std::uint8_t, 256> zeros{};
  for (std::uint64_t gap = target - inside; gap > 0;) {
    const std::uint64_t size = std::min<std::uint64_t>(gap, zeros.size());
    if (WriteDestination(handle, zeros.data(), static_cast<tmsize_t>(size)) < 0) {
      return kSeekFailed;
    }
    gap -= size;
  }
  return target;
}

std::uint64_t DestinationSize(thandle_t handle) {
  return static_cast<TiffDestination*>(handle)->end;
}

int CloseNothing(thandle_t) { return 0; }

/// 1: the message has been dealt with, the process-wide handler is not called.
int DropMessage(TIFF*, void*, const char*, const char*, std::va_list) { return 1; }

platform::TiffOptions SilentOptions(bool is_reading) {
  platform::TiffOptions options = platform::MakeTiffOptions(is_reading);
  if (options == nullptr) return options;
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), DropMessage, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), DropMessage, nullptr);
  return options;
}

}  // namespace

TiffHandle OpenTiffForReading(TiffSource& source, UINT last_page) {
  const platform::TiffOptions options = SilentOptions(true);
  if (options == nullptr) return nullptr;
  const auto open = [&](const char* mode) {
    source.position = 0;
    return TiffHandle(TIFFClientOpenExt("", mode, &source, ReadSource, RefuseToWrite, SeekSource,
                                        CloseNothing, SourceSize, MapSource, UnmapNothing,
                                        options.get()));
  };
  const TiffHandle header = open("rh");
  if (header == nullptr || !platform::AreTiffDirectoriesAllowed(header.get(), last_page)) {
    return nullptr;
  }
  return open("r");
}

TiffHandle OpenTiffForWriting(TiffDestination& destination) {
  const platform::TiffOptions options = SilentOptions(false);
  if (options == nullptr) return nullptr;
  return TiffHandle(TIFFClientOpenExt("", "w", &destination, RefuseToRead, WriteDestination,
                                      SeekDestination, CloseNothing, DestinationSize, nullptr,
                                      nullptr, options.get()));
}

}  // namespace pixtola::portable
