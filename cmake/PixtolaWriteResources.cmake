# Writes a C++ source file with resources and their table. A script, run at build time:
#
# cmake -DMODULE=<library's name, empty for a program> -DLIST=<file> -DOUTPUT=<file> -P <this file>
#
# LIST sets the lists `types`, `names` and `files`, see pixtola_embed_resources.

include(${LIST})

# The C++ initialiser of a type or name.
function(resource_key key result)
  if(key MATCHES "^[0-9]+$")
    set(${result} "{nullptr, ${key}}" PARENT_SCOPE)
  else()
    set(${result} "{L\"${key}\", 0}" PARENT_SCOPE)
  endif()
endfunction()

set(arrays "")
set(table "")
set(index 0)
foreach(type name file IN ZIP_LISTS types names files)
  file(SIZE ${file} size)
  file(READ ${file} bytes HEX)
  if(size EQUAL 0)
    set(bytes 00) # C++ has no empty arrays
  endif()
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
  # Sixteen bytes per line.
  string(REPEAT "." 80 line)
  string(REGEX REPLACE "(${line})" "\\1\n    " bytes "${bytes}")
  # Aligned like memory from the heap: no address looks like the handle of a movable block.
  string(APPEND arrays "\nalignas(16) constexpr unsigned char kBytes${index}[] = {\n    ${bytes}};\n")
  resource_key(${type} type_key)
  resource_key(${name} name_key)
  string(APPEND table "    {${type_key}, ${name_key}, kBytes${index}, ${size}},\n")
  math(EXPR index "${index} + 1")
endforeach()

set(module nullptr)
if(NOT MODULE STREQUAL "")
  set(module "L\"${MODULE}\"")
endif()
file(WRITE ${OUTPUT} "\
// Files embedded by pixtola_embed_resources; generated, do not edit.

#include \"pixtola/portable/resources.h\"

namespace {
${arrays}
constexpr pixtola::portable::Resource kResources[] = {
${table}};

const pixtola::portable::ResourceModule resource_module(${module}, kResources, ${index});

}  // namespace
")
