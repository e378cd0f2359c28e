// How the library opens TIFF files on this platform: by UTF-8 name, regular files only.

#include "shared/tiff_files.h"

#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include "base/files.h"
#include "base/utf8.h"

namespace pixtola::platform {

namespace {

// libtiff's own procedures report errors as -1, after which its buffered reader writes out of
// bounds. These report how much was transferred.

int DescriptorOf(thandle_t client) { return static_cast<int>(reinterpret_cast<intptr_t>(client)); }

tmsize_t ReadDescriptor(thandle_t client, void* buffer, tmsize_t size) {
  auto* bytes = static_cast<char*>(buffer);
  tmsize_t done = 0;
  while (done < size) {
    const ssize_t count =
        ::read(DescriptorOf(client), bytes + done, static_cast<std::size_t>(size - done));
    if (count <= 0) break;
    done += count;
  }
  return done;
}

tmsize_t WriteDescriptor(thandle_t client, void* buffer, tmsize_t size) {
  const auto* bytes = static_cast<const char*>(buffer);
  tmsize_t done = 0;
  while (done < size) {
    const ssize_t count =
        ::write(DescriptorOf(client), bytes + done, static_cast<std::size_t>(size - done));
    if (count <= 0) break;
    done += count;
  }
  return done;
}

toff_t SeekDescriptor(thandle_t client, toff_t offset, int whence) {
  return static_cast<toff_t>(::lseek(DescriptorOf(client), static_cast<off_t>(offset), whence));
}

int CloseDescriptor(thandle_t client) { return ::close(DescriptorOf(client)); }

toff_t SizeOfDescriptor(thandle_t client) {
  struct stat status {};
  return ::fstat(DescriptorOf(client), &status) == 0 ? static_cast<toff_t>(status.st_size) : 0;
}

// Not mapped into memory, where a file that is truncated meanwhile would be fatal.
int MapDescriptor(thandle_t /*client*/, void** /*base*/, toff_t* /*size*/) { return 0; }
void UnmapDescriptor(thandle_t /*client*/, void* /*base*/, toff_t /*size*/) {}

}  // namespace

TIFF* OpenTiffFile(const wchar_t* path, const char* mode) {
  const portable::Utf8Path utf8_path(path);
  if (!utf8_path.is_valid()) return nullptr;
  const bool is_reading = mode[0] == 'r';
  const TiffOptions options = MakeTiffOptions(is_reading);
  if (options == nullptr) return nullptr;
  portable::Descriptor descriptor = is_reading ? portable::OpenRegularFile(utf8_path.c_str())
                                               : portable::ReplaceRegularFile(utf8_path.c_str());
  if (!descriptor.is_open()) return nullptr;
  const auto client = reinterpret_cast<thandle_t>(intptr_t{descriptor.value()});
  TIFF* tiff = TIFFClientOpenExt(utf8_path.c_str(), mode, client, ReadDescriptor, WriteDescriptor,
                                 SeekDescriptor, CloseDescriptor, SizeOfDescriptor, MapDescriptor,
                                 UnmapDescriptor, options.get());
  if (tiff != nullptr) descriptor.Release();  // TIFFClose closes it
  return tiff;
}

}  // namespace pixtola::platform
