// Where the platforms under the tests are known to differ, by name. Tests ask these constants; they
// never ask which platform they run on.
#ifndef PIXTOLA_TESTS_SUPPORT_PLATFORM_EXPECTATIONS_H_
#define PIXTOLA_TESTS_SUPPORT_PLATFORM_EXPECTATIONS_H_

namespace pixtola::test {

#if defined(_WIN32)
/// The Windows build is tested under Wine's GDI+. Windows' own is not known to share any of these.
inline constexpr bool kIsWine = true;
#else
inline constexpr bool kIsWine = false;
#endif

/// Lock modes 5 and 6 of 1- and 4-bit bitmaps copy only the whole bytes of a row; its last, partial
/// byte is lost.
inline constexpr bool kUserBufferLocksLosePartialBytes = kIsWine;

/// Locks of a part of a 1- or 4-bit bitmap start at the left edge or at another wrong pixel.
inline constexpr bool kLocksOfBitRowsIgnoreTheLeftEdge = kIsWine;

/// Rectangles without a pixel are locked instead of being refused.
inline constexpr bool kEmptyRectanglesAreLocked = kIsWine;

/// A bitmap over the caller's rows that is refused because the stride is 0 leaves its out pointer
/// as it was.
inline constexpr bool kNoStrideLeavesTheOldHandle = kIsWine;

/// Locks with a user buffer that ask neither for reading nor for writing are accepted.
inline constexpr bool kLocksForNothingAreTaken = kIsWine;

/// A lock with a user buffer that is null crashes instead of being refused.
inline constexpr bool kNullUserBuffersCrash = kIsWine;

/// A lock in an invalid format gives NotImplemented instead of InvalidParameter.
inline constexpr bool kLocksInNoFormatAreNotImplemented = kIsWine;

/// Bitmaps in invalid formats can be created.
inline constexpr bool kBitmapsInNoFormatAreMade = kIsWine;

/// Locks as 16-bit gray, and of it in other formats, succeed or give NotImplemented instead of
/// InvalidParameter.
inline constexpr bool kGrayOf16BitsIsNotRefused = kIsWine;

/// Unlocking what is not locked gives WrongState instead of Win32Error.
inline constexpr bool kUnlockWithoutLockIsWrongState = kIsWine;

/// Green of 16-bit 555 pixels gets fewer of its low bits than the other colours.
inline constexpr bool kGreenOf555LacksLowBits = kIsWine;

/// Pixels on their way to 32-bit RGB keep or get any fourth byte instead of 255, and premultiplied
/// ones are not divided.
inline constexpr bool kRgbOf32BitsIsTakenAsItIs = kIsWine;

/// Locks in an indexed format that is not the bitmap's are refused or have no palette.
inline constexpr bool kLocksInOtherIndexedFormatsFail = kIsWine;

/// Colours on their way to indexes find a near entry of the palette, but not the nearest one.
inline constexpr bool kNearestEntriesAreMissed = kIsWine;

/// Indexes that the palette has no entry for are transparent black instead of opaque black.
inline constexpr bool kIndexesWithoutEntryAreTransparent = kIsWine;

/// A resolution of 0 or less is accepted.
inline constexpr bool kAnyResolutionIsTaken = kIsWine;

/// The clone of a bitmap has 96 dots per inch, whatever the bitmap has.
inline constexpr bool kClonesForgetTheResolution = kIsWine;

/// Too small a block for a palette gives InsufficientBuffer instead of InvalidParameter, and
/// palettes without entries are accepted.
inline constexpr bool kPalettesAreCheckedDifferently = kIsWine;

/// Channels of 48- and 64-bit pixels are 16 bits as a screen shows them instead of 13 bits of
/// linear light, and nothing is locked as 64-bit PARGB.
inline constexpr bool k48BitChannelsHave16Bits = kIsWine;

/// The TIFF encoder chooses its compression itself, whatever EncoderCompression says.
inline constexpr bool kTiffEncoderIgnoresCompression = kIsWine;

/// Palettes in TIFF files have 0 in the low bytes of their 16-bit colours instead of the high bytes
/// repeated; readers that look there find black.
inline constexpr bool kTiffPalettesLackLowBytes = kIsWine;

/// TIFF of 2 bits per pixel is not decoded.
inline constexpr bool kTiffOf2BitsIsNotDecoded = kIsWine;

/// The JPEG encoder chooses its quality itself, whatever EncoderQuality says.
inline constexpr bool kJpegEncoderIgnoresQuality = kIsWine;

/// GIF files are written from 8-bit indexed bitmaps only; from others comes what nobody can decode.
inline constexpr bool kGifEncoderKnows8BitsOnly = kIsWine;

/// Bitmaps of 16 and 32 bits are saved in other formats: BMP keeps 555 and makes 24 bits of 565 and
/// of alpha, TIFF keeps premultiplied alpha and makes 32 bits of 565, TIFF and PNG make 24 bits of
/// 32bppRGB.
inline constexpr bool kDeepBitmapsAreSavedDifferently = kIsWine;

/// The file name extensions of TIFF are listed in reverse order.
inline constexpr bool kTiffExtensionsAreTurned = kIsWine;

/// Frames are counted and selected in whichever dimension is asked for.
inline constexpr bool kFrameDimensionsAreNotToldApart = kIsWine;

/// Loading a file that is not there gives GenericError instead of InvalidParameter.
inline constexpr bool kMissingFilesAreGenericErrors = kIsWine;

/// Streams in global memory read on past their end, whatever is there.
inline constexpr bool kMemoryStreamsReadPastTheirEnd = kIsWine;

/// Streams in global memory, whose regions cannot be locked, claim to unlock them.
inline constexpr bool kUnlockingRegionsSucceeds = kIsWine;

/// Asking a stream in global memory for its state or a clone with a null pointer crashes.
inline constexpr bool kMemoryStreamsCrashOnNullPlaces = kIsWine;

/// Selecting a frame that a bitmap does not have gives InvalidParameter instead of Win32Error.
inline constexpr bool kMissingFramesAreInvalidParameters = kIsWine;

/// Decoders go on without a palette that cannot be read from a stream, and keep a reference to a
/// stream whose pixels cannot be read.
inline constexpr bool kDecodersMishandleFailedReads = kIsWine;

/// Encoders overlook bytes that a stream does not accept (JPEG), or crash (TIFF).
inline constexpr bool kEncodersMishandleFailedWrites = kIsWine;

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_PLATFORM_EXPECTATIONS_H_
