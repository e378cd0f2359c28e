// Where the platforms under the tests are known to differ, by name. Tests ask these constants; they
// never ask which platform they run on.
#ifndef PIXTOLA_TESTS_PLATFORM_EXPECTATIONS_H_
#define PIXTOLA_TESTS_PLATFORM_EXPECTATIONS_H_

namespace expectations {

#if defined(_WIN32)
/// Wine's GDI+ under which the Windows build is tested. Windows' own is not known to share any of
/// these.
inline constexpr bool kIsWine = true;
#else
inline constexpr bool kIsWine = false;
#endif

/// Lock modes 5 and 6 of 1- and 4-bit bitmaps copy only the whole bytes of a row; its last, partial
/// byte is lost.
inline constexpr bool kUserBufferLocksLosePartialBytes = kIsWine;

/// The TIFF encoder chooses its compression itself, whatever EncoderCompression says.
inline constexpr bool kTiffEncoderIgnoresCompression = kIsWine;

}  // namespace expectations

#endif  // PIXTOLA_TESTS_PLATFORM_EXPECTATIONS_H_
