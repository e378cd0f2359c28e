#include "support/test_images.h"

namespace pixtola::test {

std::filesystem::path TestImages() { return PIXTOLA_TEST_IMAGES; }

}  // namespace pixtola::test
