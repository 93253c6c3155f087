# Installation: the shared library, its public headers, a CMake package and a pkg-config file.

include(CMakePackageConfigHelpers)

if(NOT TARGET ximAPI)
  return()
endif()

install(TARGETS ximAPI EXPORT ximAPITargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ximAPI DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET xim)
  install(TARGETS xim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(XIM_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ximAPI)
install(EXPORT ximAPITargets NAMESPACE ximAPI:: DESTINATION ${XIM_PACKAGE_DIR})
configure_package_config_file(cmake/ximAPIConfig.cmake.in ${PROJECT_BINARY_DIR}/ximAPIConfig.cmake
                              INSTALL_DESTINATION ${XIM_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ximAPIConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ximAPIConfig.cmake ${PROJECT_BINARY_DIR}/ximAPIConfigVersion.cmake
        DESTINATION ${XIM_PACKAGE_DIR})

configure_file(cmake/ximAPI.pc.in ${PROJECT_BINARY_DIR}/ximAPI.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ximAPI.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The package also serves straight from the build folder: find_package(ximAPI) with ximAPI_DIR set
# to it.
export(EXPORT ximAPITargets NAMESPACE ximAPI:: FILE ${PROJECT_BINARY_DIR}/ximAPITargets.cmake)
