# The fast kernels' vector library. Without it the plain definitions do all the work.
#
# pixtola_highway: link to it in order to compile kernels or to choose among them in a test. Defines
# PIXTOLA_WITH_HIGHWAY as 1 or 0.

add_library(pixtola_highway INTERFACE)
if(PIXTOLA_WITH_HIGHWAY)
  find_package(hwy REQUIRED)
  # Vectors of a length unknown at compile time would need kernels of another shape.
  set(disabled_targets "HWY_SVE|HWY_SVE_256|HWY_SVE2|HWY_SVE2_128|HWY_RVV")
  if(MINGW)
    # GCC cannot align the stack for wider vectors there.
    string(APPEND disabled_targets "|HWY_AVX2|HWY_AVX3|HWY_AVX3_DL")
  endif()
  if(PIXTOLA_FEW_INSTRUCTION_SETS)
    # The remaining targets have vectors of 16 and of 32 bytes.
    string(APPEND disabled_targets "|HWY_SSSE3|HWY_AVX3|HWY_AVX3_DL")
  endif()
  target_compile_definitions(
    pixtola_highway
    INTERFACE PIXTOLA_WITH_HIGHWAY=1 HWY_WANT_AVX3_DL "HWY_DISABLED_TARGETS=(${disabled_targets})")
  target_link_libraries(pixtola_highway INTERFACE hwy::hwy)
else()
  target_compile_definitions(pixtola_highway INTERFACE PIXTOLA_WITH_HIGHWAY=0)
endif()
