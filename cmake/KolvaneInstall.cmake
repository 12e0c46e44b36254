# install() and the exported CMake package:
#   find_package(Kolvane CONFIG REQUIRED)
#   target_link_libraries(app PRIVATE Kolvane::kolvane)
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(KOLVANE_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Kolvane)

install(TARGETS kolvane EXPORT KolvaneTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/kolvane
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT KolvaneTargets NAMESPACE Kolvane:: DESTINATION ${KOLVANE_CMAKE_DIR})

get_target_property(KOLVANE_LIBRARY_TYPE kolvane TYPE)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KolvaneConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/KolvaneConfig.cmake
                              INSTALL_DESTINATION ${KOLVANE_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KolvaneConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KolvaneConfig.cmake
              ${PROJECT_BINARY_DIR}/KolvaneConfigVersion.cmake
        DESTINATION ${KOLVANE_CMAKE_DIR})
