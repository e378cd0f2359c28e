#include "convert_options.h"

#include <CLI/CLI.hpp>
#include <map>
#include <string>

#include "file_type_names.h"

namespace pixtola::tool {

namespace {

const std::map<std::string, PxtConversionMethod> kMethods = {{"gray", MethodGray8},
                                                             {"otsu", MethodBilevelOtsu},
                                                             {"adaptive", MethodBilevelAdaptive},
                                                             {"diffusion", MethodBilevelDiffusion}};

std::map<std::string, PxtFileType> TypesByName() {
  std::map<std::string, PxtFileType> types;
  for (const FileTypeName& type : FileTypeNames()) {
    if (type.name != nullptr) types.emplace(type.name, type.code);
  }
  return types;
}

}  // namespace

void AddConvertOptions(CLI::App& app, ConvertRequest& request) {
  CLI::App* command = app.add_subcommand("convert", "Convert an image file into another");
  command
      ->add_option("INPUT", request.input,
                   "A BMP, GIF, JPEG, PCX, PNG or TIFF file (its first page)")
      ->required();
  command->add_option("OUTPUT", request.output, "The file to write; replaced if it exists")
      ->required();
  command
      ->add_option_function<std::string>(
          "--method", [&request](const std::string& name) { request.method = kMethods.at(name); },
          "gray: 8-bit gray; otsu: black and white by one threshold; adaptive: by a "
          "threshold for each part of the page; diffusion: by error diffusion. Without "
          "it the page is saved as it is; fax types dither it, tiff-packbits thresholds it")
      ->check(CLI::IsMember(kMethods));
  const std::map<std::string, PxtFileType> types = TypesByName();
  command
      ->add_option_function<std::string>(
          "--type", [&request, types](const std::string& name) { request.type = types.at(name); },
          "The file's type. Without it OUTPUT's extension decides: .png, .bmp, .tif "
          "(tiff-g4 for black-and-white pages, tiff-lzw for others)")
      ->check(CLI::IsMember(types));
}

}  // namespace pixtola::tool
