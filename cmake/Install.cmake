# What `cmake --install` puts where; docs/install.md shows it. In three components: runtime (the library),
# development (headers, and what builds against them), tools (with MC_BUILD_NODE: the programs and what goes
# with them). Nothing that is installed knows where: all of it may be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
include(cmake/PublicHeaders.cmake)

set(MC_INCLUDE_DIR "${CMAKE_INSTALL_INCLUDEDIR}/multicast_adaptation")
set(mc_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/MulticastAdaptation")
set(mc_pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

install(TARGETS mc_hal EXPORT MulticastAdaptationTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development)

# Their folders stay: they include each other by them.
foreach(header IN LISTS MC_PUBLIC_HEADERS)
  get_filename_component(folder "${header}" DIRECTORY)
  install(FILES "${PROJECT_SOURCE_DIR}/${header}" DESTINATION "${MC_INCLUDE_DIR}/${folder}"
          COMPONENT development)
endforeach()

install(EXPORT MulticastAdaptationTargets NAMESPACE MulticastAdaptation:: DESTINATION "${mc_cmake_dir}"
        COMPONENT development)
configure_package_config_file(packaging/MulticastAdaptationConfig.cmake.in MulticastAdaptationConfig.cmake
                              INSTALL_DESTINATION "${mc_cmake_dir}")
write_basic_package_version_file(MulticastAdaptationConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/MulticastAdaptationConfig.cmake"
              "${PROJECT_BINARY_DIR}/MulticastAdaptationConfigVersion.cmake"
        DESTINATION "${mc_cmake_dir}" COMPONENT development)

file(RELATIVE_PATH MC_PREFIX_FROM_PKGCONFIG "/${mc_pkgconfig_dir}" "/")
configure_file(packaging/multicast-adaptation.pc.in multicast-adaptation.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/multicast-adaptation.pc" DESTINATION "${mc_pkgconfig_dir}"
        COMPONENT development)

# For who develops a host process, too: to be preloaded, or linked in front of the library.
if(MC_BUILD_CHECK)
  install(TARGETS mc_check LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
endif()

if(MC_BUILD_NODE)
  include(cmake/InstallTools.cmake)
endif()
