# Files inside programs and shared libraries, found there by FindResourceW.

# Elsewhere than on Windows this script writes them into a source file.
set(PIXTOLA_RESOURCE_WRITER ${CMAKE_CURRENT_LIST_DIR}/PixtolaWriteResources.cmake)

# pixtola_embed_resources(<target> RESOURCE <type> <name> <file> [RESOURCE <type> <name> <file>]...):
# embeds each file in the program or shared library <target> as the resource <name> of the type
# <type>. Both are integer ids or words of ASCII letters, digits and underscores, in which case does
# not matter. Elsewhere than on Windows the target must know the platform's headers. Call it at most
# once for a target.
function(pixtola_embed_resources target)
  get_target_property(kind ${target} TYPE)
  # From a static library the linker takes only what is referenced, and nothing references
  # resources.
  if(NOT kind MATCHES "^(EXECUTABLE|SHARED_LIBRARY|MODULE_LIBRARY)$")
    message(FATAL_ERROR "${target} is no program or shared library, which alone hold resources")
  endif()

  # Words that mean something else to a resource compiler.
  set(compiled_types ACCELERATORS BITMAP CURSOR DIALOG DIALOGEX DLGINIT FONT HTML ICON MENU MENUEX
                     MESSAGETABLE RCDATA STRINGTABLE TOOLBAR VERSIONINFO)

  set(arguments ${ARGN})
  set(types "")
  set(names "")
  set(files "")
  while(arguments)
    list(LENGTH arguments length)
    if(length LESS 4)
      message(FATAL_ERROR "a resource of ${target} lacks its type, name or file")
    endif()
    list(POP_FRONT arguments keyword type name file)
    if(NOT keyword STREQUAL "RESOURCE")
      message(FATAL_ERROR "RESOURCE expected instead of ${keyword} for ${target}")
    endif()
    string(TOUPPER "${type}" upper_type)
    if(upper_type IN_LIST compiled_types)
      message(FATAL_ERROR "resources of the type ${type} are compiled, not embedded")
    endif()
    foreach(key IN ITEMS ${type} ${name})
      if(key MATCHES "^[0-9]+$")
        # Compilers take a number that starts with 0 for an octal one.
        if(key MATCHES "^0" OR key GREATER 65535)
          message(FATAL_ERROR "${key} is no id of a resource: they are 1 to 65535")
        endif()
      elseif(NOT key MATCHES "^[A-Za-z_][A-Za-z0-9_]*$")
        message(FATAL_ERROR "${key} can be neither id nor name of a resource")
      endif()
    endforeach()
    get_filename_component(file ${file} ABSOLUTE)
    list(APPEND types ${type})
    list(APPEND names ${name})
    list(APPEND files ${file})
  endwhile()

  if(WIN32)
    set(script "")
    foreach(type name file IN ZIP_LISTS types names files)
      # Names are kept, and looked for, in upper case.
      string(TOUPPER "${name} ${type}" key)
      string(APPEND script "${key} \"${file}\"\n")
    endforeach()
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}_resources.rc)
    file(CONFIGURE OUTPUT ${source} CONTENT "@script@" @ONLY)
    set_source_files_properties(${source} PROPERTIES OBJECT_DEPENDS "${files}")
    # Separately, since the target's compile options are not for the resource compiler.
    add_library(${target}_resources OBJECT ${source})
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${target}_resources>)
  else()
    set(module "")
    if(NOT kind STREQUAL "EXECUTABLE")
      set(module $<TARGET_FILE_BASE_NAME:${target}>)
    endif()
    set(list ${CMAKE_CURRENT_BINARY_DIR}/${target}_resources.cmake)
    file(CONFIGURE OUTPUT ${list} CONTENT
         "set(types \"@types@\")\nset(names \"@names@\")\nset(files \"@files@\")\n" @ONLY)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}_resources.cpp)
    add_custom_command(
      OUTPUT ${source}
      COMMAND ${CMAKE_COMMAND} -DMODULE=${module} -DLIST=${list} -DOUTPUT=${source} -P
              ${PIXTOLA_RESOURCE_WRITER}
      DEPENDS ${files} ${list} ${PIXTOLA_RESOURCE_WRITER}
      COMMENT "Writing the resources of ${target}"
      VERBATIM)
    target_sources(${target} PRIVATE ${source})
  endif()
endfunction()
