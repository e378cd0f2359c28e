// How libjpeg's errors reach the functions that call it: by longjmp, with nothing printed.
//
// The functions with setjmp hold nothing with a destructor and change no variable that is read
// after the jump.
#ifndef PIXTOLA_PORTABLE_JPEG_ERRORS_H_
#define PIXTOLA_PORTABLE_JPEG_ERRORS_H_

#include <csetjmp>

#include "codecs/jpeg_handles.h"

namespace pixtola::portable {

struct JpegErrors {
  jpeg_error_mgr base;  ///< first: libjpeg knows the address of this member only
  std::jmp_buf jump;
};

[[noreturn]] inline void JumpOut(j_common_ptr jpeg) {
  std::longjmp(reinterpret_cast<JpegErrors*>(jpeg->err)->jump, 1);
}

/// What an object of libjpeg gets as its `err`. `errors` must outlive that object.
inline jpeg_error_mgr* SilentJpegErrors(JpegErrors& errors) {
  jpeg_error_mgr* manager = jpeg_std_error(&errors.base);
  manager->error_exit = JumpOut;
  manager->emit_message = [](j_common_ptr jpeg, int level) {
    if (level < 0) ++jpeg->err->num_warnings;
  };
  manager->output_message = [](j_common_ptr) {};
  return manager;
}

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_JPEG_ERRORS_H_
