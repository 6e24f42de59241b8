# Installs the public headers: what tesselkit.h includes, and what that includes in turn. A header
# that nobody reaches from there is the library's own business and stays here.
#
# Run by the install step with source_dir (the project) and include_dir (where headers go).
cmake_minimum_required(VERSION 3.25)

function(collect_headers header found)
  set(headers ${${found}} ${header})
  file(STRINGS "${source_dir}/${header}" includes REGEX "^#include \"tesselkit/")
  foreach(include IN LISTS includes)
    string(REGEX REPLACE "^#include \"([^\"]*)\".*" "\\1" include "${include}")
    if(NOT include IN_LIST headers)
      collect_headers(${include} headers)
    endif()
  endforeach()
  set(${found} ${headers} PARENT_SCOPE)
endfunction()

set(public_headers "")
collect_headers(tesselkit/tesselkit.h public_headers)

if(NOT IS_ABSOLUTE "${include_dir}")
  set(include_dir "${CMAKE_INSTALL_PREFIX}/${include_dir}")
endif()
foreach(header IN LISTS public_headers)
  get_filename_component(folder ${header} DIRECTORY)
  file(INSTALL "${source_dir}/${header}" DESTINATION "${include_dir}/${folder}")
endforeach()
