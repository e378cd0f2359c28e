/// Pixtola: captured pages prepared as documents.
///
/// How the library is meant to be used
/// -----------------------------------
/// Pixtola works at two levels. At the lower one an image is plain memory: a pointer to its top
/// row, a width and a height in pixels and a stride, the number of BYTES from one row to the next.
/// The pixel (x, y) of an image with 8 or more bits per pixel is at
///
///     first_row + y * stride + x * (bits_per_pixel / 8)
///
/// 24-bit pixels are stored blue, green, red; 32-bit pixels blue, green, red, alpha. A 1-bit row
/// has eight pixels a byte, the leftmost in the most significant bit; a set bit is white. An image
/// takes `height * stride` bytes; the library never reads or writes outside of them, with one
/// exception, described at PxtRotateFlip. That includes a bitmap over your own memory: its last row
/// must be as long as the others.
///
/// At the upper level an image is a `Gdiplus::Bitmap`: GDI+'s own class on Windows, the class of
/// the same name from <pixtola/portable/gdiplus.h> on every other system. Call
/// `Gdiplus::GdiplusStartup` before using bitmaps, as with GDI+ itself.
///
/// Results. Functions return 1 for success and 0 for failure unless their text says otherwise.
/// There are no error codes; no exception leaves a function and nothing is ever printed. A platform
/// call that fails on a bitmap leaves its status in that bitmap's `GetLastStatus()`.
///
/// Sizes. The conversions to bytes report the size first: called with a null destination they give
/// the bytes needed and the stride, and return 1. Called with too small a capacity they report the
/// bytes needed and return 0. Sizes are reported in 32 bits, which wrap; a call that truly needs
/// more than that, for the result or for one row of the source, returns 0.
///
/// Ownership. Buffers, bitmaps and streams that you pass in stay yours and are never kept. Bitmaps
/// that you get are yours: `delete` them. They own their pixels; nothing you passed in has to
/// outlive them. Streams that you get are yours, too: `Release` them.
///
/// Exactness. A new 1-, 4- or 8-bit bitmap is decoded from a BMP copy of itself, which keeps whole
/// pixels per metre and no transparency: 300 dots per inch come back as 299.9994, and palette
/// entries are opaque. The pixels themselves are never changed by that.
///
/// Threads. Every call runs wholly on the calling thread. Any number of threads may convert
/// distinct buffers at once; one bitmap must not be used by two threads at once. TIFF is read and
/// written by one thread at a time; others wait.
///
/// libtiff. Every call that reads or writes TIFF makes libtiff silent, in the whole process and for
/// good: its error and warning handlers are replaced.
///
/// Null pointers for required arguments give 0 with nothing done. The exceptions are the palette of
/// 8-bit pixels in memory, which is missed only when pixels are converted, and the out pointers of
/// PxtRGBtoHSV and PxtHSVtoRGB, which are not tested.
#ifndef PIXTOLA_H_
#define PIXTOLA_H_

#include <cstdint>

#if defined(_WIN32)
#include <windows.h>

#include <objidl.h>

#include <gdiplus.h>
#if defined(PIXTOLA_STATIC) || defined(PIXTOLA_BUILDING)
#define PIXTOLA_API
#else
#define PIXTOLA_API __declspec(dllimport)
#endif
#else
#include <pixtola/portable/gdiplus.h>
#define PIXTOLA_API __attribute__((visibility("default")))
#endif

/// What a conversion makes of an image.
enum PxtConversionMethod : uint32_t {
  /// 8 bits per pixel, gray 0 to 255. White comes out as 254, that of a 1-bit source as 255.
  MethodGray8 = 0,
  /// 1 bit per pixel, one threshold for the whole image, found in its histogram by Otsu's
  /// criterion.
  MethodBilevelOtsu = 1,
  /// 1 bit per pixel, a separate threshold for each block of 16 x 16 pixels. Up to 15 rows at the
  /// bottom that do not fill a block stay white.
  MethodBilevelAdaptive = 2,
  /// 1 bit per pixel, error diffusion around the Otsu threshold.
  MethodBilevelDiffusion = 3
};

/// The files that can be written. Images saved as the fax and run-length TIFF types are converted
/// to 1 bit per pixel first: by error diffusion (5, 6) or by Otsu's threshold (8).
enum PxtFileType : int {
  PxtFileTypeBmp = 0,
  PxtFileTypeGif = 1,   ///< deep images are reduced to the platform's 256 colours
  PxtFileTypeJpeg = 2,  ///< quality 85
  PxtFileTypePcx = 3,   ///< files only; 1-bit, 8-bit, and 24-bit for all other images; refused when
                        ///< wider or higher than 65536 or with lines of more than 65535 bytes
  PxtFileTypePng = 4,
  PxtFileTypeTiffGroup3 = 5,  ///< CCITT group 3
  PxtFileTypeTiffGroup4 = 6,  ///< CCITT group 4
  PxtFileTypeTiffLzw = 7,
  PxtFileTypeTiffRunLength = 8,  ///< PackBits
  PxtFileTypeTiffNone = 9,       ///< no compression
  PxtFileTypeJpegLow = 10,       ///< as PxtFileTypeJpeg, quality 35
  PxtFileTypeJpegHigh = 11       ///< as PxtFileTypeJpeg, quality 97
};

/// What PxtRotateFlip does to pixels of 8 bits and more: it takes no 1-bit pages. The pixel at
/// (x, y) of a source of W x H pixels moves to ...
enum PxtRotateFlipOperation : uint32_t {
  PxtFlipVertical = 1,            ///< (x, H - 1 - y)
  PxtFlipHorizontal = 2,          ///< (W - 1 - x, y)
  PxtRotateCounterClockwise = 3,  ///< (y, W - 1 - x): a quarter rotation to the left, H x W pixels
  PxtRotate180 = 4,               ///< (W - 1 - x, H - 1 - y)
  PxtRotateClockwise = 5          ///< (H - 1 - y, x): a quarter rotation to the right, H x W pixels
};

/// How many bits a pixel has in memory.
enum PxtPixelSize : uint32_t {
  PxtPixelSize1 = 1,
  PxtPixelSize8 = 8,
  PxtPixelSize24 = 24,
  PxtPixelSize32 = 32
};

extern "C" {

// -------------------------------------------------------------------------- formats and conversion

/// The row stride, in bytes, of `width` pixels in `format`: the bytes of a row rounded up to a
/// multiple of 4. Computed in 32 bits, which wrap.
PIXTOLA_API uint32_t PxtCalcStride(uint32_t width, Gdiplus::PixelFormat format);

/// Converts a rectangle of an image in memory.
///
/// @param method      One of PxtConversionMethod; any other value gives 0.
/// @param source      The top row; `height * source_stride` bytes are read at most.
/// @param rect        In: the rectangle in pixels, right and bottom exclusive.
///                    Out: the same, clipped to the image.
///                    One whose right or bottom is 0 gives 0. One whose right or bottom is negative
///                    is neither clipped nor refused: it is computed with as it is. The pixels are
///                    taken from the byte offset left + top * (right - left), bytes past the
///                    image's end reading as 0; with left = top = 0 that is the image's own corner.
/// @param source_bits_per_pixel  1, 8, 24 or 32. A set bit of a 1-bit source is white.
/// @param width,height           The whole source image, in pixels, at least 1.
/// @param source_stride          In bytes, a multiple of 4, no less than a row needs.
/// @param destination            Null asks for the size only.
/// @param destination_size       In: the capacity of `destination` in bytes.
///                               Out: the bytes needed, when asked for or when the capacity is too
///                               small; otherwise left as it is.
/// @param destination_stride     Out: PxtCalcStride of the rectangle's width for 8 bits (gray) or
///                               1 bit per pixel; also written when the capacity is too small.
/// @param palette     Required for 8-bit sources, ignored for others. Bytes at or above its Count
///                    become gray 0.
///
/// On failure the destination is untouched, except that MethodBilevelAdaptive may have filled it
/// with 255.
PIXTOLA_API int PxtBytesRectToBytes(PxtConversionMethod method, const uint8_t* source, RECT* rect,
                                    uint32_t source_bits_per_pixel, uint32_t width, uint32_t height,
                                    uint32_t source_stride, uint8_t* destination,
                                    uint32_t* destination_size, uint32_t* destination_stride,
                                    const Gdiplus::ColorPalette* palette);

/// PxtBytesRectToBytes for the whole image.
PIXTOLA_API int PxtBytesToBytes(PxtConversionMethod method, const uint8_t* source,
                                uint32_t source_bits_per_pixel, uint32_t width, uint32_t height,
                                uint32_t source_stride, uint8_t* destination,
                                uint32_t* destination_size, uint32_t* destination_stride,
                                const Gdiplus::ColorPalette* palette);

/// PxtBytesRectToBytes with the pixels and the palette of a bitmap. Bitmaps with other than 1, 8,
/// 24 or 32 bits per pixel are read as 24-bit RGB. A size query does not lock the bitmap.
PIXTOLA_API int PxtBitmapRectToBytes(PxtConversionMethod method, Gdiplus::Bitmap& bitmap,
                                     RECT* rect, uint8_t* destination, uint32_t* destination_size,
                                     uint32_t* destination_stride);

/// PxtBitmapRectToBytes for the whole bitmap.
PIXTOLA_API int PxtBitmapToBytes(PxtConversionMethod method, Gdiplus::Bitmap& bitmap,
                                 uint8_t* destination, uint32_t* destination_size,
                                 uint32_t* destination_stride);

/// Converts a rectangle of a bitmap (exclusive, clipped in place as in PxtBytesRectToBytes) into a
/// new 8-bit gray or 1-bit bitmap with the source's resolution. On failure `*result` is null once
/// the conversion itself has succeeded, and untouched before.
PIXTOLA_API int PxtBitmapRectToBitmap(PxtConversionMethod method, Gdiplus::Bitmap& bitmap,
                                      RECT* rect, Gdiplus::Bitmap** result);

/// PxtBitmapRectToBitmap for the whole bitmap.
PIXTOLA_API int PxtBitmapToBitmap(PxtConversionMethod method, Gdiplus::Bitmap& bitmap,
                                  Gdiplus::Bitmap** result);

/// Makes a bitmap from a copy of pixels in memory.
///
/// @param bytes    The top row.
/// @param stride   In bytes. Any value that rounds up to a valid multiple of 4. As a negative
///                 32-bit number it makes the rows run upwards in memory (a bottom-up image).
/// @param horizontal_dpi,vertical_dpi
///                 Dots per inch. Unless both are positive the bitmap has the platform's default.
/// @param result   Out: the new bitmap; untouched on failure.
/// @param palette  For indexed formats; null gives black and white to 1-bit images, a gray ramp to
///                 8-bit ones and the platform's default to 4-bit ones.
PIXTOLA_API int PxtInsertBytes(const uint8_t* bytes, Gdiplus::PixelFormat format, uint32_t width,
                               uint32_t height, uint32_t stride, float horizontal_dpi,
                               float vertical_dpi, Gdiplus::Bitmap** result,
                               const Gdiplus::ColorPalette* palette);

/// Makes a bitmap from a rectangle of an image in memory. Here `right` and `bottom` of the
/// rectangle are INCLUSIVE. Rectangles that are one pixel wide or high after clipping give 0.
/// `*result` is null on failure (untouched when a pointer is null).
PIXTOLA_API int PxtInsertBytesRect(const uint8_t* bytes, Gdiplus::PixelFormat format,
                                   uint32_t width, uint32_t height, uint32_t stride,
                                   const RECT* rect, float horizontal_dpi, float vertical_dpi,
                                   Gdiplus::Bitmap** result);

/// Copies a bitmap's pixels, in its own format, into memory.
///
/// @param destination  Null asks for the sizes only. Otherwise it has at least the `*size` bytes
///                     that such a query reports: there is no capacity argument.
/// @param size         Out: bytes, `*height * *stride` in 32 bits. An image that truly takes more
///                     is not copied: 0.
/// @param stride       Out: bytes from row to row, top-down.
/// Width, height and format are written even when the bitmap cannot be locked.
PIXTOLA_API int PxtExtractBytes(Gdiplus::Bitmap& bitmap, uint8_t* destination, uint32_t* size,
                                uint32_t* width, uint32_t* height, uint32_t* stride,
                                Gdiplus::PixelFormat* format);

// ----------------------------------------------------------------------------------------------
// single colours

/// The gray level, 0 to 254, of a colour. Kept as it always was: the arguments are red, BLUE and
/// green in this order, weighted 0.30, 0.11 and 0.59.
PIXTOLA_API uint32_t PxtGetGrayValue(uint8_t red, uint8_t blue, uint8_t green);

/// A colour as hue, saturation and value. Hue 0 to 255 is once around the circle of hues, with red
/// at 0, green at 85 and blue at 170; saturation and value are fractions of 255. Grays have hue and
/// saturation 0. The out pointers must be valid: they are not tested.
PIXTOLA_API void PxtRGBtoHSV(uint8_t red, uint8_t green, uint8_t blue, uint8_t* hue,
                             uint8_t* saturation, uint8_t* value);

/// The colour of a hue, saturation and value. Hue 255 gives the colour of hue 0, so this is not
/// quite the inverse of PxtRGBtoHSV. The out pointers must be valid: they are not tested.
PIXTOLA_API void PxtHSVtoRGB(uint8_t hue, uint8_t saturation, uint8_t value, uint8_t* red,
                             uint8_t* green, uint8_t* blue);

// ------------------------------------------------------------------------------------------
// bitmaps

/// Makes a bitmap that owns its pixels from any bitmap, even from one that still reads from its
/// file. Format, palette and resolution are kept. `*copy` is untouched when the source cannot be
/// read and null when the copy cannot be made.
PIXTOLA_API int PxtCopyBitmap(Gdiplus::Bitmap* source, Gdiplus::Bitmap** copy);

/// Makes a 32-bit device-independent section of a bitmap, top-down, with premultiplied alpha: each
/// colour is (colour * alpha) >> 8, so that opaque white becomes 254. Where all alphas are 0 they
/// are taken for unused, and the colours stay. Pixels before the first one with alpha become 0.
///
/// `*handle` is yours: delete it with `DeleteObject`. It is null on failure (untouched when a
/// pointer is null). Images without pixels give 0.
PIXTOLA_API int PxtBitmapToHBITMAP(Gdiplus::Bitmap* source, HBITMAP* handle);

/// Reads an image that a module holds as a resource, in any form that the platform decodes.
///
/// @param name,type  As for FindResourceW: strings or MAKEINTRESOURCEW.
/// @param module     Null is the program itself.
/// @param result     Untouched when the resource is not there or not an image, otherwise as for
///                   PxtCopyBitmap.
PIXTOLA_API int PxtLoadBitmapFromResource(const wchar_t* name, const wchar_t* type, HMODULE module,
                                          Gdiplus::Bitmap** result);

// --------------------------------------------------------------------------------------------
// files

/// Opens an image file: any TIFF first, then whatever the platform decodes (BMP, GIF, JPEG, PNG
/// ...), then PCX. The name's extension does not matter. TIFF files that are compressed with JBIG,
/// LZMA or LERC are not read, nor, except by Windows' own decoders, images of more than 2^29
/// pixels, of more than 4 GiB, or of more than 2^26 pixels for which the file has next to no data.
/// `*bitmap` is null on failure.
///
/// Some files come out differently from what other programs show; kept as it always was:
/// - Colours of TIFF with alpha come out multiplied by it.
/// - Of the 16-bit values of TIFF colour maps the low byte is used.
/// - TIFF resolutions are taken as dots per inch, even those per centimetre.
/// - PCX with 3 or 4 planes of one bit repeats the first 8 pixels of a row along all of it.
/// - PCX palettes have no entry 255: it is black. 16-colour files are gray unless a palette follows
///   their pixels: the header's own is not used.
///
/// When out of memory for a copy, the bitmap is one that still reads from its file, which then
/// stays open for as long as the bitmap lives.
///
/// A PCX file that is cut short gives an image whose missing rows repeat the last one.
PIXTOLA_API int PxtOpenImageFile(const wchar_t* path, Gdiplus::Bitmap** bitmap);

/// Opens one page of an image file; 0 is the first, and so is any negative number. Only TIFF files
/// have further pages: of other files, animated GIF among them, any page above 0 gives 0. So do
/// TIFF pages above 0 of 2 bits, of 4-bit gray, and in tiles of at most 8 bits per pixel: these the
/// platform decodes, and only when they are the first of their file.
PIXTOLA_API int PxtOpenImageFilePage(const wchar_t* path, int32_t page, Gdiplus::Bitmap** bitmap);

/// Whether a path or file name has an extension of a format that can be opened, in upper or lower
/// case. The file itself is not looked at. The list of extensions is made at the first call and is
/// not locked: only one thread at a time may call this or PxtClear.
PIXTOLA_API int PxtIsSupportedBitmapType(const wchar_t* path);

/// Empties the list of extensions. The next call of PxtIsSupportedBitmapType makes it anew.
PIXTOLA_API void PxtClear(void);

/// Writes a bitmap to a file, replacing what was there. A code that is not in PxtFileType touches
/// nothing. A write that fails half way may leave a partial TIFF file behind. A partial PCX file is
/// deleted, but whether the rows of a 24-bit one were written is not checked: on a full disk the
/// result can be 1.
PIXTOLA_API int PxtSaveBitmapToFile(Gdiplus::Bitmap* bitmap, PxtFileType type, const wchar_t* path);

// --------------------------------------------------------------------------------------------
// streams

/// Writes a bitmap into a new memory stream. The stream's position is wherever the encoder left it:
/// seek before reading. `*stream` is untouched on failure. PCX is not written to streams: it gives
/// 0.
PIXTOLA_API int PxtSaveBitmapToStream(Gdiplus::Bitmap* bitmap, IStream** stream, PxtFileType type);

/// Makes a bitmap of the image, in any form but PCX, that begins at a stream's start; the stream's
/// position does not matter. Of several pages the first is used. `*bitmap` is null on failure
/// (untouched when a pointer is null).
PIXTOLA_API int PxtExtractBitmap(IStream* stream, Gdiplus::Bitmap** bitmap);

/// PxtExtractBitmap, then PxtSaveBitmapToFile.
PIXTOLA_API int PxtSaveStreamToFile(IStream* stream, PxtFileType type, const wchar_t* path);

/// PxtExtractBitmap, then PxtSaveBitmapToStream. `*result` is untouched on failure.
PIXTOLA_API int PxtSaveStreamToStream(IStream* stream, IStream** result, PxtFileType type);

/// PxtExtractBitmap, PxtBitmapToBitmap, then PxtSaveBitmapToStream. `*result` is untouched on
/// failure.
PIXTOLA_API int PxtStreamToStream(PxtConversionMethod method, IStream* stream, PxtFileType type,
                                  IStream** result);

}  // extern "C"

// ----------------------------------------------------------------------------------- pixel blocks

/// Flips or rotates a block of pixels into another block; the two must not overlap.
///
/// @param source       Read: all fields. 8-bit indexed, 16-bit, 24-bit and 32-bit formats (ARGB and
///                     PARGB included); others, 1, 4, 48 and 64 bits among them, give 0. Operations
///                     1 and 2 take only rows of exactly PxtCalcStride bytes and no empty blocks.
/// @param destination  In: Scan0, Height and Stride; `Height * Stride` is the capacity in bytes. It
///                     must hold the result, except that operations 1 and 2 accept a description
///                     one row short while they WRITE ALL ROWS; for these Scan0 must be a multiple
///                     of 4.
///                     Out: Width, Height and Stride of the result, which has the source's stride
///                     for operations 1, 2 and 4 and PxtCalcStride of its new width for quarter
///                     rotations; a stride beyond 2^31 - 1 gives 0. PixelFormat and Scan0 stay as
///                     they are. Untouched on failure.
/// @param operation    One of PxtRotateFlipOperation; any other value gives 0.
///
/// With a negative Stride rows run upwards in memory. Sources may have one with operations 3 to 5;
/// operation 4 then counts and reports its absolute value. The padding of destination rows is left
/// as it is, except by operation 1, which copies whole rows.
PIXTOLA_API int PxtRotateFlip(const Gdiplus::BitmapData* source, Gdiplus::BitmapData* destination,
                              PxtRotateFlipOperation operation);

/// Stretches each channel of pixels in memory to the full range 0 to 255, which removes colour
/// casts.
///
/// @param source,destination  `byte_count` bytes each; may be the same. Pixels follow one another
///                            without regard to rows: padding counts as pixels.
/// @param byte_count          Bytes of an incomplete last pixel are not written. Above 2^32 - 1: 0.
/// @param pixel_size          PxtPixelSize1 copies the bytes. With 32 bits the fourth byte (alpha)
///                            is stretched like the others.
/// @param clip_fraction       The share of the pixels, 0.01 being one per cent, that each channel
///                            may lose at its dark end and at its bright end. Negative values and
///                            NaN count as 0.
PIXTOLA_API int PxtWhiteBalance(unsigned char* source, unsigned char* destination,
                                unsigned long byte_count, PxtPixelSize pixel_size,
                                float clip_fraction);

#endif  // PIXTOLA_H_
