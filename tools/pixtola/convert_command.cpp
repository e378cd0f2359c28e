#include "convert_command.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "Pixtola.h"
#include "bilevel_page.h"
#include "failure.h"
#include "input_file.h"
#include "output_file.h"
#include "text.h"

namespace pixtola::tool {

namespace {

using BitmapPointer = std::unique_ptr<Gdiplus::Bitmap>;

const std::map<std::string, PxtConversionMethod> kMethods = {{"gray", MethodGray8},
                                                             {"otsu", MethodBilevelOtsu},
                                                             {"adaptive", MethodBilevelAdaptive},
                                                             {"diffusion", MethodBilevelDiffusion}};

const std::map<std::string, PxtFileType> kTypes = {{"tiff-g3", PxtFileTypeTiffGroup3},
                                                   {"tiff-g4", PxtFileTypeTiffGroup4},
                                                   {"tiff-lzw", PxtFileTypeTiffLzw},
                                                   {"tiff-packbits", PxtFileTypeTiffRunLength},
                                                   {"tiff-none", PxtFileTypeTiffNone},
                                                   {"png", PxtFileTypePng},
                                                   {"bmp", PxtFileTypeBmp}};

/// What the user asked for; methods and types by the names above, empty when not given.
struct Request {
  std::string input;
  std::string output;
  std::string method;
  std::string type;
};

std::string LowerCaseExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char character) { return std::tolower(character); });
  return extension;
}

bool IsTiffName(const std::string& extension) {
  return extension == ".tif" || extension == ".tiff";
}

/// The type that the output's name stands for; TIFF files of 1-bit images and of others differ.
std::optional<PxtFileType> TypeOfName(const std::string& path, bool is_bilevel) {
  const std::string extension = LowerCaseExtension(path);
  if (extension == ".png") return PxtFileTypePng;
  if (extension == ".bmp") return PxtFileTypeBmp;
  if (IsTiffName(extension)) return is_bilevel ? PxtFileTypeTiffGroup4 : PxtFileTypeTiffLzw;
  return std::nullopt;
}

bool IsTiff(PxtFileType type) {
  return type >= PxtFileTypeTiffGroup3 && type <= PxtFileTypeTiffNone;
}

/// Conversions and fax files take a set bit of a 1-bit page for white. A page that shows something
/// else is given to them in its true colours; the writer of 1-bit TIFF knows white-first pages by
/// itself.
bool NeedsTrueColours(Gdiplus::Bitmap& page, const Request& request, PxtFileType type) {
  if (page.GetPixelFormat() != PixelFormat1bppIndexed) return false;
  const BilevelPalette palette = BilevelPaletteOf(page);
  if (palette == BilevelPalette::kBlackFirst) return false;
  return !request.method.empty() || (IsTiff(type) && palette == BilevelPalette::kOther);
}

/// Null when the page is too large.
BitmapPointer Converted(Gdiplus::Bitmap& page, PxtConversionMethod method) {
  Gdiplus::Bitmap* converted = nullptr;
  PxtBitmapToBitmap(method, page, &converted);
  return BitmapPointer(converted);
}

/// The page that is to be saved: converted if the user asked for it.
BitmapPointer PreparePage(const Request& request, PxtFileType type) {
  BitmapPointer page = OpenInput(request.input);
  if (NeedsTrueColours(*page, request, type)) {
    // Two colours are told apart by one threshold without loss. Only gray is to show what they are,
    // unless they are white and black.
    const bool is_told_apart =
        !request.method.empty() &&
        (request.method != "gray" || BilevelPaletteOf(*page) == BilevelPalette::kWhiteFirst);
    page = WithTrueColours(*page);
    if (page != nullptr && is_told_apart) page = Converted(*page, MethodBilevelOtsu);
  }
  if (page != nullptr && !request.method.empty()) {
    page = Converted(*page, kMethods.at(request.method));
  }
  // What saving would do by itself: here the result can be compared with what was written.
  if (page != nullptr && type == PxtFileTypeTiffGroup3 &&
      page->GetPixelFormat() != PixelFormat1bppIndexed) {
    page = Converted(*page, MethodBilevelDiffusion);
  }
  if (page == nullptr) {
    throw Failure("Cannot convert " + Quoted(request.input) + ": the image is too large.");
  }
  return page;
}

/// Whether the file holds an image of the page's size, and of 1-bit TIFF whether it shows the page:
/// the library does not report every failed write.
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
  // libtiff's decoder has no room for a run a pixel when they fill its words.
  return type == PxtFileTypeTiffGroup3 && page.GetWidth() % 32 == 0
             ? "group 3 cannot be read back where rows change colour at every pixel; give another "
               "--type"
             : "what was written does not read back";
}

void Save(Gdiplus::Bitmap& page, PxtFileType type, const Request& request) {
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

/// Where others read standard input or write standard output, a file of that name is not meant.
void RefuseDash(const char* argument, const std::string& path) {
  if (path != "-") return;
  throw CLI::ValidationError(argument,
                             "Standard input and output are not used; a file of the name '-' is "
                             "given as './-'.");
}

void RefuseSameFile(const Request& request) {
  std::error_code error;
  if (std::filesystem::equivalent(request.input, request.output, error)) {
    throw Failure("Cannot write " + Quoted(request.output) + ": it is the input.");
  }
}

void Run(const Request& request) {
  // Checked before any file is touched.
  RefuseDash("INPUT", request.input);
  RefuseDash("OUTPUT", request.output);
  const std::optional<PxtFileType> named_type =
      request.type.empty() ? TypeOfName(request.output, false) : kTypes.at(request.type);
  if (!named_type.has_value()) {
    throw CLI::ValidationError("OUTPUT", "The name " + Quoted(request.output) +
                                             " does not tell a file type that can be written "
                                             "(.tif, .png, .bmp); give one with --type.");
  }
  RefuseSameFile(request);
  const BitmapPointer page = PreparePage(request, *named_type);
  const bool is_bilevel = page->GetPixelFormat() == PixelFormat1bppIndexed;
  Save(*page, request.type.empty() ? *TypeOfName(request.output, is_bilevel) : *named_type,
       request);
}

}  // namespace

void AddConvertCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("convert", "Convert an image file into another");
  const auto request = std::make_shared<Request>();
  command
      ->add_option("INPUT", request->input,
                   "A BMP, GIF, JPEG, PCX, PNG or TIFF file (its first page)")
      ->required();
  command->add_option("OUTPUT", request->output, "The file to write; replaced if it exists")
      ->required();
  command
      ->add_option(
          "--method", request->method,
          "gray: 8-bit gray; otsu: black and white by one threshold; adaptive: by a "
          "threshold for each part of the page; diffusion: by error diffusion. Without "
          "it the page is saved as it is; fax types dither it, tiff-packbits thresholds it")
      ->check(CLI::IsMember(kMethods));
  command
      ->add_option("--type", request->type,
                   "The file's type. Without it OUTPUT's extension decides: .png, .bmp, .tif "
                   "(tiff-g4 for black-and-white pages, tiff-lzw for others)")
      ->check(CLI::IsMember(kTypes));
  command->callback([request] { Run(*request); });
}

}  // namespace pixtola::tool
