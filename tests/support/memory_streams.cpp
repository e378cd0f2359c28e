#include "support/memory_streams.h"

#include <gtest/gtest.h>

namespace pixtola::test {

LARGE_INTEGER Offset(std::int64_t value) {
  LARGE_INTEGER offset{};
  offset.QuadPart = value;
  return offset;
}

ULARGE_INTEGER Size(std::uint64_t value) {
  ULARGE_INTEGER size{};
  size.QuadPart = value;
  return size;
}

StreamReceiver Receive(StreamPointer& stream) { return StreamReceiver(stream); }

std::uint64_t Seek(IStream& stream, std::int64_t offset, STREAM_SEEK origin) {
  ULARGE_INTEGER position = Size(~std::uint64_t{0});
  EXPECT_EQ(stream.Seek(Offset(offset), static_cast<DWORD>(origin), &position), S_OK);
  return position.QuadPart;
}

void SeekTo(IStream& stream, std::uint64_t position) {
  Seek(stream, static_cast<std::int64_t>(position), STREAM_SEEK_SET);
}

std::uint64_t PositionOf(IStream& stream) { return Seek(stream, 0, STREAM_SEEK_CUR); }

std::uint64_t SizeOf(IStream& stream) {
  STATSTG state{};
  EXPECT_EQ(stream.Stat(&state, STATFLAG_NONAME), S_OK);
  return state.cbSize.QuadPart;
}

void SetSize(IStream& stream, std::uint64_t size) { EXPECT_EQ(stream.SetSize(Size(size)), S_OK); }

void Write(IStream& stream, const Bytes& bytes) {
  ULONG written = 0;
  EXPECT_EQ(stream.Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written), S_OK);
  EXPECT_EQ(written, bytes.size());
}

Bytes Read(IStream& stream, std::uint64_t size) {
  Bytes bytes(static_cast<std::size_t>(size));
  if (bytes.empty()) return bytes;  // without an address to read to
  ULONG read = 0;
  EXPECT_TRUE(SUCCEEDED(stream.Read(bytes.data(), static_cast<ULONG>(size), &read)));
  bytes.resize(read);
  return bytes;
}

Bytes BytesOf(IStream& stream) {
  const std::uint64_t position = PositionOf(stream);
  SeekTo(stream, 0);
  Bytes bytes = Read(stream, SizeOf(stream));
  SeekTo(stream, position);
  return bytes;
}

StreamPointer EmptyStream() {
  StreamPointer stream;
  EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, Receive(stream)), S_OK);
  return stream;
}

StreamPointer StreamOf(const Bytes& bytes) {
  StreamPointer stream = EmptyStream();
  if (!bytes.empty()) Write(*stream, bytes);
  SeekTo(*stream, 0);
  return stream;
}

ULONG ReferencesTo(IStream& stream) {
  stream.AddRef();
  return stream.Release();
}

IStream* UntouchedStream() {
  static std::uintptr_t place = 0;
  return reinterpret_cast<IStream*>(&place);
}

}  // namespace pixtola::test
