// The resolution of an image.
#ifndef PIXTOLA_FORMAT_RESOLUTION_H_
#define PIXTOLA_FORMAT_RESOLUTION_H_

namespace pixtola {

/// Dots per inch, across and down.
struct Resolution {
  float x = 0;
  float y = 0;
};

}  // namespace pixtola

#endif  // PIXTOLA_FORMAT_RESOLUTION_H_
