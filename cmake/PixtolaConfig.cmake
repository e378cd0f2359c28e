# find_package(Pixtola): the target Pixtola::pixtola and the function pixtola_embed_resources.

include(${CMAKE_CURRENT_LIST_DIR}/PixtolaTargets.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/PixtolaResources.cmake)
