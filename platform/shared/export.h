// Marks what the platform's part shares with the library. Elsewhere than on Windows the two are
// separate shared libraries; on Windows they are one.
#ifndef PIXTOLA_PLATFORM_SHARED_EXPORT_H_
#define PIXTOLA_PLATFORM_SHARED_EXPORT_H_

#if defined(_WIN32)
#define PIXTOLA_PLATFORM_SHARED
#else
#define PIXTOLA_PLATFORM_SHARED __attribute__((visibility("default")))
#endif

#endif  // PIXTOLA_PLATFORM_SHARED_EXPORT_H_
