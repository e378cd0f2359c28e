#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include <unistd.h>

#include "codec_jobs.h"
#include "io/pcx_reader.h"
#include "io/pcx_writer.h"

namespace pixtola::bench {

namespace {

/// A file of this process in memory, where the system has a folder for such files, otherwise in the
/// temporary one; deleted at the end.
class PageFile {
 public:
  PageFile() {
    const std::filesystem::path in_memory = "/dev/shm";
    const bool has_memory = std::filesystem::is_directory(in_memory);
    path_ = (has_memory ? in_memory : std::filesystem::temp_directory_path()) /
            ("pixtola-bench-" + std::to_string(getpid()) + ".pcx");
    wide_path_ = path_.wstring();
  }
  PageFile(const PageFile&) = delete;
  PageFile& operator=(const PageFile&) = delete;
  ~PageFile() { std::filesystem::remove(path_); }

  void Write(Gdiplus::Bitmap& bitmap) const {
    Require(WritePcxFile(wide_path_.c_str(), &bitmap) == 1, "WritePcxFile");
  }
  std::unique_ptr<Gdiplus::Bitmap> Read() const {
    std::unique_ptr<Gdiplus::Bitmap> bitmap = ReadPcxFile(wide_path_.c_str());
    Require(bitmap != nullptr, "ReadPcxFile");
    return bitmap;
  }
  std::vector<std::uint8_t> bytes() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::filesystem::path path_;
  std::wstring wide_path_;
};

Work Writing(const Image& page) {
  const auto bitmap = BitmapOver(page);
  const auto file = std::make_shared<PageFile>();
  const auto result = [file] {
    Image bytes;
    bytes.bytes = file->bytes();
    return bytes;
  };
  return {.run = [bitmap, file] { file->Write(*bitmap); }, .result = result};
}

Work Reading(const Image& page) {
  const auto file = std::make_shared<PageFile>();
  file->Write(*BitmapOver(page));
  const auto read = std::make_shared<std::unique_ptr<Gdiplus::Bitmap>>();
  const auto run = [file, read] {
    read->reset();
    *read = file->Read();
  };
  const auto result = [read, bytes = page.bytes_per_pixel] { return PixelsOf(**read, bytes); };
  return {.run = run, .result = result};
}

}  // namespace

std::vector<std::uint8_t> EncodePcxPage(const Image& page) {
  const PageFile file;
  file.Write(*BitmapOver(page));
  return file.bytes();
}

std::vector<Job> PcxJobs() {
  return {{"encode-pcx-24", "PCX, 24 bits, written", 3, Writing},
          {"decode-pcx-24", "PCX, 24 bits, read", 3, Reading, true, true}};
}

}  // namespace pixtola::bench
