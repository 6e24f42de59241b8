# Installs the libraries, their public headers, the CMake package Tesselkit and tesselkit.pc. All of
# it may be moved to another place afterwards.
include(CMakePackageConfigHelpers)

set(TESSELKIT_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Tesselkit)

get_property(exported_targets GLOBAL PROPERTY TESSELKIT_EXPORTED_TARGETS)
install(TARGETS ${exported_targets} EXPORT TesselkitTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT TesselkitTargets NAMESPACE Tesselkit:: DESTINATION ${TESSELKIT_PACKAGE_DIR})

# The headers are sought out when they are installed, so that a new one needs no configuring anew.
install(CODE "
  set(source_dir \"${PROJECT_SOURCE_DIR}\")
  set(include_dir \"${CMAKE_INSTALL_INCLUDEDIR}\")
  include(\"${CMAKE_CURRENT_LIST_DIR}/InstallHeaders.cmake\")")

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/TesselkitConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TesselkitConfig.cmake
  INSTALL_DESTINATION ${TESSELKIT_PACKAGE_DIR}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/TesselkitConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/TesselkitConfig.cmake
  ${PROJECT_BINARY_DIR}/TesselkitConfigVersion.cmake
  DESTINATION ${TESSELKIT_PACKAGE_DIR})

# tesselkit.pc finds the prefix from where it lies itself, unless the places are fixed ones.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(PC_PREFIX ${CMAKE_INSTALL_PREFIX})
  set(PC_LIBDIR ${CMAKE_INSTALL_FULL_LIBDIR})
  set(PC_INCLUDEDIR ${CMAKE_INSTALL_FULL_INCLUDEDIR})
else()
  file(RELATIVE_PATH up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" up "${up}")
  set(PC_PREFIX "\${pcfiledir}/${up}")
  set(PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  set(PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
list(JOIN TESSELKIT_NATIVE_EXCEPTION_OPTIONS " " PC_NATIVE_EXCEPTIONS_CFLAGS)
configure_file(${CMAKE_CURRENT_LIST_DIR}/tesselkit.pc.in ${PROJECT_BINARY_DIR}/tesselkit.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tesselkit.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
