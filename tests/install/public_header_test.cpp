// The public header in the oldest C++ that it supports: compiling this is the test.

#if !defined(_WIN32)
// Headers of the system whose macros could be in the way.
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <Pixtola.h>

static_assert(__cplusplus < 201703L, "this file is to be compiled as C++14");
static_assert(sizeof(PxtConversionMethod) == 4, "conversion methods have 32 bits");
static_assert(sizeof(PxtFileType) == sizeof(int), "file types are as large as int");
static_assert(sizeof(LONG) == 4 && sizeof(RECT) == 16, "rectangles hold 32-bit numbers");

int main() { return PxtCalcStride(33, PixelFormat1bppIndexed) == 8 ? 0 : 1; }
