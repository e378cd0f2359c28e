#include "convert.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "Pixtola.h"
#include "bilevel_page.h"
#include "failure.h"
#include "file_type_names.h"
#include "format/file_types.h"
#include "input_file.h"
#include "output_file.h"
#include "text.h"

namespace pixtola::tool {

namespace {

using BitmapPointer = std::unique_ptr<Gdiplus::Bitmap>;

bool IsTiff(PxtFileType type) { return FindFileType(type)->tiff_compression != 0; }

/// Conversions and fax files take a set bit of a 1-bit page for white. A page that shows something
/// else is given to them in its true colours; the writer of 1-bit TIFF handles white-first pages
/// itself.
bool NeedsTrueColours(Gdiplus::Bitmap& page, const ConvertRequest& request, PxtFileType type) {
  if (page.GetPixelFormat() != PixelFormat1bppIndexed) return false;
  const BilevelPalette palette = BilevelPaletteOf(page);
  if (palette == BilevelPalette::kBlackFirst) return false;
  return request.method.has_value() || (IsTiff(type) && palette == BilevelPalette::kOther);
}

/// Null when the page is too large.
BitmapPointer Converted(Gdiplus::Bitmap& page, PxtConversionMethod method) {
  Gdiplus::Bitmap* converted = nullptr;
  PxtBitmapToBitmap(method, page, &converted);
  return BitmapPointer(converted);
}

/// The page that is to be saved: converted if the user asked for it.
BitmapPointer PreparePage(const ConvertRequest& request, PxtFileType type) {
  BitmapPointer page = OpenInput(request.input);
  if (NeedsTrueColours(*page, request, type)) {
    // One threshold tells two colours apart without loss. Only gray has to show which they are,
    // unless they are white and black.
    const bool is_told_apart =
        request.method.has_value() &&
        (*request.method != MethodGray8 || BilevelPaletteOf(*page) == BilevelPalette::kWhiteFirst);
    page = WithTrueColours(*page);
    if (page != nullptr && is_told_apart) page = Converted(*page, MethodBilevelOtsu);
  }
  if (page != nullptr && request.method.has_value()) {
    page = Converted(*page, *request.method);
  }
  // What saving would do by itself: done here, the result can be compared with what was written.
  if (page != nullptr && type == PxtFileTypeTiffGroup3 &&
      page->GetPixelFormat() != PixelFormat1bppIndexed) {
    page = Converted(*page, MethodBilevelDiffusion);
  }
  if (page == nullptr) {
    throw Failure("Cannot convert " + Quoted(request.input) + ": the image is too large.");
  }
  return page;
}

/// Whether the file holds an image of the page's size, and for 1-bit TIFF whether it looks like the
/// page: the library does not report every failed write.
bool ReadsBack(const OutputFile& output, Gdiplus::Bitmap& page, PxtFileType type) {
  Gdiplus::Bitmap* opened = nullptr;
  if (PxtOpenImageFile(output.wide_temporary_path().c_str(), &opened) == 0) return false;
  const BitmapPointer written(opened);
  if (IsTiff(type) && page.GetPixelFormat() == PixelFormat1bppIndexed) {
    return ShowTheSame(page, *written);
  }
  return written->GetWidth() == page.GetWidth() && written->GetHeight() == page.GetHeight();
}

/// Why a file that was written without an error does not hold the page.
const char* ExplainUnreadable(Gdiplus::Bitmap& page, PxtFileType type) {
  // libtiff's decoder has no room for one run per pixel when they fill its words.
  return type == PxtFileTypeTiffGroup3 && page.GetWidth() % 32 == 0
             ? "group 3 cannot be read back where rows change colour at every pixel; give another "
               "--type"
             : "what was written does not read back";
}

void Save(Gdiplus::Bitmap& page, PxtFileType type, const ConvertRequest& request) {
  OutputFile output(request.output);
  const bool is_saved = PxtSaveBitmapToFile(&page, type, output.wide_temporary_path().c_str()) != 0;
  if (!is_saved || !ReadsBack(output, page, type)) {
    std::string cause = output.ExplainWriteFailure();
    if (cause.empty())
      cause = is_saved ? ExplainUnreadable(page, type) : "the image is too large for it";
    throw Failure("Cannot write " + Quoted(request.output) + ": " + cause + ".");
  }
  output.Commit();
}

/// Other programs read standard input or write standard output for this; a file of that name is not
/// meant.
void RefuseDash(const char* argument, const std::string& path) {
  if (path != "-") return;
  throw WrongUsage(std::string(argument) +
                   ": Standard input and output are not used; a file of the name '-' is given as "
                   "'./-'.");
}

void RefuseSameFile(const ConvertRequest& request) {
  std::error_code error;
  if (std::filesystem::equivalent(request.input, request.output, error)) {
    throw Failure("Cannot write " + Quoted(request.output) + ": it is the input.");
  }
}

}  // namespace

void Convert(const ConvertRequest& request) {
  // Checked before any file is touched.
  RefuseDash("INPUT", request.input);
  RefuseDash("OUTPUT", request.output);
  const std::optional<PxtFileType> named_type =
      request.type.has_value() ? request.type : TypeOfName(request.output, false);
  if (!named_type.has_value()) {
    throw WrongUsage("OUTPUT: The name " + Quoted(request.output) +
                     " does not tell a file type that can be written (.tif, .png, .bmp); give one "
                     "with --type.");
  }
  RefuseSameFile(request);
  const BitmapPointer page = PreparePage(request, *named_type);
  const bool is_bilevel = page->GetPixelFormat() == PixelFormat1bppIndexed;
  const std::optional<PxtFileType> type =
      request.type.has_value() ? request.type : TypeOfName(request.output, is_bilevel);
  Save(*page, *type, request);
}

}  // namespace pixtola::tool
