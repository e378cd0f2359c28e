// Streams in global memory that hold text, for tests of what the platform promises about them.
#ifndef PIXTOLA_TESTS_CONTRACT_MEMORY_STREAM_TEXTS_H_
#define PIXTOLA_TESTS_CONTRACT_MEMORY_STREAM_TEXTS_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "support/memory_streams.h"

namespace pixtola::test {

inline void WriteText(IStream& stream, const std::string& text) {
  ULONG written = 0;
  EXPECT_EQ(stream.Write(text.data(), static_cast<ULONG>(text.size()), &written), S_OK);
  EXPECT_EQ(written, text.size());
}

/// A stream of this text, with its position at the start.
inline StreamPointer StreamOf(const std::string& text) {
  StreamPointer stream = EmptyStream();
  WriteText(*stream, text);
  SeekTo(*stream, 0);
  return stream;
}

/// Up to `size` bytes from the position on. Reads that end early return S_OK or S_FALSE.
inline std::string ReadText(IStream& stream, ULONG size) {
  std::string text(size, '?');
  ULONG read = ~ULONG{0};
  const HRESULT result = stream.Read(text.data(), size, &read);
  EXPECT_TRUE(result == S_OK || (result == S_FALSE && read < size)) << result;
  EXPECT_LE(read, size);
  text.resize(std::min(read, size));
  return text;
}

/// The whole stream; the position is then at its end.
inline std::string TextOf(IStream& stream) {
  SeekTo(stream, 0);
  return ReadText(stream, static_cast<ULONG>(SizeOf(stream)));
}

/// The bytes at the start of a block that is not locked.
inline std::string TextOf(HGLOBAL block, std::size_t size) {
  const void* const bytes = GlobalLock(block);
  if (bytes == nullptr) return "(no block)";
  const std::string text(static_cast<const char*>(bytes), size);
  GlobalUnlock(block);
  return text;
}

inline HGLOBAL BlockOf(const std::string& text) {
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, text.size());
  std::memcpy(GlobalLock(block), text.data(), text.size());
  GlobalUnlock(block);
  return block;
}

/// `size` bytes without a short period.
inline std::string Pattern(std::size_t size) {
  std::string bytes(size, '\0');
  std::uint32_t state = 1;
  for (char& byte : bytes) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<char>(state >> 24);
  }
  return bytes;
}

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_CONTRACT_MEMORY_STREAM_TEXTS_H_
