# What `cmake --install` puts where: the libraries, their headers, the tool, and a CMake package
# whose target Pixtola::pixtola brings along everything that a caller needs.

include(CMakePackageConfigHelpers)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Pixtola)

set(installed_libraries pixtola)
if(NOT WIN32)
  list(APPEND installed_libraries pixtola_platform)
  set_target_properties(pixtola_platform PROPERTIES EXPORT_NAME platform)
  # The libraries lie beside one another, wherever that is.
  set_target_properties(pixtola PROPERTIES INSTALL_RPATH $ORIGIN)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/portable/include/
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endif()
install(TARGETS ${installed_libraries} EXPORT PixtolaTargets)
install(FILES ${PROJECT_SOURCE_DIR}/include/Pixtola.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

if(TARGET pixtola_tool)
  file(RELATIVE_PATH libraries_from_tool ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(pixtola_tool PROPERTIES INSTALL_RPATH $ORIGIN/${libraries_from_tool})
  install(TARGETS pixtola_tool)
endif()

install(EXPORT PixtolaTargets NAMESPACE Pixtola:: DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/PixtolaConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(
  FILES ${PROJECT_SOURCE_DIR}/cmake/PixtolaConfig.cmake
        ${PROJECT_BINARY_DIR}/PixtolaConfigVersion.cmake
        # So that callers can embed images that PxtLoadBitmapFromResource finds.
        ${PROJECT_SOURCE_DIR}/cmake/PixtolaResources.cmake
        ${PROJECT_SOURCE_DIR}/cmake/PixtolaWriteResources.cmake
  DESTINATION ${package_folder})
