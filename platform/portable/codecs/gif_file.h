// A GIF file in memory, walked image by image with giflib's record functions.
//
// Nothing is kept of images that were passed over, so that a file of many small ones costs no more
// memory than its largest colour map.
#ifndef PIXTOLA_PORTABLE_GIF_FILE_H_
#define PIXTOLA_PORTABLE_GIF_FILE_H_

#include <cstdint>
#include <optional>

#include "codecs/codec.h"
#include "codecs/gif_handles.h"

namespace pixtola::portable {

/// The bytes of a file as giflib reads them.
class GifSource {
 public:
  explicit GifSource(EncodedBytes bytes) : bytes_(bytes) {}

  /// How many bytes were read, which is fewer than `size` at the end of the file.
  std::size_t Read(std::uint8_t* destination, std::size_t size);

  /// From here to EndCode come the blocks of an image's code: each has its length before it, and an
  /// empty one ends them. A block that is cut by the end of the file is given as a shorter one
  /// followed by the end, since what is there of it can be decoded.
  void BeginCode();
  /// Moves past the blocks, however many were read. False when the end of the file cut them.
  bool EndCode();

 private:
  /// The length of the next block, 0 at the end.
  std::uint8_t BeginBlock();

  EncodedBytes bytes_;
  std::size_t position_ = 0;
  bool is_in_code_ = false;
  bool has_code_ended_ = false;
  bool is_cut_ = false;
  std::size_t block_left_ = 0;
};

enum class GifDisposal { kKeep, kBackground, kPrevious };

/// An image of the file and what the control extension before it says.
struct GifFrame {
  std::uint32_t left = 0;
  std::uint32_t top = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  bool is_interlaced = false;
  bool has_own_colors = false;
  GifDisposal disposal = GifDisposal::kKeep;
  std::optional<std::uint8_t> transparent;
};

class GifFile {
 public:
  /// `bytes` must outlive the object, which stays where it is: giflib knows its address.
  explicit GifFile(EncodedBytes bytes);
  GifFile(const GifFile&) = delete;
  GifFile& operator=(const GifFile&) = delete;

  /// Moves to the next image whose header is complete: description, colour map, size of the codes.
  bool NextFrame();
  /// OutOfMemory when that was why NextFrame returned false, otherwise GenericError.
  Gdiplus::Status failure() const { return failure_; }
  /// The image that NextFrame has moved to, and its colours: its own or the file's. Entries that
  /// the map does not have are opaque black, the transparent one has alpha 0. A file without any
  /// map leaves the choice to the reader; ours is a gray ramp.
  const GifFrame& frame() const { return frame_; }
  Palette FramePalette() const;

  /// The next `frame().width` indexes of the code, which must not be 0. False when the code does
  /// not give them all; no more may be read then.
  bool ReadRow(std::uint8_t* row);
  /// Skips what is left of the frame's code. False when the end of the file cut it.
  bool EndFrame() { return source_.EndCode(); }

  /// The size in which frames lie. One that is 0 is the first frame's: ask after NextFrame.
  std::uint64_t ScreenWidth() const;
  std::uint64_t ScreenHeight() const;
  /// The index of the colour under the frames, when it is one of the file's colour map.
  std::optional<std::uint8_t> BackgroundIndex() const;

 private:
  bool ReadExtension();

  GifSource source_;
  GifReadHandle gif_;
  Gdiplus::Status failure_ = Gdiplus::GenericError;
  GifFrame frame_;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_GIF_FILE_H_
