# What `cmake --install` puts where; docs/install.md shows it. In three components: runtime (the library),
# development (headers, and what builds against them), tools (with MC_BUILD_NODE: the programs and what goes
# with them). Nothing that is installed knows where: all of it may be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
include(cmake/PublicHeaders.cmake)

# What Debian has otherwise than others.
set(mc_in_debian OFF)
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND EXISTS /etc/debian_version)
  set(mc_in_debian ON)
endif()

set(MC_INCLUDE_DIR "${CMAKE_INSTALL_INCLUDEDIR}/multicast_adaptation")
set(mc_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/MulticastAdaptation")
set(mc_pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# For a program beside the host, which needs the headers alone.
add_library(mc_headers INTERFACE)
target_include_directories(mc_headers INTERFACE "$<INSTALL_INTERFACE:${MC_INCLUDE_DIR}>")

install(TARGETS mc_hal mc_headers EXPORT MulticastAdaptationTargets
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

# For who develops a host process, too. In a folder of its own: nobody is to find it who does not ask for it.
if(MC_BUILD_CHECK)
  install(TARGETS mc_check LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/multicast_adaptation" COMPONENT development)
endif()

# What a porter starts from, without what was built in it.
install(DIRECTORY examples/ DESTINATION "${CMAKE_INSTALL_DATADIR}/multicast_adaptation/examples"
        COMPONENT development
        FILES_MATCHING PATTERN "*.c" PATTERN "*.h" PATTERN Makefile PATTERN CMakeLists.txt)

if(MC_BUILD_NODE)
  include(cmake/InstallTools.cmake)
endif()
