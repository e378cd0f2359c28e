// The image files in tests/data.
#ifndef PIXTOLA_TESTS_SUPPORT_TEST_IMAGES_H_
#define PIXTOLA_TESTS_SUPPORT_TEST_IMAGES_H_

#include <filesystem>

namespace pixtola::test {

/// Their folder, which has a folder for each library that they come from.
std::filesystem::path TestImages();

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_TEST_IMAGES_H_
