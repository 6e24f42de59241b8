# How every target of this project is compiled. Nothing here reaches a consumer.
include(CheckCXXCompilerFlag)

add_library(tesselkit_compile INTERFACE)
target_compile_features(tesselkit_compile INTERFACE cxx_std_20)
target_compile_options(tesselkit_compile INTERFACE -fno-omit-frame-pointer)
if(PROJECT_IS_TOP_LEVEL)
  target_compile_options(tesselkit_compile INTERFACE -Wall -Wextra -Wpedantic)
endif()

# GNU-unique symbols would keep a library in memory after dlclose.
check_cxx_compiler_flag(-fno-gnu-unique TESSELKIT_HAS_NO_GNU_UNIQUE)
if(TESSELKIT_HAS_NO_GNU_UNIQUE)
  target_compile_options(tesselkit_compile INTERFACE -fno-gnu-unique)
endif()

# The libraries' own calls of their exported functions go to these functions and may be inlined.
check_cxx_compiler_flag(-fno-semantic-interposition TESSELKIT_HAS_NO_SEMANTIC_INTERPOSITION)
if(TESSELKIT_HAS_NO_SEMANTIC_INTERPOSITION)
  target_compile_options(tesselkit_compile INTERFACE -fno-semantic-interposition)
endif()

# A comma-separated list for -fsanitize, for example "address,undefined".
set(TESSELKIT_SANITIZE "" CACHE STRING "Sanitizers to build everything with")
if(TESSELKIT_SANITIZE)
  target_compile_options(tesselkit_compile INTERFACE
    -fsanitize=${TESSELKIT_SANITIZE} -fno-sanitize-recover=all)
  target_link_options(tesselkit_compile INTERFACE -fsanitize=${TESSELKIT_SANITIZE})
  # The instrumented code of std::regex makes GCC see a value that was never set.
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(tesselkit_compile INTERFACE -Wno-maybe-uninitialized)
  endif()
endif()

# What a fuzz target drives must count its branches for it.
if(TESSELKIT_BUILD_FUZZERS)
  target_compile_options(tesselkit_compile INTERFACE -fsanitize=fuzzer-no-link)
endif()

# What code is compiled with that may fault where an AdExceptionConverter is to catch it.
set(TESSELKIT_NATIVE_EXCEPTION_OPTIONS -fnon-call-exceptions -fasynchronous-unwind-tables)

# tesselkit_library(<target> NAME <export name> SOURCES ... [LINK ...])
# A shared library with hidden visibility, versioned, exported as Tesselkit::<export name>. An
# installed one finds the others beside itself.
function(tesselkit_library target)
  cmake_parse_arguments(ARG "" "NAME" "SOURCES;LINK;LINK_PRIVATE" ${ARGN})
  add_library(${target} SHARED ${ARG_SOURCES})
  add_library(Tesselkit::${ARG_NAME} ALIAS ${target})
  set_target_properties(${target} PROPERTIES
    EXPORT_NAME ${ARG_NAME}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    INSTALL_RPATH "$ORIGIN"
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    CXX_EXTENSIONS OFF)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${target} PUBLIC ${ARG_LINK}
    PRIVATE $<BUILD_INTERFACE:tesselkit_compile> ${ARG_LINK_PRIVATE})
  set_property(GLOBAL APPEND PROPERTY TESSELKIT_EXPORTED_TARGETS ${target})
  if(NOT TESSELKIT_SANITIZE)
    target_link_options(${target} PRIVATE LINKER:-z,defs)
  endif()
endfunction()
