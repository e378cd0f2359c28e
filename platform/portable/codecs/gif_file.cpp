#include "codecs/gif_file.h"

#include <algorithm>
#include <cstring>

#include "imaging/argb.h"

namespace pixtola::portable {

namespace {

// Called by giflib.
int ReadBytes(GifFileType* gif, GifByteType* destination, int size) {
  auto* source = static_cast<GifSource*>(gif->UserData);
  return static_cast<int>(source->Read(destination, static_cast<std::size_t>(size)));
}

/// Undefined disposals keep the frame, as the unspecified one does.
GifDisposal DisposalOf(const GraphicsControlBlock& control) {
  if (control.DisposalMode == DISPOSE_BACKGROUND) return GifDisposal::kBackground;
  if (control.DisposalMode == DISPOSE_PREVIOUS) return GifDisposal::kPrevious;
  return GifDisposal::kKeep;
}

}  // namespace

std::size_t GifSource::Read(std::uint8_t* destination, std::size_t size) {
  // giflib reads a block's length by itself and then the whole block.
  if (is_in_code_ && block_left_ == 0) {
    *destination = BeginBlock();
    return 1;
  }
  const std::size_t left = is_in_code_ ? block_left_ : bytes_.size() - position_;
  const std::size_t count = std::min(size, left);
  std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(position_), count, destination);
  position_ += count;
  if (is_in_code_) block_left_ -= count;
  return count;
}

void GifSource::BeginCode() {
  is_in_code_ = true;
  has_code_ended_ = false;
  block_left_ = 0;
}

bool GifSource::EndCode() {
  do {
    position_ += block_left_;
    block_left_ = 0;
  } while (BeginBlock() != 0);
  is_in_code_ = false;
  return !is_cut_;
}

std::uint8_t GifSource::BeginBlock() {
  if (has_code_ended_) return 0;
  const std::size_t length = position_ < bytes_.size() ? bytes_[position_++] : 256;
  block_left_ = std::min(length, bytes_.size() - position_);
  is_cut_ = is_cut_ || block_left_ < length;
  has_code_ended_ = block_left_ == 0;
  return static_cast<std::uint8_t>(block_left_);
}

GifFile::GifFile(EncodedBytes bytes) : source_(bytes) {
  int error = D_GIF_SUCCEEDED;
  gif_.reset(DGifOpen(&source_, ReadBytes, &error));
  if (error == D_GIF_ERR_NOT_ENOUGH_MEM) failure_ = Gdiplus::OutOfMemory;
}

bool GifFile::NextFrame() {
  if (gif_ == nullptr) return false;
  frame_ = GifFrame{};
  GifRecordType type = UNDEFINED_RECORD_TYPE;
  while (DGifGetRecordType(gif_.get(), &type) != GIF_ERROR) {
    if (type == IMAGE_DESC_RECORD_TYPE) {
      // Not DGifGetImageDesc, which keeps a copy of every image's description.
      if (DGifGetImageHeader(gif_.get()) == GIF_ERROR) break;
      const GifImageDesc& image = gif_->Image;
      frame_.left = static_cast<std::uint32_t>(image.Left);
      frame_.top = static_cast<std::uint32_t>(image.Top);
      frame_.width = static_cast<std::uint32_t>(image.Width);
      frame_.height = static_cast<std::uint32_t>(image.Height);
      frame_.is_interlaced = image.Interlace;
      frame_.has_own_colors = image.ColorMap != nullptr;
      source_.BeginCode();
      return true;
    }
    if (type != EXTENSION_RECORD_TYPE || !ReadExtension()) break;
  }
  if (gif_->Error == D_GIF_ERR_NOT_ENOUGH_MEM) failure_ = Gdiplus::OutOfMemory;
  return false;
}

bool GifFile::ReadExtension() {
  int function = 0;
  GifByteType* block = nullptr;  // its length, then as many bytes
  if (DGifGetExtension(gif_.get(), &function, &block) == GIF_ERROR) return false;
  GraphicsControlBlock control{};
  if (function == GRAPHICS_EXT_FUNC_CODE && block != nullptr &&
      DGifExtensionToGCB(block[0], block + 1, &control) != GIF_ERROR) {
    frame_.disposal = DisposalOf(control);
    frame_.transparent.reset();
    if (control.TransparentColor != NO_TRANSPARENT_COLOR) {
      frame_.transparent = static_cast<std::uint8_t>(control.TransparentColor);
    }
  } else if (function == PLAINTEXT_EXT_FUNC_CODE) {
    // Text is not drawn, but it is what the control extension before it was about.
    frame_ = GifFrame{};
  }
  while (block != nullptr) {
    if (DGifGetExtensionNext(gif_.get(), &block) == GIF_ERROR) return false;
  }
  return true;
}

Palette GifFile::FramePalette() const {
  Palette palette = GrayPalette(8);
  const ColorMapObject* map =
      gif_->Image.ColorMap != nullptr ? gif_->Image.ColorMap : gif_->SColorMap;
  if (map != nullptr) {
    palette.flags = 0;
    palette.count = static_cast<UINT>(map->ColorCount);
    palette.entries.fill(0xFF000000);
    for (std::size_t i = 0; i < palette.count; ++i) {
      const GifColorType& color = map->Colors[i];
      palette.entries[i] = MakeArgb(255, color.Red, color.Green, color.Blue);
    }
  }
  if (frame_.transparent.has_value()) {
    palette.flags |= Gdiplus::PaletteFlagsHasAlpha;
    palette.entries[*frame_.transparent] &= 0x00FFFFFF;
  }
  return palette;
}

bool GifFile::ReadRow(std::uint8_t* row) {
  return DGifGetLine(gif_.get(), row, static_cast<int>(frame_.width)) != GIF_ERROR;
}

std::uint64_t GifFile::ScreenWidth() const {
  const auto width = static_cast<std::uint64_t>(gif_->SWidth);
  return width != 0 ? width : std::uint64_t{frame_.left} + frame_.width;
}

std::uint64_t GifFile::ScreenHeight() const {
  const auto height = static_cast<std::uint64_t>(gif_->SHeight);
  return height != 0 ? height : std::uint64_t{frame_.top} + frame_.height;
}

std::optional<std::uint8_t> GifFile::BackgroundIndex() const {
  const int index = gif_->SBackGroundColor;
  if (gif_->SColorMap == nullptr || index >= gif_->SColorMap->ColorCount) return std::nullopt;
  return static_cast<std::uint8_t>(index);
}

}  // namespace pixtola::portable
