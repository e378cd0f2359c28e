#include "bitmap/bitmap_stream.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "format/file_types.h"
#include "format/pixel_format.h"
#include "format/stride.h"

namespace pixtola {

CBitmapStream::CBitmapStream(std::uint64_t size) {
  if (size > std::numeric_limits<SIZE_T>::max()) return;
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_DISCARDABLE, static_cast<SIZE_T>(size));
  if (block == nullptr) return;
  constexpr BOOL kFreeOnLastRelease = TRUE;
  if (FAILED(CreateStreamOnHGlobal(block, kFreeOnLastRelease, &inner_))) {
    inner_ = nullptr;
    GlobalFree(block);
  }
}

CBitmapStream::~CBitmapStream() {
  if (inner_ != nullptr) inner_->Release();
}

HRESULT CBitmapStream::QueryInterface(REFIID iid, void** object) {
  return inner_ != nullptr ? inner_->QueryInterface(iid, object) : E_UNEXPECTED;
}

ULONG CBitmapStream::AddRef() { return inner_ != nullptr ? inner_->AddRef() : 0; }

ULONG CBitmapStream::Release() {
  if (inner_ == nullptr) return 0;
  const ULONG left = inner_->Release();
  if (left == 0) inner_ = nullptr;
  return left;
}

HRESULT CBitmapStream::Read(void* buffer, ULONG size, ULONG* read) {
  return inner_ != nullptr ? inner_->Read(buffer, size, read) : E_UNEXPECTED;
}

HRESULT CBitmapStream::Write(const void* buffer, ULONG size, ULONG* written) {
  if (inner_ == nullptr) return E_UNEXPECTED;
  HRESULT result = inner_->Write(buffer, size, written);
  ULARGE_INTEGER position{};
  if (SUCCEEDED(result) && SUCCEEDED(inner_->Seek(LARGE_INTEGER{}, STREAM_SEEK_CUR, &position))) {
    const std::uint64_t end = position.QuadPart;
    const std::uint64_t start = end - std::min<std::uint64_t>(size, end);
    if (start > written_size_) result = FillGap(start, end);
    if (SUCCEEDED(result)) written_size_ = std::max(written_size_, end);
  }
  return result;
}

HRESULT CBitmapStream::FillGap(std::uint64_t gap_end, std::uint64_t position) {
  static constexpr std::uint8_t kZeros[256] = {};
  const auto seek = [this](std::uint64_t target) {
    LARGE_INTEGER move{};
    move.QuadPart = static_cast<std::int64_t>(target);
    return inner_->Seek(move, STREAM_SEEK_SET, nullptr);
  };
  HRESULT result = seek(written_size_);
  for (std::uint64_t left = gap_end - written_size_; left > 0 && SUCCEEDED(result);) {
    const auto size = static_cast<ULONG>(std::min<std::uint64_t>(left, sizeof(kZeros)));
    result = inner_->Write(kZeros, size, nullptr);
    left -= size;
  }
  const HRESULT back = seek(position);
  return SUCCEEDED(result) ? back : result;
}

HRESULT CBitmapStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
  return inner_ != nullptr ? inner_->Seek(move, origin, position) : E_UNEXPECTED;
}

HRESULT CBitmapStream::SetSize(ULARGE_INTEGER size) {
  return inner_ != nullptr ? inner_->SetSize(size) : E_UNEXPECTED;
}

HRESULT CBitmapStream::CopyTo(IStream* stream, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                              ULARGE_INTEGER* written) {
  return inner_ != nullptr ? inner_->CopyTo(stream, size, read, written) : E_UNEXPECTED;
}

HRESULT CBitmapStream::Commit(DWORD flags) {
  return inner_ != nullptr ? inner_->Commit(flags) : E_UNEXPECTED;
}

HRESULT CBitmapStream::Revert() { return inner_ != nullptr ? inner_->Revert() : E_UNEXPECTED; }

HRESULT CBitmapStream::LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) {
  return inner_ != nullptr ? inner_->LockRegion(offset, size, type) : E_UNEXPECTED;
}

HRESULT CBitmapStream::UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) {
  return inner_ != nullptr ? inner_->UnlockRegion(offset, size, type) : E_UNEXPECTED;
}

HRESULT CBitmapStream::Stat(STATSTG* stat, DWORD flags) {
  return inner_ != nullptr ? inner_->Stat(stat, flags) : E_UNEXPECTED;
}

HRESULT CBitmapStream::Clone(IStream** stream) {
  return inner_ != nullptr ? inner_->Clone(stream) : E_UNEXPECTED;
}

ComPointer<IStream> CBitmapStream::Finish() {
  ULARGE_INTEGER size{};
  size.QuadPart = written_size_;
  return ComPointer<IStream>(SUCCEEDED(SetSize(size)) ? std::exchange(inner_, nullptr) : nullptr);
}

std::uint64_t EncodedSizeEstimate(Gdiplus::Bitmap& bitmap, PxtFileType type) {
  // How well TIFF compresses is not known beforehand.
  const FileType* found = FindFileType(type);
  if (found != nullptr && found->tiff_compression != 0) return 0;
  constexpr std::uint64_t kHeaders = 44;
  constexpr std::uint64_t kLeast = 4096;
  const UINT width = bitmap.GetWidth();
  const Gdiplus::PixelFormat format = bitmap.GetPixelFormat();
  const UINT height = bitmap.GetHeight();
  const auto palette_size = static_cast<std::uint64_t>(std::max(bitmap.GetPaletteSize(), INT{0}));
  const std::uint64_t stride = CalcStrideFromBits(BitsPerPixel(format), width);
  return std::max(palette_size + kHeaders + height * stride, kLeast);
}

}  // namespace pixtola
