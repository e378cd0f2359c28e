#include "io/tiff_client.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace pixtola {

namespace {

IStream& StreamOf(thandle_t client) { return *static_cast<IStream*>(client); }

/// libtiff's sizes have 64 bits and a stream's 32; what is asked for beyond that is not
/// transferred.
ULONG TransferSize(tmsize_t size) {
  return static_cast<ULONG>(
      std::min<std::uint64_t>(static_cast<std::uint64_t>(size), std::numeric_limits<ULONG>::max()));
}

tmsize_t ReadStream(thandle_t client, void* buffer, tmsize_t size) {
  if (buffer == nullptr || size <= 0) return 0;
  IStream& stream = StreamOf(client);
  const auto reference = Share(stream);
  ULONG read = 0;
  stream.Read(buffer, TransferSize(size), &read);  // an error shows in the count
  return static_cast<tmsize_t>(read);
}

tmsize_t WriteStream(thandle_t client, void* buffer, tmsize_t size) {
  if (buffer == nullptr || size <= 0) return 0;
  IStream& stream = StreamOf(client);
  const auto reference = Share(stream);
  ULONG written = 0;
  stream.Write(buffer, TransferSize(size), &written);
  return static_cast<tmsize_t>(written);
}

toff_t SeekStream(thandle_t client, toff_t offset, int whence) {
  IStream& stream = StreamOf(client);
  const auto reference = Share(stream);
  const DWORD origin = whence == SEEK_CUR   ? STREAM_SEEK_CUR
                       : whence == SEEK_END ? STREAM_SEEK_END
                                            : STREAM_SEEK_SET;
  // Kept on purpose: offsets and positions have 32 bits, without a sign.
  LARGE_INTEGER move{};
  move.QuadPart = static_cast<std::uint32_t>(offset);
  ULARGE_INTEGER position{};
  stream.Seek(move, origin, &position);
  return static_cast<std::uint32_t>(position.QuadPart);
}

toff_t SizeOfStream(thandle_t client) {
  IStream& stream = StreamOf(client);
  const auto reference = Share(stream);
  STATSTG stat{};
  stream.Stat(&stat, STATFLAG_NONAME);
  return static_cast<std::uint32_t>(stat.cbSize.QuadPart);
}

// The stream stays open: it is the caller's.
int CloseStream(thandle_t /*client*/) { return 0; }

// Streams are not mapped into memory.
int MapStream(thandle_t /*client*/, void** /*base*/, toff_t* /*size*/) { return 0; }
void UnmapStream(thandle_t /*client*/, void* /*base*/, toff_t /*size*/) {}

}  // namespace

TiffFile OpenTiffStream(IStream& stream, const char* mode) {
  const platform::TiffOptions options = platform::MakeTiffOptions(mode[0] == 'r');
  if (options == nullptr) return nullptr;
  return TiffFile(TIFFClientOpenExt("TIFFStream", mode, &stream, ReadStream, WriteStream,
                                    SeekStream, CloseStream, SizeOfStream, MapStream, UnmapStream,
                                    options.get()));
}

}  // namespace pixtola
