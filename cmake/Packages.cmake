# Debian packages, by scripts/packages: libmc-hal1 to run a host process, libmc-hal-dev to build one, and
# with MC_BUILD_NODE the programs.
set(CPACK_GENERATOR DEB)
set(MC_MAINTAINERS "Multicast adaptation maintainers <maintainers@multicast-adaptation.invalid>")
set(CPACK_PACKAGE_CONTACT "${MC_MAINTAINERS}")
set(CPACK_PACKAGE_VENDOR "Multicast adaptation maintainers")
# Of the packages; a change of nothing but packaging raises it.
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(MC_DEBIAN_VERSION "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(mc_library_package "libmc-hal${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "${mc_library_package}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "The library: it stands between the switch that traps IGMP and MLD frames, a
protocol core and management processes. The process that loads it supplies
switch and core.")
# What needs the library says so by its soname, and serves with a newer minor version, too; the loader is told of it.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/debian/triggers")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libmc-hal-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# Nothing in it runs but the check.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS ${MC_BUILD_CHECK})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${mc_library_package} (= ${MC_DEBIAN_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "Headers for C, and what pkg-config and CMake need to find them and the
library.")

if(MC_BUILD_NODE)
  list(APPEND CPACK_COMPONENTS_ALL tools)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME mc-node)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION net)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${mc_library_package} (= ${MC_DEBIAN_VERSION})")
  set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA
    "${PROJECT_SOURCE_DIR}/packaging/debian/conffiles;${PROJECT_SOURCE_DIR}/packaging/debian/postinst"
    "${PROJECT_SOURCE_DIR}/packaging/debian/prerm;${PROJECT_SOURCE_DIR}/packaging/debian/postrm")
  # Where dpkg-shlibdeps finds the library, which no package has installed yet.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}")
  set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "The node and its tools: mc_node runs the library over captures or on the ports
of a Linux bridge, mcctl sends it commands, mcstat shows its status
segment.")
endif()

# What every package of Debian's has in its folder of documents. SOURCE_DATE_EPOCH is the date, where it is set.
if(mc_in_debian)
  string(TIMESTAMP mc_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  configure_file(packaging/debian/copyright.in debian/copyright @ONLY)
  configure_file(packaging/debian/changelog.in debian/changelog.Debian @ONLY)
  execute_process(COMMAND gzip -9nf "${PROJECT_BINARY_DIR}/debian/changelog.Debian" RESULT_VARIABLE mc_no_gzip)
  if(NOT mc_no_gzip EQUAL 0)
    message(FATAL_ERROR "gzip: ${mc_no_gzip}")
  endif()
  foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER "${component}" part)
    install(FILES "${PROJECT_BINARY_DIR}/debian/copyright" "${PROJECT_BINARY_DIR}/debian/changelog.Debian.gz"
            DESTINATION "share/doc/${CPACK_DEBIAN_${part}_PACKAGE_NAME}" COMPONENT ${component})
  endforeach()
endif()
include(CPack)
