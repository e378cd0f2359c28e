# Compile options for every target of the project; link to pixtola_compile_options.

add_library(pixtola_compile_options INTERFACE)
target_compile_options(
  pixtola_compile_options
  INTERFACE
    # Results must not depend on whether a compiler fuses multiplications with additions.
    -ffp-contract=off
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor
    -Woverloaded-virtual -Wimplicit-fallthrough
    $<$<BOOL:${PIXTOLA_WARNINGS_AS_ERRORS}>:-Werror>)

if(PIXTOLA_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  # GCC's warnings about memory follow what its optimiser makes of the checks that the sanitizers put
  # in, and see errors where there are none. The sanitizers themselves find those that are.
  add_compile_options(-Wno-array-bounds -Wno-maybe-uninitialized -Wno-nonnull
                      -Wno-stringop-overflow -Wno-stringop-overread)
endif()
